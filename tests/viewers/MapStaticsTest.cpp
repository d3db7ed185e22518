// The map and statics pages: which pixel each block gets and in what colour,
// where the drawing stops, and which blocks a rectangle removes.
#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "common/TestEnv.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "viewers/mMap.h"
#include "viewers/mRadarCol.h"
#include "viewers/mStatics.h"

namespace quillet {
namespace {

// A picture page over plain memory that remembers what was asked of it.
class TestPicture : public PictureSurface {
public:
    // No colour the drawing can give has an alpha of 0.
    static constexpr uint32_t kBackground = 0x00ABCDEFu;

    TestPicture() : pixels(768 * 512, 0x12345678u) {}  // garbage until the first Cls
    void Cls() override {
        calls.push_back("Cls");
        std::fill(pixels.begin(), pixels.end(), kBackground);
    }
    void Refresh() override { calls.push_back("Refresh"); }
    Canvas hDC() override {
        calls.push_back("hDC");
        return Canvas{pixels.data(), 768, 512, 768};
    }
    uint32_t At(int32_t x, int32_t y) const { return pixels[static_cast<size_t>(y) * 768 + static_cast<size_t>(x)]; }
    size_t Drawn() const {
        return static_cast<size_t>(std::count_if(pixels.begin(), pixels.end(), [](uint32_t p) { return p != kBackground; }));
    }

