// What SaveMUO and ExportVerdata do to the user's files beyond their bytes:
// the mode, owner and group of the file replaced, symbolic links saved
// through, failures that name their cause, temporary files of dead runs
// cleaned, and the export directory's lock.
#include <dirent.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "base/FileLock.h"
#include "base/SafeSave.h"
#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/mPatch.h"
#include "formats/mPatchMUO.h"
#include "formats/mVerdata.h"

namespace quillet {
namespace {

using test::Bytes;
using test::Exists;
using test::PatchTest;

struct stat StatOf(const std::string& path) {
    struct stat st {};
    EXPECT_EQ(::lstat(path.c_str(), &st), 0) << path;
    return st;
}
unsigned ModeOf(const std::string& path) { return StatOf(path).st_mode & 07777; }
bool IsLink(const std::string& path) { return S_ISLNK(StatOf(path).st_mode); }

// Names in directory that a temporary file of a save or an export has.
int TempFilesIn(const std::string& directory) {
    int found = 0;
    if (DIR* d = ::opendir(directory.c_str())) {
        while (const dirent* entry = ::readdir(d))
            if (std::string(entry->d_name).find(".tmp") != std::string::npos) ++found;
        ::closedir(d);
    }
    return found;
}

// A group this process may give its files other than its own: any group for
// root, else a supplementary one; 0 when there is none.
gid_t OtherGroup() {
    if (::geteuid() == 0) return 100;
    gid_t groups[64];
    const int n = ::getgroups(64, groups);
    for (int i = 0; i < n; ++i)
        if (groups[i] != ::getegid()) return groups[i];
    return 0;
}

ByteArray OldVerdata() { return Bytes{}.le(1).verdata(12, 5, 24, 2, 0).raw({0xA1, 0xA2}).b; }

class WriteSafetyTest : public PatchTest {
protected:
    void SetUp() override {
        PatchTest::SetUp();
        StoreBlock(4, 7, 3, 9, ByteArray{1, 2, 3});
        ASSERT_TRUE(SaveMUO(Path("expected.muo")));
        expected = test::ReadFile(Path("expected.muo"));
    }
    ByteArray expected;
};

TEST_F(WriteSafetyTest, SaveKeepsModeOwnerAndGroupAndANewFileFollowsTheUmask) {
    const gid_t group = OtherGroup();
    const bool root = ::geteuid() == 0;
    const struct {
        const char* name;
        unsigned mode;
        bool otherGroup, otherOwner;
    } rows[] = {{"private.muo", 0600, false, false},
                {"shared.muo", 0640, true, false},
                {"readonly.muo", 0444, false, false},
                {"someone-elses.muo", 0660, true, true}};
    for (const auto& row : rows) {
        if ((row.otherGroup && group == 0) || (row.otherOwner && !root)) continue;
        SCOPED_TRACE(row.name);
        const std::string path = Path(row.name);
        test::WriteFile(path, ByteArray{9});
        ASSERT_EQ(::chown(path.c_str(), row.otherOwner ? 12345 : static_cast<uid_t>(-1),
                          row.otherGroup ? group : static_cast<gid_t>(-1)),
                  0);
        ASSERT_EQ(::chmod(path.c_str(), row.mode), 0);
        const struct stat before = StatOf(path);
        ASSERT_TRUE(SaveMUO(path));
        EXPECT_EQ(test::ReadFile(path), expected);
        const struct stat after = StatOf(path);
        EXPECT_EQ(after.st_mode & 07777, row.mode);
        EXPECT_EQ(after.st_uid, before.st_uid);
        EXPECT_EQ(after.st_gid, before.st_gid);
        EXPECT_NE(after.st_ino, before.st_ino) << "a new file took the name";
    }
    const mode_t umaskWas = ::umask(027);
    const bool saved = SaveMUO(Path("new.muo"));
    ::umask(umaskWas);
    ASSERT_TRUE(saved);
    EXPECT_EQ(ModeOf(Path("new.muo")), 0640u);
}

TEST_F(WriteSafetyTest, SaveGoesThroughSymbolicLinksToTheFileTheyLeadTo) {
    ASSERT_EQ(::mkdir(Path("sub").c_str(), 0700), 0);
    test::WriteFile(Path("sub/real.muo"), ByteArray{9});
    ::chmod(Path("sub/real.muo").c_str(), 0600);
    ASSERT_EQ(::symlink("real.muo", Path("sub/hop").c_str()), 0);
    ASSERT_EQ(::symlink("sub/hop", Path("link.muo").c_str()), 0);
    ASSERT_EQ(::symlink("sub/fresh.muo", Path("dangling.muo").c_str()), 0);
    ASSERT_EQ(::symlink("nodir/x.muo", Path("nowhere.muo").c_str()), 0);
    ASSERT_EQ(::symlink("loop.muo", Path("loop.muo").c_str()), 0);

    ASSERT_TRUE(SaveMUO(Path("link.muo")));
    EXPECT_TRUE(IsLink(Path("link.muo")) && IsLink(Path("sub/hop")));
    EXPECT_EQ(test::ReadFile(Path("sub/real.muo")), expected);
    EXPECT_EQ(ModeOf(Path("sub/real.muo")), 0600u);
    ASSERT_TRUE(SaveMUO(Path("dangling.muo")));
    EXPECT_TRUE(IsLink(Path("dangling.muo")));
    EXPECT_EQ(test::ReadFile(Path("sub/fresh.muo")), expected);

    EXPECT_FALSE(SaveMUO(Path("nowhere.muo")));
    EXPECT_FALSE(SaveMUO(Path("loop.muo")));
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_NE(lines[0].find(Path("nodir/.x.muo.tmp-") + std::to_string(::getpid()) + ": No such file or directory"),
              std::string::npos)
        << lines[0];
    EXPECT_NE(lines[1].find(Path("loop.muo") + ": Too many levels of symbolic links"), std::string::npos) << lines[1];
    EXPECT_TRUE(IsLink(Path("nowhere.muo")) && IsLink(Path("loop.muo")));
    EXPECT_EQ(test::ReadFile(Path("expected.muo")), expected);
    EXPECT_EQ(TempFilesIn(dir) + TempFilesIn(Path("sub")), 0);
}

TEST_F(WriteSafetyTest, SaveFailuresNameTheFileAndTheCause) {
    ASSERT_EQ(::mkdir(Path("adir").c_str(), 0700), 0);
    ASSERT_EQ(::mkfifo(Path("pipe.muo").c_str(), 0600), 0);
    const std::string longName = Path(std::string(250, 'x') + ".muo");  // a name, but no room for ".NAME.tmp-PID"
    EXPECT_FALSE(SaveMUO(Path("adir")));
    EXPECT_FALSE(SaveMUO(Path("pipe.muo")));
    EXPECT_FALSE(SaveMUO(longName));
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_NE(lines[0].find("mPatch.SaveMUO: " + Path("adir") + ": Is a directory"), std::string::npos) << lines[0];
    EXPECT_NE(lines[1].find(Path("pipe.muo") + ": a named pipe (FIFO), not a file"), std::string::npos) << lines[1];
    EXPECT_NE(lines[2].find("Unable to create file. " + TempNameBeside(longName) + ": File name too long"),
              std::string::npos)
        << lines[2];
    EXPECT_TRUE(S_ISDIR(StatOf(Path("adir")).st_mode) && S_ISFIFO(StatOf(Path("pipe.muo")).st_mode));
    EXPECT_EQ(TempFilesIn(dir), 0);
}

TEST_F(WriteSafetyTest, SaveAndExportCleanTheTemporaryFilesOfDeadRunsBesideThem) {
    const std::string dead = std::to_string(test::DeadPid());
    if (!test::MakeDeadRunsTempFile(Path(".patch.muo.tmp-" + dead)))
        GTEST_SKIP() << "the file system keeps no extended attributes: nothing is ever taken for a leftover";
    ASSERT_TRUE(test::MakeDeadRunsTempFile(Path(".held.muo.tmp-" + dead)));
    FileLock living;  // a run still writing it
    ASSERT_TRUE(living.Lock(Path(".held.muo.tmp-" + dead)));
    test::WriteFile(Path(".plain.muo.tmp-" + dead), ByteArray{1});  // not marked: not ours
    ASSERT_TRUE(SaveMUO(Path("patch.muo")));
    EXPECT_FALSE(Exists(Path(".patch.muo.tmp-" + dead)));
    EXPECT_TRUE(Exists(Path(".held.muo.tmp-" + dead)) && Exists(Path(".plain.muo.tmp-" + dead)));

    ASSERT_EQ(::mkdir(Path("game").c_str(), 0700), 0);
    test::WriteFile(Path("game/verdata.mul"), OldVerdata());
    ASSERT_TRUE(test::MakeDeadRunsTempFile(Path("game/.client.muo.tmp-" + dead)));
    ASSERT_TRUE(ExportVerdata(Path("game")));
    EXPECT_FALSE(Exists(Path("game/.client.muo.tmp-" + dead)));
}

TEST_F(WriteSafetyTest, ExportKeepsModeOwnerAndGroupAndWritesThroughALink) {
    ASSERT_EQ(::mkdir(Path("game").c_str(), 0700), 0);
    ASSERT_EQ(::mkdir(Path("run").c_str(), 0700), 0);
    const std::string real = Path("game/client.mul");
    test::WriteFile(real, OldVerdata());
    const gid_t group = OtherGroup();
    ASSERT_EQ(::chown(real.c_str(), ::geteuid() == 0 ? 12345 : static_cast<uid_t>(-1),
                      group != 0 ? group : static_cast<gid_t>(-1)),
              0);
    ASSERT_EQ(::chmod(real.c_str(), 0640), 0);
    const struct stat before = StatOf(real);
    ASSERT_EQ(::symlink("../game/client.mul", Path("run/verdata.mul").c_str()), 0);

    for (int round = 0; round < 2; ++round) ASSERT_TRUE(ExportVerdata(Path("run"))) << round;
    EXPECT_TRUE(IsLink(Path("run/verdata.mul")));
    const ByteArray once = Bytes{}.le(2).verdata(12, 5, 44, 2, 0).verdata(4, 7, 46, 3, 9).raw({0xA1, 0xA2, 1, 2, 3}).b;
    EXPECT_EQ(test::ReadFile(Path("game/client.1.bak")), OldVerdata()) << "the backups lie beside the real file";
    EXPECT_EQ(test::ReadFile(Path("game/client.bak")), once);
    EXPECT_EQ(test::ReadFile(real).size(), 4 + 3 * 20 + 8u);
    EXPECT_EQ(TempFilesIn(Path("game")) + TempFilesIn(Path("run")), 0);
    EXPECT_FALSE(Exists(Path("run/verdata.bak")));
    const struct stat after = StatOf(real);
    EXPECT_EQ(after.st_mode & 07777, 0640u);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_gid, before.st_gid);
}

TEST_F(WriteSafetyTest, ASecondExportIntoADirectoryWaitsOrGivesUpAtOnce) {
    test::WriteFile(Path("verdata.mul"), OldVerdata());
    FileLock other;  // another program's export
    ASSERT_TRUE(other.Lock(dir));
    EXPECT_FALSE(ExportVerdata(dir, LockWait::NoWait));
    EXPECT_EQ(messages, std::vector<std::string>{"Another program is writing into the directory " + dir +
                                                 " (another export?): nothing was exported."});
    EXPECT_EQ(test::ReadFile(Path("verdata.mul")), OldVerdata());
    EXPECT_FALSE(Exists(Path("verdata.tmp")) || Exists(Path("verdata.bak")));
    other.Release();

    // Held by another process that lets go a moment later: the export waits for it.
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        FileLock held;
        const bool locked = held.Lock(dir);
        (void)!::write(ready[1], &locked, 1);
        ::usleep(300000);
        test::WriteFile(Path("released"), ByteArray{});
        held.Release();
        ::_exit(0);
    }
    bool locked = false;
    ASSERT_EQ(::read(ready[0], &locked, 1), 1);
    ASSERT_TRUE(locked);
    EXPECT_TRUE(ExportVerdata(dir, LockWait::Wait));
    EXPECT_TRUE(Exists(Path("released"))) << "the export did not wait for the other one";
    ::waitpid(pid, nullptr, 0);
    ::close(ready[0]);
    ::close(ready[1]);
    EXPECT_EQ(test::ReadFile(Path("verdata.bak")), OldVerdata());
}

