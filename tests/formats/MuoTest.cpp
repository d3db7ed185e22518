#include <sys/stat.h>
#include <unistd.h>

#include "common/TestEnv.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mStart.h"
#include "formats/cMUO.h"
#include "formats/mPatchMUO.h"
#include "support/SafeSave.h"

namespace quillet {
namespace {

using test::PatchTest;

// Files are built here byte by byte, independent of the writer under test.
struct Bytes {
    ByteArray b;
    Bytes& le(int32_t v) {
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(static_cast<uint32_t>(v) >> (8 * i)));
        return *this;
    }
    Bytes& str(const std::string& s) {
        b.insert(b.end(), s.begin(), s.end());
        b.push_back(0);
        return *this;
    }
    Bytes& raw(const ByteArray& data) {
        b.insert(b.end(), data.begin(), data.end());
        return *this;
    }
    Bytes& entry(int32_t fileId, int32_t block, int32_t extra, int32_t size, const ByteArray& data = {}) {
        return le(fileId).le(block).le(extra).le(size).raw(data);
    }
};

Bytes Header(int32_t count, const std::string& name = "MUO", const std::string& description = "Created by Quillet",
             const std::string& author = "Sir Patch", int32_t version = 1) {
    Bytes h;
    h.raw({'M', 'U', 'O', 'P'}).le(version).str(name).str(description).str(author).le(count);
    return h;
}

void LoadAll(const std::string& path) { LoadMUO(path, 0, 255, 0, 400000); }

TEST_F(PatchTest, ForeignMuoLoadsToTheExactSlotsAndFlags) {
    Bytes file = Header(8, "Some other tool's patch", "", "Somebody else");
    file.entry(4, 26, 0x1234, 3, {1, 2, 3})      // Art block, type flag on
        .entry(4 | 64, 27, -1, 2, {4, 5})         // Art again, bit 6: the last entry of a type decides
        .entry(12 | 64, 500, 7, 0)                // empty Gumps block, flag off
        .entry(12, 500, 8, 1, {9})                // duplicate: the later entry wins
        .entry(12, 65536, 0, 2, {6, 6})           // above NbrOfBlocks: message, data consumed
        .entry(252, 0, 0, 1, {1})                 // silently dropped
        .entry(32, 0, 0, -1)                      // empty hue group with Size -1
        .entry(129 | 64, 65535, 2, 2, {0xAA, 0xBB});
    test::WriteFile(Path("foreign.muo"), file.b);
    FileTypes[30].InVerdata = 0;  // no entry: stays as it is

    LoadAll(Path("foreign.muo"));

    EXPECT_EQ(ReadBlockBytes(4, 26), (ByteArray{1, 2, 3}));
    EXPECT_EQ(Slot(4, 26).Extra, 0x1234);
    EXPECT_EQ(ReadBlockBytes(4, 27), (ByteArray{4, 5}));
    EXPECT_EQ(FileTypes[4].InVerdata, 0);
    EXPECT_EQ(ReadBlockBytes(12, 500), ByteArray{9});
    EXPECT_EQ(Slot(12, 500).Extra, 8);
    EXPECT_EQ(FileTypes[12].InVerdata, 1);
    EXPECT_EQ(Slot(32, 0).Offset, 0);
    EXPECT_EQ(Slot(32, 0).Size, -1);
    EXPECT_EQ(ReadBlockBytes(129, 65535), (ByteArray{0xAA, 0xBB}));
    EXPECT_EQ(FileTypes[129].InVerdata, 0);
    EXPECT_EQ(FileTypes[30].InVerdata, 0);
    EXPECT_EQ(FileTypes[188].InVerdata, 0);  // 252 carries bit 6 too
    EXPECT_EQ(PatchBlocks[4].Count, 2);
    EXPECT_EQ(PatchBlocks[12].Count, 1);
    EXPECT_EQ(PatchBlocks[32].Count, 1);
    EXPECT_EQ(PatchBlocks[129].Count, 1);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0],
              "An block with an illegal sized blocknumber where detected and ignored:\r\nFileID: 12\r\nBlocknumber:65536");
    EXPECT_TRUE(LogLines().empty());

    // Saved again: our own header, types and blocks ascending, flags per type.
    ASSERT_TRUE(SaveMUO(Path("saved.muo")));
    Bytes expected = Header(5);
    expected.entry(4 | 64, 26, 0x1234, 3, {1, 2, 3})
        .entry(4 | 64, 27, -1, 2, {4, 5})
        .entry(12, 500, 8, 1, {9})
        .entry(32, 0, 0, -1)
        .entry(129 | 64, 65535, 2, 2, {0xAA, 0xBB});
    EXPECT_EQ(test::ReadFile(Path("saved.muo")), expected.b);
}

