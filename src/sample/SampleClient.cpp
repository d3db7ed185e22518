// The whole set: which files, how big, and the manifest that tells a reader
// what each file holds and which of its records are odd on purpose.
#include "sample/SampleClient.h"

#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <utility>

#include "base/Checked.h"
#include "sample/SampleContainers.h"
#include "sample/SampleCore.h"

namespace quillet::sample {

using namespace detail;

namespace {

namespace fs = std::filesystem;

struct SetSizes {
    int32_t mapColumns;
    ArtOptions art;
    GumpOptions gumps;
    int32_t verdataEntries;
};

SetSizes SizesFor(const SampleOptions& o) {
    SetSizes s{};
    s.art.seed = s.gumps.seed = o.seed;
    if (o.full) {
        s.mapColumns = kMapColumns;
        s.art.landPermille = 500;
        s.art.staticPermille = 600;
        s.verdataEntries = 20000;
    } else {
        // The whole 65537-record index is cheap; the pictures behind it are few.
        s.mapColumns = kSmallMapColumns;
        s.art.landPermille = 10;
        s.art.staticPermille = 10;
        // A short index: 2048 of the type's 65536 records.
        s.gumps.records = 2048;
        s.gumps.permille = 100;
        s.gumps.maxWidth = 160;
        s.gumps.maxHeight = 120;
        s.verdataEntries = 200;
    }
    return s;
}

constexpr uint32_t kChangeSeed = 0x00C0FFEEu;
constexpr int32_t kChangePermille = 10;

std::string Path(const SampleOptions& o, const char* name) { return (fs::path(o.dir) / name).string(); }

// "3, 17, 40 ..." of at most limit numbers.
std::string FirstOf(const std::vector<int32_t>& numbers, size_t limit = 8) {
    std::ostringstream s;
    for (size_t n = 0; n < numbers.size() && n < limit; ++n) s << (n ? ", " : "") << numbers[n];
    if (numbers.size() > limit) s << " ...";
    return s.str();
}

std::string Hex(int32_t v) {
    std::ostringstream s;
    s << "0x" << std::hex << std::uppercase << v;
    return s.str();
}

class Manifest {
public:
    explicit Manifest(const SampleOptions& o) : options_(o) {}
    // A file's line: name, size from the disk, then what it holds.
    void File(const char* name, const std::string& what) {
        const auto size = fs::file_size(Path(options_, name));
        text_ << name << std::string(name_width - std::min(name_width, std::string(name).size()), ' ') << size
              << " bytes\n";
        std::istringstream lines(what);
        for (std::string line; std::getline(lines, line);) text_ << "    " << line << "\n";
    }
    void Line(const std::string& line) { text_ << line << "\n"; }
    std::string Text() const { return text_.str(); }

private:
    static constexpr size_t name_width = 20;
    const SampleOptions& options_;
    std::ostringstream text_;
};

std::string PairText(const IdxMulSummary& s, const std::string& kind) {
    std::ostringstream t;
    t << s.records << " records of 12 bytes (Position, Size, Extra); " << s.withData << " with " << kind << ", "
      << s.emptyRecords << " empty (Position -1, Size -1)";
    if (!s.zeroSizeRecords.empty())
        t << ",\n" << s.zeroSizeRecords.size() << " with Size 0 (odd on purpose): " << FirstOf(s.zeroSizeRecords);
    t << "\n";
    return t.str();
}

// Entry numbers whose FileID and Block stood earlier in the list.
std::vector<int32_t> Duplicates(const std::vector<std::pair<int32_t, int32_t>>& keys) {
    std::set<std::pair<int32_t, int32_t>> seen;
    std::vector<int32_t> out;
    for (size_t n = 0; n < keys.size(); ++n)
        if (!seen.insert(keys[n]).second) out.push_back(static_cast<int32_t>(n));
    return out;
}

std::string PatchText(const std::vector<PatchEntry>& entries, bool flagged) {
    std::map<int32_t, int32_t> perType;
    std::vector<std::pair<int32_t, int32_t>> keys;
    std::vector<int32_t> empty;
    for (size_t n = 0; n < entries.size(); ++n) {
        const PatchEntry& e = entries[n];
        ++perType[flagged ? MUOFileID(e.FileID) : e.FileID];
        keys.emplace_back(e.FileID, e.Block);
        if (e.Size <= 0) empty.push_back(static_cast<int32_t>(n));
    }
    std::ostringstream t;
    t << entries.size() << " entries; FileID (entries):";
    for (const auto& [id, count] : perType) t << " " << id << " (" << count << ")";
    t << "\n";
    if (flagged)
        t << "FileIDs 64, 66, 192, 193 are Map, Statics, Light, Radarcol with bit 6 set, as the program saves\n"
             "types whose InVerdata is 0\n";
    t << "entries without data (Size 0 or -1): " << FirstOf(empty) << "\n";
    t << "duplicates (a later entry of a FileID and Block given before; it wins): " << FirstOf(Duplicates(keys))
      << "\n";
    return t.str();
}

// The set goes only into a new or an empty directory, so that it never takes
// the place of a user's own files; each file is made new besides (OutFile),
// so one that turns up meanwhile, or a link planted there, is not followed.
void RequireNewOrEmptyDirectory(const std::string& dir) {
    std::error_code ec;
    const fs::file_status status = fs::status(dir, ec);  // through a link, as the files will be
    if (status.type() == fs::file_type::not_found) {
        fs::create_directories(dir, ec);
        if (ec) Fail("Unable to create " + dir + ": " + ec.message());
        return;
    }
    if (ec) Fail("Unable to look at " + dir + ": " + ec.message());
    if (!fs::is_directory(status))
        Fail(dir + " is not a directory: the sample client is written only into a new or an empty directory");
    const bool empty = fs::is_empty(dir, ec);
    if (ec) Fail("Unable to read " + dir + ": " + ec.message());
    if (!empty)
        Fail(dir +
             " is not empty: the sample client is written only into a new or an empty directory, so that "
             "no file there is overwritten");
}

void WriteSet(const SampleOptions& o) {
    if (o.dir.empty()) Fail("No directory for the sample client");
    RequireNewOrEmptyDirectory(o.dir);

    const SetSizes sizes = SizesFor(o);
    const int32_t blocks = sizes.mapColumns * kMapRows;
    Manifest m(o);
    m.Line("Synthetic client data for Quillet's tests, benchmarks and demo.");
    m.Line("Seed " + std::to_string(o.seed) + ", " +
           (o.full ? std::string("full set: the whole 768 by 512 block map.")
                   : "small set: the map is the first " + std::to_string(kSmallMapColumns) +
                         " of the 768 columns, all 512 rows."));
    m.Line("Block numbers are those of the client: map and statics Block = X * 512 + Y.");
    m.Line("");

    // Map, changed map and statics come from one pass over the world.
    const MapChange change{o.seed ^ kChangeSeed, kChangePermille};
    IdxMulSummary statics;
    WriteWorld({Path(o, "map0.mul"), o.changedMap ? Path(o, "map0-changed.mul") : "", Path(o, "staidx0.mul"),
                Path(o, "statics0.mul")},
               sizes.mapColumns, kMapRows, o.seed, change, &statics);
    m.File("map0.mul", std::to_string(blocks) + " blocks of 196 bytes (4-byte header, 64 cells of tile and z),\n" +
                           std::to_string(sizes.mapColumns) +
                           " columns of 512; water, sand, grass, forest, dirt, rock and snow regions");
    if (o.changedMap) {
        std::vector<int32_t> changed;
        for (int32_t b = 0; b < blocks; ++b)
            if (MapBlockChanged(change, b)) changed.push_back(b);
        m.File("map0-changed.mul", "map0.mul with " + std::to_string(changed.size()) +
                                       " blocks (about 1 in 100) altered in one cell: " + FirstOf(changed));
    }
    m.File("staidx0.mul", PairText(statics, "statics") + "Extra 0 throughout");
    m.File("statics0.mul", std::to_string(statics.mulBytes / kStaticRecordSize) +
                               " items of 7 bytes (item, x, y, z, hue) in blocks of the map's grid");

    IdxMulSummary art;
    WriteArtFiles(Path(o, "artidx.mul"), Path(o, "art.mul"), sizes.art, &art);
    m.File("artidx.mul", PairText(art, "a picture") +
                             "records 0..0x3FFF land tiles (2024 bytes each), from 0x4000 "
                             "items (run-coded);\nthe map's tiles and items all have one, "
                             "and so has the last record, " +
                             Hex(art.records - 1));
    m.File("art.mul", "the pictures back to back");

    IdxMulSummary gumps;
    WriteGumpFiles(Path(o, "gumpidx.mul"), Path(o, "gumpart.mul"), sizes.gumps, &gumps);
    m.File("gumpidx.mul",
           PairText(gumps, "a gump") + "Extra = width << 16 | height" +
               (gumps.records < 65536 ? "; a short index (odd on purpose): Gumps has 65536 blocks" : std::string()));
    m.File("gumpart.mul", "gumps: a row table of 32-bit starts, then runs of colour and length");

    WriteHuesFile(Path(o, "hues.mul"), kHueGroups, o.seed);
    m.File("hues.mul", std::to_string(kHueGroups) +
                           " groups of 708 bytes: header, 8 hues of 88 (32 colours, "
                           "table start, end, 20-byte name)");

    WriteTiledataFile(Path(o, "tiledata.mul"), o.seed);
    m.File("tiledata.mul",
           "512 land groups of 836 bytes (header, 32 records of 26), then\n"
           "512 static groups of 1188 bytes (header, 32 records of 37) from byte 428032");

    WriteRadarcolFile(Path(o, "radarcol.mul"), o.seed);
    m.File("radarcol.mul", "65536 colours of 15 bits: land tiles, then items from 16384 on");

    WriteVerdata(Path(o, "verdata.mul"), sizes.verdataEntries,
                 [&](int32_t n, PatchEntry& e) { SampleVerdataEntry(o.seed, sizes.verdataEntries, n, e); });
    {
        std::vector<std::pair<int32_t, int32_t>> keys;
        PatchEntry e;
        std::map<int32_t, int32_t> perType;
        for (int32_t n = 0; n < sizes.verdataEntries; ++n) {
            SampleVerdataEntry(o.seed, sizes.verdataEntries, n, e);
            keys.emplace_back(e.FileID, e.Block);
            ++perType[e.FileID];
        }
        std::ostringstream t;
        t << sizes.verdataEntries << " entries of 20 bytes (FileID, Block, Position, Size, Extra), then the data;\n"
          << "FileID (entries):";
        for (const auto& [id, count] : perType) t << " " << id << " (" << count << ")";
        t << "\nentry 1 empty with Size -1 and Position 0, entry 2 empty with Size 0;\n"
          << "duplicates (a later entry of a FileID and Block given before): " << FirstOf(Duplicates(keys));
        m.File("verdata.mul", t.str());
    }

    const std::vector<PatchEntry> patch = SamplePatchEntries(o.seed);
    std::vector<PatchEntry> flagged = patch;
    for (PatchEntry& e : flagged) e.FileID = MUOFileID(e.FileID);
    WriteMUO(Path(o, "patch.muo"), static_cast<int32_t>(flagged.size()),
             [&](int32_t n, PatchEntry& e) { e = flagged[static_cast<size_t>(n)]; });
    m.File("patch.muo", "header of 45 bytes (\"MUOP\", 1, \"MUO\", \"Created by Quillet\", \"Sir Patch\", count);\n" +
                            PatchText(patch, true));
    const EntrySource plain = [&](int32_t n, PatchEntry& e) { e = patch[static_cast<size_t>(n)]; };
    WriteUOP(Path(o, "patch4.uop"), 4, static_cast<int32_t>(patch.size()), plain);
    WriteUOP(Path(o, "patch5.uop"), 5, static_cast<int32_t>(patch.size()), plain);
    m.File("patch4.uop",
           "version 4: entries from byte 12; the entries of patch.muo without bit 6:\n" + PatchText(patch, false));
    m.File("patch5.uop", "version 5: a 10-byte tool name, entries from byte 22; the same entries as patch4.uop");
    m.Line("");
    m.Line(WriteCurrentContainers(o, sizes.art, sizes.gumps));

    m.Line(WriteCurrentFiles(Path(o, "current"), o.full, o.seed));

    OutFile out(Path(o, "sample-client.txt"));
    out.Text(m.Text());
    out.Finish();
}

}  // namespace

bool WriteSampleClient(const SampleOptions& options, std::string* error) {
    return Guarded("SampleClient.WriteSampleClient", error, [&] { WriteSet(options); });
}

}  // namespace quillet::sample
