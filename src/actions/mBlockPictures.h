#pragma once
// Blocks of the patch as pictures and sounds, and pictures made into blocks:
// what the GUI's preview, hex viewer and popup and the CLI's picture, extract
// and art commands share.
#include <cstdint>
#include <string>

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

}  // namespace quillet
