#pragma once
// A read-only view of a stretch of an open file through the page cache: a
// long comparison looks at the file's bytes where the system keeps them,
// instead of copying each piece into a buffer first. The view moves forward
// as the walk goes, a few MB at a time, so that little is mapped at once.
//
// A file cut short by another program while it is mapped faults (SIGBUS)
// on a read past its new end: such reads belong inside RunGuarded
// (FaultGuard.h).
#include <cstddef>
#include <cstdint>

#include "base/BinaryFile.h"

namespace quillet {

class MappedWindow {
public:
    MappedWindow() = default;
    ~MappedWindow() { Release(); }
    MappedWindow(const MappedWindow&) = delete;
    MappedWindow& operator=(const MappedWindow&) = delete;

    // The Length bytes at At of the open file, which lie within its first
    // FileSize bytes; nullptr where the system will not map them, and the
    // caller reads them instead.
    const uint8_t* View(const BinaryFile& file, int64_t FileSize, int64_t At, size_t Length);
    // Unmaps what is mapped; a closed file must not stay mapped.
    void Release();

private:
    uint8_t* base_ = nullptr;
    size_t length_ = 0;
    int64_t from_ = 0;
    int fd_ = -1;
};

}  // namespace quillet
