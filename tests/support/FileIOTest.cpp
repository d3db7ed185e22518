#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "SupportTestUtil.h"
#include "common/Bytes.h"
#include "core/mWait.h"
#include "support/cFileIO.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;

class FileIOTest : public testing::ScratchTest {
protected:
    // The scratch folder holds exactly these files with these contents (a
    // folder as "name/"), besides the log: no temporary file is left behind.
    void ExpectFiles(const std::map<std::string, std::string>& files) const {
        std::map<std::string, std::string> found;
        for (const auto& entry : fs::directory_iterator(dir_)) {
            const std::string name = entry.path().filename().string();
            if (entry.is_directory()) found[name + "/"] = "";
            else if (name != "failures.log") found[name] = Read(entry.path().string());
        }
        EXPECT_EQ(found, files);
    }
    // The log holds one line for each of these procedures, in this order.
    void ExpectLogged(const std::vector<std::string>& procs) const {
        const auto lines = LogLines();
        ASSERT_EQ(lines.size(), procs.size());
        for (size_t i = 0; i < procs.size(); ++i) ExpectLogLine(lines[i], procs[i]);
    }
    cFileIO io;
};

TEST_F(FileIOTest, KillCreateAndRenameNeverOverwrites) {
    const std::string from = Path("from.muo"), to = Path("to.muo");
    Write(Path("a.mul"), "12345");
    EXPECT_TRUE(io.KillFile(Path("a.mul")));
    EXPECT_FALSE(io.KillFile(Path("a.mul")));
    io.CreateDir(Path("d1"));
    io.CreateDir(Path("d1"));  // exists already: no failure
    io.CreateDir(Path("no/such/parent"));
    EXPECT_FALSE(io.KillFile(Path("d1")));
    Write(from, "new");
    ASSERT_TRUE(io.Rename(from, to));
    ExpectFiles({{"to.muo", "new"}, {"d1/", ""}});
    Write(from, "other");
    EXPECT_FALSE(io.Rename(from, to));
    EXPECT_FALSE(io.Rename(Path("missing"), Path("x")));
    // Folders are renamed too, and a folder in the way is not replaced.
    fs::create_directory(Path("d2"));
    EXPECT_TRUE(io.Rename(Path("d1"), Path("d3")));
    EXPECT_FALSE(io.Rename(Path("d3"), Path("d2")));
    ExpectFiles({{"from.muo", "other"}, {"to.muo", "new"}, {"d2/", ""}, {"d3/", ""}});
    ExpectLogged({"cFileIO.Rename('" + from + "', '" + to + "')",
                  "cFileIO.Rename('" + Path("missing") + "', '" + Path("x") + "')",
                  "cFileIO.Rename('" + Path("d3") + "', '" + Path("d2") + "')"});
}

TEST_F(FileIOTest, ByteArrayToFileReplacesTheWholeFileOrLogsItsFailure) {
    const ByteArray all = test::Counting(256);
    const std::string file = Path("block.dat");
    io.ByteArrayToFile(all, file);
    ByteArray back{1, 2, 3};
    EXPECT_EQ(io.FileToByteArray(file, back), 256);
    EXPECT_EQ(back, all);
    // Deliberately no old tail: the file holds exactly the new bytes, and keeps its permissions.
    ::chmod(file.c_str(), 0640);
    io.ByteArrayToFile(ByteArray{'a', 'b'}, file);
    EXPECT_EQ(Read(file), "ab");
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
    io.ByteArrayToFile(ByteArray{}, file);
    EXPECT_EQ(io.Lof(file), 0);

    io.ByteArrayToFile(ByteArray{1}, Path("no-folder/block.dat"));
    fs::create_directory(Path("dir"));
    io.ByteArrayToFile(ByteArray{1}, Path("dir"));  // a folder is not replaced by a file
    EXPECT_TRUE(fs::is_empty(Path("dir")));
    ExpectFiles({{"block.dat", ""}, {"dir/", ""}});
    ExpectLogged({"cFileIO.ByteArrayToFile(ByteArray(), '" + Path("no-folder/block.dat") + "')",
                  "cFileIO.ByteArrayToFile(ByteArray(), '" + Path("dir") + "')"});
}

