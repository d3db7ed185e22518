#pragma once
// The name hash of the client's UOP containers. An entry is stored under the
// hash of its name only ("build/artlegacymul/00001234.tga"), so a reader
// finds a block by hashing the names it may have.
#include <cstdint>
#include <string_view>

namespace quillet {

// The 64-bit hash of a name: lookup3's hashlittle2 over its bytes with both
// initial values 0, the second result (b) in the high and the first (c) in
// the low half.
uint64_t UOPNameHash(std::string_view name);

}  // namespace quillet
