// The shared path spellings and the rename that never replaces.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "base/FilePaths.h"
#include "common/TestEnv.h"

namespace quillet {
namespace {

TEST(FilePaths, SpellingsOfDirectories) {
    EXPECT_EQ(WithSlash(""), "") << "the current directory stays a bare name's prefix";
    EXPECT_EQ(WithSlash("/"), "/");
    EXPECT_EQ(WithSlash("out"), "out/");
    EXPECT_EQ(WithSlash("out/"), "out/");
    EXPECT_EQ(WithoutSlash("out//"), "out");
    EXPECT_EQ(WithoutSlash("/"), "/");
    EXPECT_EQ(WithoutSlash("//"), "/");
    EXPECT_EQ(WithoutSlash(""), "");
    EXPECT_EQ(DirectoryOf("a.muo"), "");
    EXPECT_EQ(DirectoryOf("/a.muo"), "/");
    EXPECT_EQ(DirectoryOf("/x/y/a.muo"), "/x/y");
    EXPECT_EQ(DirectoryOf("x/"), "x");
}

class RenameNoReplaceTest : public ::testing::Test {
protected:
    void SetUp() override { dir_ = test::MakeTempDir(); }
    void TearDown() override { test::RemoveTree(dir_); }
    std::string Path(const std::string& name) const { return dir_ + "/" + name; }
    std::string dir_;
};

TEST_F(RenameNoReplaceTest, AnswersZeroOrTheErrnoAndNeverReplacesAName) {
    test::WriteFile(Path("from"), ByteArray{1});
    test::WriteFile(Path("taken"), ByteArray{2});
    ASSERT_EQ(::symlink(Path("nowhere").c_str(), Path("dangling").c_str()), 0);

    EXPECT_EQ(RenameNoReplace(Path("from"), Path("taken")), EEXIST);
    EXPECT_EQ(RenameNoReplace(Path("from"), Path("dangling")), EEXIST) << "a dangling link is a taken name";
    EXPECT_EQ(test::ReadFile(Path("from")), ByteArray{1});
    EXPECT_EQ(test::ReadFile(Path("taken")), ByteArray{2});
    EXPECT_TRUE(NameTaken(Path("dangling")));

    EXPECT_EQ(RenameNoReplace(Path("from"), Path("to")), 0);
    EXPECT_FALSE(NameTaken(Path("from")));
    EXPECT_EQ(test::ReadFile(Path("to")), ByteArray{1});
    EXPECT_EQ(RenameNoReplace(Path("from"), Path("again")), ENOENT);
    EXPECT_FALSE(NameTaken(Path("again")));

    ASSERT_EQ(::mkdir(Path("folder").c_str(), 0700), 0);
    EXPECT_EQ(RenameNoReplace(Path("folder"), Path("taken")), EEXIST);
    EXPECT_EQ(RenameNoReplace(Path("folder"), Path("moved")), 0) << "folders move too";
}

}  // namespace
}  // namespace quillet
