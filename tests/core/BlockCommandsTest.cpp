#include "actions/mBlockCommands.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <tuple>

#include "common/TestEnv.h"
#include "core/BlockRows.h"
#include "core/mPatch.h"

namespace quillet {
namespace {

constexpr int kArt = 4;
constexpr int kGumps = 12;

class BlockCommandsTest : public test::PatchTest {
protected:
    void SetUp() override {
        PatchTest::SetUp();
        datDir = Path("dat");
        ::mkdir(datDir.c_str(), 0755);
        StoreBlock(kArt, 1, 3, 7, ByteArray{1, 2, 3});
        StoreBlock(kArt, 26, 5, -1, ByteArray{'h', 'e', 'l', 'l', 'o'});
        StoreBlock(kArt, 30, 0, 0, nullptr);   // present, empty
        StoreBlock(kArt, 31, -1, 0, nullptr);  // present, empty, as a MUL import stores it
        RecountBlocks(kArt);
    }

    std::string datDir;
};

TEST_F(BlockCommandsTest, DeleteRemovesPresentBlocksAndLowersCountOncePerBlock) {
    ASSERT_EQ(PatchBlocks[kArt].Count, 4);
    // 5 is not in the patch and 26 comes twice: neither may lower Count.
    EXPECT_EQ(DeleteBlocks(kArt, {26, 5, 1, 26}), 2);
    EXPECT_EQ(PatchBlocks[kArt].Count, 2);
    EXPECT_EQ(Slot(kArt, 26).Offset, -1);
    EXPECT_EQ(Slot(kArt, 1).Offset, -1);
    // Size and Extra stay in the slot.
    EXPECT_EQ(std::pair(Slot(kArt, 26).Size, Slot(kArt, 26).Extra), std::pair(5, -1));
    EXPECT_EQ(ListedBlocks(kArt), (std::vector<int32_t>{30, 31}));

    EXPECT_EQ(DeleteBlocks(kArt, {}), 0);
    EXPECT_EQ(DeleteBlocks(kArt, {30, 31}), 2);
    EXPECT_EQ(PatchBlocks[kArt].Count, 0);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(BlockCommandsTest, DeleteFailureKeepsWhatWasDoneAndLogs) {
    // Last to first: 26 goes, then -1 is outside the slots and ends the command.
    EXPECT_EQ(DeleteBlocks(kArt, {-1, 26}), 1);
    EXPECT_EQ(Slot(kArt, 26).Offset, -1);
    EXPECT_EQ(PatchBlocks[kArt].Count, 3);
    EXPECT_EQ(LoggedProcs(), std::vector<std::string>{"mMenu.ListView_Delete"});

    // 81884 is beyond Art and comes first: nothing is removed.
    EXPECT_EQ(DeleteBlocks(kArt, {1, 81884}), 0);
    EXPECT_EQ(Slot(kArt, 1).Offset, 1);
}

TEST_F(BlockCommandsTest, ExportWritesExactlyTheBlockOverAnyOldFile) {
    const std::string target = datDir + "/4_1A.dat";
    test::WriteFile(target, ByteArray(100, 0xEE));  // longer than the block: nothing of it may survive
    EXPECT_EQ(ExportBlocks(kArt, {26, 30, 31, 1}, datDir), 2);
    EXPECT_EQ(test::ReadFile(target), (ByteArray{'h', 'e', 'l', 'l', 'o'}));
    EXPECT_EQ(test::ReadFile(datDir + "/4_1.dat"), (ByteArray{1, 2, 3}));
    // Blocks without bytes are passed over without a file.
    EXPECT_FALSE(test::Exists(datDir + "/4_1E.dat") || test::Exists(datDir + "/4_1F.dat"));
    EXPECT_FALSE(ExportBlockToFile(kArt, 30, Path("empty.dat")));
    EXPECT_FALSE(test::Exists(Path("empty.dat")));

    // The patch does not change.
    EXPECT_EQ(PatchBlocks[kArt].Count, 4);
    EXPECT_EQ(Slot(kArt, 26).Offset, 4);
    EXPECT_TRUE(LogLines().empty());

    EXPECT_FALSE(ExportBlockToFile(kArt, 81884, Path("x.dat")));  // beyond Art
    EXPECT_EQ(LoggedProcs(), std::vector<std::string>{"mMenu.ListView_Export"});
}

TEST_F(BlockCommandsTest, ExportThenImportGivesTheSameBytesUnderANewOffset) {
    ASSERT_TRUE(ExportBlockToFile(kArt, 26, datDir + "/4_1A.dat"));
    const int32_t oldOffset = Slot(kArt, 26).Offset;
    Slot(kArt, 26).Extra = 0x1234;
    EXPECT_EQ(ImportBlocks(kArt, {26}, datDir + "/"), 1);
    const PatchBlock& slot = Slot(kArt, 26);
    EXPECT_GT(slot.Offset, oldOffset);
    EXPECT_EQ(slot.Size, 5);
    EXPECT_EQ(slot.Extra, -1);
    EXPECT_EQ(MakeBlockRow(26, slot).Flags, "FFFFFFFF");
    EXPECT_EQ(ReadBlockBytes(kArt, 26), (ByteArray{'h', 'e', 'l', 'l', 'o'}));
}

TEST_F(BlockCommandsTest, ImportTakesTheFilesLengthAnEmptyFileRemovesTheBlockAndNoBlockIsAdded) {
    test::WriteFile(datDir + "/4_1.dat", ByteArray{9, 8, 7, 6, 5, 4, 3});
    test::WriteFile(datDir + "/4_1A.dat", ByteArray{});
    test::WriteFile(datDir + "/C_1F4.dat", ByteArray{1});
    EXPECT_FALSE(ImportBlockFromFile(kGumps, 500, datDir + "/C_1F4.dat"));  // not in the patch
    EXPECT_EQ(Slot(kGumps, 500).Offset, -1);
    EXPECT_EQ(ImportBlocks(kArt, {1, 26, 30}, datDir), 2);  // 30 has no file: left alone
    EXPECT_EQ(Slot(kArt, 1).Size, 7);
    EXPECT_EQ(ReadBlockBytes(kArt, 1), (ByteArray{9, 8, 7, 6, 5, 4, 3}));

    EXPECT_EQ(std::tuple(Slot(kArt, 26).Size, Slot(kArt, 26).Extra, Slot(kArt, 26).Offset), std::tuple(-1, -1, -1));
    EXPECT_EQ(PatchBlocks[kArt].Count, 4);  // not recounted by the import
    RecountBlocks(kArt);
    EXPECT_EQ(PatchBlocks[kArt].Count, 3);

    EXPECT_EQ(std::tuple(Slot(kArt, 30).Size, Slot(kArt, 30).Extra, Slot(kArt, 30).Offset), std::tuple(0, 0, 0));
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(BlockCommandsTest, ImportFailureLeavesTheSlotAndLogs) {
    test::WriteFile(datDir + "/4_1.dat", ByteArray{4, 4});
    Datafile_Close(DataFileHandle);  // every write now fails
    EXPECT_EQ(ImportBlocks(kArt, {1}, datDir), 0);
    EXPECT_EQ(std::tuple(Slot(kArt, 1).Size, Slot(kArt, 1).Extra, Slot(kArt, 1).Offset), std::tuple(3, 7, 1));
    EXPECT_EQ(LoggedProcs(), std::vector<std::string>{"mMenu.ListView_Import"});
    EXPECT_FALSE(messages.empty());  // the DataFile tells the user once
}

TEST_F(BlockCommandsTest, VerdataFlag) {
    EXPECT_EQ(FileTypes[0].InVerdata, 0);  // the map starts unchecked
    ToggleInVerdata(kArt);
    EXPECT_EQ(FileTypes[kArt].InVerdata, 0);
    ToggleInVerdata(kArt);
    EXPECT_EQ(FileTypes[kArt].InVerdata, 1);
    FileTypes[kGumps].InVerdata = 5;  // any non-zero value is on: toggling gives 0
    ToggleInVerdata(kGumps);
    EXPECT_EQ(FileTypes[kGumps].InVerdata, 0);
    SetInVerdata(0, true);
    EXPECT_EQ(FileTypes[0].InVerdata, 1);
    SetInVerdata(0, false);
    EXPECT_EQ(FileTypes[0].InVerdata, 0);
    ToggleInVerdata(300);  // outside the table: nothing
}

}  // namespace
}  // namespace quillet
