#pragma once
// Shared by the hostile-file and disk-fault tests: the checks that every
// such case makes (inputs untouched, nothing left behind, memory bounded).
#include <sys/resource.h>

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>

#include "common/Bytes.h"
#include "common/TestEnv.h"

namespace quillet::hostile {

using test::Bytes;
using test::Exists;
using test::LinesOf;

inline constexpr int32_t kMaxLong = 2147483647;
inline constexpr int32_t kMinLong = -2147483647 - 1;

// Highest resident set of this process so far, in KiB. It only grows, so a
// case that allocates (and touches) a block of gigabytes shows up as growth.
inline long PeakRssKiB() {
    rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// The regular files under dir, as paths relative to it.
inline std::set<std::string> FilesUnder(const std::string& dir) {
    std::set<std::string> names;
    std::error_code ignored;
    for (auto it = std::filesystem::recursive_directory_iterator(dir, ignored);
         it != std::filesystem::recursive_directory_iterator(); it.increment(ignored)) {
        if (it->is_regular_file(ignored)) names.insert(std::filesystem::relative(it->path(), dir).string());
    }
    return names;
}

}  // namespace quillet::hostile
