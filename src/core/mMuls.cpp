#include "core/mMuls.h"

#include <algorithm>
#include <cctype>

namespace quillet {

std::array<FileTypeRec, kFileIDs> FileTypes;

void RegisterMUL(uint8_t FileID, const std::string& Name, int32_t ConstantIndex, int32_t NbrOfBlocks,
                 uint8_t ImageIndex, PageRef Page, uint8_t InVerdata, int32_t ClassicLast) {
    FileTypeRec& row = FileTypes[FileID];
    row.Name = Name;
    row.ConstantIndex = ConstantIndex;
    row.NbrOfBlocks = NbrOfBlocks;
    row.ImageIndex = ImageIndex;
    row.Page = Page;
    row.InVerdata = InVerdata;
    row.ClassicLast = ClassicLast < 0 ? NbrOfBlocks : ClassicLast;
}

void RegisterFileTypes() {
    // Current clients' files hold more blocks of some types than classic
    // ones did: those rows give both last blocks, the current one first.
    RegisterMUL(0, "Map", 196, 458751, 10, PageRef::Map(), 0, 393215);  // 896 instead of 768 columns of 512
    RegisterMUL(2, "Statics", 0, 458751, 11, PageRef::Statics(), 0, 393215);
    RegisterMUL(4, "Art", 0, 81883, 12, PageRef::List(0), 1, 65536);  // items up to 0xFFDB
    RegisterMUL(6, "Anim", 0, 148809, 13, PageRef::List(1), 1);
    RegisterMUL(8, "Sound", 0, 4095, 14, PageRef::List(2), 1, 255);
    RegisterMUL(10, "Texmaps", 0, 16383, 15, PageRef::List(3), 1, 4095);
    RegisterMUL(12, "Gumps", 0, 65535, 16, PageRef::List(4), 1);
    RegisterMUL(14, "Multis", 0, 8703, 17, PageRef::List(5), 1, 8182);
    RegisterMUL(16, "Skills", 0, 255, 18, PageRef::List(6), 1);
    RegisterMUL(30, "Tiledata", 836, 2559, 19, PageRef::List(7), 1, 1023);  // 2048 item groups
    // The animation data file has no index: groups of 548 bytes, one per block.
    RegisterMUL(31, "Animdata", 548, 2047, 20, PageRef::List(8), 1, 2000);
    RegisterMUL(32, "Hues", 708, 374, 21, PageRef::List(9), 1);
    RegisterMUL(128, "Light", 0, 99, 21, PageRef::List(10), 0);
    RegisterMUL(129, "Radarcol", 2, 81919, 21, PageRef::List(11), 0, 65535);  // colours of items up to 0xFFFF
}

int32_t HighestBlock() {
    int32_t highest = 0;
    for (const FileTypeRec& row : FileTypes)
        if (!row.Name.empty()) highest = std::max(highest, row.NbrOfBlocks);
    return highest;
}

int FileIDByName(const std::string& name) {
    auto lower = [](std::string s) {
        std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return std::tolower(c); });
        return s;
    };
    const std::string wanted = lower(name);
    for (int id = 0; id < kFileIDs; ++id)
        if (!FileTypes[id].Name.empty() && lower(FileTypes[id].Name) == wanted) return id;
    return -1;
}

}  // namespace quillet
