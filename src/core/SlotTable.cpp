#include "core/SlotTable.h"

#include <algorithm>

#include "base/Checked.h"

namespace quillet {

namespace {

size_t PagesFor(size_t count) { return (count + SlotTable::kPageSlots - 1) >> SlotTable::kPageBits; }

}  // namespace

SlotTable::SlotTable(const SlotTable& other) : pages_(other.pages_.size()), size_(other.size_) {
    for (size_t page = 0; page < pages_.size(); ++page) {
        if (!other.pages_[page]) continue;
        pages_[page] = NewPage();
        std::copy_n(other.pages_[page].get(), kPageSlots, pages_[page].get());
    }
}

SlotTable& SlotTable::operator=(const SlotTable& other) {
    if (this != &other) *this = SlotTable(other);
    return *this;
}

const PatchBlock& SlotTable::at(int64_t index) const {
    if (index < 0 || static_cast<uint64_t>(index) >= size_) Fail(kSubscript);
    return (*this)[static_cast<size_t>(index)];
}

PatchBlock& SlotTable::at(int64_t index) {
    if (index < 0 || static_cast<uint64_t>(index) >= size_) Fail(kSubscript);
    return (*this)[static_cast<size_t>(index)];
}

void SlotTable::resize(size_t count) {
    pages_.resize(PagesFor(count));
    // What stays of a page cut in two: its slots past the end are absent
    // again, as those of a page never written are.
    const size_t kept = count & (kPageSlots - 1);
    if (count < size_ && kept != 0 && pages_.back())
        std::fill(pages_.back().get() + kept, pages_.back().get() + kPageSlots, PatchBlock{});
    size_ = count;
}

void SlotTable::clear() {
    pages_.clear();
    size_ = 0;
}

size_t SlotTable::AllocatedPages() const {
    return static_cast<size_t>(
        std::count_if(pages_.begin(), pages_.end(), [](const auto& page) { return page != nullptr; }));
}

bool operator==(const SlotTable& a, const SlotTable& b) {
    if (a.size_ != b.size_) return false;
    for (size_t page = 0; page < a.pages_.size(); ++page) {
        if (!a.pages_[page] && !b.pages_[page]) continue;
        const size_t first = page << SlotTable::kPageBits;
        const size_t last = std::min(first + SlotTable::kPageSlots, a.size_);
        for (size_t index = first; index < last; ++index)
            if (!(a[index] == b[index])) return false;
    }
    return true;
}

std::unique_ptr<PatchBlock[]> SlotTable::NewPage() { return std::make_unique<PatchBlock[]>(kPageSlots); }

size_t SlotTable::NextPageFrom(size_t from) const {
    for (size_t page = (from >> kPageBits) + 1; page < pages_.size(); ++page)
        if (pages_[page]) return std::min(page << kPageBits, size_);
    return size_;
}

}  // namespace quillet
