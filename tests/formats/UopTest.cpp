#include <string>
#include <vector>

#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/Checked.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mStart.h"
#include "formats/cUOP.h"
#include "formats/mPatchUOP.h"

namespace quillet {
namespace {

using test::Bytes;
using test::PatchTest;

Bytes Header(int version, int32_t count, const std::string& magic = "UOP", int32_t reserved = 0) {
    return Bytes{}.uopHeader(static_cast<uint8_t>(version), count, magic, reserved);
}

void LoadAll(const std::string& path) { LoadUOP(path, 0, 255, 0, 400000); }

struct SlotView {
    int32_t Size, Extra;
    bool present;
    ByteArray bytes;
    bool operator==(const SlotView&) const = default;
};

SlotView View(int id, int32_t block) {
    const PatchBlock& slot = Slot(id, block);
    return {slot.Size, slot.Extra, slot.Offset != -1, ReadBlockBytes(id, block)};
}

TEST_F(PatchTest, UopVersions4And5LoadTheSameEntries) {
    Bytes entries;
    entries.uop(4, 26, 3, 0x1234, {1, 2, 3})
        .uop(12, 500, 0, 7)           // empty; the next head follows directly
        .uop(12, 501, 1, 8, {9})
        .uop(12, 501, 2, -8, {5, 6})  // the later entry wins
        .uop(32, 374, -1, 0)          // empty hue group
        .uop(129, 65535, 2, 2, {0xAA, 0xBB})
        .uop(0, 393215, 196, -1, ByteArray(196, 0x5C));
    Bytes v4 = Header(4, 7, "XYZ", 1234);  // the magic is not looked at
    v4.raw(entries.b);
    Bytes v5 = Header(5, 7, "UOP", -1);
    v5.raw(entries.b);
    test::WriteFile(Path("v4.uop"), v4.b);
    test::WriteFile(Path("v5.uop"), v5.b);

    std::vector<uint8_t> flags;
    for (const auto& type : FileTypes) flags.push_back(type.InVerdata);
    FileTypes[30].InVerdata = 0;
    flags[30] = 0;

    const std::vector<std::pair<int, int32_t>> watched{{4, 26},   {12, 500},  {12, 501}, {32, 374},
                                                       {129, 65535}, {0, 393215}, {4, 27}};
    std::vector<std::vector<SlotView>> views;
    std::vector<std::vector<int32_t>> counts;
    for (const char* name : {"v4.uop", "v5.uop"}) {
        SCOPED_TRACE(name);
        PatchDispose();
        PatchNew();
        LoadAll(Path(name));
        std::vector<SlotView> seen;
        for (const auto& [id, block] : watched) seen.push_back(View(id, block));
        views.push_back(seen);
        std::vector<int32_t> count;
        for (const auto& set : PatchBlocks) count.push_back(set.Count);
        counts.push_back(count);
        for (size_t id = 0; id < FileTypes.size(); ++id) EXPECT_EQ(FileTypes[id].InVerdata, flags[id]) << id;
    }
    EXPECT_EQ(views[0], views[1]);
    EXPECT_EQ(counts[0], counts[1]);

    const auto& v = views[1];
    EXPECT_EQ(v[0], (SlotView{3, 0x1234, true, {1, 2, 3}}));
    EXPECT_EQ(v[1], (SlotView{0, 7, true, {}}));
    EXPECT_EQ(Slot(12, 500).Offset, 0);
    EXPECT_EQ(v[2], (SlotView{2, -8, true, {5, 6}}));
    EXPECT_EQ(v[3], (SlotView{-1, 0, true, {}}));
    EXPECT_EQ(v[4], (SlotView{2, 2, true, {0xAA, 0xBB}}));
    EXPECT_EQ(v[5], (SlotView{196, -1, true, ByteArray(196, 0x5C)}));
    EXPECT_FALSE(v[6].present);
    EXPECT_EQ(PatchBlocks[12].Count, 2);
    EXPECT_EQ(PatchBlocks[0].Count, 1);
    EXPECT_TRUE(messages.empty());
    EXPECT_TRUE(LogLines().empty());
}

// Cut files, counts beyond the entries and impossible entries: the hostile corpus.
TEST_F(PatchTest, UopOfAnotherVersionOrNoFileLoadsNothingSilently) {
    for (int version : {3, 6, 0, 1}) {
        SCOPED_TRACE(version);
        Bytes file = Header(version, 1);
        file.uop(4, 1, 1, 0, {1});
        test::WriteFile(Path("other.uop"), file.b);
        LoadAll(Path("other.uop"));
        cUOP uop;
        EXPECT_EQ(uop.cOpen(Path("other.uop")), 500);
        EXPECT_FALSE(uop.IsOpen());
    }
    test::WriteFile(Path("tiny.uop"), {'U', 'O'});  // cut inside the header: version 0
    LoadAll(Path("tiny.uop"));
    LoadAll(Path("missing.uop"));
    LoadAll("");
    EXPECT_EQ(PatchBlocks[4].Count, 0);
    EXPECT_TRUE(messages.empty());
    EXPECT_TRUE(LogLines().empty());

    cUOP uop;
    EXPECT_EQ(uop.cOpen(Path("missing.uop")), 503);
    EXPECT_EQ(uop.cOpen(Path("tiny.uop")), 500);
    EXPECT_EQ(uop.cClose(), 507);
    test::WriteFile(Path("ok.uop"), Header(4, 0).b);
    EXPECT_EQ(uop.cOpen(Path("ok.uop")), 0);
    EXPECT_EQ(uop.cOpen(Path("ok.uop")), 502);
    EXPECT_EQ(uop.cCreate(Path("new.uop")), 502);  // not cMUO's 504
    EXPECT_EQ(uop.cClose(), 0);
    EXPECT_EQ(test::ReadFile(Path("ok.uop")), Header(4, 0).b);  // read only: not rewritten
    EXPECT_EQ(uop.cError(500), "Unsupported patchfile.");
    EXPECT_EQ(uop.cError(507), "Cannot close the patchfile as its not open.");
    EXPECT_EQ(uop.cError(499), "");
    EXPECT_EQ(uop.Version, "0.5");
}

TEST_F(PatchTest, UopIllegalBlocksReservedIdsAndRanges) {
    Bytes file = Header(5, 7);
    file.uop(8, 256, 2, 0, {2, 2})  // above NbrOfBlocks: message, data consumed
        .uop(8, 255, 1, 3, {1})
        .uop(252, 0, 1, 0, {1})     // reserved: dropped without a word
        .uop(255, 0, 0, 0)
        .uop(253, 1, 0, 0)         // unused row, NbrOfBlocks 0: the message comes first
        .uop(4, 65536, 1, 0, {4})  // Art's highest block
        .uop(8, 10, 1, 0, {5});
    test::WriteFile(Path("p.uop"), file.b);

    LoadUOP(Path("p.uop"), 8, 8, 255, 255);
    EXPECT_EQ(ReadBlockBytes(8, 255), ByteArray{1});
    EXPECT_EQ(Slot(8, 10).Offset, -1);
    EXPECT_EQ(PatchBlocks[4].Count, 0);
    EXPECT_EQ(PatchBlocks[8].Count, 1);
    ASSERT_EQ(messages.size(), 2u);  // raised outside the ranges too
    EXPECT_EQ(messages[0],
              "An block with an illegal sized blocknumber where detected and ignored:\r\nFileID: 8\r\nBlocknumber:256");
    EXPECT_EQ(messages[1],
              "An block with an illegal sized blocknumber where detected and ignored:\r\nFileID: 253\r\nBlocknumber:1");

    messages.clear();
    LoadAll(Path("p.uop"));
    EXPECT_EQ(ReadBlockBytes(4, 65536), ByteArray{4});
    EXPECT_EQ(ReadBlockBytes(8, 10), ByteArray{5});
    EXPECT_EQ(PatchBlocks[8].Count, 2);
    EXPECT_EQ(messages.size(), 2u);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(PatchTest, UopCreateWritesTheHeaderAndAppendsEntries) {
    cUOP uop;
    ASSERT_EQ(uop.cCreate(Path("empty.uop")), 0);
    EXPECT_EQ(uop.cCreate(Path("other.uop")), 502);
    ASSERT_EQ(uop.cClose(), 0);
    Bytes header;
    header.text("UOP").u8(5).le(0).le(0).text("Quillet Pa");
    EXPECT_EQ(test::ReadFile(Path("empty.uop")), header.b);

    test::WriteFile(Path("made.uop"), test::Counting(23));
    ASSERT_EQ(uop.cCreate(Path("made.uop")), 0);  // an old file is replaced
    EXPECT_EQ(uop.cSave(4, 26, 0x1234, {1, 2, 3, 4}, 3), 3);  // only ByteArraySize bytes
    EXPECT_EQ(uop.cSave(12, 5, -1, {}, 0), 0);
    EXPECT_EQ(uop.cSave(32, 7, 2, {9}, -1), -1);
    EXPECT_THROW(uop.cSave(4, 1, 0, {1}, 2), Failure);
    EXPECT_EQ(uop.cCount(), 3);
    ASSERT_EQ(uop.cClose(), 0);
    Bytes expected;
    expected.text("UOP").u8(5).le(3).le(0).text("Quillet Pa");
    expected.uop(4, 26, 3, 0x1234, {1, 2, 3}).uop(12, 5, 0, -1).uop(32, 7, -1, 2);
    EXPECT_EQ(test::ReadFile(Path("made.uop")), expected.b);

    LoadAll(Path("made.uop"));
    EXPECT_EQ(View(4, 26), (SlotView{3, 0x1234, true, {1, 2, 3}}));
    EXPECT_EQ(View(12, 5), (SlotView{0, -1, true, {}}));
    EXPECT_EQ(View(32, 7), (SlotView{-1, 2, true, {}}));

    EXPECT_EQ(uop.cCreate(Path("no-dir/x.uop")), 505);
    EXPECT_FALSE(uop.IsOpen());
}

}  // namespace
}  // namespace quillet
