#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <regex>

#include "common/TestEnv.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mStart.h"
#include "core/mWait.h"

namespace quillet {
namespace {

using test::Exists;
using test::PatchTest;

TEST_F(PatchTest, FileTypeTableHasFourteenRowsInTreeOrder) {
    std::vector<int> used;
    for (int id = 0; id < kFileIDs; ++id)
        if (!FileTypes[id].Name.empty()) used.push_back(id);
    EXPECT_EQ(used, (std::vector<int>{0, 2, 4, 6, 8, 10, 12, 14, 16, 30, 31, 32, 128, 129}));
    EXPECT_EQ(FileTypes[4].NbrOfBlocks, 65536);   // Art counts one more than Gumps
    EXPECT_EQ(FileTypes[12].NbrOfBlocks, 65535);
    EXPECT_EQ(FileTypes[0].ConstantIndex, 196);
    EXPECT_EQ(FileTypes[30].ConstantIndex, 836);
    EXPECT_EQ(FileTypes[32].ConstantIndex, 708);
    EXPECT_EQ(FileTypes[129].ConstantIndex, 2);
    EXPECT_EQ(FileTypes[0].Page, PageRef::Map());
    EXPECT_EQ(FileTypes[129].Page, PageRef::List(11));
    EXPECT_EQ(FileTypes[128].InVerdata, 0);
    EXPECT_EQ(FileTypes[32].ImageIndex, 21);
    EXPECT_EQ(FileIDByName("gUMPs"), 12);
    EXPECT_EQ(FileIDByName("Nothing"), -1);
}

TEST_F(PatchTest, NewPatchHasEverySlotAbsentUpToTheLastBlock) {
    for (int id = 0; id < kFileIDs; ++id) {
        EXPECT_EQ(PatchBlocks[id].Count, 0);
        if (FileTypes[id].NbrOfBlocks > 0) {
            ASSERT_EQ(PatchBlocks[id].Blocks.size(), static_cast<size_t>(FileTypes[id].NbrOfBlocks) + 1);
            EXPECT_EQ(PatchBlocks[id].Blocks.back().Offset, -1);
        } else {
            EXPECT_TRUE(PatchBlocks[id].Blocks.empty());
        }
    }
    EXPECT_EQ(waitTexts, std::vector<std::string>{"Loading radar colors"});
}

TEST_F(PatchTest, BlocksAppendToTheDataFileWithOneBasedOffsets) {
    const ByteArray first{1, 2, 3}, second{9, 8, 7, 6, 5};
    StoreBlock(4, 10, 3, 77, first);
    StoreBlock(4, 11, 5, -1, second);
    EXPECT_EQ(Slot(4, 10).Offset, 1);
    EXPECT_EQ(Slot(4, 11).Offset, 4);
    EXPECT_EQ(ReadBlockBytes(4, 11), second);  // still in the write buffer
    ASSERT_TRUE(Datafile_Flush(DataFileHandle));
    EXPECT_EQ(test::ReadFile(DataFileName), (ByteArray{1, 2, 3, 9, 8, 7, 6, 5}));
    EXPECT_EQ(ReadBlockBytes(4, 10), first);

    // Loaded again: new bytes at the end, the old ones stay as dead space.
    StoreBlock(4, 10, 2, 5, ByteArray{4, 4});
    EXPECT_EQ(Slot(4, 10).Offset, 9);
    RecountBlocks(4);
    EXPECT_EQ(PatchBlocks[4].Count, 2);

    // A read across the flushed part and the buffer sees both.
    ByteArray across;
    Datafile_Read(DataFileHandle, 7, 4, across);
    EXPECT_EQ(across, (ByteArray{6, 5, 4, 4}));
}

// Reading back in storing order fills a read window; bytes flushed after it
// was filled must be read from the file, not taken as the window's end.
TEST_F(PatchTest, DatafileReadsInOrderSeeBlocksFlushedLater) {
    const ByteArray a(100, 0xA1), b(100, 0xB2);
    StoreBlock(4, 0, 100, 0, a);
    ASSERT_TRUE(Datafile_Flush(DataFileHandle));
    EXPECT_EQ(ReadBlockBytes(4, 0), a);  // the window now ends where the file did
    StoreBlock(4, 1, 100, 0, b);
    ASSERT_TRUE(Datafile_Flush(DataFileHandle));
    EXPECT_EQ(ReadBlockBytes(4, 1), b);  // starts where the last read ended
    EXPECT_EQ(ReadBlockBytes(4, 0), a);
}

TEST_F(PatchTest, EmptyBlocksArePresentWithoutBytes) {
    StoreBlock(12, 0, 0, 0, ByteArray{});
    StoreBlock(12, 1, -1, 0, ByteArray{});
    RecountBlocks(12);
    EXPECT_EQ(Slot(12, 0).Offset, 0);
    EXPECT_EQ(Slot(12, 1).Size, -1);
    EXPECT_EQ(PatchBlocks[12].Count, 2);
    EXPECT_TRUE(ReadBlockBytes(12, 1).empty());
    EXPECT_EQ(DataFileHandle.Size(), 0);
}

TEST_F(PatchTest, SlotBoundsAreFailuresNotWrites) {
    EXPECT_NO_THROW(StoreBlock(4, 65536, 1, 0, ByteArray{1}));
    EXPECT_THROW(StoreBlock(12, 65536, 1, 0, ByteArray{1}), Failure);
    EXPECT_THROW(StoreBlock(12, -1, 0, 0, ByteArray{}), Failure);
    EXPECT_THROW(StoreBlock(1, 0, 0, 0, ByteArray{}), Failure);  // unused row has no slots
    ByteArray out;
    EXPECT_THROW(Datafile_Read(DataFileHandle, 0, 1, out), Failure);
    EXPECT_THROW(Datafile_Read(DataFileHandle, 1, 0, out), Failure);
}

TEST_F(PatchTest, NewAndDisposeKeepInVerdataAndRemoveTheDataFile) {
    FileTypes[4].InVerdata = 0;
    StoreBlock(4, 1, 1, 0, ByteArray{1});
    const std::string old = DataFileName;
    PatchDispose();
    EXPECT_NE(::access(old.c_str(), F_OK), 0);
    PatchNew();
    EXPECT_EQ(FileTypes[4].InVerdata, 0);
    EXPECT_EQ(Slot(4, 1).Offset, -1);
    EXPECT_NE(DataFileName, old);
    EXPECT_TRUE(std::regex_match(DataFileName, std::regex(".*/\\.[a-y]{8}\\.dat")));
}

TEST_F(PatchTest, DatafileCreateReplacesAnExistingFile) {
    const std::string name = Path("replace.dat");
    test::WriteFile(name, ByteArray(100, 1));
    DatafileHandle handle;
    ASSERT_TRUE(Datafile_Create(handle, name));
    EXPECT_EQ(Datafile_Write(handle, ByteArray{5}), 1);
    Datafile_Close(handle);
    EXPECT_EQ(test::ReadFile(name), ByteArray{5});
}

// A child makes the DataFile `name` and either dies without cleaning up or
// stays alive until told to go; the parent sees the file's name.
struct OtherRun {
    pid_t pid = -1;
    int release = -1;  // closing it lets a living child end
    std::string file;
};

OtherRun StartOtherRun(const std::string& name, bool crash) {
    int names[2], gate[2];
    EXPECT_EQ(::pipe(names), 0);
    EXPECT_EQ(::pipe(gate), 0);
    OtherRun run;
    run.pid = ::fork();
    if (run.pid == 0) {
        ::close(names[0]);
        ::close(gate[1]);
        DatafileHandle handle;
        Datafile_Create(handle, name);
        (void)!::write(names[1], name.data(), name.size());
        ::close(names[1]);
        if (!crash) {
            char c;
            (void)!::read(gate[0], &c, 1);
        }
        ::_exit(0);  // no Datafile_Close, no unlink: as a crash leaves it
    }
    ::close(names[1]);
    ::close(gate[0]);
    char buffer[256];
    const ssize_t got = ::read(names[0], buffer, sizeof buffer);
    ::close(names[0]);
    run.file.assign(buffer, got > 0 ? static_cast<size_t>(got) : 0);
    run.release = gate[1];
    if (crash) {
        ::close(run.release);
        ::waitpid(run.pid, nullptr, 0);
    }
    return run;
}

TEST_F(PatchTest, LeftoverDatafilesOfCrashedRunsGoAtTheNextPatchAndNothingElseDoes) {
    char mark[1];
    if (::getxattr(DataFileName.c_str(), "user.quillet.datafile", mark, 0) < 0)
        GTEST_SKIP() << "the scratch file system keeps no extended attributes: nothing is ever taken for a leftover";

    const OtherRun crashed = StartOtherRun(Path(".qwertyui.dat"), true);
    ASSERT_TRUE(Exists(crashed.file));
    // Named like a DataFile but not one of ours, and a link to one of ours.
    test::WriteFile(Path(".abcdefgh.dat"), ByteArray{1, 2, 3});
    test::WriteFile(Path("target.bin"), ByteArray{4});
    ASSERT_EQ(::symlink(crashed.file.c_str(), Path(".linkedxx.dat").c_str()), 0);

    const OtherRun living = StartOtherRun(Path(".livingxx.dat"), false);
    PatchDispose();
    PatchNew();

    EXPECT_FALSE(Exists(crashed.file));
    EXPECT_TRUE(Exists(Path(".livingxx.dat"))) << "a run that is still going keeps its file";
    EXPECT_EQ(test::ReadFile(Path(".abcdefgh.dat")), (ByteArray{1, 2, 3}));
    EXPECT_TRUE(Exists(Path(".linkedxx.dat")));
    EXPECT_TRUE(Exists(DataFileName)) << "this run's own new file";

    ::close(living.release);
    ::waitpid(living.pid, nullptr, 0);
    EXPECT_EQ(RemoveStaleDatafiles(dir), 1) << "once its run ended, the file is a leftover";
    EXPECT_FALSE(Exists(Path(".livingxx.dat")));
    EXPECT_TRUE(Exists(DataFileName)) << "our own file stays while it is open";
}

TEST_F(PatchTest, DatafileThatCannotBeCreatedIsReportedAndWritesFail) {
    DatafileHandle handle;
    EXPECT_FALSE(Datafile_Create(handle, Path("no/such/dir/x.dat")));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].find("Unable to create the scratch file"), std::string::npos);
    EXPECT_THROW(Datafile_Write(handle, ByteArray{1}), Failure);
    EXPECT_EQ(messages.size(), 1u);  // told once, not per block
    ASSERT_EQ(LogLines().size(), 1u);
}

