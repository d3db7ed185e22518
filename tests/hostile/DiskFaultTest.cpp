// Faults of the disk under the two procedures that write the user's files,
// SaveMUO and ExportVerdata, and under the scratch DataFile: a full disk, a
// folder that cannot be written, and files that vanish or are replaced while
// the work runs (the wait hooks let a test act at a counting point or a
// message). In every case the procedure answers failure or its documented
// outcome, the failure is logged or shown, the old file is byte-identical
// and no temporary file is left beside it.
#include <grp.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <initializer_list>

#include "actions/mStart.h"
#include "base/SafeSave.h"
#include "base/cError.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "formats/cMUO.h"
#include "formats/mPatchMUO.h"
#include "formats/mPatchUOP.h"
#include "formats/mVerdata.h"
#include "hostile/HostileUtil.h"
#include "operations/mImport.h"

namespace quillet {
namespace {

using hostile::Bytes;
using hostile::Exists;

constexpr const char* kCannotOpen = "Unable to open the verdata.mul. It is maybe in use or read only.";
constexpr const char* kCannotCreate = "Unable to create the new verdata.mul";

// A child process can only answer a number: each condition is one bit.
int Bits(std::initializer_list<bool> conditions) {
    int bits = 0;
    int bit = 0;
    for (const bool condition : conditions) bits |= (condition ? 1 : 0) << bit++;
    return bits;
}
void ExpectBits(int got, std::initializer_list<const char*> names) {
    ASSERT_GE(got, 0) << "the child process could not be made ready or did not end normally";
    int bit = 0;
    for (const char* name : names) EXPECT_TRUE(got & (1 << bit++)) << name;
}

const ByteArray kForeign{0xF0, 0x0F};

// The text names the file (or one whose name begins so: a temporary file of
// another process) and then gives one of the system's reasons.
bool NamesCause(const std::string& text, const std::string& path, std::initializer_list<const char*> reasons) {
    const size_t at = text.find(path);
    if (at == std::string::npos) return false;
    for (const char* reason : reasons)
        if (text.find(std::string(": ") + reason, at) != std::string::npos) return true;
    return false;
}
// A full disk, or a file size limit where no small disk could be made.
constexpr std::initializer_list<const char*> kFull{"No space left on device", "File too large"};
constexpr std::initializer_list<const char*> kDenied{"Permission denied", "Read-only file system"};

void Replace(const std::string& path, const ByteArray& bytes) {
    test::WriteFile(path + ".new", bytes);
    std::rename((path + ".new").c_str(), path.c_str());
}

class DiskFaultTest : public test::PatchTest {
protected:
    void SetUp() override {
        PatchTest::SetUp();
        disk = Path("disk");
        ::mkdir(disk.c_str(), 0700);
    }
    void TearDown() override {
        PatchDispose();  // the DataFile may live on the small disk
        if (mounted_) ::umount2(disk.c_str(), MNT_DETACH);
        ::chmod(dir.c_str(), 0700);
        ::chmod(disk.c_str(), 0700);
        PatchTest::TearDown();
    }

    // A tmpfs of `bytes` at disk, when this process may mount one (root).
    bool MountSmallDisk(size_t bytes) {
        const std::string options = "size=" + std::to_string(bytes) + ",mode=0700";
        mounted_ = ::geteuid() == 0 && ::mount("tmpfs", disk.c_str(), "tmpfs", 0, options.c_str()) == 0;
        return mounted_;
    }

    // Runs body in a child process once setup has worked there. Answers
    // body's number, -2 if the child could not be made ready, -1 if it did
    // not end normally.
    static int InChild(const std::function<bool()>& setup, const std::function<int()>& body) {
        std::fflush(nullptr);
        const pid_t pid = ::fork();
        if (pid < 0) return -2;
        if (pid == 0) ::_exit(setup() ? body() & 0x7F : 0xFF);
        int status = 0;
        ::waitpid(pid, &status, 0);
        if (!WIFEXITED(status)) return -1;
        return WEXITSTATUS(status) == 0xFF ? -2 : WEXITSTATUS(status);
    }

    // Runs body where files cannot grow: on the small tmpfs if there is one
    // (body runs here), else in a child process whose files may not pass
    // `bytes` (RLIMIT_FSIZE, with SIGXFSZ ignored so the write just fails).
    int OnFullDisk(size_t bytes, const std::function<int()>& body) const {
        if (mounted_) return body();
        return InChild(
            [bytes] {
                const rlimit limit{static_cast<rlim_t>(bytes), static_cast<rlim_t>(bytes)};
                std::signal(SIGXFSZ, SIG_IGN);
                return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
            },
            body);
    }

