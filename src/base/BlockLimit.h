#pragma once
// The one limit on the memory a single block may take. A file says how long
// its blocks are, and a damaged or hostile file can say 2 GB of a block that
// is not there: such a Size must never become an allocation. Block bytes that
// only pass through (from a source into the scratch DataFile) go through a
// fixed buffer and need no limit; this one counts only where a block must be
// held whole, in one array.
//
// 64 MiB: the largest blocks of real clients (big gumps, long sounds) are a
// few MiB, far below it, and any machine that runs the program can hold it.
// A block above it that must be held whole is a failure of the procedure,
// never a silent cut.
#include <cstdint>
#include <string>

#include "base/Checked.h"

namespace quillet {

inline constexpr int64_t kMaxBlockInMemory = int64_t{64} << 20;

// Fails unless a block of Size bytes may be held whole.
inline void CheckBlockFitsInMemory(int64_t Size) {
    if (Size > kMaxBlockInMemory)
        Fail("a block of " + std::to_string(Size) + " bytes is too large to hold in memory (the limit is " +
             std::to_string(kMaxBlockInMemory >> 20) + " MiB)");
}

}  // namespace quillet
