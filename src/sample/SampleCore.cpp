#include "sample/SampleCore.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "base/Checked.h"
#include "base/cError.h"

namespace quillet::sample::detail {

namespace {

constexpr uint16_t Rgb555(int r, int g, int b) { return static_cast<uint16_t>(r << 10 | g << 5 | b); }

// Land families of four tiles each; tile ids are those of the client's
// ground of the same kind, the colours are ours.
constexpr std::array<GroundInfo, kGroundKinds> kGrounds{{
    {"water", 0x00A8, Rgb555(2, 6, 20)},
    {"sand", 0x0016, Rgb555(27, 24, 14)},
    {"grass", 0x0004, Rgb555(6, 18, 4)},
    {"forest", 0x00C4, Rgb555(4, 12, 3)},
    {"dirt", 0x0070, Rgb555(16, 11, 6)},
    {"rock", 0x00DC, Rgb555(14, 14, 14)},
    {"snow", 0x011A, Rgb555(30, 30, 31)},
}};

constexpr std::array<ItemFamily, kItemFamilies> kItems{{
    {"tree", 0x0CCA, 12, Rgb555(3, 10, 2), 20},
    {"bush", 0x0C84, 8, Rgb555(8, 20, 6), 3},
    {"rock", 0x1363, 10, Rgb555(18, 18, 17), 4},
    {"driftwood", 0x1B1D, 4, Rgb555(20, 16, 10), 1},
    {"mushroom", 0x0D0C, 6, Rgb555(22, 14, 8), 2},
    {"snowy tree", 0x0CE3, 4, Rgb555(24, 28, 29), 15},
}};

// What grows where: the item family (or -1) and how many cells in 1000 carry one.
struct Growth {
    int family;
    int permille;
};
constexpr std::array<Growth, kGroundKinds> kGrowth{{
    {-1, 0},   // water
    {3, 15},   // sand
    {1, 25},   // grass
    {0, 280},  // forest
    {4, 12},   // dirt
    {2, 45},   // rock
    {5, 20},   // snow
}};

// Value noise: random values on a lattice of the given spacing, bilinear in
// between. The spacings are multiples of 8, so the 8 by 8 tiles of a block
// lie in one lattice cell and share its four corners.
struct Octave {
    int32_t spacing;
    int32_t weight;
};
constexpr std::array<Octave, 4> kOctaves{{{512, 8}, {128, 4}, {32, 2}, {8, 1}}};
constexpr int32_t kOctaveWeights = 15;

struct Corners {
    int64_t v00, v10, v01, v11;
};

Corners CornersOf(uint32_t seed, uint64_t octave, int32_t spacing, int32_t tx, int32_t ty) {
    const auto ix = static_cast<uint32_t>(tx / spacing), iy = static_cast<uint32_t>(ty / spacing);
    auto at = [&](uint32_t x, uint32_t y) { return static_cast<int64_t>(Hash(seed, kTagHeight + octave, x, y) & 255); };
    return {at(ix, iy), at(ix + 1, iy), at(ix, iy + 1), at(ix + 1, iy + 1)};
}

int32_t Bilinear(const Corners& c, int32_t spacing, int32_t tx, int32_t ty) {
    const int64_t fx = tx % spacing, fy = ty % spacing, s = spacing;
    const int64_t top = c.v00 * (s - fx) + c.v10 * fx;
    const int64_t bottom = c.v01 * (s - fx) + c.v11 * fx;
    return static_cast<int32_t>((top * (s - fy) + bottom * fy) / (s * s));
}

// The averaged octaves crowd around the middle: stretch them back out.
int32_t Stretch(int32_t sum) { return std::clamp(128 + (sum / kOctaveWeights - 128) * 2, 0, 255); }

// Heights at or above these start the next kind of ground.
constexpr int32_t kWaterBelow = 88;
constexpr std::array<int32_t, kGroundKinds - 1> kGroundFrom{kWaterBelow, 96, 128, 150, 166, 198};

}  // namespace

const GroundInfo& GroundOf(Ground g) { return kGrounds[static_cast<size_t>(g)]; }
const ItemFamily& ItemFamilyAt(int index) { return kItems.at(static_cast<size_t>(index)); }

int32_t TerrainHeight(uint32_t seed, int32_t tx, int32_t ty) {
    tx = std::max(tx, 0);
    ty = std::max(ty, 0);
    int32_t sum = 0;
    for (size_t o = 0; o < kOctaves.size(); ++o) {
        const Octave& oct = kOctaves[o];
        sum += oct.weight * Bilinear(CornersOf(seed, o, oct.spacing, tx, ty), oct.spacing, tx, ty);
    }
    return Stretch(sum);
}

Ground GroundAt(int32_t height) {
    int kind = 0;
    while (kind < kGroundKinds - 1 && height >= kGroundFrom[static_cast<size_t>(kind)]) ++kind;
    return static_cast<Ground>(kind);
}

namespace {

// The random bits of one cell: a key per block, mixed with the cell's place in it.
uint64_t BlockKey(uint32_t seed, uint64_t tag, int32_t blockX, int32_t blockY) {
    return Hash(seed, tag, static_cast<uint32_t>(blockX), static_cast<uint32_t>(blockY));
}
uint64_t CellBits(uint64_t blockKey, int32_t cell) { return Mix64(blockKey ^ static_cast<uint64_t>(cell)); }

Cell MakeCell(uint64_t blockKey, int32_t cellIndex, int32_t height) {
    const Ground g = GroundAt(height);
    Cell cell{};
    cell.ground = g;
    cell.tile = static_cast<uint16_t>(GroundOf(g).firstTile + (CellBits(blockKey, cellIndex) & 3));
    cell.z = g == Ground::Water ? int8_t{-5} : static_cast<int8_t>(std::min((height - kWaterBelow) / 2, 100));
    return cell;
}

}  // namespace

Cell CellAt(uint32_t seed, int32_t tx, int32_t ty) {
    tx = std::max(tx, 0);
    ty = std::max(ty, 0);
    return MakeCell(BlockKey(seed, kTagCell, tx / 8, ty / 8), ty % 8 * 8 + tx % 8, TerrainHeight(seed, tx, ty));
}

void CellsOfBlock(uint32_t seed, int32_t blockX, int32_t blockY, std::array<Cell, 64>& cells) {
    blockX = std::max(blockX, 0);
    blockY = std::max(blockY, 0);
    const int32_t x0 = blockX * 8, y0 = blockY * 8;
    std::array<Corners, kOctaves.size()> corners;
    for (size_t o = 0; o < kOctaves.size(); ++o) corners[o] = CornersOf(seed, o, kOctaves[o].spacing, x0, y0);
    const uint64_t key = BlockKey(seed, kTagCell, blockX, blockY);
    for (int32_t n = 0; n < 64; ++n) {
        int32_t sum = 0;
        for (size_t o = 0; o < kOctaves.size(); ++o)
            sum += kOctaves[o].weight * Bilinear(corners[o], kOctaves[o].spacing, x0 + n % 8, y0 + n / 8);
        cells[static_cast<size_t>(n)] = MakeCell(key, n, Stretch(sum));
    }
}

ByteArray StaticsOfBlock(uint32_t seed, int32_t blockX, int32_t blockY) {
    std::array<Cell, 64> cells;
    CellsOfBlock(seed, blockX, blockY, cells);
    return StaticsOfBlock(seed, blockX, blockY, cells);
}

ByteArray StaticsOfBlock(uint32_t seed, int32_t blockX, int32_t blockY, const std::array<Cell, 64>& cells) {
    const uint64_t key = BlockKey(seed, kTagStatics, blockX, blockY);
    ByteArray out;
    LeWriter w(out);
    for (int32_t n = 0; n < 64; ++n) {  // row by row, as the map's cells
        const Cell& cell = cells[static_cast<size_t>(n)];
        const Growth& grow = kGrowth[static_cast<size_t>(cell.ground)];
        if (grow.family < 0) continue;
        const uint64_t r = CellBits(key, n);
        if (static_cast<int>(r % 1000) >= grow.permille) continue;
        const ItemFamily& family = kItems[static_cast<size_t>(grow.family)];
        w.U16(static_cast<uint16_t>(family.firstItem + (r >> 16) % family.count));
        w.U8(static_cast<uint8_t>(n % 8));
        w.U8(static_cast<uint8_t>(n / 8));
        w.U8(static_cast<uint8_t>(cell.z));
        // A few items carry a hue, as in the client's statics.
        w.U16((r >> 40) % 50 == 0 ? static_cast<uint16_t>(1 + (r >> 48) % 3000) : uint16_t{0});
    }
    return out;
}

bool IsTerrainTile(int32_t tile) {
    return std::any_of(kGrounds.begin(), kGrounds.end(),
                       [tile](const GroundInfo& g) { return tile >= g.firstTile && tile < g.firstTile + 4; });
}

bool IsTerrainItem(int32_t item) {
    return std::any_of(kItems.begin(), kItems.end(),
                       [item](const ItemFamily& f) { return item >= f.firstItem && item < f.firstItem + f.count; });
}

// ---- OutFile

OutFile::OutFile(std::string path, size_t window) : path_(std::move(path)), window_(window) {
    if (!file_.Open(path_, BinaryFile::Mode::CreateNew)) {
        const int error = errno;
        Fail(error == EEXIST ? path_ + " is there already: the sample generator overwrites nothing"
                             : "Unable to create " + path_ + ": " + std::strerror(error));
    }
    writer_ = std::make_unique<FileWriter>(file_, 0, window);
}

OutFile::~OutFile() = default;

void OutFile::U16(uint16_t v) {
    uint8_t b[2];
    StoreI16(b, static_cast<int16_t>(v));
    Bytes(b, 2);
}

void OutFile::I32(int32_t v) {
    uint8_t b[4];
    StoreI32(b, v);
    Bytes(b, 4);
}

void OutFile::Bytes(const uint8_t* p, size_t n) { writer_->Write(p, n); }

void OutFile::Text(std::string_view s) { Bytes(reinterpret_cast<const uint8_t*>(s.data()), s.size()); }

void OutFile::FixedText(std::string_view s, size_t width) {
    const size_t n = std::min(s.size(), width);
    Text(s.substr(0, n));
    Zeros(width - n);
}

void OutFile::Zeros(size_t n) {
    static const std::array<uint8_t, 4096> zeros{};
    while (n > 0) {
        const size_t part = std::min(n, zeros.size());
        Bytes(zeros.data(), part);
        n -= part;
    }
}

void OutFile::Hole(int64_t n) {
    if (n < 0) Fail("A hole of a negative size in " + path_);
    const int64_t end = writer_->Position() + n;
    if (!writer_->Flush()) Fail("Unable to write " + path_);
    writer_ = std::make_unique<FileWriter>(file_, end, window_);
}

FileWriter& OutFile::Second(int64_t start) {
    second_ = std::make_unique<FileWriter>(file_, start, size_t{1} << 20);
    return *second_;
}

void OutFile::Finish() {
    bool ok = writer_->Flush();
    if (second_) ok = second_->Flush() && ok;
    if (ok && file_.Size() < writer_->Position()) ok = file_.Truncate(writer_->Position());  // a hole at the end
    ok = file_.Close() && ok;
    if (!ok) Fail("Unable to write " + path_);
}

void PutI32(FileWriter& w, int32_t v) {
    uint8_t b[4];
    StoreI32(b, v);
    w.Write(b, 4);
}

bool Guarded(const char* proc, std::string* error, const std::function<void()>& work) {
    try {
        work();
        return true;
    } catch (...) {
        std::string text = CurrentFailureText();
        gError.Log(proc, text);
        if (error) *error = text;
        return false;
    }
}

}  // namespace quillet::sample::detail
