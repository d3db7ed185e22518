#pragma once
// Shared fixture: a scratch directory per test, the log redirected into it,
// the file-type table filled, a fresh patch, and message boxes captured.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/ByteIO.h"

namespace quillet::test {

class PatchTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    std::string Path(const std::string& name) const { return dir + "/" + name; }
    // Lines of the log written during the test.
    std::vector<std::string> LogLines() const;
    // Whether a log line names the procedure.
    bool Logged(const std::string& proc) const;
    // The procedure each log line names, in the order they were written.
    std::vector<std::string> LoggedProcs() const;

    std::string dir;
    std::vector<std::string> messages;
    std::vector<std::string> waitTexts;
};

// Lines that name the procedure ("... Proc: description").
std::vector<std::string> LinesOf(const std::vector<std::string>& lines, const std::string& proc);

bool Exists(const std::string& path);  // anything, a dangling link too
ByteArray ReadFile(const std::string& path);
void WriteFile(const std::string& path, const ByteArray& bytes);
std::string MakeTempDir();
// A file as a run that was killed while it saved leaves it: marked as a
// temporary file of ours, not locked. False where the file system keeps no
// extended attributes.
bool MakeDeadRunsTempFile(const std::string& path);
// The number of a process that has ended.
int DeadPid();
void RemoveTree(const std::string& path);

}  // namespace quillet::test
