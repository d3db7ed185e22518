#pragma once
// The codes of the patch file classes and the texts that go with them.
#include <cstdint>
#include <string>

namespace quillet {

// 500..507 of the patch file classes (MUO and UOP); "" for any other number.
std::string PatchFileErrorText(int32_t code);

// The message for a block number beyond its type, three lines, CR LF.
std::string IllegalBlockMessage(int FileID, int32_t Block);

}  // namespace quillet