TEST_F(PatchTest, FiltersDropEntriesButStillSetTheirFlag) {
    Bytes file = Header(3);
    file.entry(4 | 64, 5, 0, 1, {1}).entry(8, 10, 0, 1, {2}).entry(8, 11, 0, 1, {3});
    test::WriteFile(Path("p.muo"), file.b);
    LoadMUO(Path("p.muo"), 8, 8, 11, 11);
    EXPECT_EQ(FileTypes[4].InVerdata, 0);
    EXPECT_EQ(PatchBlocks[4].Count, 0);
    EXPECT_EQ(Slot(8, 10).Offset, -1);
    EXPECT_EQ(ReadBlockBytes(8, 11), ByteArray{3});
}

TEST_F(PatchTest, BlockAtTheLastNumberIsStoredOneAboveIsRefused) {
    Bytes file = Header(3);
    file.entry(8, 255, 0, 1, {1}).entry(8, 256, 0, 2, {2, 2}).entry(8, 0, 0, 1, {3});
    test::WriteFile(Path("p.muo"), file.b);
    LoadAll(Path("p.muo"));
    EXPECT_EQ(ReadBlockBytes(8, 255), ByteArray{1});
    EXPECT_EQ(ReadBlockBytes(8, 0), ByteArray{3});  // read after the refused entry's data
    EXPECT_EQ(messages.size(), 1u);
}

TEST_F(PatchTest, EmptyPatchSavesAs45BytesAndLoadsAsNothing) {
    ASSERT_TRUE(SaveMUO(Path("empty.muo")));
    EXPECT_EQ(test::ReadFile(Path("empty.muo")), Header(0).b);
    EXPECT_EQ(test::ReadFile(Path("empty.muo")).size(), 45u);
    LoadAll(Path("empty.muo"));
    for (int id = 0; id < kFileIDs; ++id) EXPECT_EQ(PatchBlocks[id].Count, 0);
}

TEST_F(PatchTest, RoundTripKeepsEveryBlockSizeExtraAndFlag) {
    StoreBlock(0, 393215, 196, -1, ByteArray(196, 7));
    StoreBlock(2, 3, -1, 0, ByteArray{});
    StoreBlock(12, 0, 0, 0x00400030, ByteArray{});
    StoreBlock(30, 1023, 4, 1, ByteArray{1, 2, 3, 4});
    StoreBlock(128, 99, 1, 5, ByteArray{0});
    FileTypes[30].InVerdata = 0;
    FileTypes[128].InVerdata = 0;
    ASSERT_TRUE(SaveMUO(Path("round.muo")));
    const ByteArray saved = test::ReadFile(Path("round.muo"));
    EXPECT_EQ(LoadI32(&saved[41]), 5);  // BlockCount = sum of Count
    // The Light block was written as 192.
    EXPECT_EQ(LoadI32(&saved[saved.size() - 17]), 192);

    PatchDispose();
    PatchNew();
    FileTypes[30].InVerdata = 1;
    LoadAll(Path("round.muo"));
    EXPECT_EQ(ReadBlockBytes(0, 393215), ByteArray(196, 7));
    EXPECT_EQ(Slot(2, 3).Offset, 0);
    EXPECT_EQ(Slot(2, 3).Size, -1);
    EXPECT_EQ(Slot(12, 0).Extra, 0x00400030);
    EXPECT_EQ(FileTypes[30].InVerdata, 0);
    EXPECT_EQ(FileTypes[128].InVerdata, 0);
    EXPECT_EQ(ReadBlockBytes(128, 99), ByteArray{0});
    ASSERT_TRUE(SaveMUO(Path("again.muo")));
    EXPECT_EQ(test::ReadFile(Path("again.muo")), saved);
}

TEST_F(PatchTest, UnreadableOrForeignVersionLoadsNothingSilently) {
    Bytes v2 = Header(1, "MUO", "x", "y", 2);
    v2.entry(4, 1, 0, 1, {1});
    test::WriteFile(Path("v2.muo"), v2.b);
    LoadAll(Path("v2.muo"));
    LoadAll(Path("missing.muo"));
    LoadAll("");
    EXPECT_EQ(PatchBlocks[4].Count, 0);
    EXPECT_TRUE(messages.empty());
    EXPECT_TRUE(LogLines().empty());

    cMUO muo;
    EXPECT_EQ(muo.cOpen(Path("v2.muo")), 500);
    EXPECT_EQ(muo.cOpen(Path("missing.muo")), 503);
    EXPECT_EQ(muo.cClose(), 507);
    EXPECT_EQ(muo.cError(502), "There is allready an open patch file.");
    EXPECT_EQ(muo.cError(508), "");
}

