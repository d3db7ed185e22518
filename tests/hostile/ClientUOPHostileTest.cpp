// Damaged and hostile client UOP containers: each is refused by cOpen with
// what is wrong, or, where only decoding shows it, by a Failure of that
// block's load that names it, after which the other blocks still load. None
// may crash, hang, read outside the file or allocate what the file claims.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "base/Checked.h"
#include "formats/ContainerBytes.h"
#include "formats/EntryStages.h"
#include "formats/UOPHash.h"
#include "formats/cClientUOP.h"
#include "hostile/HostileUtil.h"

namespace quillet {
namespace {

using namespace test;

class ClientUOPHostileTest : public PatchTest {
protected:
    // Opens the container as Art, or says why it could not.
    std::string OpenWhy(const ByteArray& bytes) {
        WriteFile(Path("in.uop"), bytes);
        const long before = hostile::PeakRssKiB();
        const int32_t code = uop.cOpen(Path("in.uop"), 4);
        EXPECT_LT(hostile::PeakRssKiB() - before, 64 * 1024);
        EXPECT_EQ(ReadFile(Path("in.uop")), bytes);
        return code == 0 ? "opened" : uop.Why;
    }
    // The Failure of block 1's load.
    std::string LoadFailure() {
        const long before = hostile::PeakRssKiB();
        std::string what = "loaded";
        try {
            int32_t extra = 0;
            ByteArray bytes;
            uop.cLoad(1, extra, bytes);
        } catch (const Failure& failure) {
            what = failure.what();
        }
        EXPECT_LT(hostile::PeakRssKiB() - before, 64 * 1024);
        return what;
    }
    cClientUOP uop;
};

const ByteArray kGood = {1, 2, 3, 4, 5};

Slot Art(int32_t n, ByteArray stored, int32_t inflated, int16_t flag) {
    return {.hash = UOPNameHash(ArtName(n)), .stored = std::move(stored), .inflated = inflated, .flag = flag};
}
Slot Good() { return Art(0, kGood, 5, 0); }

// T through stage 1 (move to front), after a prefix, with a spare byte.
ByteArray StagedInput(const ByteArray& t) {
    ByteArray out(4, 0);
    std::vector<uint8_t> list(256);
    for (int i = 0; i < 256; ++i) list[static_cast<size_t>(i)] = static_cast<uint8_t>(i);
    for (const uint8_t value : t) {
        const auto at = std::find(list.begin(), list.end(), value);
        out.push_back(static_cast<uint8_t>(at - list.begin()));
        list.erase(at);
        list.insert(list.begin(), value);
    }
    out.push_back(0);
    return out;
}

// Places a u64 at a byte of the file.
ByteArray With(ByteArray bytes, size_t at, uint64_t value) {
    PutU64(bytes, at, value);
    return bytes;
}
ByteArray WithI32(ByteArray bytes, size_t at, int32_t value) {
    PutI32(bytes, at, value);
    return bytes;
}

TEST_F(ClientUOPHostileTest, TablesAndEntriesThatDoNotFitTheFileAreRefusedByOpen) {
    const ByteArray one = Container({{Good()}}, {.capacity = 2});  // table at 40, its slot 0 at 52
    const int64_t size = static_cast<int64_t>(one.size());
    const ByteArray two = Container({{Good()}, {Good()}}, {.capacity = 1});  // tables at 40 and 91
    const struct {
        const char* name;
        ByteArray bytes;
        std::string says;
    } cases[] = {
        {"header cut", ByteArray(one.begin(), one.begin() + 30), "It is damaged: it has 30 bytes, fewer than the 40"},
        {"first table past the end", With(one, 12, static_cast<uint64_t>(size)),
         "a table at " + std::to_string(size) + " lies outside the file"},
        {"first table at 2^63", With(one, 12, uint64_t{1} << 63), "lies outside the file"},
        {"more slots than the capacity", WithI32(one, 40, 3), "has 3 slots in use, its capacity is 2"},
        {"negative slots", WithI32(one, 40, -1), "has -1 slots in use"},
        {"a table cut by the end", ByteArray(one.begin(), one.begin() + 40 + 12 + 20),
         "the table at offset 40 reaches past the end of the file"},
        {"a table that is its own next", With(one, 44, 40),
         "its chain of tables runs in a ring (back to the table at 40)"},
        {"two tables in a ring", With(two, 91 + 4, 40), "in a ring"},
        {"a table inside the header", With(two, 44, 8), "slots in use"},
        {"entry data past the end", With(one, 52, static_cast<uint64_t>(size - 4)), "outside the file"},
        {"entry at 2^63 - 1", With(one, 52, INT64_MAX), "outside the file"},
        {"a negative offset", With(one, 52, static_cast<uint64_t>(-5)), "has a negative offset or size"},
        {"a negative header length", WithI32(one, 52 + 8, -12), "negative offset or size"},
        {"a negative stored size", WithI32(one, 52 + 12, -1), "negative offset or size"},
        {"a negative inflated size", WithI32(one, 52 + 16, INT32_MIN), "negative offset or size"},
        {"a stored size of 2 GB", WithI32(one, 52 + 12, INT32_MAX), "outside the file"},
        {"a header length of 2 GB", WithI32(one, 52 + 8, INT32_MAX), "outside the file"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string why = OpenWhy(c.bytes);
        EXPECT_NE(why.find(c.says), std::string::npos) << why;
        EXPECT_EQ(why.rfind("It is damaged: ", 0), 0u) << why;
    }
    // The unbroken files open.
    EXPECT_EQ(OpenWhy(one), "opened");
    EXPECT_EQ(OpenWhy(two), "opened");
}

// Entries whose bytes do not decode as their sizes and flags say: the load of
// that block fails, naming it, and the next block loads.
TEST_F(ClientUOPHostileTest, EntriesThatDoNotDecodeFailTheirBlockOnly) {
    const ByteArray hundred(100, 0x61);
    const ByteArray zipped = Zlib(hundred);
    // Stage 2's input T: byte 1 counted 1000 times, room for 10.
    ByteArray t(1024 + 10, 0);
    StoreI32(t.data() + 4, 1000);
    const ByteArray overCounted = StagedInput(t);
    const ByteArray huge = Zlib(ByteArray(1 << 20, 0));  // inflates to 1 MiB, claims more
    const struct {
        const char* name;
        Slot slot;
        std::string says;
    } cases[] = {
        {"2 GB inflated", Art(1, zipped, INT32_MAX, 1), "a block of 2147483647 bytes is too large to hold in memory"},
        {"40 MiB staged", Art(1, zipped, 40 << 20, 3), "more than a block may hold in memory"},
        {"inflates to more", Art(1, zipped, 10, 1), "its zlib stream inflates to more than the 10 bytes it should"},
        {"inflates to less", Art(1, zipped, 200, 1), "its zlib stream inflates to 100 bytes, not 200"},
        {"claims 2 MiB of a 1 MiB stream", Art(1, huge, 2 << 20, 1), "inflates to 1048576 bytes, not 2097152"},
        {"cut stream", Art(1, ByteArray(zipped.begin(), zipped.begin() + 6), 100, 1), "its zlib stream is cut short"},
        {"no zlib stream", Art(1, hundred, 100, 1), "its zlib stream is damaged"},
        {"staged without its prefix", Art(1, Zlib({1, 2}), 2, 3), "it has no length prefix"},
        {"counts past the data", Art(1, Zlib(overCounted), static_cast<int32_t>(overCounted.size()), 3),
         "its counts add up to 1000 bytes, its streams have room for 11"},
        {"an unknown flag", Art(1, hundred, 100, 7), "its flag is 7, which is not 0, 1 or 3"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_EQ(OpenWhy(Container({{Good(), c.slot}})), "opened");
        const std::string what = LoadFailure();
        EXPECT_EQ(what.rfind("block 1 (build/artlegacymul/00000001.tga): ", 0), 0u) << what;
        EXPECT_NE(what.find(c.says), std::string::npos) << what;
        int32_t extra = 0;
        ByteArray bytes;
        EXPECT_EQ(uop.cLoad(0, extra, bytes), 5);
        EXPECT_EQ(bytes, kGood);
    }
}

// A chain of many tables, each in its place: walked in one pass, however
// long, and a ring of them found at once.
TEST_F(ClientUOPHostileTest, LongChainsAreWalkedAndRingsFound) {
    std::vector<std::vector<Slot>> tables(5000, std::vector<Slot>{Unused()});
    tables.back() = {Art(1, kGood, 5, 0)};
    const ByteArray chain = Container(tables, {.capacity = 1});
    EXPECT_EQ(OpenWhy(chain), "opened");
    EXPECT_EQ(LoadFailure(), "loaded");
    // The last table points back to the 4000th: a ring after a long lead-in.
    const size_t table = 12 + 34;
    const ByteArray ring = With(chain, 40 + 4999 * table + 4, 40 + 3999 * table);
    const std::string why = OpenWhy(ring);
    EXPECT_EQ(why.rfind("It is damaged: its", 0), 0u) << why;
    EXPECT_NE(why.find("ring"), std::string::npos) << why;
}

}  // namespace
}  // namespace quillet
