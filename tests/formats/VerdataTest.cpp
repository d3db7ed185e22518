#include <sys/stat.h>

#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/Checked.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mStart.h"
#include "formats/cVerdata.h"
#include "formats/mVerdata.h"

namespace quillet {
namespace {

using test::Bytes;
using test::PatchTest;

void LoadAll(const std::string& path) { LoadVerdata(path, 0, 255, 0, 400000); }

std::string IllegalBlock(int fileId, int32_t block) {
    return "An block with an illegal sized blocknumber where detected and ignored:\r\nFileID: " +
           std::to_string(fileId) + "\r\nBlocknumber:" + std::to_string(block);
}

TEST_F(PatchTest, HandWrittenVerdataLoadsToTheExactSlots) {
    // 7 entries in use and one reserved behind them; the data area holds the
    // bytes in another order than the entries.
    Bytes file;
    file.le(7)
        .verdata(4, 26, 172, 3, 0x1234)  // Art, replaced by entry 6
        .verdata(12, 500, 0, 0, 7)       // empty, Size 0
        .verdata(8, 3, 0, -1, -1)        // empty, Size -1
        .verdata(300, 7, 170, 2, 9)      // not a client file number: FileID 255, above its range
        .verdata(8, 256, 167, 3, 0)      // one above Sound's range
        .verdata(8, 255, 166, 1, 5)      // Sound's last block
        .verdata(4, 26, 164, 2, 0x77)    // the later entry wins
        .reservedVerdata()               // not in use: never read
        .raw({7, 7, 5, 4, 4, 4, 3, 3, 1, 2, 3});
    ASSERT_EQ(file.b.size(), 175u);
    test::WriteFile(Path("verdata.mul"), file.b);
    FileTypes[4].InVerdata = 0;

    LoadAll(Path("verdata.mul"));

    EXPECT_EQ(ReadBlockBytes(4, 26), (ByteArray{7, 7}));
    EXPECT_EQ(Slot(4, 26).Extra, 0x77);
    EXPECT_EQ(Slot(12, 500).Offset, 0);
    EXPECT_EQ(Slot(12, 500).Size, 0);
    EXPECT_EQ(Slot(12, 500).Extra, 7);
    EXPECT_EQ(Slot(8, 3).Offset, 0);
    EXPECT_EQ(Slot(8, 3).Size, -1);
    EXPECT_EQ(ReadBlockBytes(8, 255), ByteArray{5});
    EXPECT_EQ(Slot(8, 255).Extra, 5);
    EXPECT_EQ(PatchBlocks[4].Count, 1);
    EXPECT_EQ(PatchBlocks[8].Count, 2);
    EXPECT_EQ(PatchBlocks[12].Count, 1);
    EXPECT_EQ(FileTypes[4].InVerdata, 0);  // the format has no flag: left alone
    EXPECT_EQ(messages, (std::vector<std::string>{IllegalBlock(255, 7), IllegalBlock(8, 256)}));
    EXPECT_EQ(LogLines(), std::vector<std::string>{});
    EXPECT_EQ(DataFileHandle.Size(), 3 + 1 + 2);  // Art, Sound 255, Art again
}

TEST_F(PatchTest, VerdataFiltersComeAfterTheRangeTest) {
    Bytes file;
    file.le(4)
        .verdata(4, 5, 84, 1, 0)       // outside the FileID range
        .verdata(8, 10, 85, 1, 0)      // taken
        .verdata(8, 11, 86, 1, 0)      // outside the block range
        .verdata(12, 65536, 87, 1, 0)  // outside both ranges, and above Gumps' range: still reported
        .raw({1, 2, 3, 4});
    test::WriteFile(Path("v.mul"), file.b);
    LoadVerdata(Path("v.mul"), 8, 8, 10, 10);
    EXPECT_EQ(PatchBlocks[4].Count, 0);
    EXPECT_EQ(ReadBlockBytes(8, 10), ByteArray{2});
    EXPECT_EQ(Slot(8, 11).Offset, -1);
    EXPECT_EQ(PatchBlocks[8].Count, 1);
    EXPECT_EQ(messages, std::vector<std::string>{IllegalBlock(12, 65536)});
}

TEST_F(PatchTest, VerdataEntriesAreReadByIndex) {
    Bytes file;
    file.le(3)
        .verdata(300, 7, 64, 2, 9)  // data is read, but the entry comes out without it
        .verdata(16, 2, 0, 0, 3)
        .verdata(31, 2000, 66, 3, -5)
        .raw({0xB1, 0xB2, 0xC1, 0xC2, 0xC3});
    test::WriteFile(Path("v.mul"), file.b);

    cVerdata verdata;
    ASSERT_EQ(verdata.cOpen(Path("v.mul")), 0);
    EXPECT_EQ(verdata.cCount(), 3);
    EXPECT_EQ(verdata.Changed, 0);
    uint8_t fileId = 1;
    int32_t block = 1, extra = 1, size = 1;
    ByteArray bytes{0xEE};

    EXPECT_EQ(verdata.cLoad(2, fileId, block, extra, bytes, size), 3);  // any order
    EXPECT_EQ(fileId, 31);
    EXPECT_EQ(block, 2000);
    EXPECT_EQ(extra, -5);
    EXPECT_EQ(bytes, (ByteArray{0xC1, 0xC2, 0xC3}));
    EXPECT_EQ(size, 3);

    EXPECT_EQ(verdata.cLoad(1, fileId, block, extra, bytes, size), 0);
    EXPECT_EQ(fileId, 16);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(bytes, (ByteArray{0xC1, 0xC2, 0xC3}));  // no data: the array stays

    EXPECT_EQ(verdata.cLoad(0, fileId, block, extra, bytes, size), -1);
    EXPECT_EQ(fileId, 255);
    EXPECT_EQ(size, -1);
    EXPECT_EQ(block, 7);
    EXPECT_EQ(extra, 9);

    // One past the last entry: nothing happens at all.
    fileId = 42;
    block = extra = size = 42;
    bytes = {42};
    EXPECT_EQ(verdata.cLoad(3, fileId, block, extra, bytes, size), 0);
    EXPECT_EQ(fileId, 42);
    EXPECT_EQ(block, 42);
    EXPECT_EQ(extra, 42);
    EXPECT_EQ(size, 42);
    EXPECT_EQ(bytes, ByteArray{42});
    EXPECT_THROW(verdata.cLoad(-1, fileId, block, extra, bytes, size), Failure);

    // A file opened for reading refuses cSave, and nothing reaches it.
    EXPECT_EQ(verdata.cSave(4, 1, 0, ByteArray{1, 2}, 2), 0);
    EXPECT_EQ(verdata.cCount(), 3);
    EXPECT_EQ(verdata.cOpen(Path("v.mul")), 502);
    EXPECT_EQ(verdata.cClose(), 0);
    EXPECT_EQ(test::ReadFile(Path("v.mul")), file.b);
    EXPECT_EQ(verdata.cClose(), 507);
    EXPECT_EQ(verdata.cLoad(0, fileId, block, extra, bytes, size), 0);
}

TEST_F(PatchTest, CreatedVerdataReservesItsIndexAndAppendsData) {
    cVerdata verdata;
    ASSERT_EQ(verdata.cCreate(Path("new.mul"), 3), 0);
    Bytes reserved;
    reserved.le(0).reservedVerdata().reservedVerdata().reservedVerdata();
    ASSERT_EQ(reserved.b.size(), 64u);
    EXPECT_EQ(test::ReadFile(Path("new.mul")), reserved.b);  // before any cSave
    EXPECT_EQ(verdata.Changed, 1);
    EXPECT_EQ(verdata.cCreate(Path("other.mul"), 1), 504);

    EXPECT_EQ(verdata.cSave(12, 500, 0x30, ByteArray{0xA1, 0xA2, 0xA3}, 3), 3);
    EXPECT_EQ(verdata.cSave(8, 1, 2, ByteArray{0xFF}, 0), 0);
    EXPECT_EQ(verdata.cSave(129, 65535, -1, ByteArray{0xFF}, -1), -1);
    EXPECT_EQ(verdata.cCount(), 3);
    EXPECT_THROW(verdata.cSave(4, 1, 0, ByteArray{1}, 1), Failure);  // no reserved entry left
    EXPECT_EQ(verdata.cClose(), 0);

    Bytes expected;
    expected.le(3)
        .verdata(12, 500, 64, 3, 0x30)  // the first data lies right behind the reserved index
        .verdata(8, 1, 0, 0, 2)
        .verdata(129, 65535, 0, -1, -1)
        .raw({0xA1, 0xA2, 0xA3});
    EXPECT_EQ(test::ReadFile(Path("new.mul")), expected.b);

    // A name that stands is replaced, and an index that can never hold its
    // data (it would pass 2147483647 bytes) is refused.
    test::WriteFile(Path("old.mul"), ByteArray(500, 0xAB));
    cVerdata second;
    ASSERT_EQ(second.cCreate(Path("old.mul"), 0), 0);
    EXPECT_EQ(second.cClose(), 0);
    EXPECT_EQ(test::ReadFile(Path("old.mul")), (ByteArray{0, 0, 0, 0}));
    EXPECT_EQ(second.cCreate(Path("huge.mul"), 107374183), 505);
    EXPECT_EQ(second.cCreate(Path("huge.mul"), -1), 505);
    EXPECT_FALSE(second.IsOpen());
    EXPECT_EQ(second.cCreate(Path("no-such-dir/x.mul"), 1), 505);
}

TEST_F(PatchTest, LongVerdataIndexLoadsEveryEntryAcrossReadWindows) {
    // More entries than one read window holds, with the data area in the
    // opposite order, so that a wrong window or offset shows in the slots.
    constexpr int32_t n = 10000;
    Bytes file;
    file.le(n);
    const int32_t dataStart = 4 + 20 * n;
    for (int32_t i = 0; i < n; ++i) file.verdata(4, i, dataStart + (n - 1 - i), 1, i * 3);
    for (int32_t i = n - 1; i >= 0; --i) file.b.push_back(static_cast<uint8_t>(i * 7));
    test::WriteFile(Path("long.mul"), file.b);

    LoadAll(Path("long.mul"));
    ASSERT_EQ(PatchBlocks[4].Count, n);
    for (int32_t i = 0; i < n; ++i) {
        ASSERT_EQ(ReadBlockBytes(4, i), ByteArray{static_cast<uint8_t>(i * 7)}) << "block " << i;
        ASSERT_EQ(Slot(4, i).Extra, i * 3) << "block " << i;
    }
    EXPECT_EQ(LogLines(), std::vector<std::string>{});
}

// Damaged and hostile files: the hostile corpus.
TEST_F(PatchTest, VerdataThatHoldsNothingLoadsNothingSilently) {
    test::WriteFile(Path("zero.mul"), Bytes{}.le(0).reservedVerdata().b);
    test::WriteFile(Path("short.mul"), ByteArray{});  // no count at all: it reads as 0
    ::mkdir(Path("folder.mul").c_str(), 0700);
    for (const std::string name : {"zero.mul", "short.mul", "folder.mul", "missing.mul"}) LoadAll(Path(name));
    LoadAll("");
    for (int id = 0; id < kFileIDs; ++id) EXPECT_EQ(PatchBlocks[id].Count, 0);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(LogLines(), std::vector<std::string>{});

    cVerdata verdata;
    EXPECT_EQ(verdata.cOpen(Path("missing.mul")), 503);
    EXPECT_EQ(verdata.cOpen(Path("folder.mul")), 501);
    EXPECT_EQ(verdata.cClose(), 507);
    EXPECT_EQ(verdata.cError(502), "There is allready an open verdata file.");
    EXPECT_EQ(verdata.cError(507), "Cannot close the verdata as its not open.");
    EXPECT_EQ(verdata.cError(500), "");
}

}  // namespace
}  // namespace quillet
