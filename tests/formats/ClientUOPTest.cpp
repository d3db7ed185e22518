// The client's UOP containers: the name hash, the two stages of flag 3, the
// reader's walk over hand-built containers of every type, and the writer.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>

#include "base/Checked.h"
#include "common/TestEnv.h"
#include "formats/ClientUOPWriter.h"
#include "formats/ContainerBytes.h"
#include "formats/EntryStages.h"
#include "formats/UOPHash.h"
#include "formats/cClientUOP.h"

namespace quillet {
namespace {

using namespace test;

Slot Stored(const std::string& name, const ByteArray& data, int32_t header = 12) {
    return {.hash = UOPNameHash(name), .stored = data, .inflated = static_cast<int32_t>(data.size()), .header = header};
}
Slot Zipped(const std::string& name, const ByteArray& data, int32_t header = 0) {
    return {.hash = UOPNameHash(name),
            .stored = Zlib(data),
            .inflated = static_cast<int32_t>(data.size()),
            .flag = 1,
            .header = header};
}
Slot Staged(const std::string& name, const ByteArray& data, int32_t header = 12) {
    const ByteArray staged = EncodeStages(data);
    return {.hash = UOPNameHash(name),
            .stored = Zlib(staged),
            .inflated = static_cast<int32_t>(staged.size()),
            .flag = 3,
            .header = header};
}

// Bytes of a skewed distribution, as pictures have them.
ByteArray Varied(size_t n, uint32_t seed) {
    ByteArray out(n);
    for (size_t i = 0; i < n; ++i) {
        seed = seed * 1103515245u + 12345u;
        out[i] = static_cast<uint8_t>((seed >> 16) % ((seed >> 8 & 3) == 0 ? 256 : 9));
    }
    return out;
}

// A Failure whose text holds says.
void ExpectFailure(const std::function<void()>& run, const std::string& says) {
    try {
        run();
        ADD_FAILURE() << "no failure; expected: " << says;
    } catch (const Failure& failure) {
        EXPECT_NE(std::string(failure.what()).find(says), std::string::npos) << failure.what();
    }
}

void ExpectBlock(cClientUOP& uop, int32_t block, int32_t size, int32_t extra, const ByteArray& bytes = {}) {
    SCOPED_TRACE("block " + std::to_string(block));
    int32_t gotExtra = 12345;
    ByteArray got{9};
    EXPECT_EQ(uop.cLoad(block, gotExtra, got), size);
    EXPECT_EQ(gotExtra, extra);
    EXPECT_EQ(got, size > 0 ? bytes : ByteArray{9});  // for no bytes, left as it was
}

TEST(UOPNameHashTest, TheTestVectorsAndNamesOfWholeTwelveByteGroups) {
    const std::pair<const char*, uint64_t> vectors[] = {
        {"build/multicollection/housing.bin", 0x126D1E99DDEDEE0A},
        {"build/gumpartlegacymul/0009834.tga", 0x906142EFE9FDB38A},
        {"Four score and seven years ago", 0xCE7226E617770551},
        {"build/artlegacymul/00000000.tga", 0x99361F7D3A53AEA8},
        {"build/gumpartlegacymul/00000000.tga", 0xECD0CC1754B6A0D8},
        {"build/map0legacymul/00000000.dat", 0xDBB7AFA433A3764B},
        {"build/soundlegacymul/00000000.dat", 0xCB36450C320CD308},
        // 12, 24 and 36 bytes: the loop leaves the last whole group to the final step.
        {"abcdefghijkl", 0x75B50EC04012F87B},
        {"build/multi/00000000.bin", 0xE329BFF5960E3E8B},
        {"build/gumpartlegacymul/000009834.tga", 0xC7F60B275D91316A},
        {"a", 0x582647AC58D68708},
    };
    for (const auto& [name, hash] : vectors) EXPECT_EQ(UOPNameHash(name), hash) << name;
}

TEST(EntryStagesTest, TheWorkedExampleByteForByte) {
    ByteArray mtf{0x41, 0x00, 0x42, 0x01};
    UndoMoveToFront(mtf.data(), mtf.size());
    EXPECT_EQ(mtf, Text("AABA"));

    // The prefix (6 XOR 0x8E2C9A3D), the move-to-front indices of T (zeros
    // but for eight), one spare byte: 1035 bytes.
    ByteArray staged(1035, 0);
    const uint8_t prefix[] = {0x3B, 0x9A, 0x2C, 0x8E};
    std::memcpy(staged.data(), prefix, 4);
    for (const auto& [at, index] :
         {std::pair{260, 3}, {261, 1}, {264, 3}, {265, 1}, {268, 3}, {269, 1}, {1026, 1}, {1028, 2}})
        staged[4 + static_cast<size_t>(at)] = static_cast<uint8_t>(index);
    EXPECT_EQ(EncodeStages(Text("AABACB")), staged);

    ByteArray out;
    ByteArray input = staged;
    DecodeStages(input, out);
    EXPECT_EQ(out, Text("AABACB"));
    // T itself: counts A 3, B 2, C 1, then the streams 00 00 01 | 01 02 | 02.
    EXPECT_EQ(ByteArray(input.begin() + 4 + 1024, input.begin() + 4 + 1030), (ByteArray{0, 0, 1, 1, 2, 2}));
    EXPECT_EQ(LoadI32(input.data() + 4 + 4 * 0x41), 3);
}

TEST(EntryStagesTest, RoundTripsLeaveOneSpareByteThatDecodingDoesNotNeed) {
    ByteArray ascending(512), descending(512);
    for (size_t i = 0; i < 512; ++i) {
        ascending[i] = static_cast<uint8_t>(i);
        descending[i] = static_cast<uint8_t>(255 - i % 256);
    }
    for (const ByteArray& data :
         {ByteArray{}, Text("A"), ByteArray(1000, 'Z'), ascending, descending, Varied(100000, 7), Varied(3000, 99)}) {
        SCOPED_TRACE(data.size());
        ByteArray staged = EncodeStages(data);
        ASSERT_EQ(staged.size(), 4 + 1024 + data.size() + 1);
        EXPECT_EQ(static_cast<uint32_t>(LoadI32(staged.data())), static_cast<uint32_t>(data.size()) ^ kStagedLengthKey);
        staged.pop_back();
        ByteArray out{1, 2};
        DecodeStages(staged, out);
        EXPECT_EQ(out, data);
    }
}

TEST(EntryStagesTest, DamagedInputIsRefusedWithWhatIsWrong) {
    // T as stage 2 reads it: counts, then streams.
    const auto t = [](std::vector<std::pair<int, int32_t>> counts, const ByteArray& streams) {
        ByteArray bytes(1024, 0);
        for (const auto& [symbol, count] : counts) StoreI32(bytes.data() + 4 * symbol, count);
        bytes.insert(bytes.end(), streams.begin(), streams.end());
        return bytes;
    };
    const auto decode = [](const ByteArray& bytes) {
        return [bytes] {
            ByteArray out(1 << 12);
            UndoFrequencyStage(bytes.data(), bytes.size(), out.data());
        };
    };
    ExpectFailure(decode(ByteArray(1000, 0)), "its count table needs 1024 bytes, there are 1000");
    ExpectFailure(decode(t({{7, -1}}, {})), "byte 0x07 has a count of -1");
    ExpectFailure(decode(t({{'A', 5}}, {0, 0, 0, 0})), "its counts add up to 5 bytes, its streams have room for 4");
    ExpectFailure(decode(t({{'A', 1}, {'B', 1}}, {0, 0})), "the first places of its 2 symbols are not 0 to 1");
    ExpectFailure(decode(t({{'A', 1}}, {1})), "the first places of its 1 symbols are not 0 to 0");
    ExpectFailure(decode(t({{'A', 2}}, {0, 1})), "a place of 1 with 1 symbols still to come");
    ExpectFailure(decode(t({{'A', 2}, {'B', 2}}, {0, 1, 1, 2})), "a place of 2 with 2 symbols still to come");
    ByteArray cut{1, 2, 3}, out;
    ExpectFailure([&] { DecodeStages(cut, out); }, "it has no length prefix");
    // Counts of 2 GB in all are damage, never an allocation.
    ExpectFailure(decode(t({{'A', INT32_MAX}, {'B', INT32_MAX}}, {0, 1})), "add up to 4294967294 bytes");
}

class ClientUOPTest : public PatchTest {
protected:
    std::string Write(const std::string& name, const ByteArray& bytes) {
        WriteFile(Path(name), bytes);
        return Path(name);
    }
};

TEST_F(ClientUOPTest, ArtOfEveryFlagThroughAChainOfTablesWithUnusedSlots) {
    const ByteArray land = Varied(2048, 1), item = Varied(300, 2), beyond = Varied(70000, 3), last = Varied(900, 4);
    const std::string path = Write(
        "art.uop", Container({{Stored(ArtName(0), land), Unused(), Zipped(ArtName(0x4000), item)},
                              {Unused(), Unused(), Staged(ArtName(0x13FDB), last), Stored(ArtName(0x1FFFF), beyond, 0)},
                              {Stored("build/tileart/00000000.bin", item), Stored(ArtName(0x4001), {})},
                              {}},
                             {.capacity = 4, .files = -2}));
    cClientUOP uop;
    ASSERT_EQ(uop.cOpen(path, 4), 0) << uop.Why;
    EXPECT_EQ(uop.cKind(), "Art");
    ExpectBlock(uop, 0, 2048, -1, land);
    ExpectBlock(uop, 0x4000, 300, -1, item);
    ExpectBlock(uop, 0x13FDB, 900, -1, last);
    ExpectBlock(uop, 0x1FFFF, 70000, -1, beyond);
    ExpectBlock(uop, 0x4001, 0, -1);  // an empty entry is a block of Size 0
    for (const int32_t absent : {1, 0x3FFF, 0x20000, -1, INT_MAX}) ExpectBlock(uop, absent, -1, -1);
    EXPECT_EQ(uop.cBlocksIn(0, INT_MAX), 5);
    EXPECT_EQ(uop.cBlocksIn(0x13FDC, INT_MAX), 1);  // beyond the type's last block, found all the same
    EXPECT_EQ(uop.cBlocksIn(1, 0x3FFF), 0);
    EXPECT_EQ(uop.cExtent(), 0x20000);

    // The head, then the bytes in pieces, once more, and held whole; of a
    // stored and of a decoded entry alike.
    for (const auto& [block, bytes] : {std::pair{0x1FFFF, beyond}, {0x13FDB, last}}) {
        int32_t extra = 0;
        ASSERT_EQ(uop.cLoadHead(block, extra), static_cast<int32_t>(bytes.size()));
        ByteArray got(bytes.size());
        uop.cData().Read(got.data(), 100);
        uop.cData().Read(got.data() + 100, got.size() - 100);
        EXPECT_EQ(got, bytes);
        uint8_t more = 0;
        ExpectFailure([&] { uop.cData().Read(&more, 1); }, "Read past the end of a block");
        uop.cDataAgain().Read(got.data(), got.size());
        EXPECT_EQ(got, bytes);
        ByteArray spare;
        const uint8_t* view = uop.cView(spare);
        ASSERT_NE(view, nullptr);
        EXPECT_EQ(ByteArray(view, view + bytes.size()), bytes);
    }
    EXPECT_EQ(uop.cClose(), 0);
    EXPECT_EQ(uop.cExtent(), 0);
    EXPECT_EQ(uop.cKind(), "");
    int32_t extra = 0;
    ExpectFailure([&] { uop.cLoadHead(0, extra); }, "not open");
}

TEST_F(ClientUOPTest, GumpsGiveWidthAndHeightAsExtraAndAreFoundUnderSevenDigitNames) {
    const auto gump = [](uint32_t width, uint32_t height, const ByteArray& body) {
        return Bytes{}.le(static_cast<int32_t>(width)).le(static_cast<int32_t>(height)).raw(body).b;
    };
    const std::string seven = "build/gumpartlegacymul/%07d.tga";
    const ByteArray a = Varied(400, 5), b = Varied(64, 6);
    const std::string path =
        Write("gumps.uop",
              Container({{Staged(GumpName(0), gump(0x12345, 0x10, a)),
                          Staged(Numbered(seven.c_str(), 9834), gump(20, 30, b)), Stored(GumpName(5), gump(44, 2, b)),
                          Staged(GumpName(6), Varied(7, 1)), Zipped(GumpName(8), gump(1, 1, {}))},
                         {Staged(Numbered(seven.c_str(), 77), gump(3, 3, a)), Staged(GumpName(77), gump(4, 4, b))}},
                        {.capacity = 5}));
    cClientUOP uop;
    ASSERT_EQ(uop.cOpen(path, 12), 0) << uop.Why;
    EXPECT_EQ(uop.cKind(), "Gumps");
    ExpectBlock(uop, 0, 400, 0x23450010, a);  // the width's high bits are not kept
    ExpectBlock(uop, 9834, 64, 20 << 16 | 30, b);
    ExpectBlock(uop, 5, 64, 44 << 16 | 2, b);
    ExpectBlock(uop, 8, 0, 1 << 16 | 1);
    ExpectBlock(uop, 77, 64, 4 << 16 | 4, b);  // the 8-digit name wins
    ExpectFailure([&] { ExpectBlock(uop, 6, 0, 0); },
                  "block 6 (build/gumpartlegacymul/00000006.tga): the gump entry has 7 bytes, fewer than the 8");
    ExpectBlock(uop, 0, 400, 0x23450010, a);  // a failed block leaves the walk as it was
    EXPECT_EQ(uop.cBlocksIn(0, 65535), 6);
    EXPECT_EQ(uop.cExtent(), 9835);
}

TEST_F(ClientUOPTest, SoundsKeepTheirNumberPlusOneAsExtra) {
    const ByteArray first = Varied(4000, 8), late = Varied(100, 9);
    const std::string path =
        Write("sound.uop",
              Container({{Zipped(SoundName(0), first), Stored(SoundName(4095), late), Zipped(SoundName(9000), late)}}));
    cClientUOP uop;
    ASSERT_EQ(uop.cOpen(path, 8), 0) << uop.Why;
    EXPECT_EQ(uop.cKind(), "Sound");
    ExpectBlock(uop, 0, 4000, 1, first);
    ExpectBlock(uop, 4095, 100, 4096, late);
    ExpectBlock(uop, 9000, 100, 9001, late);
    ExpectBlock(uop, 1, -1, -1);
    EXPECT_EQ(uop.cBlocksIn(256, 4095), 1);
}

TEST_F(ClientUOPTest, MapEntriesSplitIntoBlocksWithZerosWhereNoEntryHasBytes) {
    // Facet 4: 32761 blocks, 7 whole entries and 4089 blocks of the eighth.
    const auto blocks = [](int32_t first, int32_t count, int32_t extraBytes) {
        ByteArray out;
        for (int32_t b = first; b < first + count; ++b)
            for (int i = 0; i < 196; ++i) out.push_back(static_cast<uint8_t>((b * 7 + i) % 13 + 1));
        out.resize(out.size() + static_cast<size_t>(extraBytes), 0x77);
        return out;
    };
    const ByteArray entry0 = blocks(0, 4096, 0), entry2 = blocks(2 * 4096, 10, 100), entry7 = blocks(7 * 4096, 4090, 0),
                    entry9 = blocks(9 * 4096, 2, 50);
    const std::string path =
        Write("map4.uop", Container({{Zipped(MapName(4, 0), entry0), Stored(MapName(4, 2), entry2)},
                                     {Staged(MapName(4, 7), entry7), Stored(MapName(4, 9), entry9)}}));
    cClientUOP uop;
    ASSERT_EQ(uop.cOpen(path, 0), 0) << uop.Why;
    EXPECT_EQ(uop.cKind(), "Map 4");
    EXPECT_EQ(uop.cExtent(), 32761);
    ExpectBlock(uop, 5, 196, -1, blocks(5, 1, 0));
    ExpectBlock(uop, 4095, 196, -1, blocks(4095, 1, 0));
    ExpectBlock(uop, 4096 + 3, 196, -1, ByteArray(196, 0));  // entry 1 is missing
    ExpectBlock(uop, 2 * 4096 + 9, 196, -1, blocks(2 * 4096 + 9, 1, 0));
    ByteArray cut(196, 0);
    std::fill(cut.begin(), cut.begin() + 100, 0x77);
    ExpectBlock(uop, 2 * 4096 + 10, 196, -1, cut);  // the short entry's end, then zeros
    ExpectBlock(uop, 2 * 4096 + 11, 196, -1, ByteArray(196, 0));
    ExpectBlock(uop, 32760, 196, -1, blocks(32760, 1, 0));  // the facet's last block
    ExpectBlock(uop, 32761, -1, -1);                        // past it, in the same entry
    ExpectBlock(uop, 8 * 4096, -1, -1);
    // An entry wholly beyond the facet is read, and counted.
    ExpectBlock(uop, 9 * 4096 + 1, 196, -1, blocks(9 * 4096 + 1, 1, 0));
    ByteArray tail(196, 0);
    std::fill(tail.begin(), tail.begin() + 50, 0x77);
    ExpectBlock(uop, 9 * 4096 + 2, 196, -1, tail);
    ExpectBlock(uop, 9 * 4096 + 4095, 196, -1, ByteArray(196, 0));
    ExpectBlock(uop, 10 * 4096, -1, -1);
    EXPECT_EQ(uop.cBlocksIn(0, INT_MAX), 32761 + 4096);
    EXPECT_EQ(uop.cBlocksIn(32761, INT_MAX), 4096);
    EXPECT_EQ(uop.cBlocksIn(4000, 4999), 1000);

    // Facet 3 ends where entry 20 begins: that entry lies wholly beyond it.
    const std::string map3 = Write("map3.uop", Container({{Stored(MapName(3, 19), blocks(19 * 4096, 1, 0)),
                                                           Zipped(MapName(3, 20), blocks(20 * 4096, 1, 0))}}));
    ASSERT_EQ(uop.cOpen(map3, 0), 0) << uop.Why;
    EXPECT_EQ(uop.cKind(), "Map 3");
    EXPECT_EQ(uop.cExtent(), 81920);
    ExpectBlock(uop, 81919, 196, -1, ByteArray(196, 0));
    ExpectBlock(uop, 81920, 196, -1, blocks(81920, 1, 0));
    EXPECT_EQ(uop.cBlocksIn(81920, INT_MAX), 4096);
}

TEST_F(ClientUOPTest, TheNamesTellTheKindAndAnotherKindIsRefused) {
    const ByteArray some = Varied(50, 1);
    const std::string art = Write("art.uop", Container({{Stored(ArtName(3), some)}}));
    const std::string gumps = Write("gumps.uop", Container({{Stored(GumpName(3), some)}}));
    const std::string map2 = Write("map2.uop", Container({{Stored(MapName(2, 1), some)}}));
    const std::string multi = Write("multi.uop", Container({{Stored("build/multicollection/housing.bin", some),
                                                             Stored("build/multicollection/000001.bin", some)}}));
    const std::string other =
        Write("other.uop",
              Container({{Stored("build/tileart/00000001.bin", some), Stored("build/tileart/00000002.bin", some)}}));
    const std::string late = Write("late.uop", Container({{Stored(ArtName(0x5000), some)}}));
    const std::string empty = Write("empty.uop", Container({}));
    const std::string patch = Write("patch.uop", Bytes{}.text("UOP").u8(4).le(0).le(0).b);
    // A version-5 shape: capacity 1000, the first table further on, 137-byte entry headers.
    const std::string v5 = Write(
        "v5.uop", Container({{Stored(SoundName(1), some, 137)}}, {.capacity = 1000, .version = 5, .firstTable = 512}));
    const struct {
        std::string path;
        uint8_t fileId;
        std::string kind;  // opened as that kind, or
        std::string why;   // refused for this
    } cases[] = {
        {art, 4, "Art", ""},
        {gumps, 4, "", "It holds Gumps, not Art."},
        {map2, 4, "", "It holds Map 2, not Art."},
        {map2, 0, "Map 2", ""},
        {art, 0, "", "It holds Art, not Map."},
        {multi, 4, "", "It holds MultiCollection, not Art."},
        {other, 12, "", "It holds no Gumps: none of its 2 entries has a name that Gumps entries have."},
        {late, 4, "Art", ""},
        {late, 8, "", "It holds no Sound: none of its 1 entries has a name that Sound entries have."},
        {empty, 4, "", ""},
        {v5, 8, "Sound", ""},
        {art, 2, "", "A client UOP container holds the blocks of Art, Gumps, Map or Sound, not of Statics."},
        {patch, 4, "", "It is not a client UOP container: it does not begin with \"MYP\" and a 0 byte."},
        {Path("missing.uop"), 4, "", "No such file or directory."},
        {dir, 4, "", "It is a directory."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.path + " as " + std::to_string(c.fileId));
        cClientUOP uop;
        EXPECT_EQ(uop.cOpen(c.path, c.fileId), c.why.empty() ? 0 : 500);
        EXPECT_EQ(uop.Why, c.why);
        EXPECT_EQ(uop.cKind(), c.kind);
    }
    cClientUOP uop;
    ASSERT_EQ(uop.cOpen(empty, 12), 0);
    ExpectBlock(uop, 0, -1, -1);
    EXPECT_EQ(uop.cExtent(), 0);
    ASSERT_EQ(uop.cOpen(v5, 8), 0);  // a second open closes the first
    ExpectBlock(uop, 1, 50, 2, some);

    EXPECT_EQ(ClientUOPKindOf(map2), "Map 2");
    EXPECT_EQ(ClientUOPKindOf(multi), "MultiCollection");
    EXPECT_EQ(ClientUOPKindOf(late), "");  // only entries 0 to 127 tell
    EXPECT_EQ(ClientUOPKindOf(patch), "");
    EXPECT_TRUE(IsClientUOPFile(empty));
    EXPECT_FALSE(IsClientUOPFile(patch));
    EXPECT_FALSE(IsClientUOPFile(Path("missing.uop")));
}

TEST_F(ClientUOPTest, TheWriterLaysOutTheVersion4ShapeAndMakesItsFileNew) {
    const ByteArray land = Varied(2048, 1), item = Varied(300, 2), gump = Varied(500, 3);
    for (const bool headers : {true, false}) {
        SCOPED_TRACE(headers);
        const std::string path = Path(headers ? "with.uop" : "without.uop");
        ClientUOPWriter writer(path, {.capacity = 2, .entryHeaders = headers});
        writer.Add(ArtName(0), land, 0);
        writer.AddUnusedSlot();
        writer.Add(ArtName(1), item, 1);
        writer.Add(GumpName(2), gump, 3);
        writer.Finish();
        const int32_t h = headers ? 12 : 0;
        EXPECT_EQ(ReadFile(path), Container({{Stored(ArtName(0), land, h), Unused()},
                                             {Zipped(ArtName(1), item, h), Staged(GumpName(2), gump, h)}},
                                            {.capacity = 2, .files = 3}));
    }
    // Nothing that is there is replaced, and a file not finished is removed.
    WriteFile(Path("taken.uop"), {1, 2, 3});
    ExpectFailure([&] { ClientUOPWriter taken(Path("taken.uop")); }, "Unable to create");
    EXPECT_EQ(ReadFile(Path("taken.uop")), (ByteArray{1, 2, 3}));
    {
        ClientUOPWriter unfinished(Path("unfinished.uop"));
        unfinished.Add(ArtName(0), land, 1);
    }
    EXPECT_FALSE(Exists(Path("unfinished.uop")));
    ExpectFailure([&] { ClientUOPWriter(Path("flag.uop")).Add(ArtName(0), land, 2); }, "An entry of flag 2");
}

}  // namespace
}  // namespace quillet
