// Index/data pairs: the generic writer, art and gumps.
#include <algorithm>
#include <cmath>

#include "base/Checked.h"
#include "sample/SampleClient.h"
#include "sample/SampleCore.h"

namespace quillet::sample {

using namespace detail;

namespace detail {

PairWriter::PairWriter(const std::string& idxPath, const std::string& mulPath) : idx_(idxPath), mul_(mulPath) {}

void PairWriter::Add(const IdxRecord& record) {
    IdxRecord::Kind kind = record.kind;
    if (kind == IdxRecord::Kind::Data && record.bytes.empty()) kind = IdxRecord::Kind::ZeroSize;
    switch (kind) {
        case IdxRecord::Kind::Data:
            idx_.I32(ToLong(mul_.Position()));
            idx_.I32(ToLong(static_cast<int64_t>(record.bytes.size())));
            mul_.Bytes(record.bytes);
            ++sum_.withData;
            break;
        case IdxRecord::Kind::ZeroSize:
            idx_.I32(ToLong(mul_.Position()));
            idx_.I32(0);
            sum_.zeroSizeRecords.push_back(sum_.records);
            break;
        case IdxRecord::Kind::Empty:
            idx_.I32(-1);
            idx_.I32(-1);
            ++sum_.emptyRecords;
            break;
    }
    idx_.I32(record.extra);
    ++sum_.records;
}

void PairWriter::Hole(int32_t n) {
    idx_.Hole(int64_t{n} * 12);
    sum_.records += n;
}

IdxMulSummary PairWriter::Finish() {
    sum_.mulBytes = mul_.Position();
    idx_.Finish();
    mul_.Finish();
    return std::move(sum_);
}

void WritePair(const std::string& idxPath, const std::string& mulPath, int32_t records, const RecordSource& source,
               IdxMulSummary* summary) {
    if (records < 0) Fail("A negative number of records");
    PairWriter pair(idxPath, mulPath);
    IdxRecord record;
    for (int32_t n = 0; n < records; ++n) {
        record.kind = IdxRecord::Kind::Empty;
        record.extra = 0;
        record.bytes.clear();
        source(n, record);
        pair.Add(record);
    }
    IdxMulSummary sum = pair.Finish();
    if (summary) *summary = std::move(sum);
}

}  // namespace detail

bool WriteIdxMulPair(const std::string& idxPath, const std::string& mulPath, int32_t records,
                     const RecordSource& source, IdxMulSummary* summary, std::string* error) {
    return Guarded("SampleClient.WriteIdxMulPair", error,
                   [&] { WritePair(idxPath, mulPath, records, source, summary); });
}

namespace {

// A colour near base, each 5-bit channel moved by up to spread.
uint16_t Near(uint16_t base, Rng& rng, int spread) {
    int r = base >> 10 & 31, g = base >> 5 & 31, b = base & 31;
    r = std::clamp(r + rng.Range(-spread, spread), 0, 31);
    g = std::clamp(g + rng.Range(-spread, spread), 0, 31);
    b = std::clamp(b + rng.Range(-spread, spread), 0, 31);
    return static_cast<uint16_t>(r << 10 | g << 5 | b);
}

void Put16(ByteArray& out, size_t at, uint16_t v) { StoreI16(out.data() + at, static_cast<int16_t>(v)); }

constexpr int32_t kFirstItemRecord = 0x4000;

}  // namespace

ByteArray MakeLandArt(uint32_t seed, int32_t tile) {
    Rng rng(Hash(seed, kTagArt, static_cast<uint32_t>(tile)));
    const uint16_t base = RadarColor555(seed, tile & 0x3FFF);
    ByteArray out(kLandArtSize);
    // 44 rows of 2, 4 .. 44, 44 .. 4, 2 pixels: 1012 in all.
    for (size_t at = 0; at < out.size(); at += 2) Put16(out, at, Near(base, rng, 2));
    return out;
}

ByteArray MakeStaticArt(uint32_t seed, int32_t item) {
    Rng rng(Hash(seed, kTagArt, 0x10000u + static_cast<uint32_t>(item)));
    const uint16_t base = RadarColor555(seed, (kFirstItemRecord + item) & 0xFFFF);
    const int32_t width = rng.Range(8, 44);
    const int32_t height = rng.Range(10, 80);
    ByteArray out;
    out.reserve(8 + 6 * static_cast<size_t>(height) * static_cast<size_t>(width));
    LeWriter w(out);
    w.I32(static_cast<int32_t>(rng.Next()));  // the client's flag word, not interpreted here
    w.U16(static_cast<uint16_t>(width));
    w.U16(static_cast<uint16_t>(height));
    const size_t lookup = out.size();
    w.Zeros(2 * static_cast<size_t>(height));
    const size_t dataStart = out.size();
    // An upright ellipse: one run of pixels per row, each row ended by 0, 0.
    const double half = height / 2.0;
    for (int32_t y = 0; y < height; ++y) {
        Put16(out, lookup + 2 * static_cast<size_t>(y), static_cast<uint16_t>((out.size() - dataStart) / 2));
        const double dy = (y + 0.5 - half) / half;
        const auto halfWidth = static_cast<int32_t>(std::floor(width / 2.0 * std::sqrt(std::max(0.0, 1.0 - dy * dy))));
        if (halfWidth > 0) {
            const int32_t run = std::min(2 * halfWidth, width);
            w.U16(static_cast<uint16_t>((width - run) / 2));
            w.U16(static_cast<uint16_t>(run));
            for (int32_t x = 0; x < run; ++x) w.U16(static_cast<uint16_t>(Near(base, rng, 3) | 1));
        }
        w.U16(0);
        w.U16(0);
    }
    return out;
}

bool WriteArt(const std::string& idxPath, const std::string& mulPath, const ArtOptions& options, IdxMulSummary* summary,
              std::string* error) {
    return Guarded("SampleClient.WriteArt", error, [&] { WriteArtFiles(idxPath, mulPath, options, summary); });
}

void ArtRecord(const ArtOptions& options, int32_t n, IdxRecord& record) {
    const uint32_t seed = options.seed;
    if (n == 2 || n == kFirstItemRecord + 2) {
        record.kind = IdxRecord::Kind::ZeroSize;
        return;
    }
    const bool chance = static_cast<int32_t>(Hash(seed, kTagArt, static_cast<uint32_t>(n), 1) % 1000) <
                        (n < kFirstItemRecord ? options.landPermille : options.staticPermille);
    if (n < kFirstItemRecord) {
        if (!chance && !IsTerrainTile(n)) return;
        record.bytes = MakeLandArt(seed, n);
    } else {
        const int32_t item = n - kFirstItemRecord;
        if (!chance && !IsTerrainItem(item) && n != options.records - 1) return;
        record.bytes = MakeStaticArt(seed, item);
    }
    record.kind = IdxRecord::Kind::Data;
}

void detail::WriteArtFiles(const std::string& idxPath, const std::string& mulPath, const ArtOptions& options,
                           IdxMulSummary* summary) {
    WritePair(
        idxPath, mulPath, options.records, [&](int32_t n, IdxRecord& record) { ArtRecord(options, n, record); },
        summary);
}

int32_t GumpExtra(int32_t width, int32_t height) {
    const uint32_t v = static_cast<uint32_t>(static_cast<uint16_t>(width)) << 16 | static_cast<uint16_t>(height);
    return static_cast<int32_t>(v);
}

ByteArray MakeGumpBlock(int32_t width, int32_t height, uint32_t seed) {
    if (width < 1 || height < 1 || width > 32767 || height > 32767)
        Fail("A gump of " + std::to_string(width) + " by " + std::to_string(height));
    Rng rng(Hash(seed, kTagGump, static_cast<uint32_t>(width), static_cast<uint32_t>(height)));
    ByteArray out(4 * static_cast<size_t>(height), 0);
    LeWriter w(out);
    for (int32_t y = 0; y < height; ++y) {
        StoreI32(out.data() + 4 * static_cast<size_t>(y), ToLong(static_cast<int64_t>(out.size() / 4)));
        const int32_t runs = 1 + static_cast<int32_t>(rng.Below(static_cast<uint32_t>(std::min(width, 12))));
        int32_t left = width;
        int32_t previous = -1;
        for (int32_t k = 0; k < runs; ++k) {
            const int32_t after = runs - 1 - k;  // runs that still need a pixel each
            int32_t length = left;
            if (after > 0) {
                const int32_t most = std::min(left - after, std::max(1, 2 * left / (after + 1)));
                length = 1 + static_cast<int32_t>(rng.Below(static_cast<uint32_t>(most)));
            }
            // Colour 0 is what the client leaves see-through; gumps have plenty of it.
            int32_t colour = rng.Below(6) == 0 ? 0 : static_cast<int32_t>(rng.Below(0x8000));
            if (colour == previous) colour ^= 1;
            w.U16(static_cast<uint16_t>(colour));
            w.U16(static_cast<uint16_t>(length));
            previous = colour;
            left -= length;
        }
    }
    return out;
}

bool WriteGumps(const std::string& idxPath, const std::string& mulPath, const GumpOptions& options,
                IdxMulSummary* summary, std::string* error) {
    return Guarded("SampleClient.WriteGumps", error, [&] { WriteGumpFiles(idxPath, mulPath, options, summary); });
}

void GumpRecord(const GumpOptions& options, int32_t n, IdxRecord& record) {
    if (n == 1) {
        record.kind = IdxRecord::Kind::ZeroSize;
        return;
    }
    Rng rng(Hash(options.seed, kTagGump, static_cast<uint32_t>(n)));
    if (n != 0 && !rng.Permille(options.permille)) return;
    const int32_t width = rng.Range(std::min(16, options.maxWidth), options.maxWidth);
    const int32_t height = rng.Range(std::min(16, options.maxHeight), options.maxHeight);
    record.kind = IdxRecord::Kind::Data;
    record.extra = GumpExtra(width, height);
    record.bytes = MakeGumpBlock(width, height, static_cast<uint32_t>(rng.Next()));
}

void detail::WriteGumpFiles(const std::string& idxPath, const std::string& mulPath, const GumpOptions& options,
                            IdxMulSummary* summary) {
    if (options.maxWidth < 1 || options.maxHeight < 1) Fail("A gump needs a width and a height");
    WritePair(
        idxPath, mulPath, options.records, [&](int32_t n, IdxRecord& record) { GumpRecord(options, n, record); },
        summary);
}

}  // namespace quillet::sample
