// The numeric prefix parse, the part of cConvert.h that the program calls.
// The cConvert class itself, a toolbox nothing calls today, is in
// cConvertExtras.cpp.
#include "support/cConvert.h"

#include <cmath>

#include "base/Checked.h"
#include "base/cError.h"
#include "support/NumberText.h"

namespace quillet {

using numbertext::RoundToLong;
using numbertext::ScanNumber;
using numbertext::SkipBlanks;

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

}  // namespace quillet
