// Two whole clients compared into one patch: each type's files found under
// the client's names, and exactly the blocks that differ taken in.
#include <filesystem>
#include <map>
#include <set>

#include "actions/mClientCompare.h"
#include "actions/mStart.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "formats/ClientUOPWriter.h"
#include "formats/cTiledata.h"
#include "operations/OperationsTestUtil.h"
#include "sample/SampleClient.h"

namespace quillet {
namespace {

using namespace test;
namespace fs = std::filesystem;

constexpr int32_t kRecords = 40;
constexpr int32_t kChanged = 3;  // the block each type changes in the new client
constexpr int32_t kChangedItemGroup = 600;

// Block n of a type found through an index: a few bytes that name it, or
// other bytes in the new client's changed block.
ByteArray IndexedBlock(uint8_t FileID, int32_t n, bool altered) {
    ByteArray bytes(12 + static_cast<size_t>(n % 5), static_cast<uint8_t>(n));
    bytes[0] = FileID;
    if (altered) bytes[1] ^= 0xFF;
    return bytes;
}

// A file of blocks of one constant size, each filled with its number.
ByteArray ConstantFile(size_t blockSize, int32_t blocks, int32_t changed, size_t prefix = 0) {
    ByteArray bytes(prefix + blockSize * static_cast<size_t>(blocks));
    for (int32_t n = 0; n < blocks; ++n)
        std::fill_n(bytes.begin() + static_cast<ptrdiff_t>(prefix + blockSize * static_cast<size_t>(n)), blockSize,
                    static_cast<uint8_t>(n == changed ? 0xEE : n));
    return bytes;
}

struct PairNames {
    uint8_t FileID;
    const char* IDX;
    const char* MUL;
};
constexpr PairNames kPairs[] = {{2, "staidx0.mul", "statics0.mul"}, {4, "artidx.mul", "art.mul"},
                                {6, "anim.idx", "anim.mul"},        {8, "soundidx.mul", "sound.mul"},
                                {10, "texidx.mul", "texmaps.mul"},  {12, "gumpidx.mul", "gumpart.mul"},
                                {14, "multi.idx", "multi.mul"},     {16, "skills.idx", "skills.mul"},
                                {128, "lightidx.mul", "light.mul"}};

// A client of every type the tool reads; the new one differs in block 3 of
// each (and in one item group of the tile data).
void WriteClient(const std::string& dir, bool altered) {
    fs::create_directories(dir);
    std::string error;
    for (const PairNames& pair : kPairs) {
        const auto source = [&](int32_t n, sample::IdxRecord& record) {
            record.kind = sample::IdxRecord::Kind::Data;
            record.bytes = IndexedBlock(pair.FileID, n, altered && n == kChanged);
        };
        ASSERT_TRUE(sample::WriteIdxMulPair(dir + "/" + pair.IDX, dir + "/" + pair.MUL, kRecords, source, nullptr, &error))
            << error;
    }
    const int32_t changed = altered ? kChanged : -1;
    WriteFile(dir + "/map0.mul", ConstantFile(196, kRecords, changed));
    WriteFile(dir + "/animdata.mul", ConstantFile(548, kRecords, changed));
    WriteFile(dir + "/hues.mul", ConstantFile(708, kRecords, changed));
    WriteFile(dir + "/radarcol.mul", ConstantFile(2, kRecords, changed));
    ByteArray tiles(static_cast<size_t>(kClassicTiledataSize), 0);
    if (altered) {
        tiles[836 * kChanged] = 1;
        tiles[static_cast<size_t>(kClassicTiledata.ItemStart) + 1188 * (kChangedItemGroup - 512)] = 1;
    }
    WriteFile(dir + "/tiledata.mul", tiles);
}

// The blocks each type holds with bytes, or present and empty.
std::map<int, std::set<int32_t>> PatchContents() {
    std::map<int, std::set<int32_t>> present;
    for (int id = 0; id < kFileIDs; ++id)
        for (size_t block = 0; block < PatchBlocks[static_cast<size_t>(id)].Blocks.size(); ++block)
            if (PatchBlocks[static_cast<size_t>(id)].Blocks[block].Offset != -1)
                present[id].insert(static_cast<int32_t>(block));
    return present;
}

class ClientCompareTest : public OperationsTest {
protected:
    void SetUp() override {
        OperationsTest::SetUp();
        WriteClient(Path("base"), false);
        WriteClient(Path("new"), true);
    }
};

TEST_F(ClientCompareTest, EveryTypeGivesExactlyTheBlocksThatDiffer) {
    const ClientComparePlan plan = PlanClientCompare(Path("base"), Path("new"));
    EXPECT_TRUE(plan.Skipped.empty()) << plan.Skipped.front();
    ASSERT_EQ(plan.Both.size(), ClientFileTypes().size());
    std::vector<TypeCompareSummary> summary;
    ASSERT_TRUE(CompareClients(plan, &summary));

    std::map<int, std::set<int32_t>> expected;
    for (const uint8_t id : ClientFileTypes()) expected[id] = {kChanged};
    expected[kTiledata] = {kChanged, kChangedItemGroup};
    EXPECT_EQ(PatchContents(), expected);

    ExpectBlock(4, kChanged, 12 + kChanged % 5, 0, IndexedBlock(4, kChanged, true));
    ExpectSlot(kHues, kChanged, 1220, -1, true);  // stored in its verdata form
    ASSERT_EQ(summary.size(), plan.Both.size());
    for (const TypeCompareSummary& type : summary) {
        SCOPED_TRACE(FileTypes[type.FileID].Name);
        EXPECT_TRUE(type.Completed);
        EXPECT_EQ(type.Counts.Stored, type.FileID == kTiledata ? 2 : 1);
        EXPECT_GT(type.Counts.Compared, kChanged);
    }
    // Each type's wait names it.
    EXPECT_NE(std::find(waitTexts.begin(), waitTexts.end(), "Comparing Art (3 of 14). Please wait."), waitTexts.end());
}

TEST_F(ClientCompareTest, TypesOnOneSideAreReportedAndTheListRestricts) {
    fs::remove(Path("new/lightidx.mul"));
    fs::remove(Path("base/radarcol.mul"));
    fs::rename(Path("new/artidx.mul"), Path("new/ARTIDX.MUL"));  // names are matched in any case
    fs::rename(Path("new/art.mul"), Path("new/Art.Mul"));

    const ClientComparePlan plan = PlanClientCompare(Path("base"), Path("new"));
    EXPECT_EQ(plan.Skipped,
              (std::vector<std::string>{"Light: only in the base client (lightidx.mul is missing in the new one); not compared",
                                        "Radarcol: only in the new client (radarcol.mul is missing in the base one); not compared"}));
    EXPECT_EQ(plan.Both.size(), ClientFileTypes().size() - 2);

    const ClientComparePlan some = PlanClientCompare(Path("base"), Path("new"), {kHues, 4, 128});
    ASSERT_EQ(some.Both.size(), 2u);
    EXPECT_EQ(some.Both[0].FileID, 4);
    EXPECT_EQ(some.Both[0].New.IDX, Path("new/ARTIDX.MUL"));
    EXPECT_EQ(some.Both[1].FileID, kHues);
    ASSERT_TRUE(CompareClients(some));
    EXPECT_EQ(PatchContents(), (std::map<int, std::set<int32_t>>{{4, {kChanged}}, {kHues, {kChanged}}}));
}

TEST_F(ClientCompareTest, AContainerAgainstAPairComparesItsBlocks) {
    // The new client keeps Art in a container, with the same blocks as the
    // base client's pair but for one.
    fs::remove(Path("new/artidx.mul"));
    fs::remove(Path("new/art.mul"));
    {
        ClientUOPWriter container(Path("new/artLegacyMUL.uop"));
        char name[64];
        for (int32_t n = 0; n < kRecords; ++n) {
            std::snprintf(name, sizeof name, "build/artlegacymul/%08d.tga", n);
            container.Add(name, IndexedBlock(4, n, n == 7), n % 2 == 0 ? 0 : 1);
        }
        container.Finish();
    }
    // A container wins over a pair beside it: the pair here would differ everywhere.
    WriteFile(Path("new/artidx.mul"), ByteArray(12 * kRecords, 0xFF));
    WriteFile(Path("new/art.mul"), ByteArray());

    const ClientComparePlan plan = PlanClientCompare(Path("base"), Path("new"), {4});
    ASSERT_EQ(plan.Both.size(), 1u);
    EXPECT_EQ(plan.Both[0].New.MUL, Path("new/artLegacyMUL.uop"));
    EXPECT_EQ(plan.Both[0].New.IDX, "");
    ASSERT_TRUE(CompareClients(plan));
    EXPECT_EQ(PatchContents(), (std::map<int, std::set<int32_t>>{{4, {7}}}));
}

TEST_F(ClientCompareTest, AFailingTypeDoesNotStopTheOthers) {
    // A High Seas tile data file against a classic one: not comparable.
    WriteFile(Path("base/tiledata.mul"), ByteArray(static_cast<size_t>(kHighSeasTiledata.ItemStart) + 512 * 1316, 0));
    std::vector<TypeCompareSummary> summary;
    const Result result = CompareClients(PlanClientCompare(Path("base"), Path("new"), {4, kTiledata, kHues}), &summary);
    EXPECT_FALSE(result);
    EXPECT_NE(result.Text().find("different layouts"), std::string::npos) << result.Text();
    ASSERT_EQ(summary.size(), 3u);
    EXPECT_TRUE(summary[0].Completed);
    EXPECT_FALSE(summary[1].Completed);
    EXPECT_TRUE(summary[2].Completed);
    EXPECT_EQ(PatchContents(), (std::map<int, std::set<int32_t>>{{4, {kChanged}}, {kHues, {kChanged}}}));
}

}  // namespace
}  // namespace quillet
