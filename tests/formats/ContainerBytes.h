#pragma once
// Client UOP containers built byte by byte for the tests, by the layout
// alone (independent of the program's writer): the 40-byte header, then
// each table (12 + 34 x capacity bytes) followed by its entries' data.
#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "base/ByteIO.h"
#include "common/Bytes.h"

namespace quillet::test {

struct Slot {
    uint64_t hash = 0;
    ByteArray stored{};
    int32_t inflated = 0;
    int16_t flag = 0;
    int32_t header = 0;   // bytes of entry header before the data
    bool unused = false;  // a zero entry: offset 0, all else 0
    // Overrides for damaged entries, applied after the layout.
    int64_t offset = -1;      // -1: where the data lies
    int32_t storedSize = -1;  // -1: stored.size()
};

inline ByteArray Zlib(const ByteArray& data) {
    uLongf size = compressBound(static_cast<uLong>(data.size()));
    ByteArray out(size);
    compress2(out.data(), &size, data.data(), static_cast<uLong>(data.size()), Z_DEFAULT_COMPRESSION);
    out.resize(size);
    return out;
}

inline std::string Numbered(const char* pattern, int32_t n) {
    char name[80];
    std::snprintf(name, sizeof name, pattern, n);
    return name;
}
inline std::string ArtName(int32_t n) { return Numbered("build/artlegacymul/%08d.tga", n); }
inline std::string GumpName(int32_t n) { return Numbered("build/gumpartlegacymul/%08d.tga", n); }
inline std::string SoundName(int32_t n) { return Numbered("build/soundlegacymul/%08d.dat", n); }
inline std::string MapName(int facet, int32_t n) {
    return Numbered(("build/map" + std::to_string(facet) + "legacymul/%08d.dat").c_str(), n);
}

inline Slot Unused() { return Slot{.unused = true}; }

struct Layout {
    uint32_t capacity = 4;
    uint32_t version = 4;
    int32_t files = 0;       // the header's file count, which readers do not trust
    size_t firstTable = 40;  // zeros between the header and the first table
};

inline void PutU64(ByteArray& out, size_t at, uint64_t v) {
    for (int i = 0; i < 8; ++i) out[at + static_cast<size_t>(i)] = static_cast<uint8_t>(v >> (8 * i));
}
inline void PutI32(ByteArray& out, size_t at, int32_t v) { StoreI32(out.data() + at, v); }

// tables: the slots of each table, in chain order. The checksum is that of
// the client's version-4 files: Adler-32 of the entry header, or of the
// stored bytes when there is none.
inline ByteArray Container(const std::vector<std::vector<Slot>>& tables, Layout layout = {}) {
    ByteArray out =
        Bytes{}.text("MYP").u8(0).le(static_cast<int32_t>(layout.version)).le(static_cast<int32_t>(0xFD23EC43)).b;
    out.resize(layout.firstTable, 0);
    PutU64(out, 12, tables.empty() ? 0 : layout.firstTable);
    PutI32(out, 20, static_cast<int32_t>(layout.capacity));
    PutI32(out, 24, layout.files);
    for (size_t t = 0; t < tables.size(); ++t) {
        const size_t at = out.size();
        out.resize(at + 12 + 34 * size_t{layout.capacity}, 0);
        PutI32(out, at, static_cast<int32_t>(tables[t].size()));
        for (size_t s = 0; s < tables[t].size(); ++s) {
            const Slot& slot = tables[t][s];
            if (slot.unused) continue;
            const size_t record = at + 12 + 34 * s;
            const size_t data = out.size();
            ByteArray header(static_cast<size_t>(slot.header), 0);
            if (header.size() >= 4) {
                StoreI16(header.data(), 3);
                StoreI16(header.data() + 2, 8);
            }
            out.insert(out.end(), header.begin(), header.end());
            out.insert(out.end(), slot.stored.begin(), slot.stored.end());
            const ByteArray& summed = header.empty() ? slot.stored : header;
            PutU64(out, record, static_cast<uint64_t>(slot.offset >= 0 ? slot.offset : static_cast<int64_t>(data)));
            PutI32(out, record + 8, slot.header);
            PutI32(out, record + 12, slot.storedSize >= 0 ? slot.storedSize : static_cast<int32_t>(slot.stored.size()));
            PutI32(out, record + 16, slot.inflated);
            PutU64(out, record + 20, slot.hash);
            PutI32(
                out, record + 28,
                static_cast<int32_t>(adler32(adler32(0, nullptr, 0), summed.data(), static_cast<uInt>(summed.size()))));
            StoreI16(out.data() + record + 32, slot.flag);
        }
        if (t + 1 < tables.size()) PutU64(out, at + 4, out.size());
    }
    return out;
}

}  // namespace quillet::test
