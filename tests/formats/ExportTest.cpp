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

TEST_F(PatchTest, ExportMessagesComeInTheOrderOfTheirTests) {
    EXPECT_FALSE(ExportVerdata(dir));  // no blocks: the first message, even without a verdata.mul
    EXPECT_EQ(messages, std::vector<std::string>{"There are no blocks in the patch to save."});

    StoreBlock(4, 1, 1, 0, ByteArray{1});
    messages.clear();
    EXPECT_FALSE(ExportVerdata(dir));
    ::mkdir(Path("verdata.mul").c_str(), 0700);  // a folder is not the file
    EXPECT_FALSE(ExportVerdata(dir));
    ::rmdir(Path("verdata.mul").c_str());
    // Nor is a pipe, held open here so that no way of opening it can wait for a partner.
    ASSERT_EQ(::mkfifo(Path("verdata.mul").c_str(), 0600), 0);
    const int partner = ::open(Path("verdata.mul").c_str(), O_RDWR | O_NONBLOCK);
    EXPECT_FALSE(ExportVerdata(dir));
    ::close(partner);
    ::unlink(Path("verdata.mul").c_str());
    EXPECT_EQ(messages, (std::vector<std::string>{kNoVerdata, kNoVerdata, kNoVerdata}));

    // The new file cannot be created: here a folder stands in its way.
    messages.clear();
    test::WriteFile(Path("verdata.mul"), OldVerdata());
    ::mkdir(Path("verdata.tmp").c_str(), 0700);
    EXPECT_FALSE(ExportVerdata(dir));
    EXPECT_EQ(messages, std::vector<std::string>{"Unable to create the new verdata.mul"});
    EXPECT_EQ(test::ReadFile(Path("verdata.mul")), OldVerdata());
    EXPECT_FALSE(Exists(Path("verdata.bak")));
    EXPECT_EQ(LogLines(), std::vector<std::string>{});
}

TEST_F(PatchTest, ExportRefusesAnOldVerdataItCannotTrust) {
    StoreBlock(4, 1, 1, 0, ByteArray{1});
    for (const ByteArray& file : {Bytes{}.le(4).verdata(4, 1, 0, -1, 0).b,  // count beyond the file
                                  Bytes{}.le(2).verdata(4, 1, 0, -1, 0).verdata(-3, 1, 0, -1, 0).b}) {
        SCOPED_TRACE(::testing::PrintToString(file));
        ::unlink(Path("test.log").c_str());
        test::WriteFile(Path("verdata.mul"), file);
        EXPECT_FALSE(ExportVerdata(dir));
        EXPECT_EQ(test::ReadFile(Path("verdata.mul")), file);
        EXPECT_FALSE(Exists(Path("verdata.tmp")) || Exists(Path("verdata.bak")));
        ASSERT_EQ(LogLines().size(), 1u);
        EXPECT_NE(LogLines()[0].find("mVerdata.ExportVerdata: "), std::string::npos);
    }
    EXPECT_TRUE(messages.empty());
}

// An old file whose last block is cut short no longer blocks every export:
// the block is copied as what is there and zeros, and the user is warned.
TEST_F(PatchTest, ExportCopiesACutOldBlockWithZerosAndWarns) {
    StoreBlock(4, 1, 1, 0, ByteArray{1});
    test::WriteFile(Path("verdata.mul"), Bytes{}.le(1).verdata(4, 1, 24, 5, 0).raw({1, 2}).b);
    const WarningWatch warnings;
    ASSERT_TRUE(ExportVerdata(dir));
    EXPECT_EQ(test::ReadFile(Path("verdata.mul")),
              Bytes{}.le(2).verdata(4, 1, 44, 5, 0).verdata(4, 1, 49, 1, 0).raw({1, 2, 0, 0, 0, 1}).b);
    EXPECT_EQ(warnings.Texts(),
              std::vector<std::string>{Path("verdata.mul") + ": 1 block reaches past the end of "
                                                             "the file; the missing bytes were read as zeros."});
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
