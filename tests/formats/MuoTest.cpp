#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mStart.h"
#include "formats/cMUO.h"
#include "formats/mPatchMUO.h"
#include "support/SafeSave.h"

namespace quillet {
namespace {

using test::Bytes;
using test::PatchTest;

Bytes Header(int32_t count) { return Bytes{}.muoHeader(count); }

void LoadAll(const std::string& path) { LoadMUO(path, 0, 255, 0, 400000); }

TEST_F(PatchTest, ForeignMuoLoadsToTheExactSlotsAndFlags) {
    Bytes file = Bytes{}.muoHeader(8, 1, "Some other tool's patch", "", "Somebody else");
    file.muo(4, 26, 0x1234, 3, {1, 2, 3})  // Art block, type flag on
        .muo(4 | 64, 27, -1, 2, {4, 5})    // Art again, bit 6: the last entry of a type decides
        .muo(12 | 64, 500, 7, 0)           // empty Gumps block, flag off
        .muo(12, 500, 8, 1, {9})           // duplicate: the later entry wins
        .muo(12, 65536, 0, 2, {6, 6})      // above NbrOfBlocks: message, data consumed
        .muo(252, 0, 0, 1, {1})            // silently dropped
        .muo(32, 0, 0, -1)                 // empty hue group with Size -1
        .muo(129 | 64, 65535, 2, 2, {0xAA, 0xBB});
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
    expected.muo(4 | 64, 26, 0x1234, 3, {1, 2, 3})
        .muo(4 | 64, 27, -1, 2, {4, 5})
        .muo(12, 500, 8, 1, {9})
        .muo(32, 0, 0, -1)
        .muo(129 | 64, 65535, 2, 2, {0xAA, 0xBB});
    EXPECT_EQ(test::ReadFile(Path("saved.muo")), expected.b);
}

TEST_F(PatchTest, FiltersDropEntriesButStillSetTheirFlag) {
    Bytes file = Header(3);
    file.muo(4 | 64, 5, 0, 1, {1}).muo(8, 10, 0, 1, {2}).muo(8, 11, 0, 1, {3});
    test::WriteFile(Path("p.muo"), file.b);
    LoadMUO(Path("p.muo"), 8, 8, 11, 11);
    EXPECT_EQ(FileTypes[4].InVerdata, 0);
    EXPECT_EQ(PatchBlocks[4].Count, 0);
    EXPECT_EQ(Slot(8, 10).Offset, -1);
    EXPECT_EQ(ReadBlockBytes(8, 11), ByteArray{3});
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

// More of this (cut files, hostile counts and sizes) is in the hostile corpus.
TEST_F(PatchTest, UnreadableOrForeignVersionLoadsNothingSilently) {
    test::WriteFile(Path("v2.muo"), Bytes{}.muoHeader(1, 2).muo(4, 1, 0, 1, {1}).b);
    ByteArray cut = Header(0).b;
    cut.resize(15);  // inside the description
    test::WriteFile(Path("cut.muo"), cut);
    LoadAll(Path("v2.muo"));
    LoadAll(Path("cut.muo"));
    LoadAll(Path("missing.muo"));
    LoadAll("");
    EXPECT_EQ(PatchBlocks[4].Count, 0);
    EXPECT_TRUE(messages.empty());
    EXPECT_TRUE(LogLines().empty());

    cMUO muo;
    EXPECT_EQ(muo.cOpen(Path("v2.muo")), 500);
    EXPECT_EQ(muo.cOpen(Path("missing.muo")), 503);
    EXPECT_EQ(muo.cOpen(Path("cut.muo")), 501);
    EXPECT_FALSE(muo.IsOpen());
    EXPECT_EQ(muo.cClose(), 507);
    EXPECT_EQ(muo.cError(502), "There is allready an open patch file.");
    EXPECT_EQ(muo.cError(508), "");
}

TEST_F(PatchTest, SaveReplacesTheOldFileOrLogsItsFailure) {
    test::WriteFile(Path("keep.muo"), ByteArray{1, 2, 3});
    StoreBlock(4, 1, 1, 0, ByteArray{1});
    // A folder that cannot be written, a full disk, files that vanish: DiskFaultTest.
    EXPECT_FALSE(SaveMUO(Path("no-such-dir/keep.muo")));
    EXPECT_TRUE(Logged("mPatch.SaveMUO"));
    EXPECT_FALSE(test::Exists(Path("no-such-dir")));
    ASSERT_TRUE(SaveMUO(Path("keep.muo")));
    EXPECT_EQ(test::ReadFile(Path("keep.muo")), Header(1).muo(4, 1, 0, 1, {1}).b);
    EXPECT_FALSE(test::Exists(TempNameBeside(Path("keep.muo"))));
}

}  // namespace
}  // namespace quillet
