#include "support/cConvert.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <random>

#include "base/cError.h"
#include "support/mConvert.h"

namespace quillet {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int DigitValue(char c, int base) {
    int value = -1;
    if (c >= '0' && c <= '9') value = c - '0';
    else if (c >= 'a' && c <= 'f') value = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F') value = c - 'A' + 10;
    return value < base ? value : -1;
}

// A decimal number as it stands in the text: value = digits * 10^exponent,
// with the decimal point already taken into the exponent's account by the
// reader (exponent is the written one; fraction tells how many digits stood
// behind the point).
struct DecimalParts {
    bool negative = false;
    std::string integer;   // digits before the point
    std::string fraction;  // digits behind it
    int64_t exponent = 0;  // written exponent, held within +-100000
};

struct Scan {
    double value = 0;
    size_t end = 0;      // first character not read
    bool found = false;  // a number was there at all
};

// Hexadecimal or octal digits from pos on. They are read as the bit pattern
// of a 32-bit number, so that "&HFFFFFFFF" is -1 as a 32-bit literal is,
// while "&HFFFF" stays 65535: block numbers from 32768 to 65535 are ordinary
// and must not turn negative. More than 32 bits is an overflow.
Scan ScanRadix(const std::string& text, size_t pos, int base) {
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

// Sign, digits, point, digits, exponent (E or D, either letter in either case);
// an exponent letter without digits behind it is not read.
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

// A number at pos (no blanks skipped). Nothing numeric gives 0, not found.
Scan ScanNumber(const std::string& text, size_t pos) {
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

// A whole text that is one number, blanks around it allowed.
bool WholeNumber(const std::string& text, double& value) {
    const std::string t = Trimmed(text);
    const Scan scan = ScanNumber(t, 0);
    if (!scan.found || scan.end != t.size()) return false;
    value = scan.value;
    return true;
}

int32_t RoundToLong(double value) {
    const double r = std::nearbyint(value);  // ties to even in the default mode
    if (!(r >= -2147483648.0 && r <= 2147483647.0)) Fail(kOverflow);
    return static_cast<int32_t>(r);
}

// The pair rule: two characters from pos (or the last one alone) read as
// hexadecimal up to the first character that is no hexadecimal digit.
uint8_t PairValue(const std::string& text, size_t pos) {
    unsigned value = 0;
    for (size_t i = pos; i < pos + 2 && i < text.size(); ++i) {
        const int digit = DigitValue(text[i], 16);
        if (digit < 0) break;
        value = value * 16 + static_cast<unsigned>(digit);
    }
    return static_cast<uint8_t>(value);
}

// ---- dates: day numbers from 1899-12-30, time of day as the fraction ----

int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
    y -= m <= 2 ? 1 : 0;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

int64_t DaysInMonth(int64_t y, int64_t m) {
    static constexpr int64_t kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    return m == 2 && leap ? 29 : kDays[m - 1];
}

// Reads 1..maxDigits digits (exactly maxDigits if exact).
bool ReadField(const std::string& t, size_t& pos, size_t minDigits, size_t maxDigits, int64_t& value) {
    size_t i = pos;
    value = 0;
    while (i < t.size() && i - pos < maxDigits && IsDigit(t[i])) value = value * 10 + (t[i++] - '0');
    if (i - pos < minDigits) return false;
    pos = i;
    return true;
}

// YYYY-M[M]-D[D] from pos; answers the day number.
bool ReadIsoDate(const std::string& t, size_t& pos, int64_t& days) {
    size_t i = pos;
    int64_t y = 0, m = 0, d = 0;
    if (!ReadField(t, i, 4, 4, y) || i >= t.size() || t[i++] != '-') return false;
    if (!ReadField(t, i, 1, 2, m) || i >= t.size() || t[i++] != '-') return false;
    if (!ReadField(t, i, 1, 2, d)) return false;
    if (y < 100 || m < 1 || m > 12 || d < 1 || d > DaysInMonth(y, m)) return false;
    days = DaysFromCivil(y, m, d) - DaysFromCivil(1899, 12, 30);
    pos = i;
    return true;
}

// H[H]:MM[:SS] from pos; answers the seconds of the day.
bool ReadClock(const std::string& t, size_t& pos, int64_t& seconds) {
    size_t i = pos;
    int64_t h = 0, m = 0, s = 0;
    if (!ReadField(t, i, 1, 2, h) || i >= t.size() || t[i++] != ':') return false;
    if (!ReadField(t, i, 2, 2, m)) return false;
    if (i < t.size() && t[i] == ':') {
        ++i;
        if (!ReadField(t, i, 2, 2, s)) return false;
    }
    if (h > 23 || m > 59 || s > 59) return false;
    seconds = h * 3600 + m * 60 + s;
    pos = i;
    return true;
}

// A date value: before the epoch the day counts down while the time of day
// still counts up, as date values have it (-1.25 is 1899-12-29 06:00).
double DateValue(int64_t days, int64_t seconds) {
    const double fraction = static_cast<double>(seconds) / 86400.0;
    return days >= 0 ? static_cast<double>(days) + fraction : static_cast<double>(days) - fraction;
}

// A date, a date and a time (blank or 'T' between), or a time alone.
bool ReadDateTime(const std::string& text, int64_t& days, int64_t& seconds) {
    const std::string t = Trimmed(text);
    size_t pos = 0;
    days = 0;
    seconds = 0;
    if (ReadIsoDate(t, pos, days)) {
        if (pos == t.size()) return true;
        if (t[pos] != ' ' && t[pos] != 'T') return false;
        ++pos;
        return ReadClock(t, pos, seconds) && pos == t.size();
    }
    pos = 0;
    return ReadClock(t, pos, seconds) && pos == t.size();
}

constexpr double kFirstDate = -657434.0;                     // 100-01-01
constexpr double kLastDate = 2958465.0 + 86399.0 / 86400.0;  // 9999-12-31 23:59:59

}  // namespace

// ---- the numeric prefix parse ----

double ParseNumberPrefix(const std::string& text) { return ScanNumber(text, SkipBlanks(text, 0)).value; }

int32_t ParseLongPrefix(const std::string& text) { return RoundToLong(ParseNumberPrefix(text)); }

uint8_t ParseBytePrefix(const std::string& text) {
    const double r = std::nearbyint(ParseNumberPrefix(text));
    if (!(r >= 0.0 && r <= 255.0)) Fail(kOverflow);
    return static_cast<uint8_t>(r);
}

int32_t ParseBlockIndex(const std::string& text) {
    const bool hex = text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    return ParseLongPrefix(hex ? "&H" + text.substr(2) : text);
}

// ---- cConvert ----

int32_t cConvert::UnsignedToLong(double Value) {
    if (!(Value >= 0.0 && Value < 4294967296.0)) Fail(kOverflow);
    if (Value <= 2147483647.0) return RoundToLong(Value);
    return RoundToLong(Value - 4294967296.0);
}

double cConvert::LongToUnsigned(int32_t Value) {
    return Value < 0 ? static_cast<double>(Value) + 4294967296.0 : static_cast<double>(Value);
}

int16_t cConvert::UnsignedToInteger(int32_t Value) {
    if (Value < 0 || Value >= 65536) Fail(kOverflow);
    return static_cast<int16_t>(Value > 32767 ? Value - 65536 : Value);
}

int32_t cConvert::IntegerToUnsigned(int16_t Value) { return Value < 0 ? int32_t{Value} + 65536 : Value; }

void cConvert::LongToByteArray(int32_t l, ByteArray& B, int32_t Start, int32_t Length) {
    LongToBytes(l, B, Start, Length);
}

int32_t cConvert::ByteArrayToLong(const ByteArray& B, int32_t Start, int32_t Length) {
    return BytesToLong(B, Start, Length);
}

void cConvert::ByteArrayToByteArray(const ByteArray& BFrom, int32_t StartFrom, ByteArray& BTo, int32_t StartTo,
                                    int32_t Length) {
    // Byte by byte, ascending: the bytes before a bad index are copied, and
    // an overlapping copy within one array behaves as such a loop does.
    for (int32_t i = 0; i < Length; ++i) At(BTo, int64_t{StartTo} + i) = At(BFrom, int64_t{StartFrom} + i);
}

int32_t cConvert::HexToByteArray(const std::string& h, ByteArray& B) {
    try {
        for (size_t i = 0; i < h.size(); i += 2) At(B, static_cast<int64_t>(i / 2)) = PairValue(h, i);
        return static_cast<int32_t>(std::nearbyint((static_cast<double>(h.size()) - 1.0) / 2.0));
    } catch (...) {
        gError.Log("cConvert.HexToByteArray");
        return 0;
    }
}

int32_t cConvert::StringToByteArray(const std::string& s, ByteArray& B) {
    // The text is held as single bytes already: each is its own code.
    try {
        for (size_t i = 0; i < s.size(); ++i) At(B, static_cast<int64_t>(i)) = static_cast<uint8_t>(s[i]);
        return ToLong(static_cast<int64_t>(s.size()));
    } catch (...) {
        gError.Log("cConvert.StringToByteArray");
        return 0;
    }
}

std::string cConvert::GUID() {
    // A random (version 4) GUID in the registry form {8-4-4-4-12}.
    std::random_device device;
    uint8_t b[16];
    for (size_t i = 0; i < 16; i += 4) {
        const auto r = static_cast<uint32_t>(device());
        for (size_t k = 0; k < 4; ++k) b[i + k] = static_cast<uint8_t>(r >> (8 * k));
    }
    b[6] = static_cast<uint8_t>((b[6] & 0x0F) | 0x40);  // version 4
    b[8] = static_cast<uint8_t>((b[8] & 0x3F) | 0x80);  // variant 10xx
    char text[40];
    std::snprintf(text, sizeof text, "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}", b[0],
                  b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12], b[13], b[14], b[15]);
    return std::string(text, 38);
}

std::string cConvert::CleanGUID() {
    const std::string g = GUID();
    return g.substr(1, 8) + g.substr(10, 4) + g.substr(15, 4) + g.substr(20, 4) + g.substr(25, 12);
}

std::string cConvert::PopulateString(const std::string& HexString) {
    std::string result;
    result.reserve((HexString.size() + 1) / 2);
    for (size_t i = 0; i < HexString.size(); i += 2) result += static_cast<char>(PairValue(HexString, i));
    return result;
}

void cConvert::PopulateByteArray(ByteArray& B, const std::string& HexData) {
    for (size_t i = 0; i < HexData.size(); i += 2) At(B, static_cast<int64_t>(i / 2)) = PairValue(HexData, i);
}

std::string cConvert::StringFromPointer(const char* lPointer) {
    return lPointer ? std::string(lPointer) : std::string();
}

double cConvert::ToDate(const std::string& indate) {
    try {
        int64_t days = 0, seconds = 0;
        if (ReadDateTime(indate, days, seconds)) return DateValue(days, seconds);
        double value = 0;
        if (WholeNumber(indate, value) && value >= kFirstDate && value <= kLastDate) return value;
    } catch (...) {
    }
    return 0;
}

double cConvert::ToTime(const std::string& inTime) {
    try {
        int64_t days = 0, seconds = 0;
        if (ReadDateTime(inTime, days, seconds)) return DateValue(0, seconds);
        // A date value: its time of day is the fraction, whatever the sign.
        double value = 0;
        if (WholeNumber(inTime, value) && value >= kFirstDate && value <= kLastDate) {
            const double magnitude = std::fabs(value);
            return magnitude - std::floor(magnitude);
        }
    } catch (...) {
    }
    return 0;
}

int64_t cConvert::ToCurrency(const std::string& inCurrency) {
    // Exact in decimal: the text's digits scaled by 10^4 and rounded half to
    // even, so that "0.00005" is 0 and "0.00015" is 2 without binary error.
    try {
        const std::string t = Trimmed(inCurrency);
        DecimalParts parts;
        size_t end = 0;
        if (t.size() > 1 && t[0] == '&') {
            double value = 0;
            if (!WholeNumber(t, value)) return 0;
            return static_cast<int64_t>(value) * 10000;
        }
        if (!ScanDecimalParts(t, 0, parts, end) || end != t.size()) return 0;
        std::string digits = parts.integer + parts.fraction;
        const size_t lead = digits.find_first_not_of('0');
        if (lead == std::string::npos) return 0;
        digits.erase(0, lead);
        const int64_t scale = parts.exponent - static_cast<int64_t>(parts.fraction.size()) + 4;
        const int64_t kept = static_cast<int64_t>(digits.size()) + scale;  // digits left of the point
        if (kept > 19) Fail(kOverflow);
        uint64_t magnitude = 0;
        const auto push = [&magnitude](unsigned digit) {
            if (magnitude > (UINT64_MAX - digit) / 10) Fail(kOverflow);
            magnitude = magnitude * 10 + digit;
        };
        for (int64_t i = 0; i < kept; ++i)
            push(i < static_cast<int64_t>(digits.size()) ? static_cast<unsigned>(digits[static_cast<size_t>(i)] - '0')
                                                         : 0u);
        if (kept < static_cast<int64_t>(digits.size())) {
            // Rounding on the dropped digits; with kept < 0 the first dropped
            // digit is an implied 0, below one half.
            const char first = kept >= 0 ? digits[static_cast<size_t>(kept)] : '0';
            const bool restNonZero =
                kept >= 0 && digits.find_first_not_of('0', static_cast<size_t>(kept) + 1) != std::string::npos;
            const bool up = first > '5' || (first == '5' && (restNonZero || magnitude % 2 == 1));
            if (up) {
                if (magnitude == UINT64_MAX) Fail(kOverflow);
                ++magnitude;
            }
        }
        const uint64_t limit = parts.negative ? 9223372036854775808u : 9223372036854775807u;
        if (magnitude > limit) Fail(kOverflow);
        if (parts.negative) return magnitude == limit ? INT64_MIN : -static_cast<int64_t>(magnitude);
        return static_cast<int64_t>(magnitude);
    } catch (...) {
        return 0;
    }
}

double cConvert::ToDouble(const std::string& inDouble) {
    try {
        double value = 0;
        if (WholeNumber(inDouble, value)) return value;
    } catch (...) {
    }
    return 0;
}

}  // namespace quillet
