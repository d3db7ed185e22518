#include "core/mMuls.h"

#include <algorithm>
#include <cctype>

namespace quillet {

std::array<FileTypeRec, kFileIDs> FileTypes;

void RegisterMUL(uint8_t FileID, const std::string& Name, int32_t ConstantIndex, int32_t NbrOfBlocks,
                 uint8_t ImageIndex, PageRef Page, uint8_t InVerdata) {
    FileTypeRec& row = FileTypes[FileID];
    row.Name = Name;
    row.ConstantIndex = ConstantIndex;
    row.NbrOfBlocks = NbrOfBlocks;
    row.ImageIndex = ImageIndex;
    row.Page = Page;
    row.InVerdata = InVerdata;
}

void RegisterFileTypes() {
    RegisterMUL(0, "Map", 196, 393215, 10, PageRef::Map(), 0);
    RegisterMUL(2, "Statics", 0, 393215, 11, PageRef::Statics(), 0);
    RegisterMUL(4, "Art", 0, 65536, 12, PageRef::List(0), 1);
    RegisterMUL(6, "Anim", 0, 148809, 13, PageRef::List(1), 1);
    RegisterMUL(8, "Sound", 0, 255, 14, PageRef::List(2), 1);
    RegisterMUL(10, "Texmaps", 0, 4095, 15, PageRef::List(3), 1);
    RegisterMUL(12, "Gumps", 0, 65535, 16, PageRef::List(4), 1);
    RegisterMUL(14, "Multis", 0, 8182, 17, PageRef::List(5), 1);
    RegisterMUL(16, "Skills", 0, 255, 18, PageRef::List(6), 1);
    RegisterMUL(30, "Tiledata", 836, 1023, 19, PageRef::List(7), 1);
    RegisterMUL(31, "Animdata", 0, 2000, 20, PageRef::List(8), 1);
    RegisterMUL(32, "Hues", 708, 374, 21, PageRef::List(9), 1);
    RegisterMUL(128, "Light", 0, 99, 21, PageRef::List(10), 0);
    RegisterMUL(129, "Radarcol", 2, 65535, 21, PageRef::List(11), 0);
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
