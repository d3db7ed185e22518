#include "actions/mBlockPictures.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <utility>

#include "actions/RunJob.h"
#include "core/BlockRows.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "formats/SoundWave.h"
#include "operations/mArt.h"
#include "operations/mGumps.h"
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

// The progress of a batch, told when its percentage changes: the front end
// redraws its bar and lets events run.
class BatchProgress {
public:
    explicit BatchProgress(size_t total) : total_(total) {}
    void Done(size_t done) {
        const auto percent = static_cast<int32_t>(total_ == 0 ? 100 : done * 100 / total_);
        if (percent == WaitPercent) return;
        WaitPercent = percent;
        DoEvents();
    }

private:
    size_t total_;
};

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

Result ExportPictures(int FileID, int32_t From, int32_t To, const PictureWriter& writer, PictureExport& done) {
    done = PictureExport();
    if (!HasPictures(FileID)) return Result::Failed(BlockName(FileID, From) + " is no picture: its type has none");
    Result failure = Result::Success();
    const Result job = RunJob("Exporting pictures. Please wait.", "mBlockPictures.ExportPictures", [&] {
        const std::vector<int32_t> listed = ListedBlocks(FileID);
        const auto first = std::lower_bound(listed.begin(), listed.end(), From);
        const auto last = std::upper_bound(first, listed.end(), To);
        BatchProgress progress(static_cast<size_t>(last - first));
        BlockPicture picture;
        std::string why;
        for (auto at = first; at != last; ++at) {
            const int32_t block = *at;
            const PatchBlock slot = Slot(FileID, block);
            if (slot.Size > 0 && slot.Offset >= 1) {
                const ByteArray bytes = ReadBlockBytes(FileID, block);
                if (!DecodeBlockPicture(FileID, block, slot.Extra, bytes, picture, why)) {
                    done.NotDrawn.push_back(BlockName(FileID, block) + " cannot be drawn: " + why);
                } else if (!writer(block, picture, why)) {
                    failure = Result::Failed(BlockName(FileID, block) + " was not written: " + why);
                    return false;
                } else {
                    ++done.Written;
                }
            }
            progress.Done(static_cast<size_t>(at - first) + 1);
        }
        return true;
    });
    return failure.Ok() ? job : failure;
}

Result ImportPictures(int FileID, const std::vector<PictureInput>& inputs, const PictureReader& reader) {
    const bool gumps = FileID == kGumpsFileID;
    if (!gumps && FileID != kArtFileID)
        return Result::Failed(BlockName(FileID, 0) + ": only Gumps and Art blocks are made from pictures");
    const int32_t highest = FileTypes[static_cast<size_t>(FileID)].NbrOfBlocks;
    // The slots as they were before the batch changed them, in the order changed.
    std::vector<std::pair<int32_t, PatchBlock>> before;
    before.reserve(inputs.size());
    std::string failedName;
    std::string why;
    Result job =
        RunJob(gumps ? "Converting pictures to gumps. Please wait." : "Converting pictures to art. Please wait.",
               "mBlockPictures.ImportPictures", [&] {
                   BatchProgress progress(inputs.size());
                   for (size_t i = 0; i < inputs.size(); ++i) {
                       const PictureInput& input = inputs[i];
                       failedName = input.Name;
                       if (input.Block < 0 || input.Block > highest) {
                           why = BlockName(FileID, input.Block) + " is beyond the last block, " +
                                 HexText(static_cast<uint32_t>(highest));
                           return false;
                       }
                       std::unique_ptr<PixelSource> picture;
                       if (!reader(i, picture, why) || !picture) return false;
                       before.emplace_back(input.Block, Slot(FileID, input.Block));
                       // One recount for the whole batch, at its end.
                       const bool converted = gumps ? Gump_LoadBMP(*picture, input.Block, false)
                                                    : Art_LoadPicture(*picture, input.Block, false);
                       if (!converted) {
                           why = "cannot be made into " + BlockName(FileID, input.Block);
                           return false;
                       }
                       progress.Done(i + 1);
                   }
                   failedName.clear();
                   RecountBlocks(FileID);
                   return true;
               });
    if (job.Ok()) return job;
    // All or nothing: the slots go back as they were, the last change first
    // so that a block named twice gets its state from before the batch. The
    // bytes already stored stay in the DataFile unreferenced, as a replaced
    // block's do.
    for (auto slot = before.rbegin(); slot != before.rend(); ++slot) Slot(FileID, slot->first) = slot->second;
    RecountBlocks(FileID);
    if (failedName.empty()) return job;
    return Result::Failed(failedName + ": " + why + (job.WasLogged() ? " (" + job.Text() + ")" : std::string()))
        .WithWarnings(job.Warnings());
}

}  // namespace quillet
