// The advisory lock: a second open file description of the same file cannot
// take it while the first holds it, and can once it is released, however it
// is released.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include "base/FileLock.h"
#include "common/TestEnv.h"

namespace quillet {
namespace {

class FileLockTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = test::MakeTempDir();
        file_ = dir_ + "/patch.muo";
        test::WriteFile(file_, ByteArray{1, 2, 3});
    }
    void TearDown() override { test::RemoveTree(dir_); }

    // A new open file description of the file each time.
    int Open() const { return ::open(file_.c_str(), O_RDONLY | O_CLOEXEC); }

    std::string dir_;
    std::string file_;
};

TEST_F(FileLockTest, ASecondDescriptionCannotTakeItUntilTheFirstLetsGo) {
    const int first = Open(), second = Open();
    ASSERT_GE(first, 0);
    ASSERT_GE(second, 0);
    FileLock held;
    ASSERT_TRUE(held.TryLock(first));
    EXPECT_TRUE(held.Held());
    {
        FileLock other;
        EXPECT_FALSE(other.TryLock(second));
        EXPECT_EQ(errno, EWOULDBLOCK);
        EXPECT_FALSE(other.Held());
        EXPECT_FALSE(other.TryLock(file_)) << "a path opens a description of its own";
        EXPECT_FALSE(other.Held());
    }
    EXPECT_TRUE(held.Held()) << "a failed lock releases nothing of another";
    held.Release();
    EXPECT_FALSE(held.Held());
    {
        FileLock other;
        EXPECT_TRUE(other.TryLock(second));
        EXPECT_FALSE(held.TryLock(first));
    }  // the destructor releases it
    EXPECT_TRUE(held.TryLock(first));
    EXPECT_GE(::fcntl(first, F_GETFD), 0) << "a lock on a descriptor leaves the descriptor open";
    held.Release();
    EXPECT_GE(::fcntl(first, F_GETFD), 0);
    ::close(first);
    ::close(second);
}

TEST_F(FileLockTest, SharedLocksGoSideBySideButNotBesideAnExclusiveOne) {
    FileLock reader, second, writer;
    ASSERT_TRUE(reader.TryLock(file_, LockMode::Shared));
    EXPECT_EQ(reader.Mode(), LockMode::Shared);
    EXPECT_TRUE(second.TryLock(file_, LockMode::Shared)) << "readers share";
    EXPECT_FALSE(writer.TryLock(file_));
    EXPECT_EQ(errno, EWOULDBLOCK);
    reader.Release();
    EXPECT_FALSE(writer.TryLock(file_)) << "one reader left is enough to keep a writer out";
    second.Release();
    ASSERT_TRUE(writer.TryLock(file_));
    EXPECT_EQ(writer.Mode(), LockMode::Exclusive);
    EXPECT_FALSE(reader.TryLock(file_, LockMode::Shared)) << "a writer keeps readers out";
    FileLock moved = std::move(writer);
    EXPECT_EQ(moved.Mode(), LockMode::Exclusive);
    moved.Release();
    EXPECT_TRUE(reader.TryLock(file_, LockMode::Shared));
}

TEST_F(FileLockTest, ALockByPathHoldsItsOwnDescriptorAndMovesWithIt) {
    FileLock byPath;
    ASSERT_TRUE(byPath.TryLock(file_));
    FileLock moved = std::move(byPath);
    EXPECT_FALSE(byPath.Held());
    EXPECT_TRUE(moved.Held());
    byPath = FileLock();  // the moved-from lock lets go of nothing
    const int other = Open();
    ASSERT_GE(other, 0);
    FileLock probe;
    EXPECT_FALSE(probe.TryLock(other));
    moved = FileLock();  // assignment releases what was held
    EXPECT_TRUE(probe.TryLock(other));
    probe.Release();
    ::close(other);

    FileLock folder;
    EXPECT_TRUE(folder.TryLock(dir_)) << "a directory can be locked too";
    FileLock missing;
    EXPECT_FALSE(missing.TryLock(dir_ + "/no-such-file"));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(missing.Held());
}

TEST_F(FileLockTest, AReleaseLetsAWaiterInEvenWhileAForkedChildSharesTheDescription) {
    FileLock held;
    ASSERT_TRUE(held.Lock(file_));
    int done[2];
    ASSERT_EQ(::pipe(done), 0);
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        // The child shares the parent's locked description; its own waits.
        ::alarm(20);  // a lock that is never released ends the child, and the test fails
        ::close(done[0]);
        FileLock mine;
        const char got = mine.Lock(file_) ? 'y' : 'n';
        (void)!::write(done[1], &got, 1);
        ::_exit(0);
    }
    ::close(done[1]);
    held.Release();
    char got = 0;
    EXPECT_EQ(::read(done[0], &got, 1), 1) << "the child never got the lock";
    EXPECT_EQ(got, 'y');
    ::close(done[0]);
    ::waitpid(pid, nullptr, 0);
}

}  // namespace
}  // namespace quillet