// An empty verdata.mul that an export starts is a new file: 0666 less the umask, and so is the file that takes its
// place. One that appears while the export waits for the directory is exported into, with its backup, never
// replaced by an empty one.
TEST_F(WriteSafetyTest, AStartedVerdataFollowsTheUmaskAndNeverReplacesAFileThatAppeared) {
    const mode_t mask = ::umask(027);
    EXPECT_TRUE(ExportVerdata(dir, LockWait::Wait, MissingVerdata::Create));
    ::umask(mask);
    EXPECT_EQ(ModeOf(Path("verdata.mul")), 0640u);
    EXPECT_FALSE(Exists(Path("verdata.bak")));

    const std::string later = Path("later");
    ASSERT_EQ(::mkdir(later.c_str(), 0700), 0);
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {  // another program that holds the directory, puts its verdata.mul there and lets go
        FileLock held;
        const bool locked = held.Lock(later);
        (void)!::write(ready[1], &locked, 1);
        ::usleep(300000);
        test::WriteFile(later + "/verdata.mul", OldVerdata());
        held.Release();
        ::_exit(0);
    }
    bool locked = false;
    ASSERT_EQ(::read(ready[0], &locked, 1), 1);
    ASSERT_TRUE(locked);
    EXPECT_TRUE(ExportVerdata(later, LockWait::Wait, MissingVerdata::Create));
    ::waitpid(pid, nullptr, 0);
    ::close(ready[0]);
    ::close(ready[1]);
    EXPECT_EQ(test::ReadFile(later + "/verdata.bak"), OldVerdata());
    EXPECT_EQ(test::ReadFile(later + "/verdata.mul"),
              Bytes{}.le(2).verdata(12, 5, 44, 2, 0).verdata(4, 7, 46, 3, 9).raw({0xA1, 0xA2, 1, 2, 3}).b);
}

}  // namespace
}  // namespace quillet