TEST_F(FileIOTest, ExistenceLengthAndReadsThatCannotBeDone) {
    Write(Path("a.mul"), "12345");
    Write(Path("empty"), "");
    fs::create_directory(Path("folder"));
    ASSERT_EQ(::mkfifo(Path("fifo").c_str(), 0600), 0);
    // Sparse files around 2 GiB take no disk space; the read is refused before any allocation.
    for (const auto& [name, size] : {std::pair{"fits", off_t{2147483647}}, std::pair{"big", off_t{2147483648}}}) {
        Write(Path(name), "");
        ASSERT_EQ(::truncate(Path(name).c_str(), size), 0);
    }
    EXPECT_TRUE(io.FileExist(Path("a.mul")));
    EXPECT_EQ(io.Lof(Path("a.mul")), 5);
    EXPECT_EQ(io.Lof(Path("empty")), 0);
    EXPECT_EQ(io.Lof(Path("fits")), 2147483647);
    for (const std::string& name : {std::string(), Path("missing"), Path("folder"), Path("big")})
        EXPECT_EQ(io.Lof(name), -1) << name;
    for (const std::string& name : {std::string(), Path("missing"), Path("folder")})
        EXPECT_FALSE(io.FileExist(name)) << name;
    for (const char* name : {"missing", "folder", "empty", "fifo", "big"}) {  // a fifo must not block
        ByteArray bytes{9, 9};
        EXPECT_EQ(io.FileToByteArray(Path(name), bytes), 0) << name;
        EXPECT_TRUE(bytes.empty()) << name;
    }
    EXPECT_EQ(io.FileToHex(Path("big")), "");
    ExpectLogged({"cFileIO.FileToHex('" + Path("big") + "')"});
}

TEST_F(FileIOTest, HexAndTextFiles) {
    const std::string file = Path("h.bin"), text = Path("t.txt");
    Write(file, std::string("\x00\xAB", 2));
    EXPECT_EQ(io.FileToHex(file), "00AB");
    Write(file, "");
    EXPECT_EQ(io.FileToHex(file), "");
    Write(file, "longer old content");
    io.HexToFile(file, "0aFF7");
    Write(text, "a much longer earlier text");
    EXPECT_TRUE(io.StringToFile(text, std::string("a\0b", 3)));
    EXPECT_EQ(io.FileToString(text), std::string("a\0b\r\n", 5));
    EXPECT_TRUE(io.StringToFile(text, "line"));
    EXPECT_EQ(io.FileToString(text), "line\r\n");
    EXPECT_EQ(io.FileToHex(Path("missing")), "");
    io.HexToFile(Path("no/x.bin"), "00");
    EXPECT_FALSE(io.StringToFile(Path("no/t.txt"), "x"));
    EXPECT_EQ(io.FileToString(Path("missing")), "");
    ExpectFiles({{"h.bin", std::string("\x0A\xFF\x07", 3)}, {"t.txt", "line\r\n"}});
    ExpectLogged({"cFileIO.FileToHex('" + Path("missing") + "')", "cFileIO.HexToFile('" + Path("no/x.bin") + "', Data)",
                  "cFileIO.StringToFile('" + Path("no/t.txt") + "', Data)",
                  "cFileIO.FileToString('" + Path("missing") + "')"});
}

