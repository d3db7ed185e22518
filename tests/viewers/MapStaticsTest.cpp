// The map and statics pages: which pixel each block gets and in what colour,
// where the drawing stops, and which blocks a rectangle removes.
#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <vector>

#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "base/Checked.h"
#include "core/BlockRows.h"
#include "core/mPatch.h"
#include "operations/OperationsTestUtil.h"
#include "viewers/mMap.h"
#include "viewers/mRadarCol.h"
#include "viewers/mStatics.h"

namespace quillet {
namespace {

// A picture page over plain memory that remembers what was asked of it.
class TestPicture : public PictureSurface {
public:
    static constexpr uint32_t kBackground = 0x00ABCDEFu;  // no colour the drawing gives has an alpha of 0
    void Cls() override { std::fill(pixels.begin(), pixels.end(), kBackground); }
    void Refresh() override { ++refreshes; }  // the page is shown
    Canvas hDC() override { return Canvas{pixels.data(), 768, 512, 768}; }
    std::vector<uint32_t> At(std::initializer_list<std::pair<size_t, size_t>> points) const {
        std::vector<uint32_t> found;
        for (const auto& [x, y] : points) found.push_back(pixels[y * 768 + x]);
        return found;
    }
    size_t Drawn() const {
        return pixels.size() - static_cast<size_t>(std::count(pixels.begin(), pixels.end(), kBackground));
    }
    std::vector<uint32_t> pixels = std::vector<uint32_t>(768 * 512, 0x12345678u);  // garbage until the first Cls
    int refreshes = 0;
};

// Known colours: entry n is 0x100000 + n, none of them black.
int32_t Colour(size_t index) { return static_cast<int32_t>(0x100000 + index); }
std::vector<uint32_t> Pixels(std::initializer_list<size_t> entries) {
    std::vector<uint32_t> pixels;
    for (const size_t entry : entries) pixels.push_back(CanvasPixel(Colour(entry)));
    return pixels;
}

ByteArray MapBlock(uint16_t tile, uint8_t filler = 0) {
    return test::Bytes{}.fill(4, filler).le16(tile).fill(190, filler).b;
}
// One static item record (7 bytes) per item number.
ByteArray StaticsBlock(std::initializer_list<uint16_t> items) {
    test::Bytes bytes;
    for (const uint16_t item : items) bytes.le16(item).fill(5, 0x55);
    return bytes.b;
}
int32_t BlockAt(int32_t x, int32_t y) { return x * 512 + y; }
// The blocks of the rectangle, in rising order.
std::vector<int32_t> Rect(int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
    std::vector<int32_t> blocks;
    for (int32_t x = x1; x <= x2; ++x)
        for (int32_t y = y1; y <= y2; ++y) blocks.push_back(BlockAt(x, y));
    return blocks;
}

class MapStaticsTest : public test::OperationsTest {
protected:
    void SetUp() override {
        OperationsTest::SetUp();
        saved_ = RadarColors;
        for (size_t i = 0; i < RadarColors.size(); ++i) RadarColors[i] = Colour(i);
    }
    void TearDown() override {
        RadarColors = saved_;
        OperationsTest::TearDown();
    }
    void Put(int FileID, int32_t block, const ByteArray& bytes) {
        StoreBlock(FileID, block, ToLong(bytes.size()), 0, bytes);
    }
    void PutEmpty(int FileID, int32_t block, int32_t Extra = 0) { StoreBlock(FileID, block, 0, Extra, nullptr); }
    std::array<int32_t, 65536> saved_{};
};

TEST_F(MapStaticsTest, EachPageColoursItsBlocksByTheirFirstTileOrItem) {
    Put(0, 0, MapBlock(3));
    Put(0, 513, MapBlock(0x4000));
    Put(0, 393215, MapBlock(0xFFFF));  // read unsigned: the last entry, not a negative index
    Put(0, 511, MapBlock(77, 0x00));
    Put(0, 512, MapBlock(77, 0xEE));    // same first tile, other bytes: same colour
    PutEmpty(0, 1000);                  // present without bytes: nothing on the map page
    Put(2, 0, StaticsBlock({0, 500}));  // only the first item counts
    Put(2, 511, StaticsBlock({49151}));
    Put(2, 512, StaticsBlock({1234}));
    PutEmpty(2, 514);  // present without bytes: black on the statics page
    TestPicture map, statics;
    DrawMap(map);
    // 458752 blocks, drawn or not: counting points at blocks 19999 (4 %), 39999, ... 439999; as many for statics.
    ASSERT_EQ(percents.size(), 22u);
    EXPECT_EQ((std::vector<int32_t>{percents[0], percents[1], percents[21]}), (std::vector<int32_t>{4, 8, 95}));
    DrawStatics(statics);
    EXPECT_EQ(percents.size(), 44u);
    EXPECT_EQ(map.refreshes, 1);
    EXPECT_EQ(map.At({{0, 0}, {1, 1}, {767, 511}, {0, 511}, {1, 0}}), Pixels({3, 0x4000, 0xFFFF, 77, 77}));
    EXPECT_EQ(map.Drawn(), 5u);  // neither block 1000 nor statics block 514
    EXPECT_EQ(statics.refreshes, 1);
    EXPECT_EQ(statics.At({{0, 0}, {0, 511}, {1, 0}}), Pixels({16384, 65535, 1234 + 16384}));
    EXPECT_EQ(statics.At({{1, 2}}), std::vector<uint32_t>{0xFF000000u});  // present and empty: black
    EXPECT_EQ(statics.Drawn(), 4u);  // nor map blocks 513 and 393215 here
}

TEST_F(MapStaticsTest, BlocksAreFoundWhereverTheyLieInTheDataFile) {
    // Stored in falling block order with other types between them, partly on disk and partly still
    // in the DataFile's buffer, and one large block that passes the read window.
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
    // A slot whose Size runs past the end of the DataFile reads zeros there, as a whole block's read does.
    Slot(0, 5) = PatchBlock{196, 0, static_cast<int32_t>(DataFileHandle.Size()) - 1};
    TestPicture map, statics;
    DrawMap(map);
    DrawStatics(statics);
    for (size_t i = 0; i < blocks.size(); ++i) {
        const auto x = static_cast<size_t>(blocks[i] / 512), y = static_cast<size_t>(blocks[i] % 512);
        EXPECT_EQ(map.At({{x, y}}), Pixels({static_cast<size_t>(blocks[i] % 16384)})) << blocks[i];
        EXPECT_EQ(statics.At({{x, y}}), Pixels({i + 16384})) << blocks[i];
    }
    EXPECT_EQ(map.At({{0, 5}}), Pixels({0}));
    EXPECT_EQ(map.Drawn(), blocks.size() + 1);
    EXPECT_EQ(statics.Drawn(), blocks.size());
    EXPECT_TRUE(LogLines().empty());
}

// A block too short for its tile or item number, or an item beyond the colour
// table, stops the drawing there: logged, nothing after it, no Refresh.
TEST_F(MapStaticsTest, DrawingStopsAtABlockTooShortOrAnItemBeyondTheTable) {
    Put(0, 10, MapBlock(1));
    Put(0, 600, ByteArray{0, 0, 0, 0, 9, 9});  // 6 bytes are enough
    Put(0, 700, ByteArray{0, 0, 0, 0, 9});     // 5 are not
    Put(0, 800, MapBlock(2));
    Put(2, 3, StaticsBlock({7}));
    Put(2, 4, ByteArray{0x10, 0x00});  // two bytes are enough
    Put(2, 6, StaticsBlock({8}));
    PutEmpty(2, 7);
    TestPicture map;
    DrawMap(map);
    EXPECT_EQ(map.At({{0, 10}, {1, 88}}), Pixels({1, 0x0909}));
    EXPECT_EQ(map.Drawn(), 2u);  // block 800 comes after the stop
    EXPECT_EQ(map.refreshes, 0);
    // Block 5: an item beyond the table, then one byte, too short for an item number.
    for (const ByteArray& five : {StaticsBlock({49152}), ByteArray{0x01}}) {
        Put(2, 5, five);
        TestPicture statics;
        DrawStatics(statics);
        EXPECT_EQ(statics.At({{0, 3}, {0, 4}}), Pixels({7 + 16384, 16 + 16384}));
        EXPECT_EQ(statics.Drawn(), 2u);  // blocks 6 and 7 not reached: not even black
        EXPECT_EQ(statics.refreshes, 0);
    }
    EXPECT_EQ(LoggedProcs(),
              (std::vector<std::string>{"mMap.DrawMap", "mStatics.DrawStatics", "mStatics.DrawStatics"}));
}

TEST_F(MapStaticsTest, RadarColoursAreSignedEntriesAndAShortFileEndsInBlack) {
    // Pure blue; 0xFFFF, which is -1 (blue 248 only, not white); 0x7FFF, white; then the file ends.
    test::WriteFile(Path("radarcol.mul"), ByteArray{0x1F, 0x00, 0xFF, 0xFF, 0xFF, 0x7F});
    LoadRadarColFrom(Path("radarcol.mul"));
    EXPECT_EQ(std::vector<int32_t>(RadarColors.begin(), RadarColors.begin() + 3),
              (std::vector<int32_t>{16252928, 248 * 65536, 0xF8F8F8}));
    EXPECT_EQ(std::count(RadarColors.begin() + 3, RadarColors.end(), 0), 65536 - 3);
    EXPECT_TRUE(RadarColorsFound());
    // A missing file: all black, and the front ends can say why.
    LoadRadarColFrom(Path("none.mul"));
    EXPECT_EQ(std::count(RadarColors.begin(), RadarColors.end(), 0), 65536);
    EXPECT_FALSE(RadarColorsFound());
    EXPECT_TRUE(LogLines().empty());
}

TEST_F(MapStaticsTest, RectanglesInAnyOrderAndCutAtTheEdgesClearTheirTypesBlocks) {
    // Columns 0-2 and 765-767, rows 0-2 and 509-511 of both types, each with
    // data, and block (10, 10) empty; Extra tells the blocks apart.
    const auto fill = [&] {
        for (const int FileID : {0, 2}) {
            for (const int32_t x : {0, 1, 2, 765, 766, 767})
                for (const int32_t y : {0, 1, 2, 509, 510, 511})
                    StoreBlock(FileID, BlockAt(x, y), 196, BlockAt(x, y) + 7, MapBlock(1));
            PutEmpty(FileID, BlockAt(10, 10), BlockAt(10, 10) + 7);
            RecountBlocks(FileID);
        }
        return ListedBlocks(0);
    };
    const struct {
        decltype(&Map_ClearBlocks) clear;
        int FileID;
        std::array<int32_t, 4> given, after;  // the arguments as the call leaves them
        std::vector<int32_t> gone;
    } cases[] = {
        {Map_ClearBlocks, 0, {2, 2, 1, 1}, {1, 1, 2, 2}, Rect(1, 1, 2, 2)},
        {Statics_ClearBlocks, 2, {1, 2, 2, 1}, {1, 1, 2, 2}, Rect(1, 1, 2, 2)},
        {Map_ClearBlocks, 0, {-5, -7, 0, 1}, {0, 0, 0, 1}, Rect(0, 0, 0, 1)},
        // Y is cut at 511: column 2's rectangle does not run on into column 3.
        {Map_ClearBlocks, 0, {2, 510, 2, 900}, {2, 510, 2, 511}, Rect(2, 510, 2, 511)},
        {Statics_ClearBlocks, 2, {800, 2, 767, 0}, {767, 0, 767, 2}, Rect(767, 0, 767, 2)},
        {Statics_ClearBlocks, 2, {10, 10, 10, 10}, {10, 10, 10, 10}, Rect(10, 10, 10, 10)},  // one, present and empty
        {Map_ClearBlocks, 0, {768, 0, 900, 511}, {768, 0, 767, 511}, {}},  // wholly beyond X 767
        {Map_ClearBlocks, 0, {-1, -1, -1, -1}, {-1, -1, -1, -1}, {}},      // no selection
        {Map_ClearBlocks, 0, {0, -9, 5, -3}, {0, -9, 5, -3}, {}},          // wholly above the picture
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.given));
        const std::vector<int32_t> all = fill();
        std::array<int32_t, 4> at = c.given;
        c.clear(at[0], at[1], at[2], at[3]);
        EXPECT_EQ(at, c.after);
        std::vector<int32_t> left;  // both in rising order
        std::set_difference(all.begin(), all.end(), c.gone.begin(), c.gone.end(), std::back_inserter(left));
        EXPECT_EQ(ListedBlocks(c.FileID), left);
        EXPECT_EQ(PatchBlocks[static_cast<size_t>(c.FileID)].Count, static_cast<int32_t>(left.size()));
        EXPECT_EQ(ListedBlocks(2 - c.FileID), all);  // the other type is untouched
        for (const int32_t block : c.gone)  // Size and Extra keep their values
            EXPECT_EQ(std::pair(Slot(c.FileID, block).Size, Slot(c.FileID, block).Extra),
                      std::pair(block == BlockAt(10, 10) ? 0 : 196, block + 7));
    }
    // A store with fewer slots than the grid: the slot beyond them fails, logged with the arguments as
    // they are by then. Slots changed before stay changed (column 0, column 1 to its last slot); no recount.
    PatchBlocks[0].Blocks.resize(515);
    PatchBlocks[0].Count = 999;
    std::array<int32_t, 4> at{1, 3, 0, 0};
    Map_ClearBlocks(at[0], at[1], at[2], at[3]);
    EXPECT_EQ(Slot(0, BlockAt(0, 2)).Offset, -1);
    EXPECT_EQ(Slot(0, BlockAt(1, 2)).Offset, -1);
    EXPECT_EQ(PatchBlocks[0].Count, 999);
    ASSERT_EQ(LoggedProcs(), std::vector<std::string>{"mMap.Map_ClearBlocks(0,0,1,3)"});
    EXPECT_NE(LogLines()[0].find(": Subscript out of range"), std::string::npos) << LogLines()[0];
}

}  // namespace
}  // namespace quillet
