#include "actions/mStart.h"
#include "base/Checked.h"
#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/mPatch.h"
#include "formats/ClientUOPWriter.h"
#include "formats/cUOP.h"
#include "formats/mPatchUOP.h"
#include "operations/OperationsTestUtil.h"

namespace quillet {
namespace {

using namespace test;

void LoadAll(const std::string& path) { LoadUOP(path, 0, 255, 0, HighestBlock()); }
const std::string kIllegal = "An block with an illegal sized blocknumber where detected and ignored:\r\nFileID: ";

TEST_F(PatchTest, UopVersions4And5LoadTheSameEntries) {
    const ByteArray entries = Bytes{}
                                  .uop(4, 26, 3, 0x1234, {1, 2, 3})
                                  .uop(12, 500, 0, 7)  // empty; the next head follows directly
                                  .uop(12, 501, 1, 8, {9}).uop(12, 501, 2, -8, {5, 6})  // the later entry wins
                                  .uop(32, 374, -1, 0)                                  // an empty hue group
                                  .uop(129, 65535, 2, 2, {0xAA, 0xBB}).uop(0, 393215, 196, -1, ByteArray(196, 0x5C))
                                  .b;
    // Version 4 with a magic that is not looked at; version 5 with its 10 more bytes.
    test::WriteFile(Path("v4.uop"), Bytes{}.uopHeader(4, 7, "XYZ", 1234).raw(entries).b);
    test::WriteFile(Path("v5.uop"), Bytes{}.uopHeader(5, 7, "UOP", -1).raw(entries).b);
    FileTypes[30].InVerdata = 0;
    std::vector<uint8_t> flags;
    for (const auto& type : FileTypes) flags.push_back(type.InVerdata);
    for (const char* name : {"v4.uop", "v5.uop"}) {
        SCOPED_TRACE(name);
        PatchDispose();
        PatchNew();
        LoadAll(Path(name));
        ExpectBlock(4, 26, 3, 0x1234, {1, 2, 3});
        ExpectBlock(12, 500, 0, 7);
        ExpectBlock(12, 501, 2, -8, {5, 6});
        ExpectBlock(32, 374, -1, 0);
        ExpectBlock(129, 65535, 2, 2, {0xAA, 0xBB});
        ExpectBlock(0, 393215, 196, -1, ByteArray(196, 0x5C));
        ExpectAbsent(4, 27);
        for (int id = 0; id < kFileIDs; ++id) {
            EXPECT_EQ(PatchBlocks[id].Count, id == 4 || id == 32 || id == 129 || id == 0 ? 1 : id == 12 ? 2 : 0);
            EXPECT_EQ(FileTypes[id].InVerdata, flags[static_cast<size_t>(id)]);  // the format has no flag
        }
    }
    EXPECT_TRUE(messages.empty());
    EXPECT_TRUE(LogLines().empty());
}

// Cut files, counts beyond the entries and impossible entries: the hostile
// corpus. Here files that are no UOP patch file this program reads: each is a
// failure that names the file; only no name or no file is silent.
TEST_F(PatchTest, UopOfAnotherVersionOrAContainerFailsNamingTheFile) {
    std::vector<std::string> failing;
    for (const uint8_t version : std::initializer_list<uint8_t>{3, 6, 0, 1}) {
        const std::string name = "v" + std::to_string(version) + ".uop";
        test::WriteFile(Path(name), Bytes{}.uopHeader(version, 1).uop(4, 1, 1, 0, {1}).b);
        EXPECT_FALSE(LoadUOP(Path(name), 0, 255, 0, HighestBlock())) << name;
        failing.push_back(Path(name) + ": Unsupported patchfile.");
        cUOP uop;
        EXPECT_EQ(uop.cOpen(Path(name)), 500) << int{version};
        EXPECT_FALSE(uop.IsOpen());
    }
    test::WriteFile(Path("tiny.uop"), {'U', 'O'});  // cut inside the header: version 0
    // Client containers: one cut inside its header, and one of art, which
    // is told what it is and how to import it.
    test::WriteFile(Path("myp.uop"), Bytes{}.text("MYP").u8(0).le(5).le(0xD88).le(0).b);
    {
        ClientUOPWriter art(Path("artLegacyMUL.uop"));
        art.Add("build/artlegacymul/00000001.tga", {1, 2, 3}, 1);
        art.Finish();
    }
    EXPECT_FALSE(LoadUOP(Path("tiny.uop"), 0, 255, 0, HighestBlock()));
    EXPECT_FALSE(LoadUOP(Path("myp.uop"), 0, 255, 0, HighestBlock()));
    EXPECT_FALSE(LoadUOP(Path("artLegacyMUL.uop"), 0, 255, 0, HighestBlock()));
    failing.push_back(Path("tiny.uop") + ": Unsupported patchfile.");
    failing.push_back(Path("myp.uop") +
                      ": Unsupported patchfile. It is a client UOP container (\"MYP\"), not a UOP patch file.");
    failing.push_back(Path("artLegacyMUL.uop") +
                      ": Unsupported patchfile. It is a client UOP container (Art), not a UOP patch file; import it "
                      "as the Art MUL file (--type Art --mul FILE).");
    for (const std::string& path : {Path("missing.uop"), std::string()}) EXPECT_TRUE(LoadUOP(path, 0, 255, 0, HighestBlock()));
    ASSERT_EQ(LogLines().size(), failing.size());
    for (size_t i = 0; i < failing.size(); ++i)
        EXPECT_NE(LogLines()[i].find("mPatch.LoadUOP: " + failing[i]), std::string::npos) << LogLines()[i];
    EXPECT_EQ(PatchBlocks[4].Count, 0);
    EXPECT_TRUE(messages.empty());
    cUOP uop;
    EXPECT_EQ(uop.cOpen(Path("missing.uop")), 503);
    EXPECT_EQ(uop.cOpen(Path("tiny.uop")), 500);
    EXPECT_EQ(uop.cClose(), 507);
    test::WriteFile(Path("ok.uop"), Bytes{}.uopHeader(4, 0).b);
    EXPECT_EQ(uop.cOpen(Path("ok.uop")), 0);
    EXPECT_EQ(uop.cOpen(Path("ok.uop")), 502);
    EXPECT_EQ(uop.cCreate(Path("new.uop")), 502);  // not cMUO's 504
    EXPECT_EQ(uop.cClose(), 0);
    EXPECT_EQ(test::ReadFile(Path("ok.uop")), Bytes{}.uopHeader(4, 0).b);  // read only: not rewritten
}

TEST_F(PatchTest, UopIllegalBlocksReservedIdsAndRanges) {
    const ByteArray file = Bytes{}
                               .uopHeader(5, 7)
                               .uop(8, 4096, 2, 0, {2, 2})  // above NbrOfBlocks: message, data consumed
                               .uop(8, 255, 1, 3, {1})
                               .uop(252, 0, 1, 0, {1}).uop(255, 0, 0, 0)  // reserved: dropped without a word
                               .uop(253, 1, 0, 0)  // unused row, NbrOfBlocks 0: the message comes first
                               .uop(4, 81883, 1, 0, {4}).uop(8, 10, 1, 0, {5}).b;  // Art's highest block
    test::WriteFile(Path("p.uop"), file);
    LoadUOP(Path("p.uop"), 8, 8, 255, 255);
    ExpectBlock(8, 255, 1, 3, {1});
    ExpectAbsent(8, 10);
    EXPECT_EQ(std::tuple(PatchBlocks[4].Count, PatchBlocks[8].Count), std::tuple(0, 1));
    EXPECT_EQ(messages, (std::vector<std::string>{kIllegal + "8\r\nBlocknumber:4096",  // outside the ranges too
                                                  kIllegal + "253\r\nBlocknumber:1"}));
    messages.clear();
    LoadAll(Path("p.uop"));
    ExpectBlock(4, 81883, 1, 0, {4});
    ExpectBlock(8, 10, 1, 0, {5});
    EXPECT_EQ(PatchBlocks[8].Count, 2);
    EXPECT_EQ(messages.size(), 2u);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(PatchTest, UopCreateWritesTheHeaderAndAppendsEntries) {
    cUOP uop;
    test::WriteFile(Path("made.uop"), test::Counting(23));
    ASSERT_EQ(uop.cCreate(Path("made.uop")), 0);  // an old file is replaced
    EXPECT_EQ(uop.cCreate(Path("other.uop")), 502);
    EXPECT_EQ(uop.cSave(4, 26, 0x1234, {1, 2, 3, 4}, 3), 3);  // only ByteArraySize bytes
    EXPECT_EQ(uop.cSave(12, 5, -1, {}, 0), 0);
    EXPECT_EQ(uop.cSave(32, 7, 2, {9}, -1), -1);
    EXPECT_THROW(uop.cSave(4, 1, 0, {1}, 2), Failure);
    ASSERT_EQ(uop.cClose(), 0);
    EXPECT_EQ(test::ReadFile(Path("made.uop")),
              Bytes{}.text("UOP").u8(5).le(3).le(0).text("Quillet Pa").uop(4, 26, 3, 0x1234, {1, 2, 3})
                  .uop(12, 5, 0, -1).uop(32, 7, -1, 2).b);
    LoadAll(Path("made.uop"));
    ExpectBlock(4, 26, 3, 0x1234, {1, 2, 3});
    ExpectBlock(12, 5, 0, -1);
    ExpectBlock(32, 7, -1, 2);
    EXPECT_EQ(uop.cCreate(Path("no-dir/x.uop")), 505);
    EXPECT_FALSE(uop.IsOpen());
}

}  // namespace
}  // namespace quillet
