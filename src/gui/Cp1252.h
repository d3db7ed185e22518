#pragma once
// Text inside the client's files is Windows-1252, one byte per character.
#include <QString>

#include <string_view>

namespace quillet {

QChar Cp1252Char(unsigned char byte);
QString FromCp1252(std::string_view bytes);

}  // namespace quillet
