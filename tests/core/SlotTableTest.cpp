#include "core/SlotTable.h"

#include <gtest/gtest.h>

#include <utility>

#include "base/Checked.h"

namespace quillet {
namespace {

constexpr size_t kPage = SlotTable::kPageSlots;
const PatchBlock kAbsent{0, 0, -1};

SlotTable Sized(size_t count) {
    SlotTable table;
    table.resize(count);
    return table;
}

// Reading, walking, copying and comparing an unwritten table: absent slots
// everywhere and not one page allocated.
TEST(SlotTableTest, ReadsOfUnwrittenPagesAllocateNothing) {
    SlotTable table = Sized(3 * kPage + 10);
    size_t walked = 0;
    for (const PatchBlock& slot : table) {  // the non-const table walked as const
        EXPECT_EQ(slot, kAbsent);
        ++walked;
    }
    EXPECT_EQ(walked, 3 * kPage + 10);
    EXPECT_EQ(std::as_const(table)[2 * kPage + 1], kAbsent);
    EXPECT_EQ(std::as_const(table).at(3 * kPage + 9), kAbsent);
    EXPECT_EQ(table.back(), kAbsent);
    EXPECT_EQ(table.NextAllocated(0), table.size());
    const SlotTable copy = table;
    EXPECT_TRUE(copy == table);
    EXPECT_EQ(table.AllocatedPages() + copy.AllocatedPages(), 0u);
}

// One write allocates its own page only; the walk steps from page to page.
TEST(SlotTableTest, AWriteAllocatesOnlyItsPage) {
    SlotTable table = Sized(3 * kPage + 10);
    table[kPage + 5] = PatchBlock{3, 4, 7};
    table.at(3 * kPage + 9).Offset = 0;
    EXPECT_EQ(table.AllocatedPages(), 2u);
    const SlotTable& read = table;
    EXPECT_EQ(read[kPage + 5], (PatchBlock{3, 4, 7}));
    EXPECT_EQ(read[kPage + 4], kAbsent);
    EXPECT_EQ(read[kPage - 1], kAbsent);
    EXPECT_EQ(read[2 * kPage], kAbsent);
    EXPECT_EQ(table.NextAllocated(0), kPage);
    EXPECT_EQ(table.NextAllocated(kPage + 6), kPage + 6);
    EXPECT_EQ(table.NextAllocated(2 * kPage - 1), 2 * kPage - 1);
    EXPECT_EQ(table.NextAllocated(2 * kPage), 3 * kPage);
    EXPECT_EQ(table.NextAllocated(3 * kPage + 10), table.size());
    EXPECT_EQ(table.AllocatedPages(), 2u);
    EXPECT_THROW(table.at(3 * kPage + 10), Failure);
    EXPECT_THROW(read.at(-1), Failure);
}

// Shrinking keeps the slots below the new size and drops the rest, also
// the tail of a page cut in two; growing again gives them back absent.
TEST(SlotTableTest, ResizeKeepsTheSlotsBelowAndClearsThoseAbove) {
    SlotTable table = Sized(3 * kPage);
    for (const size_t index : {size_t{10}, kPage + 4, kPage + 200, 2 * kPage + 1}) table[index].Offset = 1;
    table.resize(kPage + 100);
    EXPECT_EQ(table.size(), kPage + 100);
    EXPECT_EQ(table.AllocatedPages(), 2u);
    EXPECT_EQ(table.back(), kAbsent);
    EXPECT_THROW(table.at(kPage + 100), Failure);
    table.resize(3 * kPage);
    const SlotTable& read = table;
    EXPECT_EQ(std::pair(read[10].Offset, read[kPage + 4].Offset), std::pair(1, 1));
    EXPECT_EQ(read[kPage + 200], kAbsent);
    EXPECT_EQ(read[2 * kPage + 1], kAbsent);
    EXPECT_EQ(table.AllocatedPages(), 2u);
    table.clear();
    EXPECT_EQ(std::pair(table.size(), table.AllocatedPages()), std::pair(size_t{0}, size_t{0}));
}

// Equal tables are equal slot by slot, whichever pages happen to exist; a
// copy is a table of its own.
TEST(SlotTableTest, CopiesAndComparisonsGoBySlots) {
    SlotTable written = Sized(2 * kPage);
    written[kPage + 1].Extra = 9;
    written[kPage + 1].Extra = 0;  // written back to absent: its page stays
    const SlotTable fresh = Sized(2 * kPage);
    EXPECT_TRUE(written == fresh);
    EXPECT_FALSE(written == Sized(2 * kPage + 1));
    SlotTable copy = written;
    copy[kPage + 2].Size = 5;
    EXPECT_FALSE(copy == written);
    EXPECT_FALSE(copy == fresh);
    EXPECT_FALSE(fresh == copy);
    EXPECT_EQ(std::as_const(written)[kPage + 2], kAbsent);
    written = copy;
    EXPECT_TRUE(written == copy);
    EXPECT_EQ(std::as_const(written)[kPage + 2].Size, 5);
}

}  // namespace
}  // namespace quillet