    // Runs body as a user that file permissions bind: here when this
    // process is not root, else in a child that has become the user nobody.
    int Unprivileged(const std::function<int()>& body) {
        if (::geteuid() != 0) return body();
        ::chmod(dir.c_str(), 0711);
        return InChild([] { return ::setgroups(0, nullptr) == 0 && ::setgid(65534) == 0 && ::setuid(65534) == 0; },
                       body);
    }

    // Runs body where disk cannot be written: the tmpfs remounted read-only,
    // else the folder's write bits taken away for an unprivileged body.
    int WithoutWriteAccess(const std::function<int()>& body) {
        if (mounted_) {
            if (::mount("tmpfs", disk.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) != 0) return -2;
            return body();
        }
        ::chmod(disk.c_str(), 0555);
        return Unprivileged(body);
    }

    // Runs save with file deleted, or replaced by another, at its first
    // counting point, when the temporary file temp must be there already.
    // The log is emptied first.
    bool Disturbed(const std::string& temp, const std::string& file, bool deleted, const std::function<bool()>& save) {
        ::unlink(Path("test.log").c_str());
        const WaitHooks kept = CurrentWaitHooks();
        WaitHooks hooks = kept;
        bool acted = false;
        hooks.doEvents = [&] {
            if (acted) return;
            acted = true;
            EXPECT_TRUE(Exists(temp)) << "the counting point came before the temporary file";
            if (deleted)
                ::unlink(file.c_str());
            else
                Replace(file, kForeign);
        };
        InstallWaitHooks(hooks);
        const bool done = save();
        InstallWaitHooks(kept);
        EXPECT_TRUE(acted) << "no counting point";
        return done;
    }

    // Exactly one log line, of proc, with a description.
    void ExpectOneLogLine(const std::string& proc) {
        ASSERT_EQ(LoggedProcs(), std::vector<std::string>{proc});
        EXPECT_GT(LogLines()[0].size(), 20 + proc.size() + 3) << "no description";
    }

