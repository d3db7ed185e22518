#pragma once
// The client UOP container and the two stages of its flag 3, by the format's
// rules, for the container and stages targets: each rule as plainly as it
// can be put (lists that are erased from and inserted into, a set of the
// tables seen, zlib's own uncompress), apart from the reader's code.
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/ByteIO.h"
#include "formats/UOPHash.h"

namespace quillet::fuzz {

inline constexpr int64_t kModelBlockLimit = int64_t{64} << 20;  // of one block held in memory

// ---- Flag 3's stages

// The entry that the inflated bytes of a flag-3 entry stand for, or nothing
// where they are damaged.
inline std::optional<ByteArray> ModelUndoStages(const ByteArray& inflated) {
    if (inflated.size() < 4) return std::nullopt;
    // Stage 1: every byte after the prefix is an index into the list.
    std::vector<uint8_t> list(256), t;
    for (int i = 0; i < 256; ++i) list[static_cast<size_t>(i)] = static_cast<uint8_t>(i);
    for (size_t i = 4; i < inflated.size(); ++i) {
        const uint8_t v = list[inflated[i]];
        t.push_back(v);
        list.erase(list.begin() + inflated[i]);
        list.insert(list.begin(), v);
    }
    // Stage 2.
    if (t.size() < 1024) return std::nullopt;
    std::vector<int64_t> count(256);
    int64_t total = 0;
    for (size_t s = 0; s < 256; ++s) {
        count[s] = LoadI32(t.data() + 4 * s);
        if (count[s] < 0) return std::nullopt;
        total += count[s];
    }
    if (total > static_cast<int64_t>(t.size()) - 1024) return std::nullopt;
    std::vector<int> order;
    for (int s = 0; s < 256; ++s)
        if (count[static_cast<size_t>(s)] != 0) order.push_back(s);
    std::stable_sort(order.begin(), order.end(),
                     [&](int a, int b) { return count[static_cast<size_t>(a)] > count[static_cast<size_t>(b)]; });
    size_t n = order.size();
    std::vector<int> queue(256);
    for (int i = 0; i < 256; ++i) queue[static_cast<size_t>(i)] = i;
    std::vector<int64_t> next(256), end(256);
    std::set<int> firsts;
    int64_t m = 0;
    for (const int s : order) {
        const uint8_t place = t[static_cast<size_t>(1024 + m)];
        if (place >= n || !firsts.insert(place).second) return std::nullopt;
        queue[place] = s;
        next[static_cast<size_t>(s)] = m + 1;
        m += count[static_cast<size_t>(s)];
        end[static_cast<size_t>(s)] = m;
    }
    ByteArray out;
    int v = queue[0];
    for (int64_t i = 0; i < total; ++i) {
        out.push_back(static_cast<uint8_t>(v));
        const auto sv = static_cast<size_t>(v);
        if (next[sv] < end[sv]) {
            const uint8_t k = t[static_cast<size_t>(1024 + next[sv])];
            next[sv] += 1;
            if (k != 0) {
                if (k >= n) return std::nullopt;
                queue.erase(queue.begin());
                queue.insert(queue.begin() + k, v);
                v = queue[0];
            }
        } else {
            n -= 1;
            queue.erase(queue.begin());
            queue.push_back(0);
            v = queue[0];
        }
    }
    return out;
}

// Stage 1 done: bytes into move-to-front indices, in place.
inline void ModelMoveToFront(uint8_t* bytes, size_t count) {
    std::vector<uint8_t> list(256);
    for (int i = 0; i < 256; ++i) list[static_cast<size_t>(i)] = static_cast<uint8_t>(i);
    for (size_t i = 0; i < count; ++i) {
        const auto at = std::find(list.begin(), list.end(), bytes[i]);
        const uint8_t v = bytes[i];
        bytes[i] = static_cast<uint8_t>(at - list.begin());
        list.erase(at);
        list.insert(list.begin(), v);
    }
}

// ---- The container

struct ModelEntry {
    int64_t data = 0;  // where the stored bytes begin
    int32_t stored = 0;
    int32_t inflated = 0;
    int16_t flag = 0;
    bool seven = false;
};

// What the reader answers for one block: absent, a failure, or these.
struct ModelBlock {
    bool absent = true;
    bool fails = false;
    int32_t size = -1;
    int32_t extra = -1;
    ByteArray bytes;
};

// The kinds in the order in which a tie of entries 0..127 is settled.
enum ModelKind { kNone, kArt, kGumps, kSound, kMap0, kMap5 = kMap0 + 5, kMulti, kModelKinds };

inline std::string ModelKindText(int kind) {
    if (kind == kArt) return "Art";
    if (kind == kGumps) return "Gumps";
    if (kind == kSound) return "Sound";
    if (kind == kMulti) return "MultiCollection";
    if (kind >= kMap0 && kind <= kMap5) return "Map " + std::to_string(kind - kMap0);
    return "";
}

struct NameOfHash {
    int kind;
    int32_t number;  // -1: housing.bin
    bool seven;
};

// Every name the reader looks up (entries 0 to 0x1FFFF, maps to 255), by hash.
inline const std::unordered_map<uint64_t, NameOfHash>& ModelNames() {
    static const std::unique_ptr<std::unordered_map<uint64_t, NameOfHash>> names = [] {
        auto made = std::make_unique<std::unordered_map<uint64_t, NameOfHash>>();
        char name[80];
        const auto put = [&](int kind, int32_t n, bool seven) {
            made->emplace(UOPNameHash(name), NameOfHash{kind, n, seven});
        };
        for (int32_t n = 0; n <= 0x1FFFF; ++n) {
            std::snprintf(name, sizeof name, "build/artlegacymul/%08d.tga", n);
            put(kArt, n, false);
            std::snprintf(name, sizeof name, "build/gumpartlegacymul/%08d.tga", n);
            put(kGumps, n, false);
            std::snprintf(name, sizeof name, "build/gumpartlegacymul/%07d.tga", n);
            put(kGumps, n, true);
            std::snprintf(name, sizeof name, "build/soundlegacymul/%08d.dat", n);
            put(kSound, n, false);
            if (n < 256) {
                for (int f = 0; f < 6; ++f) {
                    std::snprintf(name, sizeof name, "build/map%dlegacymul/%08d.dat", f, n);
                    put(kMap0 + f, n, false);
                }
            }
            if (n < 128) {
                std::snprintf(name, sizeof name, "build/multicollection/%06d.bin", n);
                put(kMulti, n, false);
            }
        }
        std::snprintf(name, sizeof name, "build/multicollection/housing.bin");
        put(kMulti, -1, false);
        return made;
    }();
    return *names;
}

class ContainerModel {
public:
    // Opens the file as FileID 0, 4, 8 or 12 as the reader should; false where it refuses.
    bool Open(const ByteArray& file, uint8_t fileId) {
        file_ = &file;
        const int wanted = fileId == 0    ? kMap0
                           : fileId == 4  ? kArt
                           : fileId == 8  ? kSound
                           : fileId == 12 ? kGumps
                                          : kNone;
        if (wanted == kNone) return false;
        const auto size = static_cast<int64_t>(file.size());
        if (size < 4 || file[0] != 'M' || file[1] != 'Y' || file[2] != 'P' || file[3] != 0 || size < 40) return false;
        const auto capacity = static_cast<int64_t>(static_cast<uint32_t>(LoadI32(file.data() + 20)));
        uint64_t table = U64(12);
        std::set<uint64_t> seen;
        int64_t tableBytes = 0, used = 0;
        std::vector<int64_t> telling(kModelKinds, 0);
        std::map<int, std::map<int32_t, ModelEntry>> found;  // kind, number
        while (table != 0) {
            if (!seen.insert(table).second) return false;  // a ring
            if (table > static_cast<uint64_t>(size) || size - static_cast<int64_t>(table) < 12) return false;
            const auto at = static_cast<int64_t>(table);
            const int32_t n = LoadI32(file.data() + at);
            if (n < 0 || n > capacity || 12 + 34 * int64_t{n} > size - at) return false;
            tableBytes += 12 + 34 * int64_t{n};
            if (tableBytes > size) return false;
            for (int32_t slot = 0; slot < n; ++slot) {
                const int64_t e = at + 12 + 34 * int64_t{slot};
                const auto offset = static_cast<int64_t>(U64(e));
                const int32_t h = LoadI32(file.data() + e + 8), stored = LoadI32(file.data() + e + 12),
                              inflated = LoadI32(file.data() + e + 16);
                if (offset == 0) continue;
                if (offset < 0 || h < 0 || stored < 0 || inflated < 0) return false;
                if (offset > size || offset + int64_t{h} + stored > size) return false;
                ++used;
                const auto name = ModelNames().find(U64(e + 20));
                if (name == ModelNames().end()) continue;
                const NameOfHash& of = name->second;
                if (of.number < 128) ++telling[static_cast<size_t>(of.kind)];
                const bool fits = of.kind == wanted || (wanted == kMap0 && of.kind >= kMap0 && of.kind <= kMap5);
                if (of.number < 0 || !fits) continue;
                std::map<int32_t, ModelEntry>& entries = found[of.kind];
                const ModelEntry entry{offset + h, stored, inflated, LoadI16(file.data() + e + 32), of.seven};
                const auto old = entries.find(of.number);
                if (old == entries.end() || (old->second.seven && !of.seven)) entries[of.number] = entry;
            }
            table = U64(at + 4);
        }
        int kind = kNone;
        for (int k = kArt; k < kModelKinds; ++k)
            if (telling[static_cast<size_t>(k)] > (kind == kNone ? 0 : telling[static_cast<size_t>(kind)])) kind = k;
        if (kind == kNone) {
            size_t most = 0;
            for (const auto& [k, entries] : found)
                if (entries.size() > most) most = entries.size(), kind = k;
        }
        const bool fits = kind == wanted || (wanted == kMap0 && kind >= kMap0 && kind <= kMap5);
        if (kind != kNone && !fits) return false;
        if (kind == kNone && used > 0) return false;
        kind_ = kind;
        entries_ = found[kind];
        wantedMap_ = wanted == kMap0;
        int64_t highest = entries_.empty() ? -1 : entries_.rbegin()->first;
        extent_ = IsMap() ? std::min((highest + 1) * 4096, FacetBlocks()) : highest + 1;
        return true;
    }

