// Locks on what paths name: a file replaced by rename is followed, a path
// that names nothing is guarded through its directory, several paths (or one
// named twice) are locked without a holder waiting for itself.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "base/PathLock.h"
#include "common/TestEnv.h"

namespace quillet {
namespace {

using Requests = std::vector<PathLock::Request>;
constexpr LockMode kShared = LockMode::Shared;
constexpr LockMode kExclusive = LockMode::Exclusive;

class PathLockTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = test::MakeTempDir();
        patch_ = Path("patch.muo");
        test::WriteFile(patch_, ByteArray{1});
    }
    void TearDown() override { test::RemoveTree(dir_); }
    std::string Path(const std::string& name) const { return dir_ + "/" + name; }
    // A new file renamed over path, as a save replaces its file.
    void Replace(const std::string& path, uint8_t byte) {
        test::WriteFile(path + ".new", ByteArray{byte});
        ASSERT_EQ(std::rename((path + ".new").c_str(), path.c_str()), 0);
    }

    std::string dir_, patch_;
};

TEST_F(PathLockTest, AReplacedFileIsFollowedByItsHolderAndNotGuardedByTheOldLock) {
    PathLock holder, other;
    ASSERT_TRUE(holder.Acquire({{patch_, kExclusive}}, false));
    EXPECT_TRUE(holder.Held() && holder.Covers(patch_));
    std::string busy;
    EXPECT_FALSE(other.Acquire({{patch_, kShared}}, false, &busy));
    EXPECT_EQ(busy, patch_);
    EXPECT_FALSE(other.Held());

    Replace(patch_, 2);
    EXPECT_FALSE(holder.Covers(patch_)) << "the lock is on the old file";
    EXPECT_TRUE(holder.Follow(patch_));
    EXPECT_TRUE(holder.Covers(patch_));
    EXPECT_FALSE(other.Acquire({{patch_, kShared}}, false)) << "the new file is held now";

    // Another holder that takes the new file first wins; the follower has nothing then.
    Replace(patch_, 3);
    ASSERT_TRUE(other.Acquire({{patch_, kExclusive}}, false));
    EXPECT_FALSE(holder.Follow(patch_));
    EXPECT_FALSE(holder.Held());
    EXPECT_FALSE(holder.Follow(Path("never-requested.muo")));
    other.Release();
    EXPECT_TRUE(holder.Follow(patch_)) << "a lost lock is taken again";
}

// A waiter for a file that is replaced while it waits must not go on with
// the old file: it waits for the new one's holder as well.
TEST_F(PathLockTest, AWaiterWhoseFileWasReplacedWaitsForTheNewFile) {
    PathLock first;
    ASSERT_TRUE(first.Acquire({{patch_, kExclusive}}, false));
    int order[2];
    ASSERT_EQ(::pipe(order), 0);
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        ::alarm(20);  // a waiter that never gets the lock ends the child, and the test fails
        ::close(order[1]);
        PathLock waiter;
        bool told = false;
        const bool locked =
            waiter.Acquire({{patch_, kExclusive}}, true, nullptr, [&](const std::string&) { told = true; });
        // The parent wrote its mark before it let go of the new file.
        char mark = 0;
        ::fcntl(order[0], F_SETFL, O_NONBLOCK);
        const bool afterTheNewHolder = ::read(order[0], &mark, 1) == 1;
        ::_exit(locked && told && afterTheNewHolder && waiter.Covers(patch_) ? 0 : 1);
    }
    ::close(order[0]);
    const auto oldPipeAction = ::signal(SIGPIPE, SIG_IGN);  // a child gone early fails the test below instead
    ::usleep(200 * 1000);  // the child is waiting for the old file by now, or will find the new one held
    Replace(patch_, 2);
    PathLock second;
    ASSERT_TRUE(second.Acquire({{patch_, kExclusive}}, false));
    first.Release();
    ::usleep(200 * 1000);
    (void)!::write(order[1], "x", 1);
    ::signal(SIGPIPE, oldPipeAction);
    second.Release();
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the waiter went on with the old file";
    ::close(order[1]);
}

TEST_F(PathLockTest, AMissingFileIsGuardedByItsDirectoryForThoseWhoMayCreateIt) {
    const std::string missing = Path("new.muo"), also = Path("also-new.muo");
    PathLock creator, other, reader;
    ASSERT_TRUE(creator.Acquire({{missing, kExclusive}}, false));
    EXPECT_TRUE(creator.Covers(missing));
    std::string busy;
    EXPECT_FALSE(other.Acquire({{also, kExclusive}}, false, &busy)) << "one directory, one creator";
    EXPECT_EQ(busy, also);
    EXPECT_TRUE(other.Acquire({{patch_, kExclusive}}, false)) << "a file that is there is locked by itself";
    EXPECT_TRUE(reader.Acquire({{missing, kShared}}, false)) << "a reader of nothing locks nothing";
    EXPECT_FALSE(reader.Held());

    test::WriteFile(missing, ByteArray{1});  // the creator's save
    EXPECT_TRUE(creator.Follow(missing));
    EXPECT_TRUE(other.Acquire({{also, kExclusive}}, false)) << "the directory is free again";
    EXPECT_FALSE(reader.Acquire({{missing, kShared}}, false));

    // In a directory that does not exist there is nothing to guard.
    EXPECT_TRUE(reader.Acquire({{Path("no-dir/x.muo"), kExclusive}}, false));
    EXPECT_FALSE(reader.Held());
}

TEST_F(PathLockTest, PathsOfOneFileAreLockedOnceAndTheStrongerModeWins) {
    PathLock both, probe;
    const std::string spelled = dir_ + "/./patch.muo";
    // Two descriptions of one file would keep each other out: this would fail.
    ASSERT_TRUE(both.Acquire(
        {{patch_, kShared}, {spelled, kExclusive}, {Path("new.muo"), kExclusive}, {Path("other-new.muo"), kExclusive}},
        false));
    EXPECT_TRUE(both.Covers(spelled) && both.Covers(Path("other-new.muo")));
    EXPECT_FALSE(probe.Acquire({{patch_, kShared}}, false)) << "exclusive, as one of the requests asked";

    PathLock readers[2];
    both.Release();
    EXPECT_FALSE(both.Held());
    EXPECT_TRUE(readers[0].Acquire({{patch_, kShared}}, false));
    EXPECT_TRUE(readers[1].Acquire({{patch_, kShared}}, false));
    EXPECT_FALSE(probe.Acquire({{patch_, kExclusive}}, false));
    PathLock moved = std::move(readers[0]);
    readers[1] = PathLock();
    EXPECT_TRUE(moved.Held());
    EXPECT_FALSE(probe.Acquire({{patch_, kExclusive}}, false));
    moved = PathLock();
    EXPECT_TRUE(probe.Acquire({{patch_, kExclusive}}, false));
}

}  // namespace
}  // namespace quillet
