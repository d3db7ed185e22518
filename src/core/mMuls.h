#pragma once
// The table of the 14 client file types, indexed by FileID.
#include <array>
#include <cstdint>
#include <string>

namespace quillet {

// The page that shows a type. The library only names it; the main window
// owns the controls.
struct PageRef {
    enum class Kind : uint8_t { None, Map, Statics, List };
    Kind kind = Kind::None;
    int32_t index = 0;  // lvPage member for Kind::List

    static PageRef Map() { return {Kind::Map, 0}; }
    static PageRef Statics() { return {Kind::Statics, 0}; }
    static PageRef List(int32_t n) { return {Kind::List, n}; }
    bool operator==(const PageRef&) const = default;
};

struct FileTypeRec {
    std::string Name;           // empty: the row is unused
    int32_t ConstantIndex = 0;  // fixed block size of a type without IDX, else 0
    int32_t NbrOfBlocks = 0;    // highest valid Block, inclusive: the last block of current clients' files
    uint8_t ImageIndex = 0;     // 1-based icon of imMuls
    uint8_t InVerdata = 0;      // 1: saved MUO entries carry no bit 6
    PageRef Page;
    // The last block of classic clients' files. A walk over a client's file
    // goes at least this far (a short index or file reads as empty records or
    // zeros up to here), and beyond only as far as the file holds blocks.
    int32_t ClassicLast = 0;
};

inline constexpr int kFileIDs = 256;
extern std::array<FileTypeRec, kFileIDs> FileTypes;

// ClassicLast below 0 (the default) is NbrOfBlocks: the type did not grow.
void RegisterMUL(uint8_t FileID, const std::string& Name, int32_t ConstantIndex, int32_t NbrOfBlocks,
                 uint8_t ImageIndex, PageRef Page, uint8_t InVerdata, int32_t ClassicLast = -1);

// The 14 rows, in their fixed order (the main window's load; the CLI at start).
void RegisterFileTypes();

// The highest NbrOfBlocks of the used rows: the upper limit that takes in
// every block of every type (an import's default "to block").
int32_t HighestBlock();

// "Map" -> 0 etc., any case; -1 when no used row has that name.
int FileIDByName(const std::string& name);

}  // namespace quillet
