#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <regex>
#include <string>

#include "SupportTestUtil.h"
#include "base/Checked.h"
#include "support/cConvert.h"
#include "support/mConvert.h"

namespace quillet {
namespace {

// Each input gives its value; each overflowing one is a Failure saying so.
template <typename In, typename Out = double, typename F>
void ExpectGives(F f, std::initializer_list<std::pair<In, Out>> cases, std::initializer_list<In> overflows = {}) {
    for (const auto& [in, out] : cases) EXPECT_EQ(f(in), out) << in;
    for (const In& in : overflows) {
        try {
            f(in);
            ADD_FAILURE() << in << ": no failure";
        } catch (const Failure& e) {
            EXPECT_STREQ(e.what(), kOverflow) << in;
        }
    }
}
using Text = const char*;

// The numeric prefix parse of the limit boxes and the gump index.
TEST(ConvertPrefix, ReadsTheLongestNumericBeginning) {
    ExpectGives<Text>(ParseNumberPrefix,
        {{"12abc", 12}, {"abc", 0}, {"", 0}, {"0x10", 0}, {" \t 42", 42}, {"-7", -7}, {"+3", 3}, {"-", 0}, {".", 0},
         {".5", 0.5}, {"-.25x", -0.25}, {"1.2.3", 1.2}, {"4 5", 4}, {"1,5", 1},
         // an exponent (E or D) counts only with digits behind it
         {"1.5e2", 150}, {"1E+2", 100}, {"25e-1", 2.5}, {"1D2", 100}, {"1e", 1}, {"1e+", 1}, {"3ex", 3},
         {"1e-400", 0}, {"0e999999999999", 0},
         // hexadecimal and octal digits are a 32-bit pattern
         {"&H10", 16}, {"  &hff", 255}, {"&H1fZ", 31}, {"&H", 0}, {"&HG1", 0}, {"&O17", 15}, {"&O18", 1},
         {"&HFFFF", 65535}, {"&H7FFFFFFF", 2147483647}, {"&H80000000", -2147483648.0}, {"&HFFFFFFFF", -1},
         {"&H00000000FF", 255}, {"-&H10", 0}},
        {"1e400", "0.001e99999999999", "&H100000000", "&O40000000000"});
}

TEST(ConvertPrefix, RoundsHalfToEvenAndChecksRange) {
    ExpectGives<Text>(ParseLongPrefix,
        {{"2.5", 2}, {"3.5", 4}, {"-2.5", -2}, {"2.51", 3}, {"12abc", 12}, {"2147483647", 2147483647},
         {"-2147483648", -2147483648.0}, {"-2147483648.5", -2147483648.0}, {"&HFFFFFFFF", -1}},
        {"2147483648", "2147483647.5", "-2147483649", "1e10"});
    ExpectGives<Text>(ParseBytePrefix, {{"255", 255}, {"254.5", 254}, {"0.5", 0}, {"-0.4", 0}, {"&HFF", 255}, {"x", 0}},
        {"255.5", "256", "-1", "&HFFFFFFFF"});
    ExpectGives<Text>(ParseBlockIndex,  // 0x makes the rest hexadecimal; a blank before it hides it
        {{"0x10", 16}, {"0X10", 16}, {"10", 10}, {"0x00", 0}, {"0xffff", 65535}, {"0x", 0}, {"0xZZ", 0},
         {"0x1A.8", 26}, {"0xFFFFFFFF", -1}, {"2.5", 2}, {"", 0}, {" 0x10", 0}},
        {"0x123456789"});
}

TEST(ConvertNumbers, UnsignedViewsAndLittleEndianBytes) {
    cConvert c;
    ExpectGives<double>([&](double v) { return c.UnsignedToLong(v); },
        {{4294967295.0, -1}, {2147483648.0, -2147483648.0}, {2147483647.0, 2147483647}, {0.5, 0}, {1.5, 2},
         {4294967294.5, -2}},
        {-0.1, 4294967296.0, std::nan("")});
    for (double u : {0.0, 2147483647.0, 2147483648.0, 4294967295.0})
        EXPECT_EQ(c.LongToUnsigned(c.UnsignedToLong(u)), u);
    ExpectGives<int32_t>([&](int32_t v) { return c.UnsignedToInteger(v); },
        {{65535, -1}, {32768, -32768}, {32767, 32767}}, {-1, 65536});
    for (int32_t v : {0, 1, 32767, 32768, 65535}) EXPECT_EQ(c.IntegerToUnsigned(c.UnsignedToInteger(v)), v);

    ByteArray b(6, 0xEE);
    c.LongToByteArray(4642, b, 0, 2);
    EXPECT_EQ(b, (ByteArray{34, 18, 0xEE, 0xEE, 0xEE, 0xEE}));
    c.LongToByteArray(0x11223344, b, 1, 0);  // a Length of 0 still writes one byte
    EXPECT_EQ(b, (ByteArray{34, 0x44, 0xEE, 0xEE, 0xEE, 0xEE}));
    c.LongToByteArray(-2, b, 2, 9);  // above 4 writes four
    EXPECT_EQ(b, (ByteArray{34, 0x44, 0xFE, 0xFF, 0xFF, 0xFF}));
    c.LongToByteArray(0x01020304, b, 4, 4);  // runs off the end: what fits stays
    EXPECT_EQ(b, (ByteArray{34, 0x44, 0xFE, 0xFF, 0x04, 0x03}));
    for (int32_t outside : {9, -1}) c.LongToByteArray(1, b, outside, 2);  // wholly outside: silently nothing
    EXPECT_EQ(b, (ByteArray{34, 0x44, 0xFE, 0xFF, 0x04, 0x03}));

    const ByteArray r{34, 18, 0xFF, 0xFF, 0xFF};
    EXPECT_EQ(c.ByteArrayToLong(r, 0, 2), 4642);
    EXPECT_EQ(c.ByteArrayToLong(r, 0, 1), 34);
    EXPECT_EQ(c.ByteArrayToLong(r, 0, 0), 34);
    EXPECT_EQ(c.ByteArrayToLong(r, 2, 3), 16777215);
    EXPECT_EQ(c.ByteArrayToLong(r, 1, 4), -238);  // 0xFFFFFF12
    EXPECT_THROW(c.ByteArrayToLong(r, 2, 4), Failure);
    EXPECT_THROW(c.ByteArrayToLong(r, -1, 1), Failure);

    ByteArray to(4, 0);
    c.ByteArrayToByteArray(ByteArray{1, 2, 3}, 1, to, 2, 2);
    for (int32_t nothing : {0, -3}) c.ByteArrayToByteArray(ByteArray{9}, 0, to, 0, nothing);
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

using ConvertLogged = testing::ScratchTest;

TEST_F(ConvertLogged, HexAndTextToBytesResultsAndFailures) {
    cConvert c;
    // Pairs of digits; a pair without a leading digit is 0, a lone last digit a byte of its own.
    ExpectGives<Text, std::string>([&](Text h) { return c.PopulateString(h); },
        {{"414243", "ABC"}, {"4a6B", "Jk"}, {"4142F", "AB\x0F"}, {"G1", std::string(1, '\0')}, {"1G", "\x01"},
         {"", ""}});
    ByteArray p(3, 0xEE);
    c.PopulateByteArray(p, "0AFF");
    EXPECT_EQ(p, (ByteArray{10, 255, 0xEE}));
    EXPECT_THROW(c.PopulateByteArray(p, "01020304"), Failure);
    EXPECT_EQ(p, (ByteArray{1, 2, 3}));  // what fits stays
    ByteArray b(4, 0xEE);
    EXPECT_EQ(c.HexToByteArray("0AFF", b), 2);
    EXPECT_EQ(b, (ByteArray{10, 255, 0xEE, 0xEE}));
    EXPECT_EQ(c.HexToByteArray("0AFF00", b), 2);
    EXPECT_EQ(b, (ByteArray{10, 255, 0, 0xEE}));
    EXPECT_EQ(c.HexToByteArray("ABC", b), 1);
    EXPECT_EQ(b, (ByteArray{0xAB, 0x0C, 0, 0xEE}));
    EXPECT_EQ(c.HexToByteArray("", b), 0);
    EXPECT_EQ(c.HexToByteArray("12345678", b), 4);  // (8 - 1) / 2 = 3.5, to even
    ByteArray s(4, 0);
    EXPECT_EQ(c.StringToByteArray("AB\xE9", s), 3);
    EXPECT_EQ(s, (ByteArray{65, 66, 0xE9, 0}));
    EXPECT_TRUE(LogLines().empty());

    EXPECT_EQ(c.HexToByteArray("0102030405", b), 0);
    EXPECT_EQ(b, (ByteArray{1, 2, 3, 4}));
    EXPECT_EQ(c.StringToByteArray("toolong", s), 0);
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 2u);
    ExpectLogLine(lines[0], "cConvert.HexToByteArray");
    EXPECT_NE(lines[0].find(kSubscript), std::string::npos) << lines[0];
    ExpectLogLine(lines[1], "cConvert.StringToByteArray");
}

TEST(ConvertGUID, FormsAndRandomness) {
    cConvert c;
    static const std::regex braced(R"(\{[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}\})");
    static const std::regex clean(R"([0-9A-F]{12}4[0-9A-F]{3}[89AB][0-9A-F]{15})");
    const std::string a = c.GUID(), k = c.CleanGUID();
    EXPECT_TRUE(std::regex_match(a, braced)) << a;
    EXPECT_NE(a, c.GUID());
    EXPECT_TRUE(std::regex_match(k, clean)) << k;
    EXPECT_EQ(c.StringFromPointer(nullptr), "");
}

TEST(ConvertTolerant, DatesTimesCurrencyAndDoubles) {
    cConvert c;
    ExpectGives<Text>([&](Text t) { return c.ToDate(t); },
        {{"1899-12-30", 0}, {"1900-01-01", 2}, {"2000-02-29", 36585}, {" 2024-1-5 ", 45296}, {"12:00", 0.5},
         {"2024-01-05 12:00", 45296.5}, {"2024-01-05T06:00:00", 45296.25}, {"1899-12-29 06:00", -1.25},
         {"0100-01-01", -657434}, {"9999-12-31", 2958465}, {"45000.5", 45000.5},
         // not dates: 0
         {"", 0}, {"hello", 0}, {"2001-02-29", 0}, {"1900-02-29", 0}, {"2024-13-01", 0}, {"2024-00-10", 0},
         {"2024-01-32", 0}, {"0099-12-31", 0}, {"24-01-05", 0}, {"2024-01-05 24:00", 0}, {"2024-01-05x", 0},
         {"12:60", 0}, {"12:5", 0}, {"3000000", 0}, {"2024-01-05 12:00 x", 0}});
    ExpectGives<Text>([&](Text t) { return c.ToTime(t); },
        {{"18:00", 0.75}, {"06:30:36", 23436.0 / 86400.0}, {"23:59:59", 86399.0 / 86400.0}, {"2024-01-05", 0},
         {"2024-01-05 06:00", 0.25}, {"1.5", 0.5}, {"-1.25", 0.25}, {"noon", 0}, {"18:00:60", 0}});
    // Currency is exact, rounded half to even; an overflow, also one by rounding, gives 0.
    ExpectGives<Text, int64_t>([&](Text t) { return c.ToCurrency(t); }, {
        {"1.23456", 12346}, {"0.00005", 0}, {"0.00015", 2}, {"0.00025", 2}, {"1.000050001", 10001},
        {"0.000049999", 0}, {"-2.5", -25000}, {"-0.00015", -2}, {" 7 ", 70000}, {"1e3", 10000000}, {"15e-5", 2},
        {"1e-30", 0}, {"&H10", 160000}, {"000.5", 5000},
        {"922337203685477.5807", std::numeric_limits<int64_t>::max()},
        {"-922337203685477.5808", std::numeric_limits<int64_t>::min()},
        {"922337203685477.5808", 0}, {"922337203685477.58075", 0}, {"1e400", 0}, {"abc", 0}, {"12abc", 0}, {"", 0}});
    ExpectGives<Text>([&](Text t) { return c.ToDouble(t); }, {{"1.5", 1.5}, {" -1e3 ", -1000}, {"&H10", 16},
        {"12abc", 0}, {"&H", 0}, {"", 0}, {"1e400", 0}, {"nan", 0}, {"inf", 0}});
}

TEST(ConvertColours, MakeLongIsBitForBitAndColoursRoundTrip) {
    EXPECT_EQ(MakeLong(0x1234, 0x5678), 0x56781234);
    EXPECT_EQ(MakeLong(-1, 0), 65535);
    EXPECT_EQ(MakeLong(0, -1), -65536);
    EXPECT_EQ(MakeLong(-1, -1), -1);
    // White, pure red, green and blue; with bit 15 set the division cuts toward
    // zero on the signed entry (65535 is red 0, green 0, blue 248).
    ExpectGives<int32_t, int32_t>(ColorFrom555, {{32767, 0xF8F8F8}, {31744, 248}, {992, 248 << 8}, {31, 248 << 16},
                                                 {-1, 248 << 16}, {-33, 248 * 256 + 248 * 65536}, {-32768, 0}});
    for (int32_t v = 0; v < 32768; ++v) ASSERT_EQ(ColorTo555(ColorFrom555(v)), v) << v;
    // The fourth byte is ignored. Red is divided by 8.1 (12 gives 1.48, not 12 / 8 = 1.5), the others by 8, each
    // rounded half to even (1.5, 2.5, 0.5); 252 and above would round to 32 and spill over: held at 31.
    ExpectGives<int32_t, int32_t>(ColorTo555, {{255, 31744}, {static_cast<int32_t>(0xFFF8F8F8), 32767}, {12, 1 * 1024},
                                               {12 << 8, 2 * 32}, {20 << 8, 2 * 32}, {4 << 16, 0}, {12 << 16, 2},
                                               {252 << 8, 992}, {255 << 16, 31}, {0xFFFFFF, 32767}});
}

}  // namespace
}  // namespace quillet
