#pragma once
// The rows of the hex viewer: 16 bytes a row, each row with the offset of its
// first byte, the bytes as two hexadecimal digits and the bytes as characters.
// The GUI's frmHexView and the CLI's "hexdump" show these rows.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteIO.h"

namespace quillet {

inline constexpr size_t kHexRowBytes = 16;

struct HexRow {
    std::string Offset;                       // "0", "10" ... "F0", "100": only the digits needed
    std::array<std::string, kHexRowBytes> Bytes;  // "00".."FF"; empty past the end of the data
    // The row's bytes unchanged, one char each, control codes and bytes above
    // 127 included: the front end decides how to show them (the GUI reads them
    // as Windows-1252, the CLI through PrintableText).
    std::string Text;
};

size_t HexRowCount(size_t byteCount);
// Row `row` (0-based) of the data; the row must be below HexRowCount(size).
HexRow MakeHexRow(const uint8_t* data, size_t size, size_t row);
std::vector<HexRow> MakeHexRows(const ByteArray& B);

// Two upper-case hexadecimal digits.
std::string HexByte(uint8_t value);
// The text with every byte outside 32..126 replaced by '.'.
std::string PrintableText(std::string_view raw);

}  // namespace quillet
