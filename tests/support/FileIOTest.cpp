#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "SupportTestUtil.h"
#include "core/mStart.h"
#include "core/mWait.h"
#include "support/cFileIO.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;

class FileIOTest : public testing::ScratchTest {
protected:
    // Names in the scratch folder other than the log: no temporary file may
    // be left behind.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(dir_))
            if (entry.path().filename() != "failures.log") names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    static mode_t Mode(const std::string& path) {
        struct stat st {};
        EXPECT_EQ(::stat(path.c_str(), &st), 0) << path;
        return st.st_mode & 0777;
    }
    cFileIO io;
};

TEST_F(FileIOTest, ExistenceAndLength) {
    const std::string file = Path("a.mul");
    Write(file, "12345");
    fs::create_directory(Path("folder"));
    Write(Path("empty"), "");

    EXPECT_FALSE(io.FileExist(""));
    EXPECT_FALSE(io.FileExist(Path("missing")));
    EXPECT_FALSE(io.FileExist(Path("folder")));
    EXPECT_TRUE(io.FileExist(file));

    EXPECT_EQ(io.Lof(file), 5);
    EXPECT_EQ(io.Lof(Path("empty")), 0);
    EXPECT_EQ(io.Lof(Path("missing")), -1);
    EXPECT_EQ(io.Lof(Path("folder")), -1);
    EXPECT_EQ(io.Lof(""), -1);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(FileIOTest, KillFileAndCreateDir) {
    const std::string file = Path("a");
    Write(file, "x");
    EXPECT_TRUE(io.KillFile(file));
    EXPECT_FALSE(fs::exists(file));
    EXPECT_FALSE(io.KillFile(file));
    fs::create_directory(Path("folder"));
    EXPECT_FALSE(io.KillFile(Path("folder")));
    EXPECT_TRUE(fs::is_directory(Path("folder")));

    io.CreateDir(Path("made"));
    EXPECT_TRUE(fs::is_directory(Path("made")));
    io.CreateDir(Path("made"));  // exists already: no failure
    io.CreateDir(Path("no/such/parent"));
    EXPECT_FALSE(fs::exists(Path("no")));
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(FileIOTest, RenameNeverOverwrites) {
    const std::string from = Path("from.muo"), to = Path("to.muo");
    Write(from, "new");
    ASSERT_TRUE(io.Rename(from, to));
    EXPECT_FALSE(fs::exists(from));
    EXPECT_EQ(Read(to), "new");
    EXPECT_TRUE(LogLines().empty());

    Write(from, "other");
    EXPECT_FALSE(io.Rename(from, to));
    EXPECT_EQ(Read(from), "other");
    EXPECT_EQ(Read(to), "new");
    auto lines = LogLines();
    ASSERT_EQ(lines.size(), 1u);
    ExpectLogLine(lines[0], "cFileIO.Rename('" + from + "', '" + to + "')");

    EXPECT_FALSE(io.Rename(Path("missing"), Path("x")));
    EXPECT_FALSE(fs::exists(Path("x")));
    lines = LogLines();
    ASSERT_EQ(lines.size(), 2u);
    ExpectLogLine(lines[1], "cFileIO.Rename('" + Path("missing") + "', '" + Path("x") + "')");

    // Folders are renamed too, and a folder in the way is not replaced.
    fs::create_directory(Path("d1"));
    fs::create_directory(Path("d2"));
    EXPECT_TRUE(io.Rename(Path("d1"), Path("d3")));
    EXPECT_FALSE(io.Rename(Path("d3"), Path("d2")));
    EXPECT_TRUE(fs::is_directory(Path("d3")));
    EXPECT_EQ(LogLines().size(), 3u);
}

TEST_F(FileIOTest, ByteArrayToFileReplacesTheWholeFile) {
    ByteArray all(256);
    for (size_t i = 0; i < all.size(); ++i) all[i] = static_cast<uint8_t>(i);
    const std::string file = Path("block.dat");
    io.ByteArrayToFile(all, file);
    ByteArray back{1, 2, 3};
    EXPECT_EQ(io.FileToByteArray(file, back), 256);
    EXPECT_EQ(back, all);

    // Deliberately no old tail: the file holds exactly the new bytes, and
    // keeps its permissions.
    ::chmod(file.c_str(), 0640);
    io.ByteArrayToFile(ByteArray{'a', 'b'}, file);
    EXPECT_EQ(Read(file), "ab");
    EXPECT_EQ(Mode(file), 0640u);
    io.ByteArrayToFile(ByteArray{}, file);
    EXPECT_TRUE(fs::exists(file));
    EXPECT_EQ(Read(file), "");
    EXPECT_EQ(Names(), std::vector<std::string>{"block.dat"});
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(FileIOTest, ByteArrayToFileFailureIsLogged) {
    const std::string file = Path("no-folder/block.dat");
    io.ByteArrayToFile(ByteArray{1}, file);
    fs::create_directory(Path("dir"));
    io.ByteArrayToFile(ByteArray{1}, Path("dir"));  // a folder is not replaced by a file
    EXPECT_TRUE(fs::is_directory(Path("dir")));
    EXPECT_TRUE(fs::is_empty(Path("dir")));
    EXPECT_EQ(Names(), std::vector<std::string>{"dir"});  // no temporary file left
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 2u);
    ExpectLogLine(lines[0], "cFileIO.ByteArrayToFile(ByteArray(), '" + file + "')");
    ExpectLogLine(lines[1], "cFileIO.ByteArrayToFile(ByteArray(), '" + Path("dir") + "')");
}

TEST_F(FileIOTest, FileToByteArrayFailuresGiveNothing) {
    ByteArray bytes{9, 9};
    EXPECT_EQ(io.FileToByteArray(Path("missing"), bytes), 0);
    EXPECT_TRUE(bytes.empty());
    fs::create_directory(Path("folder"));
    bytes = {9};
    EXPECT_EQ(io.FileToByteArray(Path("folder"), bytes), 0);
    EXPECT_TRUE(bytes.empty());
    Write(Path("empty"), "");
    bytes = {9};
    EXPECT_EQ(io.FileToByteArray(Path("empty"), bytes), 0);
    EXPECT_TRUE(bytes.empty());
    ASSERT_EQ(::mkfifo(Path("fifo").c_str(), 0600), 0);
    bytes = {9};
    EXPECT_EQ(io.FileToByteArray(Path("fifo"), bytes), 0);  // must not block
    EXPECT_TRUE(bytes.empty());
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(FileIOTest, LengthsAround2GiB) {
    // Sparse files: no disk space, and the read is refused before any
    // allocation is made.
    const std::string fits = Path("fits"), big = Path("big");
    for (const auto& [name, size] : {std::pair{fits, off_t{2147483647}}, std::pair{big, off_t{2147483648}}}) {
        const int fd = ::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(::ftruncate(fd, size), 0);
        ::close(fd);
    }
    EXPECT_EQ(io.Lof(fits), 2147483647);
    EXPECT_EQ(io.Lof(big), -1);
    ByteArray bytes{1};
    EXPECT_EQ(io.FileToByteArray(big, bytes), 0);
    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(io.FileToHex(big), "");
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 1u);
    ExpectLogLine(lines[0], "cFileIO.FileToHex('" + big + "')");
}

TEST_F(FileIOTest, HexFiles) {
    const std::string file = Path("h.bin");
    Write(file, std::string("\x00\xAB", 2));
    EXPECT_EQ(io.FileToHex(file), "00AB");
    Write(file, "");
    EXPECT_EQ(io.FileToHex(file), "");

    Write(file, "longer old content");
    io.HexToFile(file, "0aFF7");
    EXPECT_EQ(Read(file), std::string("\x0A\xFF\x07", 3));
    io.HexToFile(file, "zz");
    EXPECT_EQ(Read(file), std::string(1, '\0'));
    EXPECT_TRUE(LogLines().empty());

    EXPECT_EQ(io.FileToHex(Path("missing")), "");
    io.HexToFile(Path("no/x.bin"), "00");
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 2u);
    ExpectLogLine(lines[0], "cFileIO.FileToHex('" + Path("missing") + "')");
    ExpectLogLine(lines[1], "cFileIO.HexToFile('" + Path("no/x.bin") + "', Data)");
}

TEST_F(FileIOTest, TextFiles) {
    const std::string file = Path("t.txt");
    Write(file, "a much longer earlier text");
    EXPECT_TRUE(io.StringToFile(file, "line"));
    EXPECT_EQ(Read(file), "line\r\n");
    EXPECT_EQ(io.FileToString(file), "line\r\n");
    EXPECT_TRUE(io.StringToFile(file, std::string("a\0b", 3)));
    EXPECT_EQ(io.FileToString(file), std::string("a\0b\r\n", 5));
    EXPECT_TRUE(LogLines().empty());

    EXPECT_FALSE(io.StringToFile(Path("no/t.txt"), "x"));
    EXPECT_EQ(io.FileToString(Path("missing")), "");
    EXPECT_EQ(Names(), std::vector<std::string>{"t.txt"});
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 2u);
    ExpectLogLine(lines[0], "cFileIO.StringToFile('" + Path("no/t.txt") + "', Data)");
    ExpectLogLine(lines[1], "cFileIO.FileToString('" + Path("missing") + "')");
}

