#pragma once
// A toolbox of conversions: unsigned numbers, byte arrays, hexadecimal text,
// GUIDs and tolerant parsing. Stateless.
#include <cstdint>
#include <string>

#include "base/ByteIO.h"

namespace quillet {

class cConvert {
public:
    int32_t UnsignedToLong(double Value);
    double LongToUnsigned(int32_t Value);
    int16_t UnsignedToInteger(int32_t Value);
    int32_t IntegerToUnsigned(int16_t Value);
    void LongToByteArray(int32_t l, ByteArray& B, int32_t Start, int32_t Length);
    int32_t ByteArrayToLong(const ByteArray& B, int32_t Start, int32_t Length);
    void ByteArrayToByteArray(const ByteArray& BFrom, int32_t StartFrom, ByteArray& BTo, int32_t StartTo,
                              int32_t Length);
    int32_t HexToByteArray(const std::string& h, ByteArray& B);
    int32_t StringToByteArray(const std::string& s, ByteArray& B);
    std::string GUID();
    std::string CleanGUID();
    std::string PopulateString(const std::string& HexString);
    void PopulateByteArray(ByteArray& B, const std::string& HexData);
    std::string StringFromPointer(const char* lPointer);
    // Dates as day numbers from 1899-12-30 with the time as the fraction.
    double ToDate(const std::string& indate);
    double ToTime(const std::string& inTime);
    // Fixed point with four decimals, as a scaled integer.
    int64_t ToCurrency(const std::string& inCurrency);
    double ToDouble(const std::string& inDouble);
};

// The numeric prefix parse of the dialogs and the CLI: leading blanks are
// skipped, the longest numeric beginning counts ("12abc" is 12, "abc" and ""
// are 0, "0x10" is 0), and "&H" makes the digits behind it hexadecimal
// ("&O" octal). Hexadecimal and octal digits are a 32-bit pattern: "&HFFFF"
// is 65535, "&HFFFFFFFF" is -1, more than 32 bits is a failure (Overflow),
// as is a decimal number beyond the range of a double.
double ParseNumberPrefix(const std::string& text);
// The same, rounded half to even into 32 bits or a byte; a value that does
// not fit is a failure (Overflow).
int32_t ParseLongPrefix(const std::string& text);
uint8_t ParseBytePrefix(const std::string& text);
// The block number of the gump import: a text that begins with "0x" (any
// case) is hexadecimal behind it, anything else goes through the prefix parse
// as it is. Rounded into 32 bits like ParseLongPrefix.
int32_t ParseBlockIndex(const std::string& text);

}  // namespace quillet