    std::string Kind() const { return ModelKindText(kind_); }
    int64_t Extent() const { return extent_; }
    bool IsMap() const { return kind_ >= kMap0 && kind_ <= kMap5; }
    bool WantedMap() const { return wantedMap_; }
    const std::map<int32_t, ModelEntry>& Entries() const { return entries_; }
    int64_t FacetBlocks() const {
        static const int64_t blocks[] = {458752, 458752, 57600, 81920, 32761, 81920};
        return IsMap() ? blocks[kind_ - kMap0] : 0;
    }

    // An entry's bytes after its flag's decoding, or nothing where they do
    // not decode (or would take more memory than a block may).
    std::optional<ByteArray> Decoded(const ModelEntry& e) const {
        const uint8_t* stored = file_->data() + e.data;
        if (e.flag == 0) return ByteArray(stored, stored + e.stored);
        if (e.flag != 1 && e.flag != 3) return std::nullopt;
        const int64_t room = e.flag == 1 ? e.inflated : e.inflated + std::max<int64_t>(0, e.inflated - 1028);
        if (room > kModelBlockLimit) return std::nullopt;
        ByteArray out(static_cast<size_t>(e.inflated) + 1);
        uLongf produced = out.size();
        uLong consumed = static_cast<uLong>(e.stored);
        if (uncompress2(out.data(), &produced, stored, &consumed) != Z_OK ||
            produced != static_cast<uLongf>(e.inflated))
            return std::nullopt;
        out.resize(produced);
        return e.flag == 1 ? std::optional<ByteArray>(out) : ModelUndoStages(out);
    }

