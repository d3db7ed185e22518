#include "support/NumberText.h"

#include <charconv>
#include <cmath>

#include "base/Checked.h"
#include "base/cError.h"

namespace quillet::numbertext {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Hexadecimal or octal digits from pos on. They are read as the bit pattern
// of a 32-bit number, so that "&HFFFFFFFF" is -1 as a 32-bit literal is,
// while "&HFFFF" stays 65535: block numbers from 32768 to 65535 are ordinary
// and must not turn negative. More than 32 bits is an overflow.
NumberScan ScanRadix(const std::string& text, size_t pos, int base) {
    uint64_t value = 0;
    size_t i = pos;
    for (; i < text.size(); ++i) {
        const int digit = DigitValue(text[i], base);
        if (digit < 0) break;
        value = value * static_cast<uint64_t>(base) + static_cast<uint64_t>(digit);
        if (value > 0xFFFFFFFFu) Fail(kOverflow);
    }
    if (i == pos) return {0, pos, false};
    return {static_cast<double>(static_cast<int32_t>(static_cast<uint32_t>(value))), i, true};
}

double DecimalValue(const DecimalParts& parts) {
    std::string digits = parts.integer.empty() ? "0" : parts.integer;
    if (!parts.fraction.empty()) digits.append(1, '.').append(parts.fraction);
    digits.append(1, 'e').append(std::to_string(parts.exponent));
    double value = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // Too large or too small for a double: the place of the first
        // significant digit tells which. Too small is 0.
        int64_t place = 0;
        const size_t lead = parts.integer.find_first_not_of('0');
        if (lead != std::string::npos) {
            place = static_cast<int64_t>(parts.integer.size() - lead) - 1;
        } else {
            const size_t first = parts.fraction.find_first_not_of('0');
            if (first == std::string::npos) return 0;
            place = -static_cast<int64_t>(first) - 1;
        }
        if (place + parts.exponent > 0) Fail(kOverflow);
        return 0;
    }
    if (result.ec != std::errc() || !std::isfinite(value)) Fail(kOverflow);
    return parts.negative ? -value : value;
}

}  // namespace

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int DigitValue(char c, int base) {
    int value = -1;
    if (c >= '0' && c <= '9') value = c - '0';
    else if (c >= 'a' && c <= 'f') value = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F') value = c - 'A' + 10;
    return value < base ? value : -1;
}

bool ScanDecimalParts(const std::string& text, size_t pos, DecimalParts& parts, size_t& end) {
    const size_t n = text.size();
    size_t i = pos;
    if (i < n && (text[i] == '+' || text[i] == '-')) parts.negative = text[i++] == '-';
    size_t start = i;
    while (i < n && IsDigit(text[i])) ++i;
    parts.integer = text.substr(start, i - start);
    if (i < n && text[i] == '.') {
        start = ++i;
        while (i < n && IsDigit(text[i])) ++i;
        parts.fraction = text.substr(start, i - start);
    }
    if (parts.integer.empty() && parts.fraction.empty()) return false;
    if (i < n && (text[i] == 'E' || text[i] == 'e' || text[i] == 'D' || text[i] == 'd')) {
        size_t j = i + 1;
        bool negative = false;
        if (j < n && (text[j] == '+' || text[j] == '-')) negative = text[j++] == '-';
        if (j < n && IsDigit(text[j])) {
            int64_t exponent = 0;
            for (; j < n && IsDigit(text[j]); ++j)
                if (exponent < 100000) exponent = exponent * 10 + (text[j] - '0');
            parts.exponent = negative ? -exponent : exponent;
            i = j;
        }
    }
    end = i;
    return true;
}

NumberScan ScanNumber(const std::string& text, size_t pos) {
    if (pos + 1 < text.size() && text[pos] == '&') {
        const char kind = text[pos + 1];
        if (kind == 'H' || kind == 'h') return ScanRadix(text, pos + 2, 16);
        if (kind == 'O' || kind == 'o') return ScanRadix(text, pos + 2, 8);
    }
    DecimalParts parts;
    size_t end = pos;
    if (!ScanDecimalParts(text, pos, parts, end)) return {0, pos, false};
    return {DecimalValue(parts), end, true};
}

size_t SkipBlanks(const std::string& text, size_t pos) {
    while (pos < text.size() && IsBlank(text[pos])) ++pos;
    return pos;
}

std::string Trimmed(const std::string& text) {
    const size_t first = SkipBlanks(text, 0);
    size_t last = text.size();
    while (last > first && IsBlank(text[last - 1])) --last;
    return text.substr(first, last - first);
}

bool WholeNumber(const std::string& text, double& value) {
    const std::string t = Trimmed(text);
    const NumberScan scan = ScanNumber(t, 0);
    if (!scan.found || scan.end != t.size()) return false;
    value = scan.value;
    return true;
}

int32_t RoundToLong(double value) {
    const double r = std::nearbyint(value);  // ties to even in the default mode
    if (!(r >= -2147483648.0 && r <= 2147483647.0)) Fail(kOverflow);
    return static_cast<int32_t>(r);
}

}  // namespace quillet::numbertext
