#pragma once
// Shared by the hostile-file and disk-fault tests: files built byte by byte
// here, independent of the readers and writers under test, and the checks
// that every such case makes (inputs untouched, nothing left behind, memory
// bounded).
#include <sys/resource.h>
#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "common/TestEnv.h"
#include "support/ByteIO.h"

namespace quillet::hostile {

inline constexpr int32_t kMaxLong = 2147483647;
inline constexpr int32_t kMinLong = -2147483647 - 1;

struct Bytes {
    ByteArray b;
    Bytes& le(int32_t v) {
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(static_cast<uint32_t>(v) >> (8 * i)));
        return *this;
    }
    Bytes& u8(uint8_t v) {
        b.push_back(v);
        return *this;
    }
    Bytes& raw(const ByteArray& data) {
        b.insert(b.end(), data.begin(), data.end());
        return *this;
    }
    Bytes& text(const std::string& s) {
        b.insert(b.end(), s.begin(), s.end());
        return *this;
    }
    Bytes& str(const std::string& s) { return text(s).u8(0); }  // ended by its 0 byte
    Bytes& fill(size_t n, uint8_t v) {
        b.insert(b.end(), n, v);
        return *this;
    }

    // MUO: "MUOP", version, three strings, count; entries FileID, Block, Extra, Size, data.
    Bytes& muoHeader(int32_t count, int32_t version = 1) {
        return text("MUOP").le(version).str("MUO").str("hostile").str("test").le(count);
    }
    Bytes& muo(int32_t fileId, int32_t block, int32_t extra, int32_t size, const ByteArray& data = {}) {
        return le(fileId).le(block).le(extra).le(size).raw(data);
    }
    // UOP: "UOP", version byte, count, reserved (version 5: 10 more bytes);
    // entries FileID byte, Block, Size, Extra, data.
    Bytes& uopHeader(uint8_t version, int32_t count) {
        text("UOP").u8(version).le(count).le(0);
        return version == 5 ? fill(10, 0x51) : *this;
    }
    Bytes& uop(uint8_t fileId, int32_t block, int32_t size, int32_t extra, const ByteArray& data = {}) {
        return u8(fileId).le(block).le(size).le(extra).raw(data);
    }
    // verdata.mul entry: FileID, Block, Position, Size, Extra.
    Bytes& verdata(int32_t fileId, int32_t block, int32_t position, int32_t size, int32_t extra) {
        return le(fileId).le(block).le(position).le(size).le(extra);
    }
    // IDX record: Position, Size, Extra.
    Bytes& record(int32_t position, int32_t size, int32_t extra) { return le(position).le(size).le(extra); }
};

inline bool Exists(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0;
}

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

// Lines of the log that name the procedure ("... Proc: description").
inline std::vector<std::string> LinesOf(const std::vector<std::string>& lines, const std::string& proc) {
    std::vector<std::string> found;
    for (const std::string& line : lines)
        if (line.find(" " + proc + ": ") != std::string::npos) found.push_back(line);
    return found;
}

}  // namespace quillet::hostile
