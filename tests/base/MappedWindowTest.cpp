// Mapped views of a file, and the guard that keeps a file cut short under a
// mapping from ending the program.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "base/BinaryFile.h"
#include "base/FaultGuard.h"
#include "base/MappedWindow.h"
#include "common/TestEnv.h"

namespace quillet {
namespace {

class MappedWindowTest : public ::testing::Test {
protected:
    void SetUp() override {
        dir_ = test::MakeTempDir();
        path_ = dir_ + "/file.mul";
    }
    void TearDown() override { test::RemoveTree(dir_); }

    // Bytes that tell their position: byte n is n * 7 mod 251.
    static ByteArray Telling(size_t count) {
        ByteArray bytes(count);
        for (size_t n = 0; n < count; ++n) bytes[n] = static_cast<uint8_t>(n * 7 % 251);
        return bytes;
    }
    static bool Holds(const uint8_t* view, const ByteArray& all, size_t at, size_t length) {
        return view != nullptr && std::memcmp(view, all.data() + at, length) == 0;
    }

    std::string dir_;
    std::string path_;
};

TEST_F(MappedWindowTest, ViewsShowTheBytesWhereverTheyLie) {
    const ByteArray all = Telling((size_t{9} << 20) + 5);  // more than two windows, not a whole page
    test::WriteFile(path_, all);
    BinaryFile file;
    ASSERT_TRUE(file.Open(path_, BinaryFile::Mode::Read));
    const auto size = static_cast<int64_t>(all.size());
    MappedWindow window;
    // Off page boundaries, forward past a window's end, back again, up to the file's last byte.
    for (const auto& [at, length] : std::initializer_list<std::pair<size_t, size_t>>{
             {0, 1}, {4095, 2}, {12345, 1 << 18}, {(4u << 20) - 3, 7}, {(8u << 20) + 1, (1u << 20) + 4}, {100, 300},
             {all.size() - 1, 1}})
        EXPECT_TRUE(Holds(window.View(file, size, static_cast<int64_t>(at), length), all, at, length)) << at;
    // Nothing outside the file, of no length, or of a file not open.
    EXPECT_EQ(window.View(file, size, size - 3, 4), nullptr);
    EXPECT_EQ(window.View(file, size, -1, 4), nullptr);
    EXPECT_EQ(window.View(file, size, 0, 0), nullptr);
    window.Release();
    EXPECT_TRUE(Holds(window.View(file, size, 77, 10), all, 77, 10));
    file.Close();
    EXPECT_EQ(window.View(file, size, 77, 10), nullptr);
}

TEST_F(MappedWindowTest, AFileCutShortUnderTheMappingFaultsOnlyTheGuardedWork) {
    const ByteArray all = Telling(1 << 16);
    test::WriteFile(path_, all);
    BinaryFile file;
    ASSERT_TRUE(file.Open(path_, BinaryFile::Mode::Read));
    MappedWindow window;
    const uint8_t* view = window.View(file, static_cast<int64_t>(all.size()), 0, all.size());
    ASSERT_NE(view, nullptr);
    ASSERT_EQ(::truncate(path_.c_str(), 100), 0);  // another program rewrites the file

    int sum = 0;
    bool reachedTheEnd = false;
    auto readPastTheEnd = [&] {
        for (size_t n = 0; n < all.size(); n += 4096) sum += view[n];
        reachedTheEnd = true;
    };
    EXPECT_FALSE(RunGuarded(readPastTheEnd));
    EXPECT_FALSE(reachedTheEnd);
    EXPECT_EQ(sum, all[0]);  // the first page still holds the file's bytes
    // Again, and work that does not fault runs to its end.
    EXPECT_FALSE(RunGuarded(readPastTheEnd));
    auto readWhatIsLeft = [&] { reachedTheEnd = view[99] == all[99]; };
    EXPECT_TRUE(RunGuarded(readWhatIsLeft));
    EXPECT_TRUE(reachedTheEnd);
    // Outside any guard the fault is what it always was.
    const volatile uint8_t* const pastTheEnd = view + 8192;
    EXPECT_DEATH((void)*pastTheEnd, "");
}

}  // namespace
}  // namespace quillet
