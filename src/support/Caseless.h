#pragma once
// Names compared without regard to case, as Windows compares registry keys,
// value names and file names. Only the ASCII letters fold; the bytes of a
// UTF-8 sequence are compared as they are.
#include <string>
#include <string_view>

namespace quillet {

char LowerAscii(char c);
std::string LowerText(std::string_view text);
bool SameCaseless(std::string_view a, std::string_view b);

}  // namespace quillet