    std::string disk;
    bool mounted_ = false;
};

ByteArray OldMuo() { return Bytes{}.muoHeader(1).muo(4, 9, 0, 3, {7, 8, 9}).b; }

// Two entries in use and their data; 4 + 2 * 20 = 44 is where the data begins.
ByteArray OldVerdata() { return Bytes{}.le(2).verdata(12, 5, 44, 2, 0x11).verdata(4, 3, 0, -1, 0).u8(0xA1).u8(0xA2).b; }

// ---- a full disk ----

TEST_F(DiskFaultTest, SaveAndExportOnAFullDiskKeepTheOldFilesAndBackups) {
    MountSmallDisk(128 << 10);
    const std::string target = disk + "/patch.muo";
    test::WriteFile(target, OldMuo());
    test::WriteFile(disk + "/verdata.mul", OldVerdata());
    test::WriteFile(disk + "/verdata.bak", ByteArray{0xBA});
    const ByteArray big(300000, 0x47);
    StoreBlock(12, 1, 300000, 7, big);
    StoreBlock(4, 2, 1, 0, ByteArray{1});

    ExpectBits(OnFullDisk(128 << 10, [&] { return Bits({!SaveMUO(target), !ExportVerdata(disk), messages.empty()}); }),
               {"SaveMUO answers false", "ExportVerdata answers false", "the failures are logged, not shown"});
    EXPECT_EQ(test::ReadFile(target), OldMuo());
    EXPECT_EQ(test::ReadFile(disk + "/verdata.mul"), OldVerdata());
    EXPECT_EQ(test::ReadFile(disk + "/verdata.bak"), ByteArray{0xBA});
    EXPECT_EQ(hostile::FilesUnder(disk), (std::set<std::string>{"patch.muo", "verdata.bak", "verdata.mul"}));
    ASSERT_EQ(LoggedProcs(), (std::vector<std::string>{"mPatch.SaveMUO", "mVerdata.ExportVerdata"}));
    EXPECT_TRUE(NamesCause(LogLines()[0], disk + "/.patch.muo.tmp-", kFull)) << LogLines()[0];
    EXPECT_TRUE(NamesCause(LogLines()[1], disk + "/verdata.tmp", kFull)) << LogLines()[1];
    EXPECT_EQ(ReadBlockBytes(12, 1), big);  // the patch itself is as it was
}

TEST_F(DiskFaultTest, ExportWhoseIndexCannotBeReservedTellsTheUser) {
    MountSmallDisk(64 << 10);
    test::WriteFile(disk + "/verdata.mul", OldVerdata());
    // 5000 present, empty blocks: no bytes, but 100 kB of index to reserve.
    for (int32_t block = 0; block < 5000; ++block) StoreBlock(4, block, -1, 0, nullptr);

    ExpectBits(
        OnFullDisk(64 << 10,
                   [&] {
                       const bool exported = ExportVerdata(disk);
                       return Bits({!exported, messages.size() == 1 &&
                                                   messages[0].rfind(std::string(kCannotCreate) + "\r\n", 0) == 0 &&
                                                   NamesCause(messages[0], disk + "/verdata.tmp", kFull)});
                   }),
        {"ExportVerdata answers false", "the user is told that the new file cannot be created, and why"});
    EXPECT_EQ(test::ReadFile(disk + "/verdata.mul"), OldVerdata());
    EXPECT_EQ(hostile::FilesUnder(disk), std::set<std::string>{"verdata.mul"});
    EXPECT_EQ(LogLines(), std::vector<std::string>{});  // a message, not a log line
}

// The scratch file fills the disk while a MUO file is loaded. The user is
// told once; the load stops with a log line. The blocks whose bytes were
// still in the buffer when its write failed are then not in the DataFile,
// so a later save must not write something else in their place.
TEST_F(DiskFaultTest, ScratchFileOnAFullDiskIsToldOnceAndLosesNoBlockSilently) {
    MountSmallDisk(256 << 10);
    PatchDispose();
    DataFileDirectory = disk;
    PatchNew();
    ASSERT_TRUE(DataFileHandle.IsOpen());
    const ByteArray first(700000, 0x31);
    const ByteArray second(700000, 0x32);
    const ByteArray input = Bytes{}.muoHeader(2).muo(4, 1, 0, 700000, first).muo(4, 2, 0, 700000, second).b;
    test::WriteFile(Path("in.muo"), input);
    test::WriteFile(Path("verdata.mul"), ByteArray{0, 0, 0, 0});

    const int got = OnFullDisk(256 << 10, [&] {
        LoadMUO(Path("in.muo"), 0, 255, 0, HighestBlock());
        const bool toldOnce = messages.size() == 1 && messages[0].find("disk full") != std::string::npos;
        const bool secondAbsent = Slot(4, 2).Offset == -1;
        bool laterWriteFails = false;
        try {
            StoreBlock(4, 3, 1, 0, ByteArray{1});
        } catch (const Failure&) {
            laterWriteFails = true;
        }
        const bool stillOnce = messages.size() == 1;
        // What a save makes of the patch now: refused, or block 1 whole.
        const bool saved = SaveMUO(Path("out.muo"));
        const ByteArray out = test::ReadFile(Path("out.muo"));
        const bool truthful = !saved || (out.size() == 45 + 16 + 700000 &&
                                         ByteArray(out.end() - 700000, out.end()) == first);
        // And an export: refused, or block 1 whole behind its one entry.
        const bool exported = ExportVerdata(dir);
        const ByteArray verdata = test::ReadFile(Path("verdata.mul"));
        const bool exportTruthful = !exported || (verdata.size() == 4 + 20 + 700000 &&
                                                  ByteArray(verdata.end() - 700000, verdata.end()) == first);
        return Bits({toldOnce, secondAbsent, laterWriteFails, stillOnce, truthful, exportTruthful});
    });
    ExpectBits(got & 0x0F, {"the user is told of the full disk", "the entry that failed is not stored",
                            "a later write fails at once", "and is not told again"});
    EXPECT_EQ(test::ReadFile(Path("in.muo")), input);
    EXPECT_EQ(hostile::LinesOf(LogLines(), "mPatch.LoadMUO").size(), 1u);
    // Under a file size limit out.muo cannot be written either; only the
    // small file system shows what the save makes of the lost bytes.
    EXPECT_FALSE(Exists(TempNameBeside(Path("out.muo"))));
    EXPECT_FALSE(Exists(Path("verdata.tmp")));
    if (mounted_ && got >= 0)
        ExpectBits(got >> 4, {"a save writes no block whose bytes were lost", "nor does an export"});
}

// ---- a folder that cannot be written ----

TEST_F(DiskFaultTest, SaveAndExportWithoutWriteAccessTellAndChangeNothing) {
    MountSmallDisk(1 << 20);
    StoreBlock(4, 2, 1, 0, ByteArray{1});
    const std::string target = disk + "/patch.muo", verdata = disk + "/verdata.mul";
    const std::set<std::string> files{"patch.muo", "verdata.mul"};
    test::WriteFile(target, OldMuo());
    test::WriteFile(verdata, OldVerdata());

    // A read-only verdata.mul in a folder that could be written.
    ::chmod(verdata.c_str(), 0444);
    ::chmod(disk.c_str(), 0777);
    const int got = Unprivileged([&] {
        const bool exported = ExportVerdata(disk);
        return Bits({!exported, messages.size() == 1 && messages[0].rfind(kCannotOpen, 0) == 0 &&
                                    NamesCause(messages[0], verdata, kDenied)});
    });
    const bool noUser = got == -2;
    if (!noUser) ExpectBits(got, {"ExportVerdata answers false", "the user is told it cannot be opened, and why"});
    EXPECT_EQ(hostile::FilesUnder(disk), files);

    // Writable files in a folder that cannot be written (on a read-only
    // mount verdata.mul itself cannot be opened for writing).
    ::chmod(verdata.c_str(), 0666);
    messages.clear();
    ::unlink(Path("test.log").c_str());
    const char* told = mounted_ ? kCannotOpen : kCannotCreate;
    const std::string file = mounted_ ? verdata : disk + "/verdata.tmp";
    ExpectBits(WithoutWriteAccess([&] {
                   const bool saved = SaveMUO(target), exported = ExportVerdata(disk);
                   return Bits({!saved, !exported,
                                messages.size() == 1 && messages[0].rfind(told, 0) == 0 &&
                                    NamesCause(messages[0], file, kDenied)});
               }),
               {"SaveMUO answers false", "ExportVerdata answers false", "the user is told why the export failed"});
    EXPECT_EQ(test::ReadFile(target), OldMuo());
    EXPECT_EQ(test::ReadFile(verdata), OldVerdata());
    EXPECT_EQ(hostile::FilesUnder(disk), files);
    // The unprivileged child cannot write the test's log; its line went to stderr.
    if (mounted_ || ::geteuid() != 0) {
        ExpectOneLogLine("mPatch.SaveMUO");
        EXPECT_TRUE(NamesCause(LogLines()[0], disk + "/.patch.muo.tmp-", kDenied)) << LogLines()[0];
    }
    if (noUser) GTEST_SKIP() << "no unprivileged user: a read-only verdata.mul was not tried";
}

// ---- sources that may only be read, or not at all ----

// One source of each kind, each holding Art block 1 with the byte 0x41.
struct Sources {
    std::string muo, uop, verdata, mul, idx;
    void Write(const std::string& at) {
        muo = at + "/in.muo", uop = at + "/in.uop", verdata = at + "/verdata.mul";
        mul = at + "/art.mul", idx = at + "/art.idx";
        test::WriteFile(muo, Bytes{}.muoHeader(1).muo(4, 1, 0, 1, {0x41}).b);
        test::WriteFile(uop, Bytes{}.uopHeader(4, 1).uop(4, 1, 1, 0, {0x41}).b);
        test::WriteFile(verdata, Bytes{}.le(1).verdata(4, 1, 24, 1, 0).u8(0x41).b);
        test::WriteFile(mul, ByteArray{0x41});
        test::WriteFile(idx, Bytes{}.record(-1, -1, 0).record(0, 1, 0).b);
    }
    std::vector<std::string> All() const { return {muo, uop, verdata, mul, idx}; }
    // Each loader in turn into a fresh patch: whether each brought Art block 1.
    std::vector<bool> Load() const {
        std::vector<bool> loaded;
        for (int kind = 0; kind < 4; ++kind) {
            PatchDispose();
            PatchNew();
            if (kind == 0) LoadMUO(muo, 0, 255, 0, HighestBlock());
            if (kind == 1) LoadUOP(uop, 0, 255, 0, HighestBlock());
            if (kind == 2) LoadVerdata(verdata, 0, 255, 0, HighestBlock());
            if (kind == 3) LoadMUL(mul, idx, 4, 0, 1);
            loaded.push_back(Slot(4, 1).Offset > 0 && ReadBlockBytes(4, 1) == ByteArray{0x41});
        }
        return loaded;
    }
};

// The readers open their sources for reading only: on a read-only disk (or,
// where none can be mounted, read-only files in a read-only folder for a
// user the permissions bind) every source loads whole and stays as it was.
TEST_F(DiskFaultTest, SourcesThatMayOnlyBeReadLoadWhole) {
    MountSmallDisk(1 << 20);
    Sources sources;
    sources.Write(disk);
    std::vector<ByteArray> before;
    for (const std::string& file : sources.All()) {
        before.push_back(test::ReadFile(file));
        ::chmod(file.c_str(), 0444);
    }
    const int got = WithoutWriteAccess([&] {
        const std::vector<bool> loaded = sources.Load();
        cMUO muo;
        return Bits({loaded[0], loaded[1], loaded[2], loaded[3], muo.cOpen(sources.muo) == 0});
    });
    if (got == -2) GTEST_SKIP() << "neither a read-only disk nor an unprivileged user";
    ExpectBits(got, {"the MUO file loads", "the UOP file loads", "the verdata file loads", "the MUL pair loads",
                     "a MUO file opens"});
    for (size_t i = 0; i < before.size(); ++i) EXPECT_EQ(test::ReadFile(sources.All()[i]), before[i]);
}

// A source that cannot be read (mode 0000, for a user the permissions bind:
// root reads anything, so root tries as the user nobody) is a failure that
// names the file and the system's reason, and loads nothing.
TEST_F(DiskFaultTest, SourcesThatCannotBeReadFailNamingTheFile) {
    Sources sources;
    sources.Write(disk);
    for (const std::string& file : sources.All()) ::chmod(file.c_str(), 0000);
    ::chmod(disk.c_str(), 0755);
    const int got = Unprivileged([&] {
        std::vector<bool> told;
        for (const std::string& file : {sources.muo, sources.uop, sources.verdata, sources.mul}) {
            const FailureWatch watch;
            if (file == sources.muo) LoadMUO(file, 0, 255, 0, HighestBlock());
            if (file == sources.uop) LoadUOP(file, 0, 255, 0, HighestBlock());
            if (file == sources.verdata) LoadVerdata(file, 0, 255, 0, HighestBlock());
            if (file == sources.mul) LoadMUL(file, sources.idx, 4, 0, 1);
            told.push_back(watch.Failed() && watch.First().find(file + ": ") != std::string::npos &&
                           watch.First().find("Permission denied.") != std::string::npos);
        }
        return Bits({told[0], told[1], told[2], told[3], PatchBlocks[4].Count == 0});
    });
    if (got == -2) GTEST_SKIP() << "no unprivileged user to try as";
    ExpectBits(got, {"the MUO file's failure is told", "the UOP file's", "the verdata file's", "the MUL file's",
                     "nothing is loaded"});
}

// ---- files that vanish or are replaced while the work runs ----

TEST_F(DiskFaultTest, SaveMUOWhileItsFilesAreDisturbed) {
    // 20001 empty blocks and one with bytes: the save passes a counting point midway.
    for (int32_t block = 0; block <= 20000; ++block) StoreBlock(4, block, -1, block, nullptr);
    StoreBlock(4, 20001, 3, 0, ByteArray{1, 2, 3});
    ASSERT_TRUE(SaveMUO(Path("reference.muo")));
    const ByteArray reference = test::ReadFile(Path("reference.muo"));
    ASSERT_EQ(reference.size(), 45u + 20002 * 16 + 3);

    const std::string target = Path("patch.muo"), temp = TempNameBeside(target);
    enum Outcome { Saves, Fails, Foreign };  // Foreign: fails, and the file put there stays as it is
    const struct {
        std::string file;
        bool deleted;
        Outcome outcome;
    } rows[] = {{target, true, Saves}, {target, false, Saves}, {temp, true, Fails}, {temp, false, Foreign}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.file + (row.deleted ? " deleted" : " replaced"));
        test::WriteFile(target, OldMuo());
        const bool saved = Disturbed(temp, row.file, row.deleted, [&] { return SaveMUO(target); });
        EXPECT_EQ(saved, row.outcome == Saves);
        EXPECT_EQ(test::ReadFile(target), row.outcome == Saves ? reference : OldMuo());
        if (row.outcome != Saves) ExpectOneLogLine("mPatch.SaveMUO");
        if (row.outcome == Foreign) {
            EXPECT_EQ(test::ReadFile(temp), kForeign) << "not ours to delete";
            ::unlink(temp.c_str());
        }
        EXPECT_FALSE(Exists(temp));
    }
}

TEST_F(DiskFaultTest, ExportWhileItsFilesAreDisturbed) {
    StoreBlock(4, 1, 2, 5, ByteArray{1, 2});
    StoreBlock(12, 3, -1, 0, nullptr);
    ::mkdir(Path("ref").c_str(), 0700);
    test::WriteFile(Path("ref/verdata.mul"), OldVerdata());
    ASSERT_TRUE(ExportVerdata(Path("ref")));
    const ByteArray reference = test::ReadFile(Path("ref/verdata.mul"));

    enum Outcome { Gone, Saves, Fails, Foreign, BackupKept };
    const struct {
        const char* file;
        bool deleted;
        Outcome outcome;
        std::set<std::string> left;  // the files in the folder afterwards
    } rows[] = {
        // Nothing to keep as the backup: the export does not happen.
        {"verdata.mul", true, Gone, {}},
        // The file that stood there at the swap is the backup.
        {"verdata.mul", false, Saves, {"verdata.bak", "verdata.mul"}},
        {"verdata.tmp", true, Fails, {"verdata.mul"}},
        // Another run's verdata.tmp, say: neither installed nor deleted.
        {"verdata.tmp", false, Foreign, {"verdata.mul", "verdata.tmp"}},
        // A verdata.bak appears: kept, the old file is the next backup.
        {"verdata.bak", false, BackupKept, {"verdata.1.bak", "verdata.bak", "verdata.mul"}},
    };
    int n = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.file) + (row.deleted ? " deleted" : " replaced"));
        const std::string d = Path("run" + std::to_string(n++)) + "/";
        ::mkdir(d.c_str(), 0700);
        test::WriteFile(d + "verdata.mul", OldVerdata());
        const bool exported =
            Disturbed(d + "verdata.tmp", d + row.file, row.deleted, [&] { return ExportVerdata(d); });
        EXPECT_EQ(exported, row.outcome == Saves || row.outcome == BackupKept);
        if (!exported) ExpectOneLogLine("mVerdata.ExportVerdata");
        EXPECT_TRUE(messages.empty());
        EXPECT_EQ(hostile::FilesUnder(d), row.left);
        for (const std::string& name : row.left) {  // every file but verdata.mul and the old backup is foreign
            const bool old = name == "verdata.bak" && row.outcome == BackupKept;
            const ByteArray want = name == "verdata.mul" ? (exported ? reference : OldVerdata())
                                   : old                 ? OldVerdata()
                                                         : kForeign;
            EXPECT_EQ(test::ReadFile(d + name), want) << name;
        }
    }
}