TEST_F(PatchTest, DatafileRefusesToPassTwoGigabytes) {
    // Pretend the file is nearly full: the limit is on the offsets, not the disk.
    DataFileHandle.flushed = kDatafileLimit - 2;
    EXPECT_EQ(Datafile_Write(DataFileHandle, ByteArray{1, 2}), kDatafileLimit - 1);
    EXPECT_THROW(Datafile_Write(DataFileHandle, ByteArray{3}), Failure);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].find("2147483647"), std::string::npos);
    DataFileHandle.pending.clear();
    DataFileHandle.flushed = 0;
}

TEST_F(PatchTest, LogAppendsDatedLinesWithCrLf) {
    gError.Log("mTest.First", "described");
    try {
        throw Failure("Subscript out of range");
    } catch (...) {
        std::string description;
        gError.Log("mTest.Second", description);
        EXPECT_EQ(description, "Subscript out of range");  // the caller's string takes the text
    }
    gError.Log("mTest.Third");
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_TRUE(std::regex_match(lines[0], std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d mTest\.First: described\r)")));
    EXPECT_NE(lines[1].find("mTest.Second: Subscript out of range\r"), std::string::npos);
    EXPECT_TRUE(lines[2].ends_with("mTest.Third: \r"));
}

TEST_F(PatchTest, LogThatCannotBeWrittenFallsBackToStderr) {
    gError.LogFileOverride = Path("missing-dir/log.txt");
    testing::internal::CaptureStderr();
    gError.Log("mTest.Lost", "kept anyway");
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_NE(err.find("mTest.Lost: kept anyway"), std::string::npos);
}

TEST_F(PatchTest, WaitServiceCallsHooksAndCountingPointsEvery20000) {
    std::vector<int32_t> seen;
    bool stopped = false;
    WaitHooks hooks;
    hooks.doEvents = [&] { seen.push_back(WaitPercent); };
    hooks.stop = [&] { stopped = true; };
    InstallWaitHooks(hooks);
    Wait_Start("Working");
    CountingPoint point(100000);
    for (int i = 0; i < 100000; ++i) point.Tick(i);
    // At the 20000th item, 19999 were done before it.
    EXPECT_EQ(seen, (std::vector<int32_t>{19, 39, 59, 79, 99}));
    Wait_Stop();
    EXPECT_TRUE(stopped);
    EXPECT_EQ(WaitPercent, 0);
}

}  // namespace
}  // namespace quillet
