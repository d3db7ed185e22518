#pragma once
// The tolerant reading of numbers in text that the prefix parse and the
// conversions of cConvert share: decimal numbers with an optional exponent
// (E or D), and "&H"/"&O" digits as a 32-bit pattern.
#include <cstddef>
#include <cstdint>
#include <string>

namespace quillet::numbertext {

bool IsDigit(char c);
// The digit's value in base (up to 16), or -1 if it is none.
int DigitValue(char c, int base);

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

struct NumberScan {
    double value = 0;
    size_t end = 0;      // first character not read
    bool found = false;  // a number was there at all
};

// Sign, digits, point, digits, exponent (E or D); an exponent letter without
// digits behind it is not read. False if there are no digits at all.
bool ScanDecimalParts(const std::string& text, size_t pos, DecimalParts& parts, size_t& end);
// A number at pos (no blanks skipped). Nothing numeric gives 0, not found.
// A value beyond a double, or hexadecimal beyond 32 bits, is a failure (Overflow).
NumberScan ScanNumber(const std::string& text, size_t pos);
// The first position from pos that holds no blank (space, tab, CR, LF).
size_t SkipBlanks(const std::string& text, size_t pos);
std::string Trimmed(const std::string& text);
// A whole text that is one number, blanks around it allowed.
bool WholeNumber(const std::string& text, double& value);
// Rounded half to even; a value beyond 32 bits is a failure (Overflow).
int32_t RoundToLong(double value);

}  // namespace quillet::numbertext
