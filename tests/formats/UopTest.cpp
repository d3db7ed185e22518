#include <unistd.h>

#include <string>
#include <vector>

#include "common/TestEnv.h"
#include "core/Checked.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mStart.h"
#include "formats/cUOP.h"
#include "formats/mPatchUOP.h"

namespace quillet {
namespace {

using test::PatchTest;

// Files are built here byte by byte, independent of the writer under test.
struct Bytes {
    ByteArray b;
    Bytes& u8(uint8_t v) {
        b.push_back(v);
        return *this;
    }
    Bytes& le(int32_t v) {
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(static_cast<uint32_t>(v) >> (8 * i)));
        return *this;
    }
    Bytes& raw(const ByteArray& data) {
        b.insert(b.end(), data.begin(), data.end());
        return *this;
    }
    Bytes& text(const std::string& s) {
        b.insert(b.end(), s.begin(), s.end());
        return *this;
    }
    // Entry head: FileID, Block, Size, then Extra.
    Bytes& entry(uint8_t fileId, int32_t block, int32_t size, int32_t extra, const ByteArray& data = {}) {
        return u8(fileId).le(block).le(size).le(extra).raw(data);
    }
};

Bytes Header(int version, int32_t count, const std::string& magic = "UOP", int32_t reserved = 0) {
    Bytes h;
    h.text(magic).u8(static_cast<uint8_t>(version)).le(count).le(reserved);
    if (version == 5) h.text("OtherTool!");
    return h;
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
    entries.entry(4, 26, 3, 0x1234, {1, 2, 3})
        .entry(12, 500, 0, 7)                        // empty; the next head follows directly
        .entry(12, 501, 1, 8, {9})
        .entry(12, 501, 2, -8, {5, 6})               // the later entry wins
        .entry(32, 374, -1, 0)                       // empty hue group
        .entry(129, 65535, 2, 2, {0xAA, 0xBB})
        .entry(0, 393215, 196, -1, ByteArray(196, 0x5C));
    Bytes v4 = Header(4, 7, "XYZ", 1234);            // the magic is not looked at
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

TEST_F(PatchTest, UopOfAnotherVersionOrNoFileLoadsNothingSilently) {
    for (int version : {3, 6, 0, 1}) {
        SCOPED_TRACE(version);
        Bytes file = Header(version, 1);
        file.entry(4, 1, 1, 0, {1});
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
    file.entry(8, 256, 2, 0, {2, 2})  // above NbrOfBlocks: message, data consumed
        .entry(8, 255, 1, 3, {1})
        .entry(252, 0, 1, 0, {1})     // reserved: dropped without a word
        .entry(255, 0, 0, 0)
        .entry(253, 1, 0, 0)          // unused row, NbrOfBlocks 0: the message comes first
        .entry(4, 65536, 1, 0, {4})   // Art's highest block
        .entry(8, 10, 1, 0, {5});
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

TEST_F(PatchTest, ShortUopRepeatsItsLastEntryWithZeroData) {
    {
        SCOPED_TRACE("count far beyond the entries");
        Bytes file = Header(4, 2000000000);
        file.entry(4, 7, 1, 0, {1}).entry(6, 100, 3, 9, {1, 2, 3});
        test::WriteFile(Path("long.uop"), file.b);
        LoadAll(Path("long.uop"));
        EXPECT_EQ(ReadBlockBytes(4, 7), ByteArray{1});
        // The repetition of the last entry, with zeros as data, is the last word.
        EXPECT_EQ(View(6, 100), (SlotView{3, 9, true, {0, 0, 0}}));
        EXPECT_EQ(PatchBlocks[6].Count, 1);
        EXPECT_TRUE(messages.empty());
    }
    {
        SCOPED_TRACE("file cut inside an entry head");
        PatchDispose();
        PatchNew();
        Bytes file = Header(5, 3);
        file.entry(6, 0x00010005, 2, 7, {5, 5}).u8(6).raw({0x07, 0x00});
        test::WriteFile(Path("cut.uop"), file.b);
        LoadAll(Path("cut.uop"));
        EXPECT_EQ(View(6, 0x00010005), (SlotView{2, 7, true, {5, 5}}));
        // The two bytes of Block that are there replace the low half only;
        // Size and Extra are still those of the entry before.
        EXPECT_EQ(View(6, 0x00010007), (SlotView{2, 7, true, {0, 0}}));
        EXPECT_EQ(PatchBlocks[6].Count, 2);
    }
    {
        SCOPED_TRACE("file cut inside the data");
        Bytes file = Header(4, 1);
        file.entry(8, 3, 5, 1, {1, 2});
        test::WriteFile(Path("data1.uop"), file.b);
        LoadAll(Path("data1.uop"));
        EXPECT_EQ(View(8, 3), (SlotView{5, 1, true, {1, 2, 0, 0, 0}}));
        ByteArray twice = file.b;
        twice[4] = 2;  // BlockCount 2: the cut entry is repeated, all zeros
        test::WriteFile(Path("data2.uop"), twice);
        LoadAll(Path("data2.uop"));
        EXPECT_EQ(View(8, 3), (SlotView{5, 1, true, {0, 0, 0, 0, 0}}));
    }
    {
        SCOPED_TRACE("a repeated illegal block");
        messages.clear();
        Bytes file = Header(4, 1000);
        file.entry(8, 300, 0, 0);
        test::WriteFile(Path("illegal.uop"), file.b);
        LoadAll(Path("illegal.uop"));
        // Once for the entry, once for its repetitions: not a box per missing entry.
        EXPECT_EQ(messages.size(), 2u);
    }
    {
        SCOPED_TRACE("negative count");
        Bytes file = Header(4, -1);
        file.entry(16, 1, 1, 0, {1});
        test::WriteFile(Path("neg.uop"), file.b);
        LoadAll(Path("neg.uop"));
        EXPECT_EQ(PatchBlocks[16].Count, 0);
    }
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(PatchTest, ImpossibleUopEntriesStopTheLoadWithALogLine) {
    struct Case {
        const char* name;
        Bytes entry;
    };
    std::vector<Case> cases;
    cases.push_back({"size beyond the file", Bytes{}.entry(4, 2, 0x7FFFFFF0, 0, {1, 2, 3})});
    cases.push_back({"size one beyond the file", Bytes{}.entry(4, 2, 12 + 14 + 13 + 1, 0)});
    cases.push_back({"unused type", Bytes{}.entry(1, 0, 0, 0)});
    cases.push_back({"unused type 200", Bytes{}.entry(200, 0, 1, 0, {1})});
    cases.push_back({"negative block", Bytes{}.entry(4, -5, 0, 0)});
    for (auto& c : cases) {
        SCOPED_TRACE(c.name);
        PatchDispose();
        PatchNew();
        ::unlink(Path("test.log").c_str());
        Bytes file = Header(4, 2);
        file.entry(4, 1, 1, 0, {1}).raw(c.entry.b);
        test::WriteFile(Path("bad.uop"), file.b);
        LoadUOP(Path("bad.uop"), 0, 255, -10, 400000);
        EXPECT_EQ(ReadBlockBytes(4, 1), ByteArray{1});  // what came before stays
        EXPECT_EQ(PatchBlocks[4].Count, 0);              // not recounted after a stop
        const auto lines = LogLines();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_NE(lines[0].find("mPatch.LoadUOP: "), std::string::npos);
    }
    // The largest Size that the file could hold is read, with zeros for the rest.
    PatchDispose();
    PatchNew();
    ::unlink(Path("test.log").c_str());
    Bytes file = Header(4, 1);
    file.entry(4, 2, 12 + 13 + 2, 0, {7, 8});
    test::WriteFile(Path("whole.uop"), file.b);
    LoadAll(Path("whole.uop"));
    ByteArray expected(27, 0);
    expected[0] = 7;
    expected[1] = 8;
    EXPECT_EQ(ReadBlockBytes(4, 2), expected);
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

    test::WriteFile(Path("made.uop"), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23});
    ASSERT_EQ(uop.cCreate(Path("made.uop")), 0);  // an old file is replaced
    EXPECT_EQ(uop.cSave(4, 26, 0x1234, {1, 2, 3, 4}, 3), 3);  // only ByteArraySize bytes
    EXPECT_EQ(uop.cSave(12, 5, -1, {}, 0), 0);
    EXPECT_EQ(uop.cSave(32, 7, 2, {9}, -1), -1);
    EXPECT_THROW(uop.cSave(4, 1, 0, {1}, 2), Failure);
    EXPECT_EQ(uop.cCount(), 3);
    ASSERT_EQ(uop.cClose(), 0);
    Bytes expected;
    expected.text("UOP").u8(5).le(3).le(0).text("Quillet Pa");
    expected.entry(4, 26, 3, 0x1234, {1, 2, 3}).entry(12, 5, 0, -1).entry(32, 7, -1, 2);
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
