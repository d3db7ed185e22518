#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <regex>
#include <string>

#include "SupportTestUtil.h"
#include "core/Checked.h"
#include "support/cConvert.h"
#include "support/mConvert.h"

namespace quillet {
namespace {

using testing::ScratchTest;

// ---- the numeric prefix parse of the limit boxes and the gump index ----

struct TextCase {
    const char* text;
    double value;
};

TEST(NumberPrefix, ReadsTheLongestNumericBeginning) {
    // clang-format off
    const TextCase cases[] = {
        {"12abc", 12}, {"abc", 0}, {"", 0}, {"0x10", 0}, {" \t 42", 42}, {"-7", -7}, {"+3", 3}, {"-", 0}, {".", 0},
        {".5", 0.5}, {"-.25x", -0.25}, {"1.2.3", 1.2}, {"4 5", 4}, {"1,5", 1},
        // an exponent (E or D) counts only with digits behind it
        {"1.5e2", 150}, {"1E+2", 100}, {"25e-1", 2.5}, {"1D2", 100}, {"1e", 1}, {"1e+", 1}, {"3ex", 3},
        {"1e-400", 0}, {"0e999999999999", 0},
        // hexadecimal and octal digits are a 32-bit pattern
        {"&H10", 16}, {"  &hff", 255}, {"&H1fZ", 31}, {"&H", 0}, {"&HG1", 0}, {"&O17", 15}, {"&O18", 1},
        {"&HFFFF", 65535}, {"&H7FFFFFFF", 2147483647}, {"&H80000000", -2147483648.0}, {"&HFFFFFFFF", -1},
        {"&H00000000FF", 255}, {"-&H10", 0}};
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(ParseNumberPrefix(c.text), c.value) << c.text;
    for (const char* text : {"1e400", "0.001e99999999999", "&H100000000", "&O40000000000"})
        EXPECT_THROW(ParseNumberPrefix(text), Failure) << text;
}

TEST(NumberPrefix, RoundsHalfToEvenAndChecksRange) {
    // clang-format off
    const TextCase longs[] = {
        {"2.5", 2}, {"3.5", 4}, {"-2.5", -2}, {"2.51", 3}, {"12abc", 12}, {"2147483647", 2147483647},
        {"-2147483648", -2147483648.0}, {"-2147483648.5", -2147483648.0}, {"&HFFFFFFFF", -1}};
    // clang-format on
    for (const auto& c : longs) EXPECT_EQ(ParseLongPrefix(c.text), c.value) << c.text;
    for (const char* text : {"2147483648", "2147483647.5", "-2147483649"})
        EXPECT_THROW(ParseLongPrefix(text), Failure) << text;
    try {
        ParseLongPrefix("1e10");
        ADD_FAILURE() << "no failure";
    } catch (const Failure& f) {
        EXPECT_STREQ(f.what(), kOverflow);
    }

    // clang-format off
    const TextCase bytes[] = {
        {"255", 255}, {"254.5", 254}, {"0.5", 0}, {"-0.4", 0}, {"&HFF", 255}, {"x", 0}};
    // clang-format on
    for (const auto& c : bytes) EXPECT_EQ(ParseBytePrefix(c.text), c.value) << c.text;
    for (const char* text : {"255.5", "256", "-1", "&HFFFFFFFF"}) EXPECT_THROW(ParseBytePrefix(text), Failure) << text;
}

TEST(NumberPrefix, BlockIndexTakes0xAsHexadecimal) {
    // clang-format off
    const TextCase cases[] = {
        {"0x10", 16}, {"0X10", 16}, {"10", 10}, {"0x00", 0}, {"0xffff", 65535}, {"0x", 0}, {"0xZZ", 0},
        {"0x1A.8", 26}, {"0xFFFFFFFF", -1}, {"2.5", 2}, {"", 0},
        {" 0x10", 0}};  // the blank hides the prefix: decimal 0
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(ParseBlockIndex(c.text), c.value) << c.text;
    EXPECT_THROW(ParseBlockIndex("0x123456789"), Failure);
}

// ---- cConvert ----

TEST(cConvertNumbers, UnsignedLongAndInteger) {
    cConvert c;
    EXPECT_EQ(c.UnsignedToLong(4294967295.0), -1);
    EXPECT_EQ(c.UnsignedToLong(2147483648.0), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(c.UnsignedToLong(2147483647.0), 2147483647);
    EXPECT_EQ(c.UnsignedToLong(0.5), 0);
    EXPECT_EQ(c.UnsignedToLong(1.5), 2);
    EXPECT_EQ(c.UnsignedToLong(4294967294.5), -2);
    EXPECT_THROW(c.UnsignedToLong(-0.1), Failure);
    EXPECT_THROW(c.UnsignedToLong(4294967296.0), Failure);
    EXPECT_THROW(c.UnsignedToLong(std::nan("")), Failure);
    EXPECT_EQ(c.LongToUnsigned(-1), 4294967295.0);
    EXPECT_EQ(c.LongToUnsigned(std::numeric_limits<int32_t>::min()), 2147483648.0);
    EXPECT_EQ(c.LongToUnsigned(7), 7.0);

    EXPECT_EQ(c.UnsignedToInteger(65535), -1);
    EXPECT_EQ(c.UnsignedToInteger(32768), -32768);
    EXPECT_EQ(c.UnsignedToInteger(32767), 32767);
    EXPECT_THROW(c.UnsignedToInteger(-1), Failure);
    EXPECT_THROW(c.UnsignedToInteger(65536), Failure);
    EXPECT_EQ(c.IntegerToUnsigned(-1), 65535);
    EXPECT_EQ(c.IntegerToUnsigned(-32768), 32768);
    EXPECT_EQ(c.IntegerToUnsigned(5), 5);
    for (int32_t v : {0, 1, 32767, 32768, 65535}) EXPECT_EQ(c.IntegerToUnsigned(c.UnsignedToInteger(v)), v);
}

TEST(cConvertBytes, LongBytesFollowTheLengthRule) {
    cConvert c;
    ByteArray b(6, 0xEE);
    c.LongToByteArray(4642, b, 0, 2);
    EXPECT_EQ(b, (ByteArray{34, 18, 0xEE, 0xEE, 0xEE, 0xEE}));
    c.LongToByteArray(0x11223344, b, 1, 0);  // a Length of 0 still writes one byte
    EXPECT_EQ(b, (ByteArray{34, 0x44, 0xEE, 0xEE, 0xEE, 0xEE}));
    c.LongToByteArray(-2, b, 2, 9);  // above 4 writes four
    EXPECT_EQ(b, (ByteArray{34, 0x44, 0xFE, 0xFF, 0xFF, 0xFF}));
    c.LongToByteArray(0x01020304, b, 4, 4);  // runs off the end: what fits stays
    EXPECT_EQ(b, (ByteArray{34, 0x44, 0xFE, 0xFF, 0x04, 0x03}));
    c.LongToByteArray(1, b, 9, 4);  // wholly outside: silently nothing
    c.LongToByteArray(1, b, -1, 2);
    EXPECT_EQ(b, (ByteArray{34, 0x44, 0xFE, 0xFF, 0x04, 0x03}));

    const ByteArray r{34, 18, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(c.ByteArrayToLong(r, 0, 2), 4642);
    EXPECT_EQ(c.ByteArrayToLong(r, 0, 1), 34);
    EXPECT_EQ(c.ByteArrayToLong(r, 0, 0), 34);
    EXPECT_EQ(c.ByteArrayToLong(r, 2, 3), 16777215);
    EXPECT_EQ(c.ByteArrayToLong(r, 1, 4), -238);  // 0xFFFFFF12
    EXPECT_THROW(c.ByteArrayToLong(r, 2, 4), Failure);
    EXPECT_THROW(c.ByteArrayToLong(r, -1, 1), Failure);
}

TEST(cConvertBytes, ByteArrayToByteArrayCopiesAscending) {
    cConvert c;
    ByteArray to(4, 0);
    c.ByteArrayToByteArray(ByteArray{1, 2, 3}, 1, to, 2, 2);
    EXPECT_EQ(to, (ByteArray{0, 0, 2, 3}));
    c.ByteArrayToByteArray(ByteArray{9}, 0, to, 0, 0);
    c.ByteArrayToByteArray(ByteArray{9}, 0, to, 0, -3);
    EXPECT_EQ(to, (ByteArray{0, 0, 2, 3}));

    // Within one array, ascending copying smears the first byte forward.
    ByteArray same{1, 2, 3, 4, 5};
    c.ByteArrayToByteArray(same, 0, same, 1, 4);
    EXPECT_EQ(same, (ByteArray{1, 1, 1, 1, 1}));

    // A bad index fails; the bytes before it are copied.
    ByteArray small(2, 0);
    EXPECT_THROW(c.ByteArrayToByteArray(ByteArray{7, 8, 9}, 0, small, 0, 3), Failure);
    EXPECT_EQ(small, (ByteArray{7, 8}));
    EXPECT_THROW(c.ByteArrayToByteArray(ByteArray{7}, 0, small, 0, 2), Failure);
}

TEST(cConvertHex, PairRule) {
    cConvert c;
    EXPECT_EQ(c.PopulateString("414243"), "ABC");
    EXPECT_EQ(c.PopulateString("4a6B"), "Jk");
    EXPECT_EQ(c.PopulateString("4142F"), std::string("AB\x0F"));
    EXPECT_EQ(c.PopulateString("G1"), std::string(1, '\0'));  // no leading digit: 0
    EXPECT_EQ(c.PopulateString("1G"), std::string(1, '\x01'));
    EXPECT_EQ(c.PopulateString(""), "");

    ByteArray b(3, 0xEE);
    c.PopulateByteArray(b, "0AFF");
    EXPECT_EQ(b, (ByteArray{10, 255, 0xEE}));
    EXPECT_THROW(c.PopulateByteArray(b, "01020304"), Failure);
    EXPECT_EQ(b, (ByteArray{1, 2, 3}));
}

class cConvertLogged : public ScratchTest {};

TEST_F(cConvertLogged, HexToByteArrayResultAndFailure) {
    cConvert c;
    ByteArray b(4, 0xEE);
    EXPECT_EQ(c.HexToByteArray("0AFF", b), 2);
    EXPECT_EQ(b, (ByteArray{10, 255, 0xEE, 0xEE}));
    EXPECT_EQ(c.HexToByteArray("0AFF00", b), 2);
    EXPECT_EQ(b, (ByteArray{10, 255, 0, 0xEE}));
    EXPECT_EQ(c.HexToByteArray("ABC", b), 1);
    EXPECT_EQ(b[0], 0xAB);
    EXPECT_EQ(b[1], 0x0C);
    EXPECT_EQ(c.HexToByteArray("", b), 0);
    EXPECT_EQ(c.HexToByteArray("12345678", b), 4);  // (8 - 1) / 2 = 3.5, to even
    EXPECT_TRUE(LogLines().empty());

    EXPECT_EQ(c.HexToByteArray("0102030405", b), 0);
    EXPECT_EQ(b, (ByteArray{1, 2, 3, 4}));
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 1u);
    ExpectLogLine(lines[0], "cConvert.HexToByteArray");
    EXPECT_NE(lines[0].find(kSubscript), std::string::npos) << lines[0];
}

TEST_F(cConvertLogged, StringToByteArrayResultAndFailure) {
    cConvert c;
    ByteArray b(4, 0);
    EXPECT_EQ(c.StringToByteArray("AB\xE9", b), 3);
    EXPECT_EQ(b, (ByteArray{65, 66, 0xE9, 0}));
    EXPECT_TRUE(LogLines().empty());
    EXPECT_EQ(c.StringToByteArray("toolong", b), 0);
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 1u);
    ExpectLogLine(lines[0], "cConvert.StringToByteArray");
}

TEST(cConvertGUID, FormsAndRandomness) {
    cConvert c;
    static const std::regex braced(R"(\{[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\})");
    static const std::regex clean(R"([0-9A-F]{12}4[0-9A-F]{3}[89AB][0-9A-F]{15})");
    const std::string a = c.GUID(), b = c.GUID();
    EXPECT_EQ(a.size(), 38u);
    EXPECT_TRUE(std::regex_match(a, braced)) << a;
    EXPECT_TRUE(std::regex_match(b, braced)) << b;
    EXPECT_NE(a, b);
    const std::string k = c.CleanGUID();
    EXPECT_TRUE(std::regex_match(k, clean)) << k;
    EXPECT_EQ(c.StringFromPointer(nullptr), "");
    EXPECT_EQ(c.StringFromPointer("text"), "text");
}

TEST(cConvertTolerant, DatesAndTimes) {
    cConvert c;
    // clang-format off
    const TextCase dates[] = {
        {"1899-12-30", 0}, {"1900-01-01", 2}, {"2000-02-29", 36585}, {" 2024-1-5 ", 45296},
        {"2024-01-05 12:00", 45296.5}, {"2024-01-05T06:00:00", 45296.25}, {"1899-12-29 06:00", -1.25},
        {"0100-01-01", -657434}, {"9999-12-31", 2958465}, {"12:00", 0.5}, {"45000.5", 45000.5}};
    // clang-format on
    for (const auto& d : dates) EXPECT_EQ(c.ToDate(d.text), d.value) << d.text;
    for (const char* bad :
         {"", "hello", "2001-02-29", "1900-02-29", "2024-13-01", "2024-00-10", "2024-01-32", "0099-12-31", "24-01-05",
          "2024-01-05 24:00", "2024-01-05x", "12:60", "12:5", "3000000", "2024-01-05 12:00 x"})
        EXPECT_EQ(c.ToDate(bad), 0) << bad;

    // clang-format off
    const TextCase times[] = {
        {"18:00", 0.75}, {"06:30:36", 23436.0 / 86400.0}, {"23:59:59", 86399.0 / 86400.0},
        {"2024-01-05 06:00", 0.25}, {"2024-01-05", 0}, {"1.5", 0.5}, {"-1.25", 0.25}, {"noon", 0}, {"18:00:60", 0}};
    // clang-format on
    for (const auto& t : times) EXPECT_EQ(c.ToTime(t.text), t.value) << t.text;
}

TEST(cConvertTolerant, CurrencyIsExactHalfToEven) {
    cConvert c;
    // clang-format off
    const struct {
        const char* text;
        int64_t value;
    } cases[] = {
        {"1.23456", 12346}, {"0.00005", 0}, {"0.00015", 2}, {"0.00025", 2}, {"1.000050001", 10001},
        {"0.000049999", 0}, {"-2.5", -25000}, {"-0.00015", -2}, {" 7 ", 70000}, {"1e3", 10000000}, {"15e-5", 2},
        {"1e-30", 0}, {"&H10", 160000}, {"000.5", 5000},
        {"922337203685477.5807", std::numeric_limits<int64_t>::max()},
        {"-922337203685477.5808", std::numeric_limits<int64_t>::min()},
        // an overflow, also one by rounding, gives the zero value
        {"922337203685477.5808", 0}, {"922337203685477.58075", 0}, {"1e400", 0}, {"abc", 0}, {"12abc", 0}, {"", 0}};
    // clang-format on
    for (const auto& k : cases) EXPECT_EQ(c.ToCurrency(k.text), k.value) << k.text;

    // clang-format off
    const TextCase doubles[] = {
        {"1.5", 1.5}, {" -1e3 ", -1000}, {"&H10", 16}, {"12abc", 0}, {"&H", 0}, {"", 0}, {"1e400", 0}, {"nan", 0},
        {"inf", 0}};
    // clang-format on
    for (const auto& d : doubles) EXPECT_EQ(c.ToDouble(d.text), d.value) << d.text;
}

// ---- mConvert ----

TEST(mConvert, MakeLongIsBitForBit) {
    EXPECT_EQ(MakeLong(0x1234, 0x5678), 0x56781234);
    EXPECT_EQ(MakeLong(-1, 0), 65535);
    EXPECT_EQ(MakeLong(0, -1), -65536);
    EXPECT_EQ(MakeLong(-1, -1), -1);
}

TEST(mConvert, ColorFrom555) {
    EXPECT_EQ(ColorFrom555(32767), 16316664);  // F8F8F8
    EXPECT_EQ(ColorFrom555(31744), 248);       // pure red
    EXPECT_EQ(ColorFrom555(992), 63488);       // pure green
    EXPECT_EQ(ColorFrom555(31), 16252928);     // pure blue
    EXPECT_EQ(ColorFrom555(0), 0);
    // Bit 15 set: the division cuts toward zero on the signed entry.
    EXPECT_EQ(ColorFrom555(-1), 248 * 65536);  // 65535: red 0, green 0, blue 248
    EXPECT_EQ(ColorFrom555(-33), 248 * 256 + 248 * 65536);
    EXPECT_EQ(ColorFrom555(-32768), 0);
}

TEST(mConvert, ColorTo555) {
    EXPECT_EQ(ColorTo555(0xF8F8F8), 32767);
    EXPECT_EQ(ColorTo555(0), 0);
    EXPECT_EQ(ColorTo555(255), 31744);                               // red 255
    EXPECT_EQ(ColorTo555(248 << 8), 992);                            // green 248
    EXPECT_EQ(ColorTo555(248 << 16), 31);                            // blue 248
    EXPECT_EQ(ColorTo555(static_cast<int32_t>(0xFFF8F8F8)), 32767);  // fourth byte ignored
    // Red is divided by 8.1, the others by 8, each rounded half to even.
    EXPECT_EQ(ColorTo555(12), 1 * 1024);     // 1.48, where 12 / 8 would give 2
    EXPECT_EQ(ColorTo555(12 << 8), 2 * 32);  // 1.5 to even
    EXPECT_EQ(ColorTo555(20 << 8), 2 * 32);  // 2.5 to even
    EXPECT_EQ(ColorTo555(4 << 16), 0);       // 0.5 to even
    EXPECT_EQ(ColorTo555(12 << 16), 2);
    // 252 and above would round to 32 and spill into the next field: held at 31.
    EXPECT_EQ(ColorTo555(252 << 8), 992);
    EXPECT_EQ(ColorTo555(255 << 16), 31);
    EXPECT_EQ(ColorTo555(0xFFFFFF), 32767);
}

TEST(mConvert, EveryColourSurvivesTheRoundTrip) {
    for (int32_t v = 0; v < 32768; ++v) ASSERT_EQ(ColorTo555(ColorFrom555(v)), v) << v;
}

}  // namespace
}  // namespace quillet