TEST_F(FileIOTest, CopyFileOverwrites) {
    const std::string from = Path("from"), to = Path("to");
    Write(from, "abc");
    ::chmod(from.c_str(), 0750);
    Write(to, "a longer target");
    EXPECT_TRUE(io.CopyFile(from, to));
    EXPECT_EQ(Read(to), "abc");
    EXPECT_EQ(Read(from), "abc");
    EXPECT_EQ(Mode(to), 0750u);

    EXPECT_FALSE(io.CopyFile(Path("missing"), to));
    EXPECT_EQ(Read(to), "abc");
    EXPECT_FALSE(io.CopyFile(from, Path("no/to")));
    EXPECT_EQ(Names(), (std::vector<std::string>{"from", "to"}));
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(FileIOTest, MoveFileKeepsAnExistingTarget) {
    const std::string from = Path("from"), to = Path("to");
    Write(from, "abc");
    io.MoveFile(from, to);
    EXPECT_FALSE(fs::exists(from));
    EXPECT_EQ(Read(to), "abc");

    Write(from, "new");
    io.MoveFile(from, to);
    EXPECT_EQ(Read(from), "new");
    EXPECT_EQ(Read(to), "abc");
    io.MoveFile(Path("missing"), Path("x"));
    EXPECT_FALSE(fs::exists(Path("x")));
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(FileIOTest, MoveFileAcrossFileSystems) {
    // Needs a second, writable file system; /dev/shm is one on most Linux systems.
    struct stat here {
    }, there{};
    if (::stat(dir_.c_str(), &here) != 0 || ::stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev ||
        ::access("/dev/shm", W_OK) != 0)
        GTEST_SKIP() << "no second file system";
    std::string other = "/dev/shm/quillet-move-XXXXXX";
    ASSERT_NE(::mkdtemp(other.data()), nullptr);
    const std::string from = other + "/from";
    Write(from, "moved");
    io.MoveFile(from, Path("to"));
    EXPECT_EQ(Read(Path("to")), "moved");
    EXPECT_FALSE(fs::exists(from));
    EXPECT_EQ(Names(), std::vector<std::string>{"to"});

    Write(from, "again");
    io.MoveFile(from, Path("to"));  // the target exists: nothing moves
    EXPECT_EQ(Read(Path("to")), "moved");
    EXPECT_EQ(Read(from), "again");
    EXPECT_EQ(Names(), std::vector<std::string>{"to"});
    fs::remove_all(other);
}

TEST_F(FileIOTest, KillDirRemovesTheTreeButNothingOutside) {
    const std::string root = Path("tree");
    fs::create_directories(root + "/0first/deeper/deepest");
    fs::create_directories(root + "/zlast");
    Write(root + "/a.txt", "a");
    Write(root + "/0first/b.txt", "b");
    Write(root + "/0first/deeper/deepest/c.txt", "c");
    Write(root + "/zlast/.hidden", "h");
    fs::create_directory(Path("outside"));
    Write(Path("outside/keep.txt"), "keep");
    fs::create_directory_symlink(Path("outside"), root + "/0first/link");
    fs::create_symlink(Path("outside/keep.txt"), root + "/filelink");

    io.KillDir(root + "/");
    EXPECT_FALSE(fs::exists(root));
    EXPECT_EQ(Read(Path("outside/keep.txt")), "keep");

    io.KillDir(Path("missing"));
    EXPECT_TRUE(LogLines().empty());

    // A link to a folder is never followed, not even as the folder named.
    fs::create_directory_symlink(Path("outside"), Path("toplink"));
    io.KillDir(Path("toplink"));
    EXPECT_EQ(Read(Path("outside/keep.txt")), "keep");

    io.KillDir("");
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 1u);
    ExpectLogLine(lines[0], "cFileIO.KillDir()");
}

// The desktop's opener is replaced by a script that records its start.
class OpenTest : public FileIOTest {
protected:
    void SetUp() override {
        FileIOTest::SetUp();
        const char* path = std::getenv("PATH");
        savedPath_ = path ? path : "";
        savedHooks_ = CurrentWaitHooks();
        WaitHooks hooks;
        hooks.message = [this](const std::string& text) { messages_.push_back(text); };
        InstallWaitHooks(hooks);
        fs::create_directory(Path("bin"));
        fs::create_directory(Path("work"));
        // Shell built-ins only: PATH holds nothing else while it runs.
        Write(Path("bin/xdg-open"),
              "#!/bin/sh\n{ pwd -P; printf '%s\\n' \"$#\" \"$@\"; } > '" + Path("started") + "'\n");
        ::chmod(Path("bin/xdg-open").c_str(), 0755);
    }
    void TearDown() override {
        ::setenv("PATH", savedPath_.c_str(), 1);
        InstallWaitHooks(savedHooks_);
        FileIOTest::TearDown();
    }
    // Waits for the started program to end (not for a time) and answers
    // what it recorded. The test process has no other children.
    std::string Started() {
        int status = 0;
        while (::waitpid(-1, &status, 0) > 0) {
        }
        return Read(Path("started"));
    }

    std::vector<std::string> messages_;

private:
    std::string savedPath_;
    WaitHooks savedHooks_;
};

TEST_F(OpenTest, OpenLinkPassesTheUrlAsOneArgument) {
    ::setenv("PATH", Path("bin").c_str(), 1);
    io.OpenLink("https://example.org/a b?c=1");
    const std::string cwd = fs::current_path().string();
    EXPECT_EQ(Started(), cwd + "\n1\nhttps://example.org/a b?c=1\n");
    EXPECT_TRUE(messages_.empty());
}

TEST_F(OpenTest, OpenProgramStartsInItsDirectory) {
    ::setenv("PATH", Path("bin").c_str(), 1);
    io.OpenProgram("readme.txt", Path("work"));
    EXPECT_EQ(Started(), fs::canonical(Path("work")).string() + "\n1\nreadme.txt\n");
    EXPECT_TRUE(messages_.empty());
}

TEST_F(OpenTest, AFailedStartShowsTheMessage) {
    fs::create_directory(Path("nothing"));
    ::setenv("PATH", Path("nothing").c_str(), 1);
    io.OpenLink("https://example.org");
    ASSERT_EQ(messages_.size(), 1u);
    EXPECT_EQ(messages_[0], "Couldn't load the default application");

    ::setenv("PATH", Path("bin").c_str(), 1);
    io.OpenProgram("readme.txt", Path("no-such-folder"));
    ASSERT_EQ(messages_.size(), 2u);
    EXPECT_EQ(messages_[1], "Couldn't load the default application");
    EXPECT_FALSE(fs::exists(Path("started")));
    EXPECT_TRUE(LogLines().empty());
}

}  // namespace
}  // namespace quillet