// A save and an export killed midway (at their first counting point) leave
// their temporary files behind; the next save or export beside them cleans
// them up (the export's verdata.tmp is simply replaced).
TEST_F(DiskFaultTest, KilledSaveAndExportLeaveLitterThatTheNextOnesClean) {
    for (int32_t block = 0; block <= 20000; ++block) StoreBlock(4, block, -1, 0, nullptr);
    const std::string target = Path("patch.muo");
    test::WriteFile(target, OldMuo());
    test::WriteFile(Path("verdata.mul"), OldVerdata());
    const auto killedAtFirstCountingPoint = [&](const std::function<bool()>& work) {
        std::fflush(nullptr);
        const pid_t pid = ::fork();
        if (pid == 0) {
            WaitHooks hooks = CurrentWaitHooks();
            hooks.doEvents = [] { ::kill(::getpid(), SIGKILL); };
            InstallWaitHooks(hooks);
            work();
            ::_exit(0);
        }
        int status = 0;
        ::waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
        return pid;
    };
    const pid_t saver = killedAtFirstCountingPoint([&] { return SaveMUO(target); });
    const std::string litter = Path(".patch.muo.tmp-" + std::to_string(saver));
    ASSERT_TRUE(Exists(litter)) << "the killed save left nothing to clean";
    EXPECT_EQ(test::ReadFile(target), OldMuo());
    char mark[1];
    const bool marked = ::getxattr(litter.c_str(), "user.quillet.tempfile", mark, 0) >= 0;
    ASSERT_TRUE(SaveMUO(target));
    EXPECT_NE(Exists(litter), marked) << "cleaned exactly when marked (where the file system keeps the mark)";

    killedAtFirstCountingPoint([&] { return ExportVerdata(dir); });
    ASSERT_TRUE(Exists(Path("verdata.tmp")));
    EXPECT_EQ(test::ReadFile(Path("verdata.mul")), OldVerdata());
    ASSERT_TRUE(ExportVerdata(dir));
    EXPECT_FALSE(Exists(Path("verdata.tmp")));
    EXPECT_EQ(test::ReadFile(Path("verdata.bak")), OldVerdata());
    if (!marked) GTEST_SKIP() << "the file system keeps no extended attributes: the killed save's file stays";
}