    // Block `block` as the reader should give it.
    ModelBlock Block(int64_t block) {
        ModelBlock b;
        if (block < 0) return b;
        if (WantedMap()) {
            const int64_t n = block / 4096;
            const auto entry = entries_.find(static_cast<int32_t>(n));
            const bool present = entry != entries_.end();
            if (block >= extent_ && !(present && n * 4096 >= FacetBlocks())) return b;
            b.absent = false;
            b.size = 196;
            b.bytes.assign(196, 0);
            if (!present) return b;
            const std::optional<ByteArray> bytes = Cached(entry->first, entry->second);
            if (!bytes) return Failing();
            const auto from = static_cast<size_t>(block % 4096 * 196);
            for (size_t i = 0; i < 196 && from + i < bytes->size(); ++i) b.bytes[i] = (*bytes)[from + i];
            return b;
        }
        const auto entry = entries_.find(static_cast<int32_t>(std::min<int64_t>(block, INT32_MAX)));
        if (entry == entries_.end() || block > INT32_MAX) return b;
        b.absent = false;
        std::optional<ByteArray> bytes = Cached(entry->first, entry->second);
        if (!bytes) return Failing();
        if (kind_ == kGumps) {
            if (bytes->size() < 8) return Failing();
            b.extra = static_cast<int32_t>((static_cast<uint32_t>(LoadI32(bytes->data())) & 0xFFFF) << 16 |
                                           (static_cast<uint32_t>(LoadI32(bytes->data() + 4)) & 0xFFFF));
            bytes->erase(bytes->begin(), bytes->begin() + 8);
        }
        if (kind_ == kSound) b.extra = static_cast<int32_t>(block + 1);
        b.size = static_cast<int32_t>(bytes->size());
        b.bytes = std::move(*bytes);
        return b;
    }

