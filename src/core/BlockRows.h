#pragma once
// What a block list shows of the patch store: the present blocks of a type in
// rising order, and the text of each row. The GUI's list model and the CLI's
// "list" command both read their rows from here, so the two show the same.
#include <cstdint>
#include <string>
#include <vector>

#include "core/mPatch.h"

namespace quillet {

// Hexadecimal as the program shows it: upper case, no prefix, no padding.
std::string HexText(uint64_t value);

struct BlockRow {
    std::string Key;    // "A" + Block in decimal: the row's identity for the commands
    std::string ID;     // Block in hexadecimal
    std::string Size;   // "0" for a Size of -1, else Size in decimal
    std::string Flags;  // Extra in hexadecimal; a negative value as its 8 digits
};

BlockRow MakeBlockRow(int32_t Block, const PatchBlock& slot);
std::string BlockRowKey(int32_t Block);
// The number after the key's first character; -1 when there is none.
int32_t BlockFromRowKey(const std::string& key);

// The Block numbers whose slots are present (Offset not -1), in rising order.
// An unused FileID has none. A long list passes the counting point of a long
// loop every 20000 blocks listed.
std::vector<int32_t> ListedBlocks(int FileID);

// The name of the dat file of a block: FileID and Block in hexadecimal,
// "_" between them and ".dat" behind: Gumps block 500 is "C_1F4.dat".
std::string DatFileName(int FileID, int32_t Block);

}  // namespace quillet
