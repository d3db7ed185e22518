#include <unistd.h>

#include "base/Checked.h"
#include "base/Warnings.h"
#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "formats/cVerdata.h"
#include "formats/mVerdata.h"
#include "operations/OperationsTestUtil.h"

namespace quillet {
namespace {

using namespace test;

void LoadAll(const std::string& path) { LoadVerdata(path, 0, 255, 0, HighestBlock()); }

std::string IllegalBlock(int fileId, int32_t block) {
    return "An block with an illegal sized blocknumber where detected and ignored:\r\nFileID: " +
           std::to_string(fileId) + "\r\nBlocknumber:" + std::to_string(block);
}

TEST_F(PatchTest, HandWrittenVerdataLoadsToTheExactSlots) {
    // 7 entries in use and one reserved; the data in another order than the entries.
    Bytes file = Bytes{}.le(7)
        .verdata(4, 26, 172, 3, 0x1234)  // Art, replaced by entry 6
        .verdata(12, 500, 0, 0, 7)       // empty, Size 0
        .verdata(8, 3, 0, -1, -1)        // empty, Size -1
        .verdata(300, 7, 170, 2, 9)      // not a client file number: FileID 255, above its range
        .verdata(8, 4096, 167, 3, 0)     // one above Sound's range
        .verdata(8, 255, 166, 1, 5)      // Sound's last block
        .verdata(4, 26, 164, 2, 0x77)    // the later entry wins
        .reservedVerdata()               // not in use: never read
        .raw({7, 7, 5, 4, 4, 4, 3, 3, 1, 2, 3});
    test::WriteFile(Path("verdata.mul"), file.b);
    FileTypes[4].InVerdata = 0;
    LoadAll(Path("verdata.mul"));
    ExpectSlot(4, 26, 2, 0x77, true);
    EXPECT_EQ(ReadBlockBytes(4, 26), (ByteArray{7, 7}));
    ExpectSlot(12, 500, 0, 7, false);
    ExpectSlot(8, 3, -1, -1, false);
    ExpectSlot(8, 255, 1, 5, true);
    EXPECT_EQ(ReadBlockBytes(8, 255), ByteArray{5});
    EXPECT_EQ(std::tuple(PatchBlocks[4].Count, PatchBlocks[8].Count, PatchBlocks[12].Count), std::tuple(1, 2, 1));
    EXPECT_EQ(FileTypes[4].InVerdata, 0);  // the format has no flag: left alone
    EXPECT_EQ(messages, (std::vector<std::string>{IllegalBlock(255, 7), IllegalBlock(8, 4096)}));
    EXPECT_EQ(LogLines(), std::vector<std::string>{});
    EXPECT_EQ(DataFileHandle.Size(), 3 + 1 + 2);  // Art, Sound 255, Art again
}

TEST_F(PatchTest, VerdataFiltersComeAfterTheRangeTest) {
    Bytes file = Bytes{}.le(4)
        .verdata(4, 5, 84, 1, 0)       // outside the FileID range
        .verdata(8, 10, 85, 1, 0)      // taken
        .verdata(8, 11, 86, 1, 0)      // outside the block range
        .verdata(12, 65536, 87, 1, 0)  // outside both ranges, and above Gumps' range: still reported
        .raw({1, 2, 3, 4});
    test::WriteFile(Path("v.mul"), file.b);
    LoadVerdata(Path("v.mul"), 8, 8, 10, 10);
    EXPECT_EQ(std::tuple(PatchBlocks[4].Count, PatchBlocks[8].Count), std::tuple(0, 1));
    EXPECT_EQ(ReadBlockBytes(8, 10), ByteArray{2});
    ExpectAbsent(8, 11);
    EXPECT_EQ(messages, std::vector<std::string>{IllegalBlock(12, 65536)});
}

// What LoadVerdata and ExportVerdata make of the entries: above and in
// ExportTest. Here the edges of cVerdata itself.
TEST_F(PatchTest, VerdataEntriesAreReadByIndexAndNeverWritten) {
    // A file that holds nothing loads nothing and says so; no name or no file
    // is silent; what cannot be read is a failure that names it (damaged
    // files: the hostile corpus).
    test::WriteFile(Path("zero.mul"), Bytes{}.le(0).reservedVerdata().b);
    const WarningWatch warnings;
    for (const std::string& path : {Path("zero.mul"), Path("missing.mul"), std::string()})
        EXPECT_TRUE(LoadVerdata(path, 0, 255, 0, HighestBlock())) << path;
    EXPECT_EQ(warnings.Texts(),
              std::vector<std::string>{Path("zero.mul") + ": no block was loaded (the file counts 0 entries)."});
    EXPECT_FALSE(LoadVerdata(dir, 0, 255, 0, HighestBlock()));
    ASSERT_EQ(LogLines().size(), 1u);
    EXPECT_NE(LogLines()[0].find("mVerdata.LoadVerdata: " + dir + ": Unable to open file. It is a directory."),
              std::string::npos)
        << LogLines()[0];
    ::unlink(Path("test.log").c_str());
    for (int id = 0; id < kFileIDs; ++id) EXPECT_EQ(PatchBlocks[id].Count, 0);
    const ByteArray file = Bytes{}.le(1).verdata(16, 2, 0, 0, 3).b;
    test::WriteFile(Path("v.mul"), file);
    cVerdata verdata;
    EXPECT_EQ(verdata.cOpen(Path("missing.mul")), 503);
    EXPECT_EQ(verdata.cOpen(dir), 501);
    ASSERT_EQ(verdata.cOpen(Path("v.mul")), 0);
    EXPECT_EQ(verdata.cOpen(Path("v.mul")), 502);
    uint8_t fileId = 42;
    int32_t block = 42, extra = 42, size = 42;
    ByteArray bytes{42};
    EXPECT_EQ(verdata.cLoad(1, fileId, block, extra, bytes, size), 0);  // one past the last: nothing at all
    EXPECT_EQ(std::tuple(fileId, block, extra, size, bytes), std::tuple(42, 42, 42, 42, ByteArray{42}));
    EXPECT_EQ(verdata.cLoad(0, fileId, block, extra, bytes, size), 0);
    EXPECT_EQ(std::tuple(fileId, block, extra, size, bytes), std::tuple(16, 2, 3, 0, ByteArray{42}));  // array stays
    EXPECT_THROW(verdata.cLoad(-1, fileId, block, extra, bytes, size), Failure);
    // A file opened for reading refuses cSave, and nothing reaches it.
    EXPECT_EQ(verdata.cSave(4, 1, 0, ByteArray{1, 2}, 2), 0);
    EXPECT_EQ(verdata.cCount(), 1);
    EXPECT_EQ(verdata.cClose(), 0);
    EXPECT_EQ(test::ReadFile(Path("v.mul")), file);
    EXPECT_EQ(verdata.cClose(), 507);
    EXPECT_EQ(verdata.cLoad(0, fileId, block, extra, bytes, size), 0);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(LogLines(), std::vector<std::string>{});
}

TEST_F(PatchTest, CreatedVerdataReservesItsIndexAndAppendsData) {
    cVerdata verdata;
    ASSERT_EQ(verdata.cCreate(Path("new.mul"), 3), 0);  // the index written out before any cSave:
    EXPECT_EQ(test::ReadFile(Path("new.mul")), Bytes{}.le(0).reservedVerdata().reservedVerdata().reservedVerdata().b);
    EXPECT_EQ(verdata.cCreate(Path("other.mul"), 1), 504);
    EXPECT_EQ(verdata.cSave(12, 500, 0x30, ByteArray{0xA1, 0xA2, 0xA3}, 3), 3);
    EXPECT_EQ(verdata.cSave(8, 1, 2, ByteArray{0xFF}, 0), 0);
    EXPECT_EQ(verdata.cSave(129, 65535, -1, ByteArray{0xFF}, -1), -1);
    EXPECT_THROW(verdata.cSave(4, 1, 0, ByteArray{1}, 1), Failure);  // no reserved entry left
    EXPECT_EQ(verdata.cClose(), 0);
    // The first data lies right behind the reserved index.
    EXPECT_EQ(test::ReadFile(Path("new.mul")), Bytes{}.le(3).verdata(12, 500, 64, 3, 0x30).verdata(8, 1, 0, 0, 2)
                                                   .verdata(129, 65535, 0, -1, -1).raw({0xA1, 0xA2, 0xA3}).b);
    // A name that stands is replaced, and an index that can never hold its
    // data (it would pass 2147483647 bytes) is refused.
    test::WriteFile(Path("old.mul"), ByteArray(500, 0xAB));
    ASSERT_EQ(verdata.cCreate(Path("old.mul"), 0), 0);
    EXPECT_EQ(verdata.cClose(), 0);
    EXPECT_EQ(test::ReadFile(Path("old.mul")), (ByteArray{0, 0, 0, 0}));
    EXPECT_EQ(verdata.cCreate(Path("huge.mul"), 107374183), 505);
    EXPECT_EQ(verdata.cCreate(Path("huge.mul"), -1), 505);
    EXPECT_EQ(verdata.cCreate(Path("no-such-dir/x.mul"), 1), 505);
    EXPECT_FALSE(verdata.IsOpen());
}

TEST_F(PatchTest, LongVerdataIndexLoadsEveryEntryAcrossReadWindows) {
    // More entries than one read window holds, with the data area in the
    // opposite order, so that a wrong window or offset shows in the slots.
    constexpr int32_t n = 10000;
    Bytes file = Bytes{}.le(n);
    for (int32_t i = 0; i < n; ++i) file.verdata(4, i, 4 + 20 * n + (n - 1 - i), 1, i * 3);
    for (int32_t i = n - 1; i >= 0; --i) file.u8(static_cast<uint8_t>(i * 7));
    test::WriteFile(Path("long.mul"), file.b);
    LoadAll(Path("long.mul"));
    ASSERT_EQ(PatchBlocks[4].Count, n);
    for (int32_t i = 0; i < n; ++i)
        ASSERT_EQ(std::tuple(ReadBlockBytes(4, i), Slot(4, i).Extra),
                  std::tuple(ByteArray{static_cast<uint8_t>(i * 7)}, i * 3)) << i;
}

}  // namespace
}  // namespace quillet
