#include "actions/mStart.h"
#include "base/SafeSave.h"
#include "base/Warnings.h"
#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/mPatch.h"
#include "formats/cMUO.h"
#include "formats/mPatchMUO.h"
#include "operations/OperationsTestUtil.h"

namespace quillet {
namespace {

using namespace test;

bool LoadAll(const std::string& path) { return LoadMUO(path, 0, 255, 0, HighestBlock()); }

TEST_F(PatchTest, ForeignMuoLoadsToTheExactSlotsAndFlags) {
    Bytes file = Bytes{}.muoHeader(8, 1, "Some other tool's patch", "", "Somebody else");
    file.muo(4, 26, 0x1234, 3, {1, 2, 3})  // Art block, type flag on
        .muo(4 | 64, 27, -1, 2, {4, 5})    // Art again, bit 6: the last entry of a type decides
        .muo(12 | 64, 500, 7, 0)           // empty Gumps block, flag off
        .muo(12, 500, 8, 1, {9})           // duplicate: the later entry wins
        .muo(12, 65536, 0, 2, {6, 6})      // above NbrOfBlocks: message, data consumed
        .muo(252, 0, 0, 1, {1})            // silently dropped
        .muo(32, 0, 0, -1)                 // empty hue group with Size -1
        .muo(129 | 64, 65535, 2, 2, {0xAA, 0xBB});
    test::WriteFile(Path("foreign.muo"), file.b);
    FileTypes[30].InVerdata = 0;  // no entry: stays as it is
    LoadAll(Path("foreign.muo"));
    ExpectBlock(4, 26, 3, 0x1234, {1, 2, 3});
    ExpectBlock(4, 27, 2, -1, {4, 5});
    ExpectBlock(12, 500, 1, 8, {9});
    ExpectBlock(32, 0, -1, 0);
    ExpectBlock(129, 65535, 2, 2, {0xAA, 0xBB});
    // Flags 4, 12, 129; 30 has no entry; 188 is not 252 without its bit 6.
    EXPECT_EQ(std::tuple(FileTypes[4].InVerdata, FileTypes[12].InVerdata, FileTypes[129].InVerdata,
                         FileTypes[30].InVerdata, FileTypes[188].InVerdata), std::tuple(0, 1, 0, 0, 0));
    for (int id = 0; id < kFileIDs; ++id)
        EXPECT_EQ(PatchBlocks[id].Count, id == 4 ? 2 : id == 12 || id == 32 || id == 129 ? 1 : 0) << id;
    EXPECT_EQ(messages, std::vector<std::string>{"An block with an illegal sized blocknumber where detected and "
                                                 "ignored:\r\nFileID: 12\r\nBlocknumber:65536"});
    EXPECT_TRUE(LogLines().empty());
    // Saved again: our own header, types and blocks ascending, flags per type.
    ASSERT_TRUE(SaveMUO(Path("saved.muo")));
    EXPECT_EQ(test::ReadFile(Path("saved.muo")),
              Bytes{}.muoHeader(5).muo(4 | 64, 26, 0x1234, 3, {1, 2, 3}).muo(4 | 64, 27, -1, 2, {4, 5})
                  .muo(12, 500, 8, 1, {9}).muo(32, 0, 0, -1).muo(129 | 64, 65535, 2, 2, {0xAA, 0xBB}).b);
}

TEST_F(PatchTest, FiltersDropEntriesButStillSetTheirFlag) {
    test::WriteFile(Path("p.muo"),
                    Bytes{}.muoHeader(3).muo(4 | 64, 5, 0, 1, {1}).muo(8, 10, 0, 1, {2}).muo(8, 11, 0, 1, {3}).b);
    LoadMUO(Path("p.muo"), 8, 8, 11, 11);
    EXPECT_EQ(std::tuple(FileTypes[4].InVerdata, PatchBlocks[4].Count), std::tuple(0, 0));
    ExpectAbsent(8, 10);
    ExpectBlock(8, 11, 1, 0, {3});
}

TEST_F(PatchTest, RoundTripKeepsEveryBlockSizeExtraAndFlag) {
    StoreBlock(0, 393215, 196, -1, ByteArray(196, 7));
    StoreBlock(2, 3, -1, 0, ByteArray{});
    StoreBlock(12, 0, 0, 0x00400030, ByteArray{});
    StoreBlock(30, 1023, 4, 1, ByteArray{1, 2, 3, 4});
    StoreBlock(128, 99, 1, 5, ByteArray{0});
    FileTypes[30].InVerdata = 0;
    FileTypes[128].InVerdata = 0;
    ASSERT_TRUE(SaveMUO(Path("round.muo")));
    const ByteArray saved = test::ReadFile(Path("round.muo"));
    EXPECT_EQ(LoadI32(&saved[41]), 5);                    // BlockCount = sum of Count
    EXPECT_EQ(LoadI32(&saved[saved.size() - 17]), 192);  // the Light block, written as 192 (128 | 64)
    PatchDispose();
    PatchNew();
    FileTypes[30].InVerdata = 1;
    LoadAll(Path("round.muo"));
    // Saved again byte for byte: every block, Size, Extra and flag came back.
    ASSERT_TRUE(SaveMUO(Path("again.muo")));
    EXPECT_EQ(test::ReadFile(Path("again.muo")), saved);
}

// The last entry's data one byte short of its Size: a cut file, read as what
// is there and a zero, with a warning that names the file.
TEST_F(PatchTest, LastEntryOneByteShortOfItsSizeIsReadWithAZero) {
    const Bytes first = Bytes{}.muoHeader(2).muo(4, 1, 0, 2, {1, 2});
    test::WriteFile(Path("whole.muo"), Bytes{first}.muo(4, 2, 5, 3, {7, 8, 9}).b);
    test::WriteFile(Path("short.muo"), Bytes{first}.muo(4, 2, 5, 3, {7, 8}).b);
    const WarningWatch warnings;
    EXPECT_TRUE(LoadAll(Path("whole.muo")));
    ExpectBlock(4, 2, 3, 5, {7, 8, 9});
    EXPECT_TRUE(warnings.Texts().empty());
    PatchDispose();
    PatchNew();
    EXPECT_TRUE(LoadAll(Path("short.muo")));
    ExpectBlock(4, 1, 2, 0, {1, 2});
    ExpectBlock(4, 2, 3, 5, {7, 8, 0});
    EXPECT_EQ(PatchBlocks[4].Count, 2);
    EXPECT_EQ(warnings.Texts(),
              std::vector<std::string>{Path("short.muo") + ": 1 block reaches past the end of the "
                                                           "file; the missing bytes were read as zeros."});
    EXPECT_TRUE(LogLines().empty());
}

// A file that cannot be read as a MUO file is a failure that names it; an
// empty patch loads nothing and says so; only no name or no file is silent.
// (Cut files and hostile counts and sizes: the hostile corpus; read-only
// files and a full disk: DiskFaultTest.)
TEST_F(PatchTest, ForeignVersionOrCutHeaderFailsNamingTheFile) {
    test::WriteFile(Path("empty.muo"), ByteArray{1, 2, 3});
    ASSERT_TRUE(SaveMUO(Path("empty.muo")));  // the old file replaced by the 45-byte header
    EXPECT_EQ(test::ReadFile(Path("empty.muo")), Bytes{}.muoHeader(0).b);
    EXPECT_FALSE(test::Exists(TempNameBeside(Path("empty.muo"))));
    test::WriteFile(Path("v2.muo"), Bytes{}.muoHeader(1, 2).muo(4, 1, 0, 1, {1}).b);
    test::WriteFile(Path("cut.muo"), Bytes{}.text("MUOP").le(1).str("MUO").text("Cre").b);  // inside the description
    test::WriteFile(Path("myp.muo"), Bytes{}.text("MYP").u8(0).le(5).le(0xD88).le(0).b);    // a client's container
    const WarningWatch warnings;
    EXPECT_TRUE(LoadAll(Path("empty.muo")));
    EXPECT_EQ(warnings.Texts(),
              std::vector<std::string>{Path("empty.muo") + ": no block was loaded (the file counts 0 entries)."});
    for (const std::string name : {"missing.muo", ""}) EXPECT_TRUE(LoadAll(name.empty() ? name : Path(name)));
    const std::vector<std::pair<std::string, std::string>> failing{
        {"v2.muo", "Unsupported patchfile."},
        {"cut.muo", "Unable to open file. Its header is cut short."},
        {"myp.muo", "Unsupported patchfile. It is a client UOP container (\"MYP\"), not a MUO patch file."}};
    for (const auto& [name, says] : failing) EXPECT_FALSE(LoadAll(Path(name))) << name;
    ASSERT_EQ(LogLines().size(), failing.size());
    for (size_t i = 0; i < failing.size(); ++i)
        EXPECT_NE(LogLines()[i].find("mPatch.LoadMUO: " + Path(failing[i].first) + ": " + failing[i].second),
                  std::string::npos)
            << LogLines()[i];
    for (int id = 0; id < kFileIDs; ++id) EXPECT_EQ(PatchBlocks[id].Count, 0);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(warnings.Texts().size(), 1u);
    cMUO muo;
    EXPECT_EQ(muo.cOpen(Path("v2.muo")), 500);
    EXPECT_EQ(muo.cOpen(Path("missing.muo")), 503);
    EXPECT_EQ(muo.cOpen(Path("cut.muo")), 501);
    EXPECT_FALSE(muo.IsOpen());
    EXPECT_EQ(muo.cClose(), 507);
    EXPECT_EQ(muo.cError(502), "There is allready an open patch file.");  // the user sees it
}

}  // namespace
}  // namespace quillet
