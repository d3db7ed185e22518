#include "base/MappedWindow.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

namespace quillet {
namespace {

// Small enough to keep what a walk holds mapped well below its buffers, large
// enough that mapping and unmapping cost nothing beside the reads.
constexpr int64_t kWindow = int64_t{4} << 20;

int64_t PageSize() {
    static const int64_t size = sysconf(_SC_PAGESIZE) > 0 ? sysconf(_SC_PAGESIZE) : 4096;
    return size;
}

}  // namespace

const uint8_t* MappedWindow::View(const BinaryFile& file, int64_t FileSize, int64_t At, size_t Length) {
    const auto length = static_cast<int64_t>(Length);
    if (!file.IsOpen() || At < 0 || length < 1 || At > FileSize - length) return nullptr;
    if (base_ != nullptr && fd_ == file.Descriptor() && At >= from_ &&
        At + length <= from_ + static_cast<int64_t>(length_))
        return base_ + (At - from_);
    Release();
    const int64_t from = At - At % PageSize();
    const int64_t span = std::min(std::max(kWindow, At - from + length), FileSize - from);
    void* mapped = mmap(nullptr, static_cast<size_t>(span), PROT_READ, MAP_SHARED, file.Descriptor(), from);
    if (mapped == MAP_FAILED) return nullptr;
    base_ = static_cast<uint8_t*>(mapped);
    length_ = static_cast<size_t>(span);
    from_ = from;
    fd_ = file.Descriptor();
    return base_ + (At - from_);
}

void MappedWindow::Release() {
    if (base_ != nullptr) munmap(base_, length_);
    base_ = nullptr;
    length_ = 0;
    fd_ = -1;
}

}  // namespace quillet
