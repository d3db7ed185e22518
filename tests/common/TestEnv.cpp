#include "common/TestEnv.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "actions/mStart.h"
#include "base/ScratchFiles.h"
#include "base/cError.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mWait.h"

namespace quillet::test {

std::string MakeTempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "quillet-test-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    return pattern;
}

void RemoveTree(const std::string& path) {
    std::error_code ignored;
    std::filesystem::permissions(path, std::filesystem::perms::owner_all, std::filesystem::perm_options::add,
                                 ignored);
    std::filesystem::remove_all(path, ignored);
}

bool MakeDeadRunsTempFile(const std::string& path) {
    WriteFile(path, ByteArray{0x4B});
    return ::setxattr(path.c_str(), kTempFileMark, "", 0, 0) == 0;
}

int DeadPid() {
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(0);
    ::waitpid(pid, nullptr, 0);
    return pid;
}

bool Exists(const std::string& path) {
    struct stat st {};
    return ::lstat(path.c_str(), &st) == 0;
}

std::vector<std::string> LinesOf(const std::vector<std::string>& lines, const std::string& proc) {
    std::vector<std::string> found;
    for (const std::string& line : lines)
        if (line.find(" " + proc + ": ") != std::string::npos) found.push_back(line);
    return found;
}

ByteArray ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return ByteArray(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteFile(const std::string& path, const ByteArray& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void PatchTest::SetUp() {
    dir = MakeTempDir();
    gError.LogFileOverride = Path("test.log");
    gError.OnLogged = nullptr;
    DataFileDirectory = dir;
    WaitHooks hooks;
    hooks.message = [this](const std::string& text) { messages.push_back(text); };
    hooks.start = [this](const std::string& text) { waitTexts.push_back(text); };
    InstallWaitHooks(hooks);
    FileTypes = {};
    RegisterFileTypes();
    PatchNew();
}

void PatchTest::TearDown() {
    PatchDispose();
    InstallWaitHooks({});
    gError.LogFileOverride.clear();
    DataFileDirectory.clear();
    RemoveTree(dir);
}

std::vector<std::string> PatchTest::LogLines() const {
    std::vector<std::string> lines;
    std::ifstream in(Path("test.log"), std::ios::binary);
    std::string line;
    while (std::getline(in, line)) lines.push_back(line);
    return lines;
}

bool PatchTest::Logged(const std::string& proc) const { return !LinesOf(LogLines(), proc).empty(); }

std::vector<std::string> PatchTest::LoggedProcs() const {
    std::vector<std::string> procs;  // "YYYY-MM-DD HH:MM:SS Proc: description"
    for (const std::string& line : LogLines()) {
        const size_t end = line.find(": ", 20);
        procs.push_back(line.size() > 20 && end != std::string::npos ? line.substr(20, end - 20) : "?" + line);
    }
    return procs;
}

}  // namespace quillet::test
