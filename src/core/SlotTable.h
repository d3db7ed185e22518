#pragma once
// The slots of one file type, kept in fixed pages that come into being on
// their first write. A type has up to half a million possible blocks while a
// patch touches a few: an empty store costs a pointer per page, and a read of
// a page never written gives the absent slot without allocating it.
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <vector>

namespace quillet {

struct PatchBlock {
    int32_t Size = 0;
    int32_t Extra = 0;
    int32_t Offset = -1;  // -1 absent, 0 present and empty, >= 1 position in the DataFile

    friend bool operator==(const PatchBlock&, const PatchBlock&) = default;
};

class SlotTable {
public:
    static constexpr unsigned kPageBits = 12;
    static constexpr size_t kPageSlots = size_t{1} << kPageBits;

    SlotTable() = default;
    SlotTable(const SlotTable& other);
    SlotTable& operator=(const SlotTable& other);
    SlotTable(SlotTable&&) noexcept = default;
    SlotTable& operator=(SlotTable&&) noexcept = default;

    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }

    // Unchecked, as a vector's. The const read never allocates; the writable
    // reference allocates the slot's page if it has none yet.
    const PatchBlock& operator[](size_t index) const {
        const PatchBlock* page = pages_[index >> kPageBits].get();
        return page ? page[index & (kPageSlots - 1)] : kAbsent;
    }
    PatchBlock& operator[](size_t index) {
        std::unique_ptr<PatchBlock[]>& page = pages_[index >> kPageBits];
        if (!page) [[unlikely]]
            page = NewPage();
        return page[index & (kPageSlots - 1)];
    }
    // Checked: an index outside the slots is a failure (kSubscript), never a
    // read or a write outside.
    const PatchBlock& at(int64_t index) const;
    PatchBlock& at(int64_t index);
    const PatchBlock& back() const { return (*this)[size_ - 1]; }

    // Growing adds absent slots; shrinking drops the slots past the new size,
    // so that growing again gives them back absent.
    void resize(size_t count);
    void clear();

    // The first slot at or after `from` that lies on an allocated page, or
    // size(): a walk over the slots that may hold something steps over a
    // page never written at once.
    size_t NextAllocated(size_t from) const {
        if (from >= size_) return size_;
        return pages_[from >> kPageBits] ? from : NextPageFrom(from);
    }
    size_t AllocatedPages() const;

    friend bool operator==(const SlotTable& a, const SlotTable& b);

    // Every slot in order, the absent ones of unwritten pages included. Read
    // only: a walk over the table does not allocate it.
    class const_iterator {
    public:
        using value_type = PatchBlock;
        using difference_type = std::ptrdiff_t;
        using reference = const PatchBlock&;
        using pointer = const PatchBlock*;
        using iterator_category = std::forward_iterator_tag;

        const_iterator() = default;
        const_iterator(const SlotTable* table, size_t index) : table_(table), index_(index) {}
        reference operator*() const { return (*table_)[index_]; }
        pointer operator->() const { return &(*table_)[index_]; }
        const_iterator& operator++() {
            ++index_;
            return *this;
        }
        const_iterator operator++(int) {
            const_iterator was = *this;
            ++index_;
            return was;
        }
        friend bool operator==(const const_iterator& a, const const_iterator& b) { return a.index_ == b.index_; }

    private:
        const SlotTable* table_ = nullptr;
        size_t index_ = 0;
    };
    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, size_}; }

private:
    static inline const PatchBlock kAbsent{};
    static std::unique_ptr<PatchBlock[]> NewPage();
    size_t NextPageFrom(size_t from) const;

    std::vector<std::unique_ptr<PatchBlock[]>> pages_;
    size_t size_ = 0;
};

}  // namespace quillet
