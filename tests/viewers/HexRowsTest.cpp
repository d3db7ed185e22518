#include "viewers/HexRows.h"

#include <gtest/gtest.h>

#include "common/Bytes.h"

namespace quillet {
namespace {

using test::Counting;

size_t FilledColumns(const HexRow& row) {
    size_t filled = 0;
    for (const std::string& byte : row.Bytes) filled += byte.empty() ? 0 : 1;
    return filled;
}

TEST(HexRows, OneByteGivesOneRowWithOneColumn) {
    const auto rows = MakeHexRows(ByteArray{0x41});
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].Offset, "0");
    EXPECT_EQ(rows[0].Bytes[0], "41");
    for (size_t column = 1; column < kHexRowBytes; ++column) EXPECT_EQ(rows[0].Bytes[column], "") << column;
    EXPECT_EQ(rows[0].Text, "A");
}

TEST(HexRows, RowBoundaries) {
    EXPECT_TRUE(MakeHexRows(ByteArray{}).empty());

    auto rows = MakeHexRows(Counting(16));
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(FilledColumns(rows[0]), 16u);
    EXPECT_EQ(rows[0].Bytes[15], "0F");

    rows = MakeHexRows(Counting(17));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1].Offset, "10");
    EXPECT_EQ(rows[1].Bytes[0], "10");
    EXPECT_EQ(FilledColumns(rows[1]), 1u);

    // A map block: 13 rows, the last one with 4 bytes at C0.
    rows = MakeHexRows(Counting(196));
    ASSERT_EQ(rows.size(), 13u);
    EXPECT_EQ(rows[12].Offset, "C0");
    EXPECT_EQ(FilledColumns(rows[12]), 4u);
    EXPECT_EQ(rows[12].Bytes[3], "C3");
    EXPECT_EQ(rows[12].Text.size(), 4u);

    // Offsets have only the digits they need.
    rows = MakeHexRows(Counting(257));
    ASSERT_EQ(rows.size(), 17u);
    EXPECT_EQ(rows[15].Offset, "F0");
    EXPECT_EQ(rows[16].Offset, "100");
    EXPECT_EQ(HexRowCount(4096), 256u);
    EXPECT_EQ(HexRowCount(4097), 257u);
}

TEST(HexRows, BytesAreTwoUpperCaseDigitsAndTextKeepsEveryByte) {
    const ByteArray bytes{10, 0, 0xFF, 0xAB, ' ', '~', 0x7F, 0x80};
    const HexRow row = MakeHexRow(bytes.data(), bytes.size(), 0);
    EXPECT_EQ(row.Bytes[0], "0A");
    EXPECT_EQ(row.Bytes[1], "00");
    EXPECT_EQ(row.Bytes[2], "FF");
    EXPECT_EQ(row.Bytes[3], "AB");
    ASSERT_EQ(row.Text.size(), bytes.size());
    for (size_t i = 0; i < bytes.size(); ++i) EXPECT_EQ(static_cast<uint8_t>(row.Text[i]), bytes[i]) << i;
    EXPECT_EQ(PrintableText(row.Text), ".... ~..");
    EXPECT_EQ(PrintableText("Hello!"), "Hello!");
}

}  // namespace
}  // namespace quillet
