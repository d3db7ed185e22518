#include "viewers/HexRows.h"

#include <gtest/gtest.h>

#include "common/Bytes.h"

namespace quillet {
namespace {

// Where the rows end: how many there are, the last one's offset (only the
// digits it needs), which of its columns are filled and with what last byte.
TEST(HexRows, RowsEndWhereTheBytesDo) {
    EXPECT_TRUE(MakeHexRows(ByteArray{}).empty());
    EXPECT_EQ(HexRowCount(0), 0u);
    const struct {
        size_t n, rows;
        const char* lastOffset;
        size_t lastFilled;
        const char* lastByte;
    } cases[] = {{1, 1, "0", 1, "00"},     {16, 1, "0", 16, "0F"},       {17, 2, "10", 1, "10"},
                 {196, 13, "C0", 4, "C3"},  // a map block
                 {257, 17, "100", 1, "00"}, {4096, 256, "FF0", 16, "FF"}, {4097, 257, "1000", 1, "00"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.n);
        const auto rows = MakeHexRows(test::Counting(c.n));
        ASSERT_EQ(rows.size(), c.rows);
        EXPECT_EQ(HexRowCount(c.n), c.rows);
        const HexRow& last = rows.back();
        EXPECT_EQ(last.Offset, c.lastOffset);
        for (size_t column = 0; column < kHexRowBytes; ++column)
            EXPECT_EQ(last.Bytes[column].empty(), column >= c.lastFilled) << column;
        EXPECT_EQ(last.Bytes[c.lastFilled - 1], c.lastByte);
        EXPECT_EQ(last.Text.size(), c.lastFilled);
    }
}

TEST(HexRows, BytesAreTwoUpperCaseDigitsAndTextKeepsEveryByte) {
    const ByteArray bytes{10, 0, 0xFF, 0xAB, ' ', '~', 0x7F, 0x80};
    const HexRow row = MakeHexRow(bytes.data(), bytes.size(), 0);
    EXPECT_EQ(row.Offset, "0");
    EXPECT_EQ(std::vector<std::string>(row.Bytes.begin(), row.Bytes.begin() + 8),
              (std::vector<std::string>{"0A", "00", "FF", "AB", "20", "7E", "7F", "80"}));
    EXPECT_EQ(row.Text, std::string(bytes.begin(), bytes.end()));
    EXPECT_EQ(PrintableText(row.Text), ".... ~..");
    EXPECT_EQ(PrintableText("Hello!"), "Hello!");
}

}  // namespace
}  // namespace quillet