TEST_F(PatchTest, HeaderStringWithoutEndIsRefused) {
    ByteArray cut = Header(0).b;
    cut.resize(15);  // inside the description
    test::WriteFile(Path("cut.muo"), cut);
    cMUO muo;
    EXPECT_EQ(muo.cOpen(Path("cut.muo")), 501);
    EXPECT_FALSE(muo.IsOpen());
    LoadAll(Path("cut.muo"));
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(PatchTest, CountBeyondTheEntriesReadsZeroedRecordsWithoutHanging) {
    Bytes file = Header(2000000000);
    file.entry(4, 7, 0, 1, {1});
    test::WriteFile(Path("long.muo"), file.b);
    FileTypes[0].InVerdata = 0;
    LoadAll(Path("long.muo"));
    EXPECT_EQ(ReadBlockBytes(4, 7), ByteArray{1});
    // The zeroed records are Map block 0, present and empty, type flag on.
    EXPECT_EQ(Slot(0, 0).Offset, 0);
    EXPECT_EQ(Slot(0, 0).Size, 0);
    EXPECT_EQ(FileTypes[0].InVerdata, 1);
    EXPECT_EQ(PatchBlocks[0].Count, 1);
}

TEST_F(PatchTest, ImpossibleEntriesStopTheLoadWithALogLine) {
    struct Case {
        const char* name;
        Bytes entries;
    };
    std::vector<Case> cases;
    cases.push_back({"size past the end", Bytes{}.entry(4, 1, 0, 1, {1}).entry(4, 2, 0, 0x7FFFFFF0, {1, 2, 3})});
    cases.push_back({"FileID field 256", Bytes{}.entry(4, 1, 0, 1, {1}).entry(256, 2, 0, 0)});
    cases.push_back({"negative FileID", Bytes{}.entry(4, 1, 0, 1, {1}).entry(-1, 2, 0, 0)});
    cases.push_back({"unused type", Bytes{}.entry(4, 1, 0, 1, {1}).entry(1, 0, 0, 0)});
    cases.push_back({"negative block", Bytes{}.entry(4, 1, 0, 1, {1}).entry(4, -5, 0, 0)});
    for (auto& c : cases) {
        SCOPED_TRACE(c.name);
        PatchDispose();
        PatchNew();
        ::unlink(Path("test.log").c_str());
        Bytes file = Header(2);
        file.raw(c.entries.b);
        test::WriteFile(Path("bad.muo"), file.b);
        LoadMUO(Path("bad.muo"), 0, 255, -10, 400000);
        EXPECT_EQ(ReadBlockBytes(4, 1), ByteArray{1});  // what came before stays
        EXPECT_EQ(PatchBlocks[4].Count, 0);              // not recounted after a stop
        const auto lines = LogLines();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_NE(lines[0].find("mPatch.LoadMUO: "), std::string::npos);
    }
}

TEST_F(PatchTest, NegativeSizesArePresentAndEmpty) {
    Bytes file = Header(1);
    file.entry(10, 4095, 3, -7);
    test::WriteFile(Path("neg.muo"), file.b);
    LoadAll(Path("neg.muo"));
    EXPECT_EQ(Slot(10, 4095).Offset, 0);
    EXPECT_EQ(Slot(10, 4095).Size, -7);
    EXPECT_EQ(PatchBlocks[10].Count, 1);
}

TEST_F(PatchTest, FailedSaveKeepsTheOldFile) {
    const ByteArray old{1, 2, 3};
    test::WriteFile(Path("keep.muo"), old);
    StoreBlock(4, 1, 1, 0, ByteArray{1});
    EXPECT_FALSE(SaveMUO(Path("no-such-dir/keep.muo")));
    EXPECT_EQ(test::ReadFile(Path("keep.muo")), old);
    if (::geteuid() != 0) {
        ::chmod(dir.c_str(), 0500);
        EXPECT_FALSE(SaveMUO(Path("keep.muo")));
        ::chmod(dir.c_str(), 0700);
        EXPECT_EQ(test::ReadFile(Path("keep.muo")), old);
    }
    EXPECT_FALSE(LogLines().empty());
    ASSERT_TRUE(SaveMUO(Path("keep.muo")));
    EXPECT_EQ(test::ReadFile(Path("keep.muo")).size(), 45u + 16 + 1);
    // No temporary file is left beside it.
    EXPECT_NE(::access(TempNameBeside(Path("keep.muo")).c_str(), F_OK), 0);
}

}  // namespace
}  // namespace quillet
