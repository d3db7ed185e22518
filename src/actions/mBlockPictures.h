#pragma once
// Blocks of the patch as pictures and sounds, and pictures made into blocks:
// what the GUI's preview, hex viewer and popup and the CLI's picture, extract
// and art commands share.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/ByteIO.h"
#include "base/Result.h"
#include "viewers/BlockPicture.h"

namespace quillet {

class PixelSource;

// "Gumps block 1F4": how a message names a block (hexadecimal, as the list
// shows it).
std::string BlockName(int FileID, int32_t Block);

// The picture of a block of the patch (its bytes read from the DataFile). A
// block that is not in the patch, has no bytes, is of a type without
// pictures, or does not decode is a failure whose text names the block and
// says why. No wait: a picture is made while the user looks on.
Result PictureOfBlock(int FileID, int32_t Block, BlockPicture& picture);

// The WAV file of a Sound block of the patch; a block without samples is a
// failure that names it.
Result WaveOfSoundBlock(int32_t Block, ByteArray& wave);
// The same, written to FileName (a file there is replaced whole, by way of a
// temporary file beside it).
Result ExportSoundWave(int32_t Block, const std::string& FileName);

// Art_LoadPicture under "Converting picture to art. Please wait.".
Result ImportArt(const PixelSource& Picture, int32_t Block);

// Where a batch export puts each picture (a PNG file, in a front end):
// answers false with the reason in why.
using PictureWriter = std::function<bool(int32_t Block, const BlockPicture& picture, std::string& why)>;

// What a batch export did: the pictures written, and one line for each block
// that could not be drawn (it names the block and says why).
struct PictureExport {
    int32_t Written = 0;
    std::vector<std::string> NotDrawn;
};

// Every present block of FileID from From to To with bytes, in rising order,
// decoded and handed to writer, under "Exporting pictures. Please wait.".
// Blocks without bytes have no picture and are passed over; a block that
// does not decode goes into NotDrawn and the others are still written. A
// writer that fails ends the job with a failure naming the block (a full
// disk would fail every block after it). A type without pictures is a
// failure before anything is written.
Result ExportPictures(int FileID, int32_t From, int32_t To, const PictureWriter& writer, PictureExport& done);

// One picture of a batch import: the name it is told by (its file) and the
// block it becomes.
struct PictureInput {
    std::string Name;
    int32_t Block = 0;
};
// Reads picture `index` of the batch when the job comes to it, so that only
// one picture is held at a time: answers false with the reason in why.
using PictureReader = std::function<bool(size_t index, std::unique_ptr<PixelSource>& picture, std::string& why)>;

// Converts each picture of the batch, in its order, into its Gumps block
// (Gump_LoadBMP) or Art block (Art_LoadPicture), under "Converting pictures
// to gumps. Please wait." or "Converting pictures to art. Please wait.". All
// or nothing: a picture that cannot be read or converted ends the job with a
// failure naming it, and every slot the batch had changed gets back what it
// held before, so that the patch is as it was. Another FileID is a failure.
Result ImportPictures(int FileID, const std::vector<PictureInput>& inputs, const PictureReader& reader);

}  // namespace quillet