TEST_F(FileIOTest, CopyFileOverwritesMoveFileKeepsAnExistingTarget) {
    const std::string from = Path("from"), to = Path("to");
    Write(from, "abc");
    ::chmod(from.c_str(), 0750);
    Write(to, "a longer target");
    EXPECT_TRUE(io.CopyFile(from, to));
    EXPECT_EQ(fs::status(to).permissions(), fs::perms(0750));
    EXPECT_FALSE(io.CopyFile(Path("missing"), to));
    EXPECT_FALSE(io.CopyFile(from, Path("no/to")));
    ExpectFiles({{"from", "abc"}, {"to", "abc"}});

    Write(from, "new");
    io.MoveFile(from, to);  // kept: "from" stays for the next move
    io.MoveFile(from, Path("moved"));
    io.MoveFile(Path("missing"), Path("x"));
    ExpectFiles({{"moved", "new"}, {"to", "abc"}});
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(FileIOTest, MoveFileAcrossFileSystems) {
    // Needs a second, writable file system; /dev/shm is one on most Linux systems.
    struct stat here {}, there{};
    if (::stat(dir_.c_str(), &here) != 0 || ::stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev ||
        ::access("/dev/shm", W_OK) != 0)
        GTEST_SKIP() << "no second file system";
    std::string other = "/dev/shm/quillet-move-XXXXXX";
    ASSERT_NE(::mkdtemp(other.data()), nullptr);
    const std::string from = other + "/from";
    Write(from, "moved");
    io.MoveFile(from, Path("to"));
    EXPECT_FALSE(fs::exists(from));
    Write(from, "again");
    io.MoveFile(from, Path("to"));  // the target exists: nothing moves
    EXPECT_EQ(Read(from), "again");
    ExpectFiles({{"to", "moved"}});
    fs::remove_all(other);
}

TEST_F(FileIOTest, KillDirRemovesTheTreeButNothingOutside) {
    const std::string root = Path("tree");
    for (const char* folder : {"/0first/deeper/deepest", "/zlast"}) fs::create_directories(root + folder);
    for (const char* file : {"/a.txt", "/0first/b.txt", "/0first/deeper/deepest/c.txt", "/zlast/.hidden"})
        Write(root + file, file);
    fs::create_directory(Path("outside"));
    Write(Path("outside/keep.txt"), "keep");
    fs::create_directory_symlink(Path("outside"), root + "/0first/link");
    fs::create_symlink(Path("outside/keep.txt"), root + "/filelink");
    io.KillDir(root + "/");
    io.KillDir(Path("missing"));
    ExpectFiles({{"outside/", ""}});

    // A link to a folder is never followed, not even as the folder named.
    fs::create_directory_symlink(Path("outside"), Path("toplink"));
    io.KillDir(Path("toplink"));
    io.KillDir("");
    EXPECT_EQ(Read(Path("outside/keep.txt")), "keep");
    ExpectLogged({"cFileIO.KillDir()"});
}

// PATH and the message hook are put back after each test.
class FileIOOpenTest : public FileIOTest {
protected:
    void TearDown() override {
        ::setenv("PATH", savedPath_.c_str(), 1);
        InstallWaitHooks(savedHooks_);
        FileIOTest::TearDown();
    }
    std::string savedPath_ = std::getenv("PATH") ? std::getenv("PATH") : "";
    WaitHooks savedHooks_ = CurrentWaitHooks();
};

TEST_F(FileIOOpenTest, TheUrlIsOneArgumentAProgramStartsInItsDirectoryAFailureShowsTheMessage) {
    std::vector<std::string> messages;
    WaitHooks hooks;
    hooks.message = [&](const std::string& text) { messages.push_back(text); };
    InstallWaitHooks(hooks);
    // The desktop's opener is replaced by a script that records its start, of
    // shell built-ins only: PATH holds nothing else while it runs.
    fs::create_directory(Path("bin"));
    fs::create_directory(Path("work"));
    Write(Path("bin/xdg-open"), "#!/bin/sh\n{ pwd -P; printf '%s\\n' \"$#\" \"$@\"; } > '" + Path("started") + "'\n");
    ::chmod(Path("bin/xdg-open").c_str(), 0755);
    // Waits for the started program to end (not for a time): the test process has no other children.
    const auto started = [&] {
        while (::waitpid(-1, nullptr, 0) > 0) {
        }
        return Read(Path("started"));
    };
    ::setenv("PATH", Path("bin").c_str(), 1);
    io.OpenLink("https://example.org/a b?c=1");
    EXPECT_EQ(started(), fs::current_path().string() + "\n1\nhttps://example.org/a b?c=1\n");
    io.OpenProgram("readme.txt", Path("work"));
    EXPECT_EQ(started(), fs::canonical(Path("work")).string() + "\n1\nreadme.txt\n");
    EXPECT_TRUE(messages.empty());

    fs::remove(Path("started"));
    io.OpenProgram("readme.txt", Path("no-such-folder"));
    ::setenv("PATH", Path("work").c_str(), 1);  // no opener there
    io.OpenLink("https://example.org");
    EXPECT_EQ(messages, std::vector<std::string>(2, "Couldn't load the default application"));
    EXPECT_FALSE(fs::exists(Path("started")));
    EXPECT_TRUE(LogLines().empty());
}

}  // namespace
}  // namespace quillet
