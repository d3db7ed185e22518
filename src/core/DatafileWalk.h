#pragma once
// The stored blocks' bytes as a save or an export takes them: block after
// block, mostly in the order they were stored. Blocks that lie back to back
// in the DataFile are read a megabyte at a time and handed over where they
// lie; a block too large for that streams through a fixed buffer.
#include <cstdint>

#include "base/BinaryFile.h"
#include "base/ByteIO.h"
#include "core/mDatafile.h"

namespace quillet {

class DatafileWalk {
public:
    // The largest block handed over whole: a quarter of the window, so that
    // a block that large costs its read whatever way it goes, and none is
    // ever held whole beside the window.
    static constexpr int32_t kLargestView = 1 << 18;

    explicit DatafileWalk(DatafileHandle& handle) : handle_(handle) {}
    // The Size bytes at Offset held whole, valid until the next call; nullptr
    // for a block too large to hold, whose bytes Feed then hands over.
    // Fails as Datafile_Read does.
    const uint8_t* View(int32_t Offset, int32_t Size);
    ByteFeed Feed(int32_t Offset, int32_t Size);

private:
    DatafileHandle& handle_;
    ReadWindow window_{kWindow, ReadWindow::Walk::Forward};
    ByteArray spare_;
    static constexpr size_t kWindow = size_t{kLargestView} * 4;
};

}  // namespace quillet
