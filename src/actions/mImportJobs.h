#pragma once
// The roads into a patch that a user starts: import of a source file, the
// comparison of two versions of a client file, a picture made a gump.
#include <cstdint>
#include <string>

#include "base/Result.h"
#include "core/mMuls.h"

namespace quillet {

class PixelSource;

// What an import reads, as the Import dialog's list names it: a FileID below
// 256 for one type of the client's own files, or one of these patch sources.
inline constexpr int kSourceUOP = 300;
inline constexpr int kSourceVerdata = 301;
inline constexpr int kSourceMUO = 302;

struct ImportRequest {
    int Source = kSourceMUO;
    std::string File;   // the MUL file, or the patch file
    std::string Index;  // the IDX file of a type found through one
    // Inclusive limits; the FileID limits count for the patch sources only.
    uint8_t FromFileID = 0;
    uint8_t ToFileID = 255;
    int32_t FromBlock = 0;
    int32_t ToBlock = HighestBlock();
};

// Whether the client's files of FileID need an index file beside MULFile:
// types whose blocks are found through one, unless MULFile is a client's UOP
// container, which indexes itself.
bool NeedsIndexFile(uint8_t FileID, const std::string& MULFile);
// Whether the file is a client's UOP container ("MYP"), by its content.
bool IsClientContainerFile(const std::string& File);

// Picks the loader of the source (LoadMUO, LoadUOP, LoadVerdata; LoadTiledata
// for Tiledata, LoadMUL for any other type) and runs it under its wait text.
Result ImportFrom(const ImportRequest& request);

// CompareMUL under "Comparing MUL data. Please wait.".
Result CompareFiles(uint8_t FileID, const std::string& BaseMUL, const std::string& BaseIDX, const std::string& NewMUL,
                    const std::string& NewIDX);

// Gump_LoadBMP under "Converting picture to gump. Please wait.".
Result ImportGump(const PixelSource& Picture, int32_t Block);

}  // namespace quillet