// A MUO file replaced or deleted while it is loaded (here at the first
// illegal-block message): the load goes on with the file it opened. The
// refused entry's data is longer than any read window, so the entry after
// it is read from the file after the change.
TEST_F(DiskFaultTest, LoadMUOGoesOnWithTheFileItOpened) {
    const ByteArray input =
        Bytes{}.muoHeader(2).muo(4, 81884, 0, 200000, ByteArray(200000, 9)).muo(4, 1, 0, 2, {0x41, 0x42}).b;
    for (const bool replace : {true, false}) {
        SCOPED_TRACE(replace ? "replaced" : "deleted");
        PatchDispose();
        PatchNew();
        messages.clear();
        test::WriteFile(Path("in.muo"), input);
        WaitHooks hooks = CurrentWaitHooks();
        hooks.message = [&](const std::string& text) {
            messages.push_back(text);
            if (replace)
                Replace(Path("in.muo"), kForeign);
            else
                ::unlink(Path("in.muo").c_str());
        };
        InstallWaitHooks(hooks);
        LoadMUO(Path("in.muo"), 0, 255, 0, HighestBlock());
        EXPECT_EQ(messages.size(), 1u);
        EXPECT_EQ(ReadBlockBytes(4, 1), (ByteArray{0x41, 0x42}));
        EXPECT_EQ(PatchBlocks[4].Count, 1);
        EXPECT_EQ(test::ReadFile(Path("in.muo")), replace ? kForeign : ByteArray{});
        EXPECT_EQ(LogLines(), std::vector<std::string>{});
    }
}