    std::vector<uint32_t> pixels;
    std::vector<std::string> calls;
};

// Known colours: entry n is 0x100000 + n, none of them black.
int32_t Colour(size_t index) { return static_cast<int32_t>(0x100000 + index); }

ByteArray MapBlock(uint16_t tile, uint8_t filler = 0) {
    ByteArray bytes(196, filler);
    bytes[4] = static_cast<uint8_t>(tile);
    bytes[5] = static_cast<uint8_t>(tile >> 8);
    return bytes;
}

// One static item record (7 bytes) per item number.
ByteArray StaticsBlock(std::initializer_list<uint16_t> items) {
    ByteArray bytes;
    for (const uint16_t item : items) {
        const size_t at = bytes.size();
        bytes.resize(at + 7, 0x55);
        bytes[at] = static_cast<uint8_t>(item);
        bytes[at + 1] = static_cast<uint8_t>(item >> 8);
    }
    return bytes;
}

int32_t BlockAt(int32_t x, int32_t y) { return x * 512 + y; }

class MapStaticsTest : public test::PatchTest {
protected:
    void SetUp() override {
        PatchTest::SetUp();
        saved_ = RadarColors;
        for (size_t i = 0; i < RadarColors.size(); ++i) RadarColors[i] = Colour(i);
    }
    void TearDown() override {
        RadarColors = saved_;
        PatchTest::TearDown();
    }
    void Put(int FileID, int32_t block, const ByteArray& bytes) {
        StoreBlock(FileID, block, static_cast<int32_t>(bytes.size()), 0, bytes);
    }
    void PutEmpty(int FileID, int32_t block) { StoreBlock(FileID, block, 0, 0, nullptr); }

private:
    std::array<int32_t, 65536> saved_{};
};

TEST_F(MapStaticsTest, MapPixelIsTheBlockColouredByItsFirstTile) {
    Put(0, 0, MapBlock(3));
    Put(0, 513, MapBlock(0x4000));
    Put(0, 393215, MapBlock(0xFFFF));  // read unsigned: the last entry, not a negative index
    Put(0, 511, MapBlock(77, 0x00));
    Put(0, 512, MapBlock(77, 0xEE));  // same first tile, other bytes: same colour
    PutEmpty(0, 1000);                // present without bytes: nothing on this page

    TestPicture picture;
    DrawMap(picture);
    EXPECT_EQ(picture.calls, (std::vector<std::string>{"Cls", "hDC", "Refresh"}));
    EXPECT_EQ(picture.At(0, 0), CanvasPixel(Colour(3)));
    EXPECT_EQ(picture.At(1, 1), CanvasPixel(Colour(0x4000)));
    EXPECT_EQ(picture.At(767, 511), CanvasPixel(Colour(0xFFFF)));
    EXPECT_EQ(picture.At(0, 511), CanvasPixel(Colour(77)));
    EXPECT_EQ(picture.At(1, 0), CanvasPixel(Colour(77)));
    EXPECT_EQ(picture.At(1, 488), TestPicture::kBackground);  // block 1000
    EXPECT_EQ(picture.Drawn(), 5u);
}

TEST_F(MapStaticsTest, EmptyPatchGivesAnErasedPictureThatIsShown) {
    TestPicture picture;
    DrawMap(picture);
    EXPECT_EQ(picture.Drawn(), 0u);
    EXPECT_EQ(picture.calls.back(), "Refresh");
    DrawStatics(picture);
    EXPECT_EQ(picture.Drawn(), 0u);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(MapStaticsTest, BlocksAreFoundWhereverTheyLieInTheDataFile) {
    // Stored in falling block order, with other types between them, partly
    // written out to disk and partly still in the DataFile's buffer, and one
    // large block that passes the read window.
    std::vector<int32_t> blocks;
    for (int32_t block = 393215; block >= 0; block -= 9973) blocks.push_back(block);
    for (size_t i = 0; i < blocks.size(); ++i) {
        Put(0, blocks[i], MapBlock(static_cast<uint16_t>(blocks[i] % 16384)));
        Put(2, blocks[i], StaticsBlock({static_cast<uint16_t>(i), 9, 9}));
        if (i == 10) Put(12, 7, ByteArray(3 * 256 * 1024, 0xAA));
        if (i == blocks.size() / 2) {
            ASSERT_TRUE(Datafile_Flush(DataFileHandle));
        }
    }
    ASSERT_FALSE(DataFileHandle.pending.empty());
    // A slot whose Size runs past the end of the DataFile reads zeros there,
    // as a read of the whole block does: tile 0.
    const int32_t end = static_cast<int32_t>(DataFileHandle.Size());
    Slot(0, 5) = PatchBlock{196, 0, end - 1};

    TestPicture map, statics;
    DrawMap(map);
    DrawStatics(statics);
    for (size_t i = 0; i < blocks.size(); ++i) {
        const int32_t x = blocks[i] / 512, y = blocks[i] % 512;
        EXPECT_EQ(map.At(x, y), CanvasPixel(Colour(static_cast<size_t>(blocks[i] % 16384)))) << blocks[i];
        EXPECT_EQ(statics.At(x, y), CanvasPixel(Colour(i + 16384))) << blocks[i];
    }
    EXPECT_EQ(map.At(0, 5), CanvasPixel(Colour(0)));
    EXPECT_EQ(map.Drawn(), blocks.size() + 1);
    EXPECT_EQ(statics.Drawn(), blocks.size());
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(MapStaticsTest, MapBlockShorterThanSixBytesStopsTheDrawing) {
    Put(0, 10, MapBlock(1));
    Put(0, 600, ByteArray{0, 0, 0, 0, 9, 9});  // 6 bytes are enough
    Put(0, 700, ByteArray{0, 0, 0, 0, 9});     // 5 are not
    Put(0, 800, MapBlock(2));

    TestPicture picture;
    DrawMap(picture);
    EXPECT_EQ(picture.At(0, 10), CanvasPixel(Colour(1)));
    EXPECT_EQ(picture.At(1, 88), CanvasPixel(Colour(0x0909)));
    EXPECT_EQ(picture.At(1, 288), TestPicture::kBackground);  // block 800: after the stop
    EXPECT_EQ(picture.Drawn(), 2u);
    EXPECT_EQ(std::count(picture.calls.begin(), picture.calls.end(), "Refresh"), 0);
    const auto log = LogLines();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_NE(log[0].find(" mMap.DrawMap: "), std::string::npos) << log[0];
}

TEST_F(MapStaticsTest, CountingPointsComeEvery20000Blocks) {
    std::vector<int32_t> percents;
    WaitHooks hooks = CurrentWaitHooks();
    hooks.doEvents = [&] { percents.push_back(WaitPercent); };
    InstallWaitHooks(hooks);
    TestPicture picture;
    DrawMap(picture);
    // 393216 blocks: 19 points, the first at block 19999 (5 %), drawn or not.
    ASSERT_EQ(percents.size(), 19u);
    EXPECT_EQ(percents.front(), 5);
    EXPECT_EQ(percents[1], 10);               // block 39999
    EXPECT_EQ(percents.back(), 96);           // block 379999
    percents.clear();
    DrawStatics(picture);
    EXPECT_EQ(percents.size(), 19u);
}

TEST_F(MapStaticsTest, StaticsShowColourBlackOrNothing) {
    Put(2, 0, StaticsBlock({0, 500}));  // only the first item counts
    Put(2, 511, StaticsBlock({49151}));
    Put(2, 512, StaticsBlock({1234}));
    PutEmpty(2, 513);
    Put(0, 514, MapBlock(5));  // a map block does not show on the statics page

    TestPicture picture;
    DrawStatics(picture);
    EXPECT_EQ(picture.calls, (std::vector<std::string>{"Cls", "hDC", "Refresh"}));
    EXPECT_EQ(picture.At(0, 0), CanvasPixel(Colour(16384)));
    EXPECT_EQ(picture.At(0, 511), CanvasPixel(Colour(65535)));
    EXPECT_EQ(picture.At(1, 0), CanvasPixel(Colour(1234 + 16384)));
    EXPECT_EQ(picture.At(1, 1), 0xFF000000u);  // present and empty: black
    EXPECT_EQ(picture.Drawn(), 4u);

    // The same empty block leaves no pixel on the map page.
    PutEmpty(0, 513);
    TestPicture map;
    DrawMap(map);
    EXPECT_EQ(map.At(1, 1), TestPicture::kBackground);
    EXPECT_EQ(map.At(1, 2), CanvasPixel(Colour(5)));
}

TEST_F(MapStaticsTest, StaticsStopAtAShortBlockOrAnItemBeyondTheTable) {
    Put(2, 3, StaticsBlock({7}));
    Put(2, 4, ByteArray{0x10, 0x00});  // two bytes are enough
    Put(2, 5, StaticsBlock({49152}));
    Put(2, 6, StaticsBlock({8}));
    PutEmpty(2, 7);

    TestPicture picture;
    DrawStatics(picture);
    EXPECT_EQ(picture.At(0, 3), CanvasPixel(Colour(7 + 16384)));
    EXPECT_EQ(picture.At(0, 4), CanvasPixel(Colour(16 + 16384)));
    EXPECT_EQ(picture.At(0, 6), TestPicture::kBackground);
    EXPECT_EQ(picture.At(0, 7), TestPicture::kBackground);  // not reached: not even black
    EXPECT_EQ(std::count(picture.calls.begin(), picture.calls.end(), "Refresh"), 0);

    Put(2, 5, ByteArray{0x01});  // one byte: too short for an item number
    DrawStatics(picture);
    EXPECT_EQ(picture.At(0, 4), CanvasPixel(Colour(16 + 16384)));
    EXPECT_EQ(picture.At(0, 6), TestPicture::kBackground);
    EXPECT_EQ(std::count(picture.calls.begin(), picture.calls.end(), "Refresh"), 0);

    const auto log = LogLines();
    ASSERT_EQ(log.size(), 2u);
    for (const std::string& line : log) EXPECT_NE(line.find(" mStatics.DrawStatics: "), std::string::npos) << line;
}

// The blocks of one type that are in the patch.
std::vector<int32_t> Present(int FileID) {
    std::vector<int32_t> blocks;
    const auto& slots = PatchBlocks[static_cast<size_t>(FileID)].Blocks;
    for (size_t block = 0; block < slots.size(); ++block)
        if (slots[block].Offset != -1) blocks.push_back(static_cast<int32_t>(block));
    return blocks;
}

class ClearBlocksTest : public MapStaticsTest {
protected:
    // Columns 0-2 and 765-767, rows 0-2 and 509-511 of both types, each with
    // data, and block (10, 10) empty.
    void SetUp() override {
        MapStaticsTest::SetUp();
        for (const int FileID : {0, 2}) {
            for (const int32_t x : {0, 1, 2, 765, 766, 767})
                for (const int32_t y : {0, 1, 2, 509, 510, 511}) Put(FileID, BlockAt(x, y), MapBlock(1));
            PutEmpty(FileID, BlockAt(10, 10));
            RecountBlocks(FileID);
        }
        all_ = Present(0);
        ASSERT_EQ(all_.size(), 37u);
    }
    std::vector<int32_t> AllBut(std::vector<int32_t> gone) const {
        std::vector<int32_t> left;
        for (const int32_t block : all_)
            if (std::find(gone.begin(), gone.end(), block) == gone.end()) left.push_back(block);
        return left;
    }
    std::vector<int32_t> all_;
};

using ClearFn = void (*)(int32_t&, int32_t&, int32_t&, int32_t&);

// Clears the rectangle; answers the four arguments as the call left them.
std::vector<int32_t> Clear(ClearFn clear, int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
    clear(x1, y1, x2, y2);
    return {x1, y1, x2, y2};
}

TEST_F(ClearBlocksTest, OnePixelRemovesOneBlockAndKeepsItsSizeAndExtra) {
    Slot(0, BlockAt(1, 2)).Extra = 1234;
    Clear(Map_ClearBlocks, 1, 2, 1, 2);
    EXPECT_EQ(Present(0), AllBut({BlockAt(1, 2)}));
    EXPECT_EQ(PatchBlocks[0].Count, 36);
    EXPECT_EQ(Slot(0, BlockAt(1, 2)).Size, 196);
    EXPECT_EQ(Slot(0, BlockAt(1, 2)).Extra, 1234);
    EXPECT_EQ(Present(2).size(), 37u);  // the statics are another type
    EXPECT_EQ(PatchBlocks[2].Count, 37);
}

TEST_F(ClearBlocksTest, DraggedEitherWayTheSameBlocksGo) {
    const std::vector<int32_t> gone{BlockAt(1, 1), BlockAt(1, 2), BlockAt(2, 1), BlockAt(2, 2)};
    // Lower right to upper left: put in order in place.
    EXPECT_EQ(Clear(Map_ClearBlocks, 2, 2, 1, 1), (std::vector<int32_t>{1, 1, 2, 2}));
    EXPECT_EQ(Present(0), AllBut(gone));
    Clear(Statics_ClearBlocks, 1, 2, 2, 1);  // lower left to upper right
    EXPECT_EQ(Present(2), AllBut(gone));
    EXPECT_EQ(PatchBlocks[2].Count, 33);
}

TEST_F(ClearBlocksTest, RectanglesPastTheEdgesAreCut) {
    // Past the top left corner.
    EXPECT_EQ(Clear(Map_ClearBlocks, -5, -7, 0, 1), (std::vector<int32_t>{0, 0, 0, 1}));
    EXPECT_EQ(Present(0), AllBut({BlockAt(0, 0), BlockAt(0, 1)}));

    // Below the bottom row: Y is cut at 511, so the next column's top is kept.
    EXPECT_EQ(Clear(Map_ClearBlocks, 2, 510, 2, 900)[3], 511);
    EXPECT_EQ(Present(0), AllBut({BlockAt(0, 0), BlockAt(0, 1), BlockAt(2, 510), BlockAt(2, 511)}));
    EXPECT_EQ(Slot(0, BlockAt(3, 0)).Offset, -1);  // was never there; nothing beyond 511 wrapped

    // Right of the last column: X is cut at 767.
    Clear(Statics_ClearBlocks, 800, 2, 767, 0);
    EXPECT_EQ(Present(2), AllBut({BlockAt(767, 0), BlockAt(767, 1), BlockAt(767, 2)}));
    EXPECT_EQ(PatchBlocks[2].Count, 34);
}

TEST_F(ClearBlocksTest, NothingSelectedOrNothingOnTheGrid) {
    PatchBlocks[0].Count = 999;  // a wrong count shows whether a recount came
    Clear(Map_ClearBlocks, -1, -1, -1, -1);
    EXPECT_EQ(Present(0), all_);
    EXPECT_EQ(PatchBlocks[0].Count, 999);
    // Wholly left of the picture: stops before the recount too.
    Clear(Map_ClearBlocks, -9, 0, -3, 5);
    EXPECT_EQ(PatchBlocks[0].Count, 999);
    // Wholly beyond X 767: removes nothing, but the count is made again.
    Clear(Map_ClearBlocks, 768, 0, 900, 511);
    EXPECT_EQ(Present(0), all_);
    EXPECT_EQ(PatchBlocks[0].Count, 37);
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(ClearBlocksTest, EmptyBlocksGoAndAFailureIsLoggedWithTheArgumentsAsTheyAre) {
    Clear(Statics_ClearBlocks, 10, 10, 10, 10);
    EXPECT_EQ(Present(2), AllBut({BlockAt(10, 10)}));

    // A store with fewer slots than the grid: the slot beyond them fails.
    PatchBlocks[0].Blocks.resize(515);
    PatchBlocks[0].Count = 999;
    Clear(Map_ClearBlocks, 1, 3, 0, 0);
    // Slots changed before the failure stay changed: all of column 0 and
    // column 1 up to the last slot there is.
    EXPECT_EQ(Slot(0, BlockAt(0, 2)).Offset, -1);
    EXPECT_EQ(Slot(0, BlockAt(1, 2)).Offset, -1);
    EXPECT_EQ(PatchBlocks[0].Count, 999);  // not recounted
    const auto log = LogLines();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_NE(log[0].find(" mMap.Map_ClearBlocks(0,0,1,3): Subscript out of range"), std::string::npos) << log[0];
}

TEST_F(MapStaticsTest, RadarColoursAreSignedEntriesAndAShortFileEndsInBlack) {
    const std::string file = Path("radarcol.mul");
    // Entry 0: pure blue; 1: 0xFFFF, which is -1 (blue 248 only, not white);
    // 2: 0x7FFF, white; the file ends there.
    test::WriteFile(file, ByteArray{0x1F, 0x00, 0xFF, 0xFF, 0xFF, 0x7F});
    LoadRadarColFrom(file);
    EXPECT_EQ(RadarColors[0], 16252928);
    EXPECT_EQ(RadarColors[1], 248 * 65536);
    EXPECT_EQ(RadarColors[2], 0xF8F8F8);
    EXPECT_EQ(RadarColors[3], 0);
    EXPECT_EQ(RadarColors[65535], 0);

    // A missing file is no failure: every entry black.
    LoadRadarColFrom(Path("missing.mul"));
    EXPECT_TRUE(std::all_of(RadarColors.begin(), RadarColors.end(), [](int32_t c) { return c == 0; }));
    EXPECT_TRUE(LogLines().empty());
}

}  // namespace
}  // namespace quillet
