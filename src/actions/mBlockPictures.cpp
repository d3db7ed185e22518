#include "actions/mBlockPictures.h"

#include <cerrno>
#include <cstring>
#include <exception>

#include "actions/RunJob.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "formats/SoundWave.h"
#include "operations/mArt.h"
#include "core/BlockRows.h"
#include "support/WholeFile.h"
#include "viewers/BlockPictures.h"

namespace quillet {
namespace {

constexpr int kSoundFileID = 8;

// The bytes of a present block with data, or the failure that says why there
// are none.
Result BytesOfBlock(int FileID, int32_t Block, ByteArray& bytes, int32_t& extra) {
    const std::string name = BlockName(FileID, Block);
    try {
        const PatchBlock& slot = Slot(FileID, Block);
        if (slot.Offset == -1) return Result::Failed(name + " is not in the patch");
        if (slot.Size <= 0 || slot.Offset < 1) return Result::Failed(name + " has no bytes");
        bytes = ReadBlockBytes(FileID, Block);
        extra = slot.Extra;
        return Result::Success();
    } catch (const std::exception& failure) {
        return Result::Failed(name + " cannot be read: " + failure.what());
    }
}

}  // namespace

std::string BlockName(int FileID, int32_t Block) {
    const std::string type = FileID >= 0 && FileID < static_cast<int>(kFileIDs) && !FileTypes[static_cast<size_t>(FileID)].Name.empty()
                                 ? FileTypes[static_cast<size_t>(FileID)].Name
                                 : "FileID " + std::to_string(FileID);
    return type + " block " + HexText(static_cast<uint32_t>(Block));
}

Result PictureOfBlock(int FileID, int32_t Block, BlockPicture& picture) {
    picture = BlockPicture();
    if (!HasPictures(FileID)) return Result::Failed(BlockName(FileID, Block) + " is no picture: its type has none");
    ByteArray bytes;
    int32_t extra = 0;
    if (Result read = BytesOfBlock(FileID, Block, bytes, extra); !read) return read;
    std::string why;
    if (!DecodeBlockPicture(FileID, Block, extra, bytes, picture, why))
        return Result::Failed(BlockName(FileID, Block) + " cannot be drawn: " + why);
    return Result::Success();
}

Result WaveOfSoundBlock(int32_t Block, ByteArray& wave) {
    ByteArray bytes;
    int32_t extra = 0;
    if (Result read = BytesOfBlock(kSoundFileID, Block, bytes, extra); !read) return read;
    std::string why;
    if (!SoundToWave(bytes, wave, why)) return Result::Failed(BlockName(kSoundFileID, Block) + " has no WAV file: " + why);
    return Result::Success();
}

Result ExportSoundWave(int32_t Block, const std::string& FileName) {
    ByteArray wave;
    if (Result made = WaveOfSoundBlock(Block, wave); !made) return made;
    try {
        fileio::ReplaceFile(FileName, wave.data(), wave.size());
    } catch (const std::exception& failure) {
        return Result::Failed(FileName + ": " + failure.what());
    }
    return Result::Success();
}

Result ImportArt(const PixelSource& Picture, int32_t Block) {
    return RunJob("Converting picture to art. Please wait.", "mBlockPictures.ImportArt",
                  [&] { return Art_LoadPicture(Picture, Block); });
}

}  // namespace quillet
