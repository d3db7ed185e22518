#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Warnings.h"
#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "formats/mHues.h"
#include "formats/mVerdata.h"

namespace quillet {
namespace {

using test::Bytes;
using test::Exists;
using test::PatchTest;

// A full disk, a folder or file without write access, files that vanish while
// the export runs, a verdata.bak in the way: DiskFaultTest.
constexpr const char* kNoVerdata = "Cannot find verdata.mul in the directory you run Quillet.";

// The old verdata.mul of most cases: 3 entries in use (FileID 300 is not a client
// file number) and a reserved one, its data in another order than its entries.
ByteArray OldVerdata() {
    return Bytes{}.le(3).verdata(12, 500, 86, 3, 0x11).verdata(300, 9, 84, 2, 0x22).verdata(4, 26, 0, 0, 0x33)
        .reservedVerdata().raw({0xB1, 0xB2, 0xA1, 0xA2, 0xA3}).b;
}

TEST_F(PatchTest, ExportOntoAnOldVerdataIsByteExactAndKeepsEveryBackup) {
    const ByteArray previous{0x70}, users{0x75};
    test::WriteFile(Path("verdata.mul"), OldVerdata());
    // An earlier export's backup moves to the first free number; the user's own is kept.
    test::WriteFile(Path("verdata.bak"), previous);
    test::WriteFile(Path("verdata.1.bak"), users);
    // Stored out of order; Art 7 twice (its first bytes are dead space), a
    // deleted Sound block that must not appear, types with the flag off too.
    StoreBlock(4, 7, 1, 5, ByteArray{0x99});
    StoreBlock(129, 65535, 2, 3, ByteArray{0xF1, 0xF2});
    StoreBlock(0, 393215, 196, -1, ByteArray(196, 0x5A));
    StoreBlock(4, 7, 2, -1, ByteArray{0xC1, 0xC2});
    StoreBlock(12, 500, 1, 0x00400030, ByteArray{0xD1});
    StoreBlock(8, 0, 0, 9, ByteArray{});
    StoreBlock(8, 5, 1, 0, ByteArray{0x55});
    Slot(8, 5).Offset = -1;
    StoreBlock(128, 99, 1, 2, ByteArray{0xE1});
    FileTypes[4].InVerdata = 0;
    ASSERT_TRUE(ExportVerdata(dir + "/"));  // with or without the closing '/'
    // 3 old entries and 6 blocks: the index is exactly 9 entries, the data
    // begins at 4 + 9 * 20 = 184, old data first, in the order of the entries.
    const ByteArray expected = Bytes{}
        .le(9)
        .verdata(12, 500, 184, 3, 0x11)
        .verdata(255, 9, 0, -1, 0x22)  // FileID 300: kept as an entry without data
        .verdata(4, 26, 0, 0, 0x33)
        .verdata(0, 393215, 187, 196, -1)
        .verdata(4, 7, 383, 2, -1)
        .verdata(8, 0, 0, -1, 9)               // present without bytes: Size -1, whatever the slot said
        .verdata(12, 500, 385, 1, 0x00400030)  // the same block as an old entry: both stand
        .verdata(128, 99, 386, 1, 2)
        .verdata(129, 65535, 387, 2, 3)
        .raw({0xA1, 0xA2, 0xA3}).raw(ByteArray(196, 0x5A)).raw({0xC1, 0xC2, 0xD1, 0xE1, 0xF1, 0xF2}).b;
    EXPECT_EQ(test::ReadFile(Path("verdata.mul")), expected);
    EXPECT_EQ(test::ReadFile(Path("verdata.bak")), OldVerdata());
    EXPECT_EQ(test::ReadFile(Path("verdata.2.bak")), previous);
    EXPECT_EQ(test::ReadFile(Path("verdata.1.bak")), users);
    EXPECT_FALSE(Exists(Path("verdata.tmp")) || Exists(Path("verdata.3.bak")));
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(LogLines(), std::vector<std::string>{});
    // The patch itself is not changed.
    EXPECT_EQ(ReadBlockBytes(4, 7), (ByteArray{0xC1, 0xC2}));
    EXPECT_EQ(Slot(8, 0).Size, 0);
    EXPECT_EQ(Slot(8, 5).Offset, -1);
}

// Each message is the export's own words, then the file and the system's reason.
TEST_F(PatchTest, ExportMessagesComeInTheOrderOfTheirTestsAndNameTheCause) {
    EXPECT_FALSE(ExportVerdata(dir));  // no blocks: the first message, even without a verdata.mul
    EXPECT_EQ(messages, std::vector<std::string>{"There are no blocks in the patch to save."});

    StoreBlock(4, 1, 1, 0, ByteArray{1});
    messages.clear();
    const std::string mul = Path("verdata.mul");
    EXPECT_FALSE(ExportVerdata(dir));
    ::mkdir(mul.c_str(), 0700);  // a folder is not the file
    EXPECT_FALSE(ExportVerdata(dir));
    ::rmdir(mul.c_str());
    // Nor is a pipe; no partner opens it, so any open that waits for one would hang here.
    ASSERT_EQ(::mkfifo(mul.c_str(), 0600), 0);
    EXPECT_FALSE(ExportVerdata(dir));
    ::unlink(mul.c_str());
    // A dangling link: the message names where it points.
    ASSERT_EQ(::symlink("gone/verdata.mul", mul.c_str()), 0);
    EXPECT_FALSE(ExportVerdata(dir));
    ::unlink(mul.c_str());
    const std::string none = std::string(kNoVerdata) + "\r\n";
    EXPECT_EQ(messages,
              (std::vector<std::string>{none + "Looked in " + dir, none + mul + ": Is a directory",
                                        none + mul + ": a named pipe (FIFO), not a file",
                                        none + "Looked in " + Path("gone") + " (where the link " + mul + " leads)"}));

    // The new file cannot be created: here a folder stands in its way.
    messages.clear();
    test::WriteFile(mul, OldVerdata());
    ::mkdir(Path("verdata.tmp").c_str(), 0700);
    EXPECT_FALSE(ExportVerdata(dir));
    EXPECT_EQ(messages, std::vector<std::string>{"Unable to create the new verdata.mul\r\n" + Path("verdata.tmp") +
                                                 ": Is a directory"});
    EXPECT_EQ(test::ReadFile(mul), OldVerdata());
    EXPECT_FALSE(Exists(Path("verdata.bak")));
    EXPECT_EQ(LogLines(), std::vector<std::string>{});
}

// Asked to, an export into a directory without verdata.mul starts an empty one (a count of 0) and fills it: no
// backup of it, the backups there stay. Where something stands it does what it always did; a failed export takes
// the empty file away again. File modes and a file that appears meanwhile: WriteSafetyTest.
TEST_F(PatchTest, ExportStartsAnEmptyVerdataWhereNoneIsWhenAsked) {
    const std::string mul = Path("verdata.mul");
    EXPECT_FALSE(ExportVerdata(dir, LockWait::Wait, MissingVerdata::Create));  // no blocks: nothing is created
    EXPECT_FALSE(Exists(mul));
    StoreBlock(4, 1, 2, 5, ByteArray{0xB1, 0xB2});
    test::WriteFile(Path("verdata.bak"), ByteArray{0x70});
    EXPECT_TRUE(VerdataMissing(dir));
    ASSERT_TRUE(ExportVerdata(dir, LockWait::Wait, MissingVerdata::Create));
    const ByteArray once = Bytes{}.le(1).verdata(4, 1, 24, 2, 5).raw({0xB1, 0xB2}).b;
    EXPECT_EQ(test::ReadFile(mul), once);
    EXPECT_EQ(test::ReadFile(Path("verdata.bak")), ByteArray{0x70});
    EXPECT_FALSE(Exists(Path("verdata.1.bak")) || Exists(Path("verdata.tmp")) || VerdataMissing(dir));
    // A verdata.mul there: the usual export, with its backup.
    ASSERT_TRUE(ExportVerdata(dir, LockWait::Wait, MissingVerdata::Create));
    EXPECT_EQ(test::ReadFile(Path("verdata.bak")), once);
    EXPECT_EQ(test::ReadFile(Path("verdata.1.bak")), ByteArray{0x70});

    // A folder under the name is not missing; the new file cannot be made beside an empty start (a folder
    // verdata.tmp): the empty file goes again; a link into a folder that is not there: nothing can be created.
    messages.clear();
    const std::string other = Path("other"), link = Path("link");
    ::mkdir(other.c_str(), 0700);
    ::mkdir((other + "/verdata.mul").c_str(), 0700);
    EXPECT_FALSE(VerdataMissing(other) || ExportVerdata(other, LockWait::Wait, MissingVerdata::Create));
    ::rmdir((other + "/verdata.mul").c_str());
    ::mkdir((other + "/verdata.tmp").c_str(), 0700);
    EXPECT_FALSE(ExportVerdata(other, LockWait::Wait, MissingVerdata::Create));
    EXPECT_FALSE(Exists(other + "/verdata.mul"));
    ::mkdir(link.c_str(), 0700);
    ASSERT_EQ(::symlink(Path("gone/verdata.mul").c_str(), (link + "/verdata.mul").c_str()), 0);
    EXPECT_FALSE(ExportVerdata(link, LockWait::Wait, MissingVerdata::Create));
    EXPECT_EQ(messages, (std::vector<std::string>{
                            std::string(kNoVerdata) + "\r\n" + other + "/verdata.mul: Is a directory",
                            "Unable to create the new verdata.mul\r\n" + other + "/verdata.tmp: Is a directory",
                            "Unable to create the new verdata.mul\r\n" + Path("gone/verdata.mul") +
                                ": No such file or directory"}));
    EXPECT_EQ(LogLines(), std::vector<std::string>{});
}

TEST_F(PatchTest, ExportRefusesAnOldEntryOfANegativeFileID) {
    StoreBlock(4, 1, 1, 0, ByteArray{1});
    const ByteArray file = Bytes{}.le(2).verdata(4, 1, 0, -1, 0).verdata(-3, 1, 0, -1, 0).b;
    test::WriteFile(Path("verdata.mul"), file);
    EXPECT_FALSE(ExportVerdata(dir));
    EXPECT_EQ(test::ReadFile(Path("verdata.mul")), file);
    EXPECT_FALSE(Exists(Path("verdata.tmp")) || Exists(Path("verdata.bak")));
    ASSERT_EQ(LogLines().size(), 1u);
    EXPECT_NE(LogLines()[0].find("mVerdata.ExportVerdata: "), std::string::npos);
    EXPECT_TRUE(messages.empty());
}

// A cut old file does not block the export: what is there is copied, zeros
// for the rest, and a warning says how many blocks were cut.
TEST_F(PatchTest, ExportGoesOnPastACutOldFileAndWarns) {
    StoreBlock(4, 1, 1, 0, ByteArray{0x77});
    const std::string mul = Path("verdata.mul");
    const std::string zeros = " past the end of the file; the missing bytes were written as zeros.";
    const struct {
        const char* name;
        ByteArray old;
        ByteArray want;
        std::string warning;
    } rows[] = {
        {"a cut last block", Bytes{}.le(2).verdata(12, 5, 44, 1, 0).verdata(4, 9, 45, 5, 3).raw({0xAA, 1, 2}).b,
         Bytes{}.le(3).verdata(12, 5, 64, 1, 0).verdata(4, 9, 65, 5, 3).verdata(4, 1, 70, 1, 0).b,
         mul + ": 1 block reaches" + zeros},
        // Bytes before the file's start (the last of these is the file's
        // first, 3) and past its end; a FileID of 256 or more takes no bytes
        // at all, whatever its position says.
        {"blocks outside the file",
         Bytes{}.le(3).verdata(4, 2, -2, 3, 0).verdata(300, 9, -50, 7, 1).verdata(4, 3, 9999, 2, 0).b,
         Bytes{}
             .le(4)
             .verdata(4, 2, 84, 3, 0)
             .verdata(255, 9, 0, -1, 1)
             .verdata(4, 3, 87, 2, 0)
             .verdata(4, 1, 89, 1, 0)
             .b,
         mul + ": 2 blocks reach" + zeros},
        {"a count beyond the file", Bytes{}.le(4).verdata(4, 5, 0, -1, 0).b,
         Bytes{}.le(2).verdata(4, 5, 0, -1, 0).verdata(4, 1, 44, 1, 0).b,
         mul + ": the file counts 4 entries but ends after 1; the missing ones were left out of the new file."},
        {"a negative count", Bytes{}.le(-7).verdata(4, 5, 0, -1, 0).b, Bytes{}.le(1).verdata(4, 1, 24, 1, 0).b,
         mul + ": the file counts -7 entries; none of its entries were copied into the new file."},
    };
    const ByteArray data[] = {{0xAA, 1, 2, 0, 0, 0, 0x77}, {0, 0, 3, 0, 0, 0x77}, {0x77}, {0x77}};  // behind the index
    for (size_t row = 0; row < std::size(rows); ++row) {
        SCOPED_TRACE(rows[row].name);
        test::WriteFile(mul, rows[row].old);
        ::unlink(Path("verdata.bak").c_str());
        const WarningWatch warnings;
        ASSERT_TRUE(ExportVerdata(dir));
        EXPECT_EQ(test::ReadFile(mul), Bytes{rows[row].want}.raw(data[row]).b);
        EXPECT_EQ(test::ReadFile(Path("verdata.bak")), rows[row].old);
        EXPECT_EQ(warnings.Texts(), std::vector<std::string>{rows[row].warning});
    }
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(LogLines(), std::vector<std::string>{});
}

TEST_F(PatchTest, HueGroupBecomesItsVerdataForm) {
    // Distinct bytes (byte i is i mod 251) show where each one goes: the
    // 4-byte header becomes zeros, each hue's 88 bytes gain 64 zeros.
    ByteArray group(708);
    for (size_t i = 0; i < group.size(); ++i) group[i] = static_cast<uint8_t>(i % 251);
    Bytes expected = Bytes{}.fill(4, 0);
    for (size_t hue = 0; hue < 8; ++hue)
        expected.raw(ByteArray(group.begin() + 4 + 88 * hue, group.begin() + 92 + 88 * hue)).fill(64, 0);
    ByteArray verdataGroup;
    ToVerdataHues(group, verdataGroup);
    EXPECT_EQ(verdataGroup, expected.b);
    EXPECT_EQ(verdataGroup[156], 92);  // hue 1 from source byte 92, at 4 + 152
    // Bytes behind the first 708 play no part.
    group.resize(900, 0x77);
    ToVerdataHues(group, verdataGroup);
    EXPECT_EQ(verdataGroup, expected.b);

    // A short group is a logged failure and leaves the target as it was.
    ByteArray target{9};
    ToVerdataHues(ByteArray(707, 1), target);
    EXPECT_EQ(target, ByteArray{9});
    ASSERT_EQ(LogLines().size(), 1u);  // the only line of the test
    EXPECT_NE(LogLines()[0].find("mHues.ToVerdataHues: "), std::string::npos);
}

}  // namespace
}  // namespace quillet
