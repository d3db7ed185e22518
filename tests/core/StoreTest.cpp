#include <signal.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <regex>

#include "actions/mStart.h"
#include "base/cError.h"
#include "common/TestEnv.h"
#include "core/BlockRows.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mWait.h"

namespace quillet {
namespace {

using test::Exists;
using StoreTest = test::PatchTest;

TEST_F(StoreTest, NewPatchHasEverySlotAbsentUpToTheLastBlock) {
    for (int id = 0; id < kFileIDs; ++id) {  // unused rows have no slots at all
        EXPECT_EQ(PatchBlocks[id].Count, 0);
        const size_t slots = FileTypes[id].NbrOfBlocks > 0 ? static_cast<size_t>(FileTypes[id].NbrOfBlocks) + 1 : 0;
        ASSERT_EQ(PatchBlocks[id].Blocks.size(), slots) << id;
        EXPECT_TRUE(slots == 0 || PatchBlocks[id].Blocks.back().Offset == -1) << id;
    }
    EXPECT_EQ(waitTexts, std::vector<std::string>{"Loading radar colors"});
}

// Current clients' last blocks, and classic clients' beside them where they grew.
TEST_F(StoreTest, TypesKeepTheirCurrentAndClassicLastBlocks) {
    const std::map<int, std::pair<int32_t, int32_t>> lasts = {
        {0, {458751, 393215}}, {2, {458751, 393215}}, {4, {81883, 65536}}, {6, {148809, 148809}}, {8, {4095, 255}},
        {10, {16383, 4095}},   {12, {65535, 65535}},  {14, {8703, 8182}},  {16, {255, 255}},      {30, {2559, 1023}},
        {31, {2047, 2000}},    {32, {374, 374}},      {128, {99, 99}},     {129, {81919, 65535}}};
    for (int id = 0; id < kFileIDs; ++id) {
        const auto want = lasts.find(id);
        const FileTypeRec& row = FileTypes[id];
        ASSERT_EQ(!row.Name.empty(), want != lasts.end()) << id;
        if (!row.Name.empty()) {
            EXPECT_EQ(std::pair(row.NbrOfBlocks, row.ClassicLast), want->second) << id;
        }
    }
    EXPECT_EQ(FileTypes[31].ConstantIndex, 548);  // the animation data file has no index
    EXPECT_EQ(HighestBlock(), 458751);
}

TEST_F(StoreTest, BlocksAppendToTheDataFileWithOneBasedOffsets) {
    const ByteArray first{1, 2, 3}, second{9, 8, 7, 6, 5};
    StoreBlock(4, 10, 3, 77, first);
    StoreBlock(4, 11, 5, -1, second);
    EXPECT_EQ(Slot(4, 10).Offset, 1);
    EXPECT_EQ(Slot(4, 11).Offset, 4);
    EXPECT_EQ(ReadBlockBytes(4, 11), second);  // still in the write buffer
    ASSERT_TRUE(Datafile_Flush(DataFileHandle));
    EXPECT_EQ(test::ReadFile(DataFileName), (ByteArray{1, 2, 3, 9, 8, 7, 6, 5}));
    EXPECT_EQ(ReadBlockBytes(4, 10), first);
    StoreBlock(4, 10, 2, 5, ByteArray{4, 4});  // loaded again: to the end, the old bytes stay as dead space
    EXPECT_EQ(Slot(4, 10).Offset, 9);
    ByteArray across;  // a read across the flushed part and the buffer sees both
    Datafile_Read(DataFileHandle, 7, 4, across);
    EXPECT_EQ(across, (ByteArray{6, 5, 4, 4}));
}

// A block passes to a writer in pieces of at most 64 KiB, in order, from
// the file and from the write buffer alike.
TEST_F(StoreTest, DatafileCopiesABlockInFixedPieces) {
    ByteArray large(200000);
    for (size_t i = 0; i < large.size(); ++i) large[i] = static_cast<uint8_t>(i * 7 + i / 251);
    StoreBlock(4, 1, 3, 0, ByteArray{1, 2, 3});
    StoreBlock(4, 2, 200000, 0, large);
    ASSERT_TRUE(Datafile_Flush(DataFileHandle));  // blocks 1 and 2 on the disk
    StoreBlock(4, 3, 2, 0, ByteArray{8, 9});      // block 3 in the buffer
    for (const auto& [block, want] : {std::pair{2, large}, std::pair{3, ByteArray{8, 9}}}) {
        ByteArray copied;
        size_t largest = 0;
        Datafile_CopyTo(DataFileHandle, Slot(4, block).Offset, Slot(4, block).Size,
                        [&](const uint8_t* data, size_t count) {
                            largest = std::max(largest, count);
                            copied.insert(copied.end(), data, data + count);
                        });
        EXPECT_EQ(copied, want) << block;
        EXPECT_LE(largest, size_t{1} << 16);
    }
    const ByteSink ignore = [](const uint8_t*, size_t) {};
    EXPECT_THROW(Datafile_CopyTo(DataFileHandle, 0, 1, ignore), Failure);
    EXPECT_THROW(Datafile_CopyTo(DataFileHandle, 2147483647, 2, ignore), Failure);  // past the last offset
}

// Reading back in storing order fills a read window; bytes flushed after it
// was filled must be read from the file, not taken as the window's end.
TEST_F(StoreTest, DatafileReadsInOrderSeeBlocksFlushedLater) {
    const ByteArray a(100, 0xA1), b(100, 0xB2);
    StoreBlock(4, 0, 100, 0, a);
    ASSERT_TRUE(Datafile_Flush(DataFileHandle));
    EXPECT_EQ(ReadBlockBytes(4, 0), a);  // the window now ends where the file did
    StoreBlock(4, 1, 100, 0, b);
    ASSERT_TRUE(Datafile_Flush(DataFileHandle));
    EXPECT_EQ(ReadBlockBytes(4, 1), b);  // starts where the last read ended
    EXPECT_EQ(ReadBlockBytes(4, 0), a);
}

// A source that gives its bytes in pieces of its own and then ends.
class PieceSource : public ByteSource {
public:
    explicit PieceSource(ByteArray bytes) : bytes_(std::move(bytes)) {}
    size_t Read(uint8_t* out, size_t count) override {
        reads.push_back(count);
        const size_t got = std::min(count, bytes_.size() - std::min(at_, bytes_.size()));
        std::memcpy(out, bytes_.data() + std::min(at_, bytes_.size()), got);
        std::memset(out + got, 0, count - got);
        at_ += count;
        return got;
    }
    std::vector<size_t> reads;

private:
    ByteArray bytes_;
    size_t at_ = 0;
};

// Bytes that only pass through: read a piece at a time into the DataFile,
// zeros where the source ends, a long run of zeros as a hole in the file,
// the DataFile's limit checked before anything is read.
TEST_F(StoreTest, AppendTakesAPieceAtATimeAndZerosWhereTheSourceEnds) {
    StoreBlock(4, 0, 2, 0, ByteArray{7, 7});
    PieceSource small(ByteArray{1, 2, 3});
    int64_t real = -1;
    EXPECT_EQ(Datafile_Append(DataFileHandle, small, 5, &real), 3);
    EXPECT_EQ(real, 3);
    ByteArray back;
    Datafile_Read(DataFileHandle, 3, 5, back);
    EXPECT_EQ(back, (ByteArray{1, 2, 3, 0, 0}));

    // 3 MiB and 5 bytes of which the source has 1.5 MiB: read in pieces of
    // at most 1 MiB, never asked again once it has ended, the rest a hole.
    const size_t mib = size_t{1} << 20;
    ByteArray half(mib + mib / 2);
    for (size_t i = 0; i < half.size(); ++i) half[i] = static_cast<uint8_t>(i * 7 + 1);
    PieceSource big(half);
    const int64_t total = 3 * int64_t(mib) + 5;
    EXPECT_EQ(Datafile_Append(DataFileHandle, big, total, &real), 8);
    EXPECT_EQ(real, static_cast<int64_t>(half.size()));
    EXPECT_EQ(big.reads, (std::vector<size_t>{mib - 7, mib}));
    EXPECT_EQ(DataFileHandle.Size(), 7 + total);
    ASSERT_TRUE(Datafile_Flush(DataFileHandle));
    const ByteArray file = test::ReadFile(DataFileName);
    ASSERT_EQ(file.size(), static_cast<size_t>(7 + total));
    EXPECT_TRUE(std::equal(half.begin(), half.end(), file.begin() + 7));
    EXPECT_TRUE(std::all_of(file.begin() + 7 + static_cast<int64_t>(half.size()), file.end(),
                            [](uint8_t b) { return b == 0; }));
    StoreBlock(4, 1, 1, 0, ByteArray{9});  // appends go on behind the hole
    EXPECT_EQ(ReadBlockBytes(4, 1), ByteArray{9});

    // Past the limit: refused before a byte is read, told once.
    DataFileHandle.flushed = kDatafileLimit - 10;
    PieceSource refused(ByteArray(20, 1));
    EXPECT_THROW(Datafile_Append(DataFileHandle, refused, 20), Failure);
    EXPECT_TRUE(refused.reads.empty());
    EXPECT_EQ(messages.size(), 1u);
    DataFileHandle.pending.clear();
    DataFileHandle.flushed = 0;
}

size_t StorePages() {
    size_t pages = 0;
    for (const PatchBlockSet& set : PatchBlocks) pages += set.Blocks.AllocatedPages();
    return pages;
}

// The store's walks and reads leave an empty store without pages; counts and
// lists find the slots on either side of a page boundary; a new store is
// clean again however much was written.
TEST_F(StoreTest, StoreWalksSkipUnwrittenPagesAndANewStoreIsClean) {
    RecountAllBlocks();
    for (int id = 0; id < kFileIDs; ++id) EXPECT_TRUE(ListedBlocks(id).empty()) << id;
    EXPECT_TRUE(ReadBlockBytes(0, 458751).empty());
    EXPECT_EQ(StorePages(), 0u);

    const std::vector<int32_t> stored{0, 4095, 4096, 8191, 65536, 81883};
    for (const int32_t block : stored) StoreBlock(4, block, block == 4096 ? 0 : 1, 0, ByteArray{1});
    Slot(4, 8192).Offset = -1;  // a page written to hold nothing
    StoreBlock(2, 458751, 1, 0, ByteArray{2});
    EXPECT_EQ(StorePages(), 6u);
    RecountAllBlocks();
    EXPECT_EQ(std::pair(PatchBlocks[4].Count, PatchBlocks[2].Count), std::pair(6, 1));
    EXPECT_EQ(ListedBlocks(4), stored);
    EXPECT_EQ(ListedBlocks(2), std::vector<int32_t>{458751});

    CreatePatchStructures();
    EXPECT_EQ(StorePages(), 0u);
    EXPECT_EQ(PatchBlocks[4].Blocks.size(), 81884u);
    EXPECT_EQ(std::pair(PatchBlocks[4].Count, Slot(4, 4095).Offset), std::pair(0, -1));
    RecountBlocks(4);
    EXPECT_EQ(PatchBlocks[4].Count, 0);
}

TEST_F(StoreTest, SlotBoundsAreFailuresNotWrites) {
    EXPECT_NO_THROW(StoreBlock(4, 65536, 1, 0, ByteArray{1}));
    EXPECT_THROW(StoreBlock(12, 65536, 1, 0, ByteArray{1}), Failure);
    EXPECT_THROW(StoreBlock(12, -1, 0, 0, ByteArray{}), Failure);
    EXPECT_THROW(StoreBlock(1, 0, 0, 0, ByteArray{}), Failure);  // unused row has no slots
    ByteArray out;
    EXPECT_THROW(Datafile_Read(DataFileHandle, 0, 1, out), Failure);
    EXPECT_THROW(Datafile_Read(DataFileHandle, 1, 0, out), Failure);
}

TEST_F(StoreTest, NewAndDisposeKeepInVerdataAndRemoveTheDataFile) {
    FileTypes[4].InVerdata = 0;
    StoreBlock(4, 1, 1, 0, ByteArray{1});
    const std::string old = DataFileName;
    PatchDispose();
    EXPECT_FALSE(Exists(old));
    PatchNew();
    EXPECT_EQ(FileTypes[4].InVerdata, 0);
    EXPECT_EQ(Slot(4, 1).Offset, -1);
    EXPECT_NE(DataFileName, old);
    EXPECT_TRUE(std::regex_match(DataFileName, std::regex(".*/\\.[a-y]{8}\\.dat")));
}

// A child makes the DataFile `name`, then dies without cleaning up or waits
// to be killed; the answer comes once the file is made.
pid_t StartOtherRun(const std::string& name, bool crash) {
    int made[2];
    EXPECT_EQ(::pipe(made), 0);
    const pid_t pid = ::fork();
    if (pid == 0) {
        DatafileHandle handle;
        Datafile_Create(handle, name);
        ::close(made[1]);
        if (!crash) ::pause();
        ::_exit(0);  // no Datafile_Close, no unlink: as a crash leaves it
    }
    ::close(made[1]);
    char c;
    (void)!::read(made[0], &c, 1);  // end of file once the child has made it
    ::close(made[0]);
    if (crash) ::waitpid(pid, nullptr, 0);
    return pid;
}

TEST_F(StoreTest, LeftoverDatafilesOfCrashedRunsGoAtTheNextPatchAndNothingElseDoes) {
    char mark[1];
    if (::getxattr(DataFileName.c_str(), "user.quillet.datafile", mark, 0) < 0)
        GTEST_SKIP() << "the scratch file system keeps no extended attributes: nothing is ever taken for a leftover";
    StartOtherRun(Path(".qwertyui.dat"), true);
    ASSERT_TRUE(Exists(Path(".qwertyui.dat")));
    // Named like a DataFile but not one of ours, and a link to one of ours.
    test::WriteFile(Path(".abcdefgh.dat"), ByteArray{1, 2, 3});
    ASSERT_EQ(::symlink(Path(".qwertyui.dat").c_str(), Path(".linkedxx.dat").c_str()), 0);
    const pid_t living = StartOtherRun(Path(".livingxx.dat"), false);
    PatchDispose();
    PatchNew();
    EXPECT_FALSE(Exists(Path(".qwertyui.dat")));
    EXPECT_TRUE(Exists(Path(".livingxx.dat"))) << "a run that is still going keeps its file";
    EXPECT_EQ(test::ReadFile(Path(".abcdefgh.dat")), (ByteArray{1, 2, 3}));
    EXPECT_TRUE(Exists(Path(".linkedxx.dat")));
    EXPECT_TRUE(Exists(DataFileName)) << "this run's own new file";
    ::kill(living, SIGKILL);
    ::waitpid(living, nullptr, 0);
    EXPECT_EQ(RemoveStaleDatafiles(dir), 1) << "once its run ended, the file is a leftover";
    EXPECT_FALSE(Exists(Path(".livingxx.dat")));
    EXPECT_TRUE(Exists(DataFileName)) << "our own file stays while it is open";
}

TEST_F(StoreTest, DatafileThatCannotBeCreatedIsReportedAndWritesFail) {
    DatafileHandle handle;
    EXPECT_FALSE(Datafile_Create(handle, Path("no/such/dir/x.dat")));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_NE(messages[0].find("Unable to create the scratch file"), std::string::npos);
    EXPECT_THROW(Datafile_Write(handle, ByteArray{1}), Failure);
    EXPECT_EQ(messages.size(), 1u);  // told once, not per block
    EXPECT_EQ(LoggedProcs(), std::vector<std::string>{"mDatafile.Datafile_Create"});
}

TEST_F(StoreTest, LogAppendsDatedLinesWithCrLfOrFallsBackToStderr) {
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
    EXPECT_TRUE(lines[1].ends_with(" mTest.Second: Subscript out of range\r"));
    EXPECT_TRUE(lines[2].ends_with(" mTest.Third: \r"));
    gError.LogFileOverride = Path("missing-dir/log.txt");
    testing::internal::CaptureStderr();
    gError.Log("mTest.Lost", "kept anyway");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("mTest.Lost: kept anyway"), std::string::npos);
}

TEST_F(StoreTest, WaitServiceCallsHooksAndCountingPointsEvery20000) {
    std::vector<int32_t> seen;  // percents at the events, and -1 for the stop
    WaitHooks hooks;
    hooks.stop = [&] { seen.push_back(-1); };
    hooks.doEvents = [&] { seen.push_back(WaitPercent); };
    InstallWaitHooks(hooks);
    Wait_Start("Working");
    CountingPoint point(100000);
    for (int i = 0; i < 100000; ++i) point.Tick(i);
    Wait_Stop();
    EXPECT_EQ(seen, (std::vector<int32_t>{19, 39, 59, 79, 99, -1}));  // at the 20000th item, 19999 were done
    EXPECT_EQ(WaitPercent, 0);
}

}  // namespace
}  // namespace quillet
