// The current client's UOP containers of the sample set.
#include "sample/SampleContainers.h"

#include <cstdio>
#include <filesystem>
#include <functional>
#include <sstream>

#include "base/Checked.h"
#include "formats/ClientUOPWriter.h"
#include "sample/SampleCore.h"

namespace quillet::sample {

using namespace detail;

namespace {

namespace fs = std::filesystem;

constexpr int32_t kMapEntryBlocks = 4096;
constexpr int32_t kMapEntries = kCurrentMapColumns * kMapRows / kMapEntryBlocks;  // 112
constexpr int32_t kFirstLaterGump = 9834;
constexpr int32_t kLaterGumps[] = {9834, 9835, 9836, 9837, 9838, 9839, 50000, 65535};

std::string Name(const char* pattern, int32_t n) {
    char name[64];
    std::snprintf(name, sizeof name, pattern, n);
    return name;
}

// A line of the set's description: the file, its size, what it holds.
std::string Described(const std::string& path, const std::string& name, const std::string& what) {
    std::ostringstream text;
    text << kCurrentDir << "/" << name << " " << fs::file_size(path) << " bytes\n";
    std::istringstream lines(what);
    for (std::string line; std::getline(lines, line);) text << "    " << line << "\n";
    return text.str();
}

std::string WriteArt(const std::string& path, const ArtOptions& art) {
    // The classic index's blocks, then items up to the current last one,
    // which is always there.
    ArtOptions later = art;
    later.records = kCurrentArtLast + 1;
    ClientUOPWriter out(path);
    int32_t stored = 0, zipped = 0;
    IdxRecord record;
    for (int32_t n = 0; n <= kCurrentArtLast; ++n) {
        record = IdxRecord{};
        ArtRecord(n < art.records ? art : later, n, record);
        if (record.kind == IdxRecord::Kind::Empty) continue;
        const int16_t flag = n % 2 == 0 ? 0 : 1;
        out.Add(Name("build/artlegacymul/%08d.tga", n), record.bytes, flag);
        (flag == 0 ? stored : zipped) += 1;
    }
    out.Finish();
    return std::to_string(out.Entries()) + " entries (" + std::to_string(stored) + " stored, " +
           std::to_string(zipped) +
           " zlib): the blocks of art.mul, and items on to 0x13FDB;\n"
           "records 2 and 0x4002 are entries of 0 bytes, as art.mul has them";
}

std::string WriteGumps(const std::string& path, const GumpOptions& gumps) {
    GumpOptions later = gumps;
    later.permille = 1000;
    ClientUOPWriter out(path);
    const auto add = [&](const GumpOptions& options, int32_t n) {
        IdxRecord record;
        GumpRecord(options, n, record);
        if (record.kind == IdxRecord::Kind::Empty) return;
        const auto extra = static_cast<uint32_t>(record.extra);
        ByteArray entry;
        LeWriter w(entry);
        w.I32(static_cast<int32_t>(extra >> 16));
        w.I32(static_cast<int32_t>(extra & 0xFFFF));
        w.Bytes(record.bytes.data(), record.bytes.size());
        const bool sevenDigits = n >= kFirstLaterGump && n < kFirstLaterGump + 6;
        out.Add(Name(sevenDigits ? "build/gumpartlegacymul/%07d.tga" : "build/gumpartlegacymul/%08d.tga", n), entry, 3);
    };
    const int32_t first = std::min(gumps.records, kContainerGumpRecords);
    for (int32_t n = 0; n < first; ++n) add(gumps, n);
    // Drawn as the classic index draws them, each one there.
    for (const int32_t n : kLaterGumps) add(later, n);
    out.Finish();
    return std::to_string(out.Entries()) + " entries, all flag 3: the gumps of gumpart.mul's first " +
           std::to_string(first) +
           " records,\nand 9834 to 9839 (named with 7 digits), 50000 and 65535; each a u32 width, a u32 height, "
           "the gump";
}

std::string WriteMap(const std::string& path, const SampleOptions& options) {
    ClientUOPWriter out(path);
    ByteArray entry;
    std::string entries;
    for (int32_t n = 0; n < kMapEntries; ++n) {
        if (!ContainerHasMapEntry(options.full, n)) continue;
        entry.assign(static_cast<size_t>(kMapEntryBlocks) * kMapBlockSize, 0);
        for (int32_t i = 0; i < kMapEntryBlocks; ++i)
            MakeMapBlock(options.seed, kMapRows, n * kMapEntryBlocks + i, nullptr,
                         entry.data() + static_cast<size_t>(i) * kMapBlockSize);
        if (n == kMapEntries - 1) entry.resize(kShortMapEntryBytes);
        out.Add(Name("build/map0legacymul/%08d.dat", n), entry, static_cast<int16_t>(n % 2));
        if (!options.full) entries += (entries.empty() ? "" : ", ") + std::to_string(n);
    }
    out.Finish();
    return "the map at 896 by 512 blocks (Mondain's Legacy), entry n = blocks 4096 n to 4096 n + 4095;\n" +
           (options.full ? std::string("all 112 entries") : "entries " + entries) +
           ", even ones stored, odd ones zlib;\nthe last entry short (" + std::to_string(kShortMapEntryBytes) +
           " bytes); the blocks of the classic columns are map0.mul's";
}

std::string WriteSounds(const std::string& path, uint32_t seed) {
    ClientUOPWriter out(path);
    int16_t flag = 0;
    for (const int32_t n : kContainerSounds) {
        out.Add(Name("build/soundlegacymul/%08d.dat", n), ContainerSound(seed, n), flag);
        flag = static_cast<int16_t>(1 - flag);
    }
    out.Finish();
    return "sounds 0, 1, 2, 100, 255, 256, 1000, 4095 (stored and zlib in turn): a 40-byte header with\n"
           "the name, then 16-bit samples at 22050 Hz";
}

}  // namespace

bool ContainerHasMapEntry(bool full, int32_t entry) {
    if (entry < 0 || entry >= kMapEntries) return false;
    return full || entry < kSmallMapColumns * kMapRows / kMapEntryBlocks || entry == 96 || entry == 103 ||
           entry == kMapEntries - 1;
}

ByteArray ContainerSound(uint32_t seed, int32_t n) {
    Rng rng(Hash(seed, kTagBulk, 0x50554E44u, static_cast<uint32_t>(n)));
    ByteArray out(40, 0);
    const std::string name = "sample" + std::to_string(n) + ".wav";
    std::copy(name.begin(), name.end(), out.begin());
    const int32_t samples = rng.Range(200, 3000);
    const int32_t period = rng.Range(20, 90);
    LeWriter w(out);
    for (int32_t i = 0; i < samples; ++i) {
        const int32_t phase = i % period;
        const int32_t wave = (phase < period / 2 ? phase : period - phase) * 12000 / period - 3000;  // a triangle
        w.I16(static_cast<int16_t>(wave + rng.Range(-200, 200)));
    }
    return out;
}

std::string detail::WriteCurrentContainers(const SampleOptions& options, const ArtOptions& art,
                                           const GumpOptions& gumps) {
    const fs::path dir = fs::path(options.dir) / kCurrentDir;
    std::error_code ec;
    fs::create_directories(dir, ec);
    if (ec) Fail("Unable to create " + dir.string() + ": " + ec.message());
    std::string text = "Current client (" + std::string(kCurrentDir) +
                       "/): UOP containers (\"MYP\", version 4, tables of 100, 12-byte entry headers)\n";
    const auto write = [&](const char* name, const std::function<std::string(const std::string&)>& writer) {
        const std::string path = (dir / name).string();
        const std::string what = writer(path);
        text += Described(path, name, what);
    };
    write("artLegacyMUL.uop", [&](const std::string& path) { return WriteArt(path, art); });
    write("gumpartLegacyMUL.uop", [&](const std::string& path) { return WriteGumps(path, gumps); });
    write("map0LegacyMUL.uop", [&](const std::string& path) { return WriteMap(path, options); });
    write("soundLegacyMUL.uop", [&](const std::string& path) { return WriteSounds(path, options.seed); });
    text.pop_back();  // the description ends the line
    return text;
}

}  // namespace quillet::sample
