// The files of constant-size blocks: hues, tile data and radar colours.
#include <algorithm>
#include <cstdio>

#include "base/Checked.h"
#include "sample/SampleClient.h"
#include "sample/SampleCore.h"

namespace quillet::sample {

using namespace detail;

namespace {

constexpr int32_t kHueSize = 88;
constexpr int32_t kHueVerdataStride = 152;
constexpr int32_t kFirstItemColor = 16384;

// Tile data flags of the client, the few that the sample uses.
constexpr uint32_t kFlagImpassable = 0x40;
constexpr uint32_t kFlagWet = 0x80;
constexpr uint32_t kFlagFoliage = 0x20000;

const GroundInfo* GroundOfTile(int32_t tile) {
    for (int g = 0; g < kGroundKinds; ++g) {
        const GroundInfo& info = GroundOf(static_cast<Ground>(g));
        if (tile >= info.firstTile && tile < info.firstTile + 4) return &info;
    }
    return nullptr;
}

const ItemFamily* FamilyOfItem(int32_t item) {
    for (int f = 0; f < kItemFamilies; ++f) {
        const ItemFamily& family = ItemFamilyAt(f);
        if (item >= family.firstItem && item < family.firstItem + family.count) return &family;
    }
    return nullptr;
}

void PutU16(uint8_t* p, uint16_t v) { StoreI16(p, static_cast<int16_t>(v)); }

void PutName(uint8_t* p, const std::string& name) {
    std::fill(p, p + 20, uint8_t{0});
    std::copy_n(name.begin(), std::min<size_t>(name.size(), 20), p);
}

std::string Hex4(int32_t v) {
    char text[8];
    std::snprintf(text, sizeof text, "%04X", static_cast<unsigned>(v) & 0xFFFF);
    return text;
}

}  // namespace

namespace detail {

uint16_t RadarColor555(uint32_t seed, int32_t index) {
    if (index < kFirstItemColor) {
        if (const GroundInfo* g = GroundOfTile(index)) return g->color555;
    } else if (const ItemFamily* f = FamilyOfItem(index - kFirstItemColor)) {
        return f->color555;
    }
    Rng rng(Hash(seed, kTagRadar, static_cast<uint32_t>(index)));
    // Unused land tiles come out earthy, unused items anything; the top bit stays clear.
    if (index < kFirstItemColor)
        return static_cast<uint16_t>(rng.Range(8, 20) << 10 | rng.Range(6, 18) << 5 | rng.Range(2, 10));
    return static_cast<uint16_t>(rng.Below(0x8000));
}

void MakeHue(uint32_t seed, int32_t hue, uint8_t* out) {
    Rng rng(Hash(seed, kTagHues, static_cast<uint32_t>(hue)));
    const int32_t base[3] = {rng.Range(0, 31), rng.Range(0, 31), rng.Range(0, 31)};
    // 32 shades from black through the base colour up to near white.
    for (int32_t i = 0; i < 32; ++i) {
        int32_t c[3];
        for (int k = 0; k < 3; ++k) c[k] = i < 16 ? base[k] * (i + 1) / 16 : base[k] + (31 - base[k]) * (i - 15) / 16;
        PutU16(out + 2 * i, static_cast<uint16_t>(c[0] << 10 | c[1] << 5 | c[2]));
    }
    std::copy_n(out, 2, out + 64);       // table start: the first shade
    std::copy_n(out + 62, 2, out + 66);  // table end: the last
    PutName(out + 68, "Hue " + std::to_string(hue + 1));
}

ByteArray HueGroupVerdataForm(uint32_t seed, int32_t group) {
    ByteArray out(kHueVerdataSize, 0);
    for (int32_t n = 0; n < 8; ++n) MakeHue(seed, group * 8 + n, out.data() + 4 + kHueVerdataStride * n);
    return out;
}

ByteArray TiledataGroup(uint32_t seed, int32_t group) {
    const bool land = group < kTiledataGroups;
    ByteArray out(static_cast<size_t>(land ? kLandGroupSize : kStaticGroupSize), 0);
    StoreI32(out.data(), static_cast<int32_t>(Hash(seed, kTagTiledata, static_cast<uint32_t>(group))));
    for (int32_t k = 0; k < 32; ++k) {
        Rng rng(Hash(seed, kTagTiledata, static_cast<uint32_t>(group), static_cast<uint32_t>(k) + 1));
        if (land) {
            const int32_t tile = group * 32 + k;
            uint8_t* r = out.data() + 4 + 26 * k;
            const GroundInfo* g = GroundOfTile(tile);
            uint32_t flags = 0;
            if (g && g->firstTile == GroundOf(Ground::Water).firstTile) flags = kFlagWet | kFlagImpassable;
            if (g && g->firstTile == GroundOf(Ground::Rock).firstTile) flags = kFlagImpassable;
            StoreI32(r, static_cast<int32_t>(flags));
            PutU16(r + 4, g ? static_cast<uint16_t>(tile) : uint16_t{0});  // texture
            PutName(r + 6, g ? std::string(g->name) : rng.Below(4) == 0 ? "land " + Hex4(tile) : std::string());
        } else {
            const int32_t item = (group - kTiledataGroups) * 32 + k;
            uint8_t* r = out.data() + 4 + 37 * k;
            const ItemFamily* f = FamilyOfItem(item);
            const bool named = f || rng.Below(3) == 0;
            uint32_t flags = 0;
            if (f && f->height >= 15) flags = kFlagImpassable | kFlagFoliage;
            StoreI32(r, static_cast<int32_t>(flags));
            r[4] = f ? uint8_t{255} : static_cast<uint8_t>(rng.Below(60));  // weight: 255 cannot be moved
            r[5] = static_cast<uint8_t>(rng.Below(26));                     // quality (layer)
            PutU16(r + 6, 0);                                               // unknown
            r[8] = 0;                                                       // unknown
            r[9] = static_cast<uint8_t>(rng.Below(2));                      // quantity
            PutU16(r + 10, named ? static_cast<uint16_t>(rng.Below(1000)) : uint16_t{0});  // animation
            r[12] = 0;                                                                     // unknown
            r[13] = 0;                                                                     // hue
            PutU16(r + 14, 0);                                                             // unknown
            r[16] = f ? f->height : static_cast<uint8_t>(rng.Below(20));                   // height
            PutName(r + 17, f ? std::string(f->name) : named ? "item " + Hex4(item) : std::string());
        }
    }
    return out;
}

}  // namespace detail

void detail::WriteHuesFile(const std::string& path, int32_t groups, uint32_t seed) {
    if (groups < 0) Fail("A negative number of hue groups");
    OutFile out(path);
    uint8_t hue[kHueSize];
    for (int32_t g = 0; g < groups; ++g) {
        out.I32(static_cast<int32_t>(Hash(seed, kTagHues, static_cast<uint32_t>(g), 1)));
        for (int32_t n = 0; n < 8; ++n) {
            MakeHue(seed, g * 8 + n, hue);
            out.Bytes(hue, kHueSize);
        }
    }
    out.Finish();
}

void detail::WriteTiledataFile(const std::string& path, uint32_t seed) {
    OutFile out(path);
    for (int32_t g = 0; g < 2 * kTiledataGroups; ++g) out.Bytes(TiledataGroup(seed, g));
    out.Finish();
}

void detail::WriteRadarcolFile(const std::string& path, uint32_t seed) {
    OutFile out(path);
    for (int32_t n = 0; n < kRadarColors; ++n) out.U16(RadarColor555(seed, n));
    out.Finish();
}

bool WriteHues(const std::string& path, int32_t groups, uint32_t seed, std::string* error) {
    return Guarded("SampleClient.WriteHues", error, [&] { WriteHuesFile(path, groups, seed); });
}

bool WriteTiledata(const std::string& path, uint32_t seed, std::string* error) {
    return Guarded("SampleClient.WriteTiledata", error, [&] { WriteTiledataFile(path, seed); });
}

bool WriteRadarcol(const std::string& path, uint32_t seed, std::string* error) {
    return Guarded("SampleClient.WriteRadarcol", error, [&] { WriteRadarcolFile(path, seed); });
}

}  // namespace quillet::sample
