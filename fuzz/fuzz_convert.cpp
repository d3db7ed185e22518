// The numeric prefix parse of the dialogs and the CLI, and the text
// conversions of cConvert, on any text. Besides crashes and undefined
// behaviour the checks look for wrong numbers: plain decimal and &H numbers
// are held against the C library, and the parse must not change when blanks
// go in front or a character that cannot continue a number goes behind.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "FuzzSupport.h"
#include "base/Checked.h"
#include "support/cConvert.h"

namespace quillet::fuzz {
namespace {

// The result, or nullopt for the library's own failure. Any other exception
// escapes and stops the process.
template <class F>
auto Outcome(F f) -> std::optional<decltype(f())> {
    try {
        return f();
    } catch (const Failure&) {
        return std::nullopt;
    }
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsHex(char c) { return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// What the C library says of the number at the start of text, where it is
// one of two simple forms: an integer of up to 15 digits that nothing
// numeric follows, or &H with hexadecimal digits. nullopt: not such a text;
// a value of nullopt inside: the parse must fail.
std::optional<std::optional<double>> Reference(const std::string& text) {
    size_t i = 0;
    while (i < text.size() && IsBlank(text[i])) ++i;
    if (i + 1 < text.size() && text[i] == '&' && (text[i + 1] == 'H' || text[i + 1] == 'h')) {
        size_t j = i + 2;
        while (j < text.size() && text[j] == '0') ++j;
        const size_t first = j;
        while (j < text.size() && IsHex(text[j])) ++j;
        if (j == i + 2) return std::nullopt;  // no digits: not this form
        if (j - first > 8) return std::optional<double>{};
        const std::string digits = j == first ? "0" : text.substr(first, j - first);
        const auto bits = static_cast<uint32_t>(std::strtoul(digits.c_str(), nullptr, 16));
        return std::optional<double>{static_cast<double>(static_cast<int32_t>(bits))};
    }
    size_t j = i;
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
    const size_t first = j;
    while (j < text.size() && IsDigit(text[j])) ++j;
    if (j == first || j - first > 15) return std::nullopt;
    if (j < text.size()) {
        const char next = text[j];
        if (next == '.' || next == 'e' || next == 'E' || next == 'd' || next == 'D') return std::nullopt;
    }
    return std::optional<double>{static_cast<double>(std::strtoll(text.substr(i, j - i).c_str(), nullptr, 10))};
}

bool Same(const std::optional<double>& a, const std::optional<double>& b) {
    if (a.has_value() != b.has_value()) return false;
    return !a || *a == *b;
}

void CheckPrefixParse(const std::string& text) {
    const auto value = Outcome([&] { return ParseNumberPrefix(text); });
    if (value) FUZZ_CHECK(std::isfinite(*value), "a parsed number is finite");
    if (const auto reference = Reference(text))
        FUZZ_CHECK(Same(value, *reference), "the number agrees with the C library");
    FUZZ_CHECK(Same(value, Outcome([&] { return ParseNumberPrefix(" \t" + text); })), "blanks in front count for nothing");
    FUZZ_CHECK(Same(value, Outcome([&] { return ParseNumberPrefix(text + "z"); })),
               "a character that cannot continue a number counts for nothing");

    const auto asLong = Outcome([&] { return ParseLongPrefix(text); });
    const auto asByte = Outcome([&] { return ParseBytePrefix(text); });
    if (!value) {
        FUZZ_CHECK(!asLong && !asByte, "a failed parse fails in every width");
    } else {
        const double r = std::nearbyint(*value);
        const bool fitsLong = r >= -2147483648.0 && r <= 2147483647.0;
        FUZZ_CHECK(asLong.has_value() == fitsLong, "32 bits hold the number or the parse fails");
        if (asLong) FUZZ_CHECK(*asLong == static_cast<int32_t>(r), "rounded half to even into 32 bits");
        const bool fitsByte = r >= 0.0 && r <= 255.0;
        FUZZ_CHECK(asByte.has_value() == fitsByte, "a byte holds the number or the parse fails");
        if (asByte) FUZZ_CHECK(*asByte == static_cast<uint8_t>(r), "rounded into a byte");
    }

    const auto block = Outcome([&] { return ParseBlockIndex(text); });
    const bool hex = text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const auto expected = Outcome([&] { return ParseLongPrefix(hex ? "&H" + text.substr(2) : text); });
    FUZZ_CHECK(block == expected, "a block number is the prefix parse, hexadecimal behind 0x");
}

void CheckConvert(const std::string& text) {
    cConvert convert;
    const std::string padded = " " + text + "\t";

    const double number = convert.ToDouble(text);
    FUZZ_CHECK(std::isfinite(number), "ToDouble is finite");
    FUZZ_CHECK(convert.ToDouble(padded) == number, "ToDouble ignores blanks around the number");

    const int64_t currency = convert.ToCurrency(text);
    FUZZ_CHECK(convert.ToCurrency(padded) == currency, "ToCurrency ignores blanks around the number");
    if (const auto reference = Reference(text);
        reference && *reference && std::fabs(**reference) < 1e14 && text.find('&') == std::string::npos) {
        size_t end = 0;
        while (end < text.size() && IsBlank(text[end])) ++end;
        if (end < text.size() && (text[end] == '+' || text[end] == '-')) ++end;
        while (end < text.size() && IsDigit(text[end])) ++end;
        while (end < text.size() && IsBlank(text[end])) ++end;
        if (end == text.size())
            FUZZ_CHECK(currency == static_cast<int64_t>(**reference) * 10000, "an integer amount in ten thousandths");
    }

    const double date = convert.ToDate(text);
    FUZZ_CHECK(date == 0 || (date > -657435.0 && date < 2958466.0), "a date between the years 100 and 9999");
    const double time = convert.ToTime(text);
    FUZZ_CHECK(time >= 0 && time < 1, "a time of day is a fraction of a day");

    ByteArray bytes(text.size() / 2 + 1, 0xAA);
    const int32_t count = convert.HexToByteArray(text, bytes);
    const std::string populated = convert.PopulateString(text);
    FUZZ_CHECK(populated.size() == (text.size() + 1) / 2, "one byte per pair of digits");
    for (size_t i = 0; i < populated.size(); ++i)
        FUZZ_CHECK(bytes[i] == static_cast<uint8_t>(populated[i]), "HexToByteArray and PopulateString agree");
    FUZZ_CHECK(count == static_cast<int32_t>(std::nearbyint((static_cast<double>(text.size()) - 1.0) / 2.0)),
               "HexToByteArray answers the upper bound");

    ByteArray tooShort(text.size() / 2, 0);
    ByteArray copy(text.size(), 0);
    FUZZ_CHECK(convert.StringToByteArray(text, copy) == static_cast<int32_t>(text.size()), "every character copied");
    FUZZ_CHECK(std::string(copy.begin(), copy.end()) == text, "StringToByteArray copies the text");
    if (!text.empty()) {
        Observed& seen = ClearObserved();
        FUZZ_CHECK(convert.StringToByteArray(text, tooShort) == 0, "an array too short is a failure");
        FUZZ_CHECK(seen.logged == std::vector<std::string>{"cConvert.StringToByteArray"}, "and it is logged");
    }
}

}  // namespace
}  // namespace quillet::fuzz

using namespace quillet;
using namespace quillet::fuzz;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    InitPatchEnvironment();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    CheckPrefixParse(text);
    CheckConvert(text);
    return 0;
}
