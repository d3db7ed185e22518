#include "Cp1252.h"

namespace quillet {

QChar Cp1252Char(unsigned char byte) {
    // 0x80..0x9F differ from Latin-1; the five unassigned codes stay as they are.
    static const char16_t high[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                      0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                      0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                      0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
    if (byte >= 0x80 && byte < 0xA0) return QChar(high[byte - 0x80]);
    return QChar(static_cast<char16_t>(byte));
}

QString FromCp1252(std::string_view bytes) {
    QString text;
    text.reserve(static_cast<qsizetype>(bytes.size()));
    for (char c : bytes) text += Cp1252Char(static_cast<unsigned char>(c));
    return text;
}

}  // namespace quillet