// ---- the DataFile's 2 GB limit, reached through a loader ----

TEST_F(DiskFaultTest, ScratchFileLimitIsReportedNotWrapped) {
    const ByteArray mul{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    const ByteArray idx = Bytes{}.record(0, 4, 0).record(4, 4, 0).record(8, 4, 0).b;
    test::WriteFile(Path("art.mul"), mul);
    test::WriteFile(Path("art.idx"), idx);
    // As if the file held 2147483641 bytes: the offsets, not the disk, end there.
    DataFileHandle.flushed = kDatafileLimit - 6;

    LoadMUL(Path("art.mul"), Path("art.idx"), 4, 0, 2);
    ASSERT_EQ(messages.size(), 1u);  // once, not per block
    EXPECT_NE(messages[0].find("2147483647"), std::string::npos) << messages[0];
    ExpectOneLogLine("mMuls.LoadMUL");
    EXPECT_EQ(Slot(4, 0).Offset, kDatafileLimit - 5);  // the last block that fits
    EXPECT_EQ(Slot(4, 1).Offset, -1);
    EXPECT_EQ(Slot(4, 2).Offset, -1);
    EXPECT_EQ(test::ReadFile(Path("art.mul")), mul);
    EXPECT_EQ(test::ReadFile(Path("art.idx")), idx);

    // The block just below the limit reads back whole, into a new verdata.mul.
    test::WriteFile(Path("verdata.mul"), ByteArray{0, 0, 0, 0});
    ASSERT_TRUE(ExportVerdata(dir));
    const ByteArray exported = test::ReadFile(Path("verdata.mul"));
    EXPECT_EQ(exported, Bytes{}.le(1).verdata(4, 0, 24, 4, 0).raw({0, 1, 2, 3}).b);

    DataFileHandle.pending.clear();  // nothing of this reaches the disk
    DataFileHandle.flushed = 0;
}

}  // namespace
}  // namespace quillet
