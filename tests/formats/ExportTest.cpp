#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mStart.h"
#include "formats/mHues.h"
#include "formats/mVerdata.h"

namespace quillet {
namespace {

using test::Bytes;
using test::Exists;
using test::PatchTest;

// A full disk, a folder or file without write access, and files that vanish
// while the export runs: DiskFaultTest.
constexpr const char* kNoBlocks = "There are no blocks in the patch to save.";
constexpr const char* kNoVerdata = "Cannot find verdata.mul in the directory you run Quillet.";
constexpr const char* kCannotCreate = "Unable to create the new verdata.mul";

// The old verdata.mul of most cases: 3 entries in use and a reserved one,
// its data in another order than its entries.
ByteArray OldVerdata() {
    return Bytes{}
        .le(3)
        .verdata(12, 500, 86, 3, 0x11)
        .verdata(300, 9, 84, 2, 0x22)  // not a client file number
        .verdata(4, 26, 0, 0, 0x33)
        .reservedVerdata()
        .raw({0xB1, 0xB2, 0xA1, 0xA2, 0xA3})
        .b;
}

TEST_F(PatchTest, ExportOntoAnOldVerdataIsByteExact) {
    const ByteArray old = OldVerdata();
    test::WriteFile(Path("verdata.mul"), old);
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
    Bytes expected;
    expected.le(9)
        .verdata(12, 500, 184, 3, 0x11)
        .verdata(255, 9, 0, -1, 0x22)  // FileID 300: kept as an entry without data
        .verdata(4, 26, 0, 0, 0x33)
        .verdata(0, 393215, 187, 196, -1)
        .verdata(4, 7, 383, 2, -1)
        .verdata(8, 0, 0, -1, 9)               // present without bytes: Size -1, whatever the slot said
        .verdata(12, 500, 385, 1, 0x00400030)  // the same block as an old entry: both stand
        .verdata(128, 99, 386, 1, 2)
        .verdata(129, 65535, 387, 2, 3)
        .raw({0xA1, 0xA2, 0xA3})
        .raw(ByteArray(196, 0x5A))
        .raw({0xC1, 0xC2, 0xD1, 0xE1, 0xF1, 0xF2});
    ASSERT_EQ(expected.b.size(), 389u);
    EXPECT_EQ(test::ReadFile(Path("verdata.mul")), expected.b);
    EXPECT_EQ(test::ReadFile(Path("verdata.bak")), old);
    EXPECT_FALSE(Exists(Path("verdata.tmp")));
    EXPECT_FALSE(Exists(Path("verdata.1.bak")));
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(LogLines(), std::vector<std::string>{});
    // The patch itself is not changed.
    EXPECT_EQ(ReadBlockBytes(4, 7), (ByteArray{0xC1, 0xC2}));
    EXPECT_EQ(Slot(8, 0).Size, 0);
    EXPECT_EQ(Slot(8, 5).Offset, -1);
}

TEST_F(PatchTest, ExportMessagesComeInTheOrderOfTheirTests) {
    // No blocks: the first message, even without a verdata.mul.
    EXPECT_FALSE(ExportVerdata(dir));
    EXPECT_EQ(messages, std::vector<std::string>{kNoBlocks});

    StoreBlock(4, 1, 1, 0, ByteArray{1});
    messages.clear();
    EXPECT_FALSE(ExportVerdata(Path("no-such-dir")));
    EXPECT_FALSE(ExportVerdata(dir));
    ::mkdir(Path("verdata.mul").c_str(), 0700);  // a folder is not the file
    EXPECT_FALSE(ExportVerdata(dir));
    ::rmdir(Path("verdata.mul").c_str());
    // Nor is a pipe. It is held open here, so that no way of opening it can
    // wait for a partner.
    ASSERT_EQ(::mkfifo(Path("verdata.mul").c_str(), 0600), 0);
    const int partner = ::open(Path("verdata.mul").c_str(), O_RDWR | O_NONBLOCK);
    ASSERT_GE(partner, 0);
    EXPECT_FALSE(ExportVerdata(dir));
    ::close(partner);
    ::unlink(Path("verdata.mul").c_str());
    EXPECT_EQ(messages, (std::vector<std::string>{kNoVerdata, kNoVerdata, kNoVerdata, kNoVerdata}));
    EXPECT_FALSE(Exists(Path("no-such-dir")));

    // The new file cannot be created: here a folder stands in its way.
    messages.clear();
    const ByteArray old = OldVerdata();
    test::WriteFile(Path("verdata.mul"), old);
    ::mkdir(Path("verdata.tmp").c_str(), 0700);
    EXPECT_FALSE(ExportVerdata(dir));
    EXPECT_EQ(messages, std::vector<std::string>{kCannotCreate});
    EXPECT_EQ(test::ReadFile(Path("verdata.mul")), old);
    EXPECT_FALSE(Exists(Path("verdata.bak")));
    EXPECT_EQ(LogLines(), std::vector<std::string>{});
}

TEST_F(PatchTest, ExportKeepsEveryEarlierBackupUnderTheFirstFreeNumber) {
    const ByteArray original = OldVerdata();
    const ByteArray users{0x75, 0x73, 0x65, 0x72};
    test::WriteFile(Path("verdata.mul"), original);
    test::WriteFile(Path("verdata.1.bak"), users);  // the user's own file under a number
    StoreBlock(8, 3, 1, 0, ByteArray{0x33});
    StoreBlock(8, 4, 0, 0, ByteArray{});

    ASSERT_TRUE(ExportVerdata(dir));
    const ByteArray first = test::ReadFile(Path("verdata.mul"));
    EXPECT_EQ(LoadI32(first.data()), 3 + 2);
    EXPECT_EQ(test::ReadFile(Path("verdata.bak")), original);

    ASSERT_TRUE(ExportVerdata(dir));
    const ByteArray second = test::ReadFile(Path("verdata.mul"));
    EXPECT_EQ(LoadI32(second.data()), 3 + 2 + 2);  // every export appends the whole patch
    EXPECT_EQ(test::ReadFile(Path("verdata.bak")), first);
    EXPECT_EQ(test::ReadFile(Path("verdata.2.bak")), original);

    ASSERT_TRUE(ExportVerdata(dir));
    EXPECT_EQ(LoadI32(test::ReadFile(Path("verdata.mul")).data()), 3 + 2 + 2 + 2);
    EXPECT_EQ(test::ReadFile(Path("verdata.bak")), second);
    EXPECT_EQ(test::ReadFile(Path("verdata.3.bak")), first);
    EXPECT_EQ(test::ReadFile(Path("verdata.2.bak")), original);
    EXPECT_EQ(test::ReadFile(Path("verdata.1.bak")), users);
    EXPECT_FALSE(Exists(Path("verdata.4.bak")));
    EXPECT_FALSE(Exists(Path("verdata.tmp")));
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(LogLines(), std::vector<std::string>{});
}

TEST_F(PatchTest, ExportRefusesAnOldVerdataItCannotTrust) {
    struct Case {
        const char* name;
        ByteArray file;
    };
    std::vector<Case> cases;
    cases.push_back({"count beyond the file", Bytes{}.le(4).verdata(4, 1, 0, -1, 0).b});
    cases.push_back({"negative count", Bytes{}.le(-1).verdata(4, 1, 0, -1, 0).b});
    cases.push_back({"data past the end", Bytes{}.le(1).verdata(4, 1, 24, 5, 0).raw({1, 2}).b});
    cases.push_back({"negative FileID", Bytes{}.le(2).verdata(4, 1, 0, -1, 0).verdata(-3, 1, 0, -1, 0).b});
    StoreBlock(4, 1, 1, 0, ByteArray{1});
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ::unlink(Path("test.log").c_str());
        test::WriteFile(Path("verdata.mul"), c.file);
        EXPECT_FALSE(ExportVerdata(dir));
        EXPECT_EQ(test::ReadFile(Path("verdata.mul")), c.file);
        EXPECT_FALSE(Exists(Path("verdata.tmp")));
        EXPECT_FALSE(Exists(Path("verdata.bak")));
        const auto lines = LogLines();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_NE(lines[0].find("mVerdata.ExportVerdata: "), std::string::npos);
    }
    EXPECT_TRUE(messages.empty());
}

TEST_F(PatchTest, HueGroupBecomesItsVerdataForm) {
    // Every byte 255: the header is dropped, each hue gains 64 zeros.
    ByteArray verdataGroup;
    ToVerdataHues(ByteArray(708, 0xFF), verdataGroup);
    ASSERT_EQ(verdataGroup.size(), 1220u);
    ByteArray expected(4, 0);  // offsets 0 to 3
    for (int hue = 0; hue < 8; ++hue) {
        expected.insert(expected.end(), 88, 0xFF);  // 4..91, 156..243, ...
        expected.insert(expected.end(), 64, 0x00);  // 92..155, 244..307, ...
    }
    EXPECT_EQ(verdataGroup, expected);

    // Distinct bytes (byte i is i mod 251) show where each one goes.
    ByteArray group(708);
    for (size_t i = 0; i < group.size(); ++i) group[i] = static_cast<uint8_t>(i % 251);
    group[0] = group[1] = group[2] = group[3] = 0xEE;
    ToVerdataHues(group, verdataGroup);
    ASSERT_EQ(verdataGroup.size(), 1220u);
    EXPECT_EQ(ByteArray(verdataGroup.begin(), verdataGroup.begin() + 4), ByteArray(4, 0));
    EXPECT_EQ(verdataGroup[4], 4);      // hue 0 begins
    EXPECT_EQ(verdataGroup[91], 91);    // and ends
    EXPECT_EQ(verdataGroup[92], 0);
    EXPECT_EQ(verdataGroup[155], 0);
    EXPECT_EQ(verdataGroup[156], 92);   // hue 1 from source byte 92
    EXPECT_EQ(verdataGroup[308], 180);  // hue 2 from source byte 180
    EXPECT_EQ(verdataGroup[1068], 118); // hue 7 from source byte 620
    EXPECT_EQ(verdataGroup[1155], 205); // source byte 707
    EXPECT_EQ(ByteArray(verdataGroup.begin() + 1156, verdataGroup.end()), ByteArray(64, 0));

    // Bytes behind the first 708 play no part.
    ByteArray longer = group;
    longer.resize(900, 0x77);
    ByteArray fromLonger;
    ToVerdataHues(longer, fromLonger);
    EXPECT_EQ(fromLonger, verdataGroup);
    EXPECT_EQ(LogLines(), std::vector<std::string>{});

    // A short group is a logged failure and leaves the target as it was.
    ByteArray target{9};
    ToVerdataHues(ByteArray(707, 1), target);
    EXPECT_EQ(target, ByteArray{9});
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("mHues.ToVerdataHues: "), std::string::npos);
}

}  // namespace
}  // namespace quillet
