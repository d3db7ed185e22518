// The files of a current client, in the folder current/ of the set: the
// Mondain's Legacy map of 896 columns with its statics, High Seas tile data
// and the animation data file. The world is the classic set's, grown by its
// new columns, so that its first columns are the classic map's blocks.
#include <array>
#include <filesystem>
#include <sstream>
#include <vector>

#include "base/Checked.h"
#include "sample/SampleClient.h"
#include "sample/SampleCore.h"

namespace quillet::sample {

using namespace detail;

namespace {

namespace fs = std::filesystem;

constexpr int32_t kClassicLandRecord = 26;
constexpr int32_t kClassicItemRecord = 37;
constexpr int32_t kAnimdataRecord = 68;
constexpr int32_t kAnimatedOneIn = 12;  // share of the items with an animation

// The classic group's records, each with its 32-bit flags widened to 64.
ByteArray WidenedGroup(const ByteArray& classic, int32_t record) {
    ByteArray out;
    out.reserve(4 + 32 * static_cast<size_t>(record + 4));
    out.insert(out.end(), classic.begin(), classic.begin() + 4);  // header
    for (int32_t k = 0; k < 32; ++k) {
        const auto at = classic.begin() + 4 + k * record;
        out.insert(out.end(), at, at + 4);  // flags, low half
        out.insert(out.end(), 4, 0);        // flags, high half
        out.insert(out.end(), at + 4, at + record);
    }
    return out;
}

// The map blocks and statics of the given columns, holes for all others.
IdxMulSummary WriteCurrentWorld(const std::string& dir, const std::vector<ColumnRange>& columns, uint32_t seed) {
    OutFile map((fs::path(dir) / "map0.mul").string());
    PairWriter statics((fs::path(dir) / "staidx0.mul").string(), (fs::path(dir) / "statics0.mul").string());
    std::array<uint8_t, kMapBlockSize> block{};
    IdxRecord record;
    int32_t next = 0;  // the first column not yet written or skipped
    auto skipTo = [&](int32_t column) {
        const int32_t blocks = (column - next) * kMapRows;
        map.Hole(int64_t{blocks} * kMapBlockSize);
        statics.Hole(blocks);
        next = column;
    };
    for (const ColumnRange& range : columns) {
        skipTo(range.first);
        for (int32_t x = range.first; x <= range.last; ++x) {
            for (int32_t y = 0; y < kMapRows; ++y) {
                const int32_t n = x * kMapRows + y;
                MakeMapBlock(seed, kMapRows, n, nullptr, block.data());
                map.Bytes(block.data(), block.size());
                // The records as the classic statics index has them.
                record.bytes = StaticsBlock(seed, x, y);
                if (!record.bytes.empty())
                    record.kind = IdxRecord::Kind::Data;
                else
                    record.kind = Hash(seed, kTagStaticsOdd, static_cast<uint32_t>(n)) % 64 == 0
                                      ? IdxRecord::Kind::ZeroSize
                                      : IdxRecord::Kind::Empty;
                statics.Add(record);
            }
        }
        next = range.last + 1;
    }
    skipTo(kCurrentMapColumns);
    map.Finish();
    return statics.Finish();
}

std::string FileLine(const std::string& dir, const char* name, const std::string& what) {
    std::ostringstream text;
    const std::string shown = "current/" + std::string(name);
    text << shown << std::string(shown.size() < 20 ? 20 - shown.size() : 1, ' ') << fs::file_size(fs::path(dir) / name)
         << " bytes\n";
    std::istringstream lines(what);
    for (std::string line; std::getline(lines, line);) text << "    " << line << "\n";
    return text.str();
}

std::string ColumnsText(const std::vector<ColumnRange>& columns) {
    std::ostringstream text;
    for (size_t n = 0; n < columns.size(); ++n)
        text << (n ? ", " : "") << columns[n].first << " to " << columns[n].last;
    return text.str();
}

}  // namespace

ByteArray HighSeasTiledataGroup(uint32_t seed, int32_t group) {
    return WidenedGroup(TiledataGroup(seed, group), group < kTiledataGroups ? kClassicLandRecord : kClassicItemRecord);
}

ByteArray AnimdataGroup(uint32_t seed, int32_t group) {
    ByteArray out(kAnimdataGroupSize, 0);
    StoreI32(out.data(), static_cast<int32_t>(Hash(seed, kTagAnimdata, static_cast<uint32_t>(group))));
    for (int32_t k = 0; k < 8; ++k) {
        const uint64_t bits = Hash(seed, kTagAnimdata, static_cast<uint32_t>(group) * 8 + static_cast<uint32_t>(k), 1);
        if (bits % kAnimatedOneIn != 0) continue;  // most items are not animated: all zeros
        uint8_t* record = out.data() + 4 + k * kAnimdataRecord;
        const auto frames = static_cast<uint8_t>(2 + (bits >> 8) % 10);
        for (uint8_t f = 0; f < frames; ++f) record[f] = f;  // each frame the next item on
        record[65] = frames;
        record[66] = static_cast<uint8_t>(1 + (bits >> 16) % 4);  // frame interval
        record[67] = static_cast<uint8_t>((bits >> 24) % 3);      // start interval
    }
    return out;
}

void detail::WriteHighSeasTiledataFile(const std::string& path, int32_t itemGroups, uint32_t seed) {
    if (itemGroups < 1) Fail("A High Seas tile data file needs at least one item group");
    OutFile out(path);
    for (int32_t g = 0; g < kTiledataGroups + itemGroups; ++g) out.Bytes(HighSeasTiledataGroup(seed, g));
    out.Finish();
}

void detail::WriteAnimdataFile(const std::string& path, int32_t groups, uint32_t seed) {
    if (groups < 0) Fail("A negative number of animation groups");
    OutFile out(path);
    for (int32_t g = 0; g < groups; ++g) out.Bytes(AnimdataGroup(seed, g));
    out.Finish();
}

std::string detail::WriteCurrentFiles(const std::string& dir, bool full, uint32_t seed) {
    std::error_code ec;
    fs::create_directories(dir, ec);
    if (ec) Fail("Unable to create " + dir + ": " + ec.message());
    const std::vector<ColumnRange> columns =
        full ? std::vector<ColumnRange>{{0, kCurrentMapColumns - 1}}
             : std::vector<ColumnRange>(kSmallCurrentColumns.begin(), kSmallCurrentColumns.end());
    const IdxMulSummary statics = WriteCurrentWorld(dir, columns, seed);
    WriteHighSeasTiledataFile((fs::path(dir) / "tiledata.mul").string(), kHighSeasItemGroups, seed);
    WriteAnimdataFile((fs::path(dir) / "animdata.mul").string(), kAnimdataGroups, seed);

    const std::string written = full ? "" : " (columns " + ColumnsText(columns) + "; the rest a hole of zeros)";
    std::ostringstream staidx;
    staidx << statics.records << " records of 12 bytes; " << statics.withData << " with statics, "
           << statics.emptyRecords << " empty, " << statics.zeroSizeRecords.size() << " with Size 0"
           << (full ? "" : ",\nthe records of the columns not written a hole of zeros (Size 0: no block)");
    std::string text =
        "Current client (Mondain's Legacy map, High Seas tile data) in current/:\n" +
        FileLine(dir, "map0.mul",
                 std::to_string(kCurrentMapColumns * kMapRows) + " blocks of 196 bytes, 896 columns of 512" + written +
                     ";\nwhere the classic map0.mul has a block, the same bytes") +
        FileLine(dir, "staidx0.mul", staidx.str()) +
        FileLine(dir, "statics0.mul", std::to_string(statics.mulBytes / kStaticRecordSize) + " items of 7 bytes") +
        FileLine(dir, "tiledata.mul",
                 "High Seas: 512 land groups of 964 bytes, then " + std::to_string(kHighSeasItemGroups) +
                     " item groups of 1316 from byte 493568;\nthe classic groups' records with 64-bit flags") +
        FileLine(dir, "animdata.mul",
                 std::to_string(kAnimdataGroups) +
                     " groups of 548 bytes (header, 8 records of 68), no index; about 1 item in 12 animated");
    text.pop_back();  // the description adds its own line end
    return text;
}

bool WriteHighSeasTiledata(const std::string& path, int32_t itemGroups, uint32_t seed, std::string* error) {
    return Guarded("SampleClient.WriteHighSeasTiledata", error,
                   [&] { WriteHighSeasTiledataFile(path, itemGroups, seed); });
}

bool WriteAnimdata(const std::string& path, int32_t groups, uint32_t seed, std::string* error) {
    return Guarded("SampleClient.WriteAnimdata", error, [&] { WriteAnimdataFile(path, groups, seed); });
}

}  // namespace quillet::sample
