#include "viewers/HexRows.h"

#include "core/BlockRows.h"

namespace quillet {

size_t HexRowCount(size_t byteCount) { return (byteCount + kHexRowBytes - 1) / kHexRowBytes; }

std::string HexByte(uint8_t value) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    return {kDigits[value >> 4], kDigits[value & 15]};
}

HexRow MakeHexRow(const uint8_t* data, size_t size, size_t row) {
    HexRow out;
    const size_t first = row * kHexRowBytes;
    out.Offset = HexText(first);
    for (size_t column = 0; column < kHexRowBytes && first + column < size; ++column) {
        const uint8_t value = data[first + column];
        out.Bytes[column] = HexByte(value);
        out.Text.push_back(static_cast<char>(value));
    }
    return out;
}

std::vector<HexRow> MakeHexRows(const ByteArray& B) {
    std::vector<HexRow> rows;
    const size_t count = HexRowCount(B.size());
    rows.reserve(count);
    for (size_t row = 0; row < count; ++row) rows.push_back(MakeHexRow(B.data(), B.size(), row));
    return rows;
}

std::string PrintableText(std::string_view raw) {
    std::string text(raw);
    for (char& c : text) {
        const auto value = static_cast<unsigned char>(c);
        if (value < 32 || value > 126) c = '.';
    }
    return text;
}

}  // namespace quillet
