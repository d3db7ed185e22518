// Where a chain of symbolic links ends, why a name is no file, and the
// temporary files of saves and exports: claimed while written, removed by the
// signal cleanup, and cleaned later only when their run is gone.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "base/FileLock.h"
#include "base/FilePaths.h"
#include "base/SafeSave.h"
#include "base/ScratchFiles.h"
#include "common/TestEnv.h"

namespace quillet {
namespace {

using test::Exists;

class SafeSaveTest : public ::testing::Test {
protected:
    void SetUp() override { dir_ = test::MakeTempDir(); }
    void TearDown() override { test::RemoveTree(dir_); }
    std::string Path(const std::string& name) const { return dir_ + "/" + name; }
    bool Marked(const std::string& path) const {
        char value[1];
        return ::getxattr(path.c_str(), kTempFileMark, value, 0) >= 0;
    }
    std::string dir_;
};

TEST_F(SafeSaveTest, LinkChainsEndAtTheirLastTargetAndNamesSayWhyTheyAreNoFile) {
    test::WriteFile(Path("real"), ByteArray{1});
    ASSERT_EQ(::mkdir(Path("sub").c_str(), 0700), 0);
    ASSERT_EQ(::symlink("../real", Path("sub/up").c_str()), 0);  // relative to its own directory
    ASSERT_EQ(::symlink(Path("sub/up").c_str(), Path("abs").c_str()), 0);
    ASSERT_EQ(::symlink("abs", Path("rel").c_str()), 0);
    ASSERT_EQ(::symlink("nowhere/x", Path("dangling").c_str()), 0);
    ASSERT_EQ(::symlink("loop2", Path("loop1").c_str()), 0);
    ASSERT_EQ(::symlink("loop1", Path("loop2").c_str()), 0);

    std::string target;
    EXPECT_EQ(ResolveLinks(Path("rel"), target), 0);
    EXPECT_EQ(target, Path("sub/../real"));
    EXPECT_EQ(ResolveLinks(Path("real"), target), 0);
    EXPECT_EQ(target, Path("real"));
    EXPECT_EQ(ResolveLinks(Path("missing"), target), 0);
    EXPECT_EQ(target, Path("missing"));
    EXPECT_EQ(ResolveLinks(Path("dangling"), target), 0);
    EXPECT_EQ(target, Path("nowhere/x")) << "a dangling chain ends where it points";
    EXPECT_EQ(ResolveLinks(Path("loop1"), target), ELOOP);

    ASSERT_EQ(::mkfifo(Path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(WhyNotAFile(Path("rel")), "");
    EXPECT_EQ(WhyNotAFile(Path("sub")), "Is a directory");
    EXPECT_EQ(WhyNotAFile(Path("pipe")), "a named pipe (FIFO), not a file");
    EXPECT_EQ(WhyNotAFile(Path("dangling")), "No such file or directory");
}

TEST_F(SafeSaveTest, OnlyTemporaryFilesOfDeadRunsAreCleaned) {
    const std::string dead = std::to_string(test::DeadPid());
    if (!test::MakeDeadRunsTempFile(Path(".patch.muo.tmp-" + dead)))
        GTEST_SKIP() << "the file system keeps no extended attributes: nothing is ever taken for a leftover";
    ASSERT_TRUE(test::MakeDeadRunsTempFile(Path("verdata.tmp")));
    // Kept: a marked file that a living run holds locked, one without the
    // mark, a link to a dead run's file, a marked file of another name.
    ASSERT_TRUE(test::MakeDeadRunsTempFile(Path(".held.muo.tmp-" + dead)));
    FileLock living;
    ASSERT_TRUE(living.Lock(Path(".held.muo.tmp-" + dead)));
    test::WriteFile(Path(".plain.muo.tmp-" + dead), ByteArray{1});
    ASSERT_TRUE(test::MakeDeadRunsTempFile(Path("target.bin")));
    ASSERT_EQ(::symlink(Path("target.bin").c_str(), Path(".linked.muo.tmp-" + dead).c_str()), 0);
    ASSERT_TRUE(test::MakeDeadRunsTempFile(Path("notes.txt")));
    // Another user's file: root can make one, and must leave it alone.
    const bool root = ::geteuid() == 0;
    if (root) {
        ASSERT_TRUE(test::MakeDeadRunsTempFile(Path(".foreign.muo.tmp-" + dead)));
        ASSERT_EQ(::chown(Path(".foreign.muo.tmp-" + dead).c_str(), 12345, 12345), 0);
    }

    EXPECT_EQ(RemoveDeadTempFiles(dir_), 2);
    EXPECT_FALSE(Exists(Path(".patch.muo.tmp-" + dead)));
    EXPECT_FALSE(Exists(Path("verdata.tmp")));
    for (const char* kept : {".held.muo.tmp-", ".plain.muo.tmp-", ".linked.muo.tmp-"})
        EXPECT_TRUE(Exists(Path(kept + dead))) << kept;
    EXPECT_TRUE(Exists(Path("target.bin")) && Exists(Path("notes.txt")));
    EXPECT_TRUE(!root || Exists(Path(".foreign.muo.tmp-" + dead))) << "another user's file";
    living.Release();
    EXPECT_EQ(RemoveDeadTempFiles(dir_), 1) << "once its run lets go, it is a leftover";

    // A claim marks the file and holds it; made ready for its user's name the
    // file loses the mark, so it is never taken for a leftover afterwards.
    const std::string mine = TempNameBeside(Path("mine.muo"));
    test::WriteFile(mine, ByteArray{2});
    TempClaim claim;
    claim.Name(mine);
    claim.Hold();
    EXPECT_TRUE(Marked(mine));
    EXPECT_EQ(RemoveDeadTempFiles(dir_), 0);
    claim.Ready(KeptAttributes{});
    EXPECT_FALSE(Marked(mine));
    claim.Release();
    EXPECT_EQ(RemoveDeadTempFiles(dir_), 0);
    EXPECT_TRUE(Exists(mine));
}

// The CLI's handler calls RemoveClaimedTempFiles and ends the process; here
// a handler of the same kind in a child process.
extern "C" void RemoveAndEnd(int signal) {
    RemoveClaimedTempFiles();
    ::_exit(signal);
}

TEST_F(SafeSaveTest, ASignalRemovesTheFilesClaimedThenAndNoOthers) {
    const std::string done = Path("done.tmp"), writing = Path("verdata.tmp"), other = Path("other.tmp");
    for (const std::string& name : {done, writing, other}) test::WriteFile(name, ByteArray{1});
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        std::signal(SIGTERM, RemoveAndEnd);
        TempClaim finished;
        finished.Name(done);
        finished.Hold();
        finished.Release();  // released claims are no longer the run's to remove
        TempClaim claim;
        claim.Name(writing);  // named before it is made; made already here
        claim.Hold();
        std::raise(SIGTERM);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), SIGTERM) << "the handler ended the child";
    EXPECT_FALSE(Exists(writing));
    EXPECT_TRUE(Exists(done) && Exists(other));
}

}  // namespace
}  // namespace quillet