    // Blocks with a Size above 0 among First..Last.
    int64_t BlocksIn(int64_t First, int64_t Last) const {
        int64_t count = 0;
        const auto overlap = [&](int64_t from, int64_t to) {
            return std::max<int64_t>(0, std::min(to, Last) - std::max(from, First) + 1);
        };
        if (WantedMap()) {
            count += overlap(0, extent_ - 1);
            for (const auto& [n, e] : entries_)
                if (int64_t{n} * 4096 >= FacetBlocks()) count += overlap(int64_t{n} * 4096, int64_t{n} * 4096 + 4095);
            return count;
        }
        for (const auto& [n, e] : entries_) count += n >= First && n <= Last;
        return count;
    }

private:
    uint64_t U64(int64_t at) const {
        return static_cast<uint32_t>(LoadI32(file_->data() + at)) |
               uint64_t{static_cast<uint32_t>(LoadI32(file_->data() + at + 4))} << 32;
    }
    static ModelBlock Failing() {
        ModelBlock b;
        b.absent = false;
        b.fails = true;
        return b;
    }
    std::optional<ByteArray> Cached(int32_t n, const ModelEntry& e) {
        if (cachedNumber_ != n) {
            cached_ = Decoded(e);
            cachedNumber_ = n;
        }
        return cached_;
    }

    const ByteArray* file_ = nullptr;
    int kind_ = kNone;
    bool wantedMap_ = false;
    std::map<int32_t, ModelEntry> entries_;
    int64_t extent_ = 0;
    int64_t cachedNumber_ = -1;
    std::optional<ByteArray> cached_;
};

// A job's data file that begins as a client's container ("MYP", a 0 byte) is
// read as one, whatever the type asked for. True where the container reader
// refuses it, so that the job fails before any block. A file it would open is
// the container target's to walk: here its first byte is changed, so that the
// MUL and compare targets walk it as a data file.
inline bool RefusedAsContainer(ByteArray& file, uint8_t fileId) {
    if (file.size() < 4 || file[0] != 'M' || file[1] != 'Y' || file[2] != 'P' || file[3] != 0) return false;
    ContainerModel model;
    if (!model.Open(file, fileId)) return true;
    file[0] = 'm';
    return false;
}

}  // namespace quillet::fuzz
