#pragma once
// The block commands of a list, on the store side: delete blocks, write a
// block out as a dat file, read a dat file back into a block, and the verdata
// flag of a type. The GUI's popup hands them the blocks of the selected rows,
// the CLI the blocks its options name. Each one catches its own failures, logs
// them under the list command's name and ends there, keeping what it did.
#include <cstdint>
#include <string>
#include <vector>

namespace quillet {

// Removes the blocks from the patch: Offset -1, and Count of the type one
// lower for every block that was present. Blocks that are not present are
// passed over. Size and Extra stay in the slot, the bytes stay in the
// DataFile as dead space. Answers how many were removed.
int32_t DeleteBlocks(int FileID, const std::vector<int32_t>& Blocks);

// Writes the block's bytes as the whole of FileName (an old file is replaced,
// nothing of it survives). A block without bytes (Size 0 or below) is passed
// over: answers false and writes nothing.
bool ExportBlockToFile(int FileID, int32_t Block, const std::string& FileName);
// The same for several blocks, each to Directory + its DatFileName; the
// directory must exist. Answers how many files were written.
int32_t ExportBlocks(int FileID, const std::vector<int32_t>& Blocks, const std::string& Directory);

// Replaces the block with the bytes of FileName: Size = its length, the bytes
// appended to the DataFile; an empty file makes the block absent (Size -1,
// Offset -1). Extra becomes -1 in both cases. Count is not touched: a block
// made absent stays counted until the next recount. A missing file is passed
// over, and so is a block that is not in the patch (the import adds none):
// both answer false and change nothing.
bool ImportBlockFromFile(int FileID, int32_t Block, const std::string& FileName);
// The same for several blocks, each from Directory + its DatFileName.
// Answers how many blocks were replaced.
int32_t ImportBlocks(int FileID, const std::vector<int32_t>& Blocks, const std::string& Directory);

// The folders the GUI's dat commands use, beside the program, ending in '/';
// CreateDatFolders makes both (an existing folder is no failure).
std::string DatExportFolder();
std::string DatImportFolder();
void CreateDatFolders();

// The verdata flag of a type (FileID 0..255). It lives in FileTypes and
// reaches a file only through the entries of a saved MUO.
void ToggleInVerdata(int FileID);
void SetInVerdata(int FileID, bool on);

}  // namespace quillet
