// Writes the seed corpus of the fuzz targets: small valid files made by the
// sample generator's writers, and malformed ones made by hand, each wrapped
// in its target's input framing (FuzzInput.h).
//
//   quillet_fuzz_seeds DIR     writes DIR/<target>/<name> (DIR is fuzz/corpus)
//
// Every byte depends on this program alone, so running it again gives the
// same files. Files that a target's own run added to the corpus (by -merge)
// are left alone.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "FuzzInput.h"
#include "formats/ClientUOPWriter.h"
#include "formats/EntryStages.h"
#include "formats/UOPHash.h"
#include "formats/ZlibStream.h"
#include "sample/SampleClient.h"

namespace {

using namespace quillet;
using namespace quillet::fuzz;
using sample::PatchEntry;

namespace fs = std::filesystem;

std::string gRoot;
std::string gTemp;
int gWritten = 0;

void Put(const std::string& target, const std::string& name, const ByteArray& bytes) {
    const fs::path dir = fs::path(gRoot) / target;
    fs::create_directories(dir);
    std::ofstream out(dir / name, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!out) {
        std::fprintf(stderr, "cannot write %s\n", (dir / name).c_str());
        std::exit(1);
    }
    ++gWritten;
}
void Put(const std::string& target, const std::string& name, const std::string& text) {
    Put(target, name, ByteArray(text.begin(), text.end()));
}

ByteArray Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return ByteArray(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A file the sample generator wrote for a seed, taken whole and removed: the
// generator makes its files new, so the next seed needs the name free again.
ByteArray TakeGenerated(const std::string& path) {
    ByteArray bytes = Slurp(path);
    fs::remove(path);
    return bytes;
}

void Check(bool ok, const std::string& error) {
    if (ok) return;
    std::fprintf(stderr, "sample generator: %s\n", error.c_str());
    std::exit(1);
}

ByteArray Repeat(uint8_t first, size_t count) {
    ByteArray out(count);
    for (size_t i = 0; i < count; ++i) out[i] = static_cast<uint8_t>(first + i * 7);
    return out;
}

PatchEntry Entry(int32_t fileId, int32_t block, int32_t extra, ByteArray data, int32_t size) {
    PatchEntry e;
    e.FileID = fileId;
    e.Block = block;
    e.Extra = extra;
    e.Size = size;
    e.data = std::move(data);
    return e;
}
PatchEntry Entry(int32_t fileId, int32_t block, int32_t extra, ByteArray data) {
    const auto size = static_cast<int32_t>(data.size());
    return Entry(fileId, block, extra, std::move(data), size);
}

// A small patch over most types, with the sample generator's own blocks where
// they are small: a map block, a statics block, a gump; boundaries, empty
// blocks and a later entry of the same block.
std::vector<PatchEntry> SmallPatch() {
    ByteArray map(196);
    sample::MakeMapBlock(1, sample::kMapRows, 513, nullptr, map.data());
    std::vector<PatchEntry> list;
    list.push_back(Entry(0, 513, -1, map));
    list.push_back(Entry(2, 513, 0, sample::StaticsBlock(1, 1, 1)));
    list.push_back(Entry(4, 65536, 0, Repeat(1, 16)));  // Art's highest block
    list.push_back(Entry(12, 3, sample::GumpExtra(6, 4), sample::MakeGumpBlock(6, 4, 1)));
    list.push_back(Entry(8, 255, 0, {}, 0));
    list.push_back(Entry(32, 2, 0, {}, -1));
    list.push_back(Entry(128, 99, 0x00080008, Repeat(9, 8)));
    list.push_back(Entry(129, 65535, -1, Repeat(3, 2)));
    list.push_back(Entry(30, 1023, 0, Repeat(5, 12)));
    list.push_back(Entry(4, 65536, 7, Repeat(2, 10)));  // wins over the first
    return list;
}

// The same entries with bit 6 on the types whose InVerdata starts at 0.
std::vector<PatchEntry> Flagged(std::vector<PatchEntry> list) {
    for (PatchEntry& e : list) e.FileID = sample::MUOFileID(e.FileID);
    return list;
}

// ---- MUO

ByteArray MuoHeader(int32_t count, int32_t version = 1, const char* name = "MUO") {
    ByteArray out;
    LeWriter w(out);
    w.Bytes("MUOP");
    w.I32(version);
    w.CString(name);
    w.CString("Created by Quillet");
    w.CString("Sir Patch");
    w.I32(count);
    return out;
}

void MuoEntry(ByteArray& out, int32_t fileId, int32_t block, int32_t extra, int32_t size, const ByteArray& data) {
    LeWriter w(out);
    w.I32(fileId);
    w.I32(block);
    w.I32(extra);
    w.I32(size);
    w.Bytes(data.data(), data.size());
}

ByteArray GeneratedMuo(const std::vector<PatchEntry>& entries) {
    const std::string path = gTemp + "/seed.muo";
    std::string error;
    Check(sample::WriteMUOFile(path, entries, &error), error);
    return TakeGenerated(path);
}

void MuoSeeds() {
    const std::string t = "fuzz_muo";
    const PatchLoadArgs open;  // 0, 255, 0, 400000: every block of a classic client
    PatchLoadArgs writeBack;
    writeBack.Flags = kWriteBack;
    const ByteArray sample = GeneratedMuo(Flagged(SmallPatch()));
    Put(t, "sample", PatchLoadInput(open, sample));
    Put(t, "sample-save", PatchLoadInput(writeBack, sample));
    Put(t, "sample-unflagged-save", PatchLoadInput(writeBack, GeneratedMuo(SmallPatch())));
    Put(t, "empty", PatchLoadInput(open, MuoHeader(0)));
    Put(t, "empty-save", PatchLoadInput(writeBack, MuoHeader(0)));

    PatchLoadArgs narrow;
    narrow.FromFileID = 4;
    narrow.ToFileID = 12;
    narrow.FromBlock = 3;
    narrow.ToBlock = 65535;
    Put(t, "narrow-range", PatchLoadInput(narrow, sample));

    ByteArray file = MuoHeader(5);  // says 5, holds 2: the rest reads as zeroed records
    MuoEntry(file, 4, 1, 0, 3, {1, 2, 3});
    MuoEntry(file, 72, 2, 0, 0, {});
    Put(t, "short-count", PatchLoadInput(writeBack, file));
    file = MuoHeader(0x7FFFFFFF);
    MuoEntry(file, 12, 9, 5, 2, {7, 7});
    Put(t, "huge-count", PatchLoadInput(open, file));
    file = MuoHeader(-1);
    MuoEntry(file, 4, 1, 0, 1, {1});
    Put(t, "negative-count", PatchLoadInput(open, file));
    file = MuoHeader(1, 2);
    MuoEntry(file, 4, 1, 0, 1, {1});
    Put(t, "version-2", PatchLoadInput(open, file));
    file = MuoHeader(1);
    file.resize(20);  // ends inside the description: no 0 byte
    Put(t, "strings-cut", PatchLoadInput(open, file));
    file = MuoHeader(2, 1, "a much longer patch name than the program writes");
    MuoEntry(file, 4, 1, 0, 2, {1, 2});
    MuoEntry(file, 16, 255, 0, 2, {3, 4});
    Put(t, "foreign-strings", PatchLoadInput(writeBack, file));

    file = MuoHeader(6);  // 252..255 carry bit 6 and are dropped silently
    for (int32_t id : {252, 253, 254, 255}) MuoEntry(file, id, 0, 0, 1, {9});
    MuoEntry(file, 68, 1, 0, 1, {1});   // Art, InVerdata 0
    MuoEntry(file, 192, 1, 0, 1, {2});  // Light, InVerdata 0
    Put(t, "reserved-and-flags", PatchLoadInput(writeBack, file));
    file = MuoHeader(4);  // one past the highest block: a message each, the next entry read as usual
    MuoEntry(file, 4, 65537, 0, 2, {1, 2});
    MuoEntry(file, 12, 65536, 0, 0, {});
    MuoEntry(file, 1, 1, 0, 0, {});
    MuoEntry(file, 12, 65535, 0, 1, {5});
    Put(t, "illegal-blocks", PatchLoadInput(open, file));
    file = MuoHeader(2);  // block 0 of an unused type: the store fails
    MuoEntry(file, 4, 5, 0, 1, {1});
    MuoEntry(file, 1, 0, 0, 1, {1});
    Put(t, "unused-type", PatchLoadInput(open, file));
    PatchLoadArgs negative;
    negative.FromBlock = -10;
    file = MuoHeader(1);
    MuoEntry(file, 8, -3, 0, 1, {1});
    Put(t, "negative-block", PatchLoadInput(negative, file));
    for (int32_t field : {256, -1}) {
        file = MuoHeader(2);
        MuoEntry(file, 4, 5, 0, 1, {1});
        MuoEntry(file, field, 0, 0, 0, {});
        Put(t, "fileid-" + std::to_string(field), PatchLoadInput(open, file));
    }
    file = MuoHeader(1);
    MuoEntry(file, 4, 5, 0, 0x7FFFFFFF, {1, 2, 3});
    Put(t, "size-huge", PatchLoadInput(open, file));
    file = MuoHeader(1);
    MuoEntry(file, 4, 5, 0, 4, {1, 2, 3});  // one byte short
    Put(t, "size-past-end", PatchLoadInput(open, file));
    file = MuoHeader(2);
    MuoEntry(file, 4, 5, 0, 3, {1, 2, 3});
    file.insert(file.end(), {4, 0, 0, 0, 6});  // the next head is cut
    Put(t, "entry-cut", PatchLoadInput(writeBack, file));
}

// ---- UOP

ByteArray GeneratedUop(int32_t version, const std::vector<PatchEntry>& entries) {
    const std::string path = gTemp + "/seed.uop";
    std::string error;
    Check(sample::WriteUOPFile(path, version, entries, &error), error);
    return TakeGenerated(path);
}

ByteArray UopHeader(uint8_t version, int32_t count, const char* magic = "UOP") {
    ByteArray out;
    LeWriter w(out);
    w.Bytes(magic);
    w.U8(version);
    w.I32(count);
    w.I32(0);
    if (version == 5) w.Bytes("Quillet Pa");
    return out;
}

void UopEntry(ByteArray& out, uint8_t fileId, int32_t block, int32_t size, int32_t extra, const ByteArray& data) {
    LeWriter w(out);
    w.U8(fileId);
    w.I32(block);
    w.I32(size);
    w.I32(extra);
    w.Bytes(data.data(), data.size());
}

void UopSeeds() {
    const std::string t = "fuzz_uop";
    const PatchLoadArgs all;
    Put(t, "sample-v4", PatchLoadInput(all, GeneratedUop(4, SmallPatch())));
    Put(t, "sample-v5", PatchLoadInput(all, GeneratedUop(5, SmallPatch())));
    PatchLoadArgs narrow;
    narrow.FromFileID = 0;
    narrow.ToFileID = 8;
    narrow.FromBlock = 255;
    narrow.ToBlock = 70000;
    Put(t, "narrow-range", PatchLoadInput(narrow, GeneratedUop(5, SmallPatch())));
    for (int version : {3, 6}) {
        ByteArray file = UopHeader(static_cast<uint8_t>(version), 1);
        UopEntry(file, 4, 1, 1, 0, {1});
        Put(t, "version-" + std::to_string(version), PatchLoadInput(all, file));
    }
    ByteArray file = UopHeader(4, 1, "XYZ");  // nothing compares the magic
    UopEntry(file, 4, 1, 1, 0, {1});
    Put(t, "other-magic", PatchLoadInput(all, file));
    file = UopHeader(4, 4);  // says 4, holds 2: the last one repeats
    UopEntry(file, 12, 7, 2, 3, {1, 2});
    UopEntry(file, 4, 65537, 0, 0, {});
    Put(t, "short-count-repeats", PatchLoadInput(all, file));
    file = UopHeader(5, 3);
    UopEntry(file, 10, 4, 3, 0, {1, 2, 3});
    file.insert(file.end(), {16, 1, 2});  // FileID and half a Block of the next entry
    Put(t, "entry-cut", PatchLoadInput(all, file));
    file = UopHeader(4, 0x7FFFFFFF);
    UopEntry(file, 8, 1, 0, 0, {});
    Put(t, "huge-count", PatchLoadInput(all, file));
    file = UopHeader(4, 2);
    UopEntry(file, 4, 1, 0x7FFFFFFF, 0, {1});
    Put(t, "size-huge", PatchLoadInput(all, file));
    file = UopHeader(4, 1);
    UopEntry(file, 4, 1, 40, 0, {1, 2, 3});  // within the file's length, past its end
    Put(t, "size-past-end", PatchLoadInput(all, file));
    file = UopHeader(4, 5);
    for (int id : {252, 253, 254, 255}) UopEntry(file, static_cast<uint8_t>(id), 0, 1, 0, {1});
    UopEntry(file, 1, 0, 0, 0, {});  // an unused type: the store fails
    Put(t, "reserved-then-unused", PatchLoadInput(all, file));
    Put(t, "header-only", PatchLoadInput(all, UopHeader(5, 2)));
    Put(t, "header-cut", PatchLoadInput(all, ByteArray{'U', 'O', 'P', 4, 1}));
}

// ---- verdata.mul

ByteArray GeneratedVerdata(const std::vector<PatchEntry>& entries) {
    const std::string path = gTemp + "/verdata.mul";
    std::string error;
    Check(sample::WriteVerdataFile(path, entries, &error), error);
    return TakeGenerated(path);
}

// Entries given with their Position as it stands, the data after them.
struct RawVerdata {
    int32_t count;
    std::vector<std::array<int32_t, 5>> entries;  // FileID, Block, Position, Size, Extra
    ByteArray data;
    ByteArray Bytes() const {
        ByteArray out;
        LeWriter w(out);
        w.I32(count);
        for (const auto& e : entries)
            for (int32_t v : e) w.I32(v);
        w.Bytes(data.data(), data.size());
        return out;
    }
};

void VerdataSeeds() {
    const std::string t = "fuzz_verdata";
    const PatchLoadArgs all;
    PatchLoadArgs exportToo;
    exportToo.Flags = kWriteBack;
    const ByteArray sample = GeneratedVerdata(SmallPatch());
    Put(t, "sample", PatchLoadInput(all, sample));
    Put(t, "sample-export", PatchLoadInput(exportToo, sample));
    std::vector<PatchEntry> sampleSet;
    for (int32_t n = 0; n < 5; ++n) {
        PatchEntry e;
        sample::SampleVerdataEntry(3, 5, n, e);
        if (e.data.size() > 64) {  // keep the seed small
            e.data.resize(64);
            e.Size = 64;
        }
        sampleSet.push_back(e);
    }
    Put(t, "sample-set-export", PatchLoadInput(exportToo, GeneratedVerdata(sampleSet)));
    PatchLoadArgs narrow;
    narrow.FromFileID = 4;
    narrow.ToFileID = 129;
    narrow.FromBlock = 1000;
    narrow.ToBlock = 65535;
    Put(t, "narrow-range-export", PatchLoadInput(exportToo, sample));
    Put(t, "empty", PatchLoadInput(all, GeneratedVerdata({})));
    Put(t, "empty-export", PatchLoadInput(exportToo, GeneratedVerdata({})));

    const int32_t dataAt = 4 + 20 * 3;
    RawVerdata raw{3, {{4, 1, dataAt, 2, 0}, {300, 2, dataAt + 2, 2, 5}, {12, 65536, 0, -1, 0}}, {1, 2, 3, 4}};
    Put(t, "fileid-300-and-illegal-block", PatchLoadInput(exportToo, raw.Bytes()));
    raw = {2, {{4, 1, dataAt, 2, 0}, {-1, 2, 0, 0, 0}}, {1, 2}};
    Put(t, "fileid-negative", PatchLoadInput(exportToo, raw.Bytes()));
    raw = {2, {{4, 1, -8, 2, 0}, {8, 2, 0, 0, 0}}, {1, 2}};
    Put(t, "position-negative", PatchLoadInput(exportToo, raw.Bytes()));
    raw = {2, {{4, 1, 44, 0x7FFFFFFF, 0}, {8, 2, 0, 0, 0}}, {1, 2}};
    Put(t, "size-huge", PatchLoadInput(all, raw.Bytes()));
    raw = {1, {{4, 1, 24, 3, 0}}, {1, 2}};  // one byte past the end
    Put(t, "data-past-end", PatchLoadInput(exportToo, raw.Bytes()));
    raw = {1, {{255, 0, 0, -1, 0}}, {}};  // a reserved entry taken in: no slots for 255
    PatchLoadArgs everything;
    everything.ToFileID = 255;
    Put(t, "reserved-entry", PatchLoadInput(everything, raw.Bytes()));
    raw = {3, {{4, 1, 64, 2, 0}, {4, 1, 64, 2, 9}, {2, 0, 0, 0, 3}}, {5, 6}};  // shared bytes, a repeat
    Put(t, "shared-data-export", PatchLoadInput(exportToo, raw.Bytes()));
    raw = {1000, {{4, 1, 0, 0, 0}}, {}};
    Put(t, "count-beyond-file", PatchLoadInput(all, raw.Bytes()));
    raw = {-1, {{4, 1, 0, 0, 0}}, {}};
    Put(t, "count-negative", PatchLoadInput(exportToo, raw.Bytes()));
    Put(t, "count-cut", PatchLoadInput(all, ByteArray{2, 0}));
}

// ---- LoadMUL and LoadTiledata

// An IDX and MUL pair from records, written by the sample generator.
void Pair(const std::vector<sample::IdxRecord>& records, ByteArray& idx, ByteArray& mul) {
    const std::string idxPath = gTemp + "/seed.idx";
    const std::string mulPath = gTemp + "/seed.mul";
    std::string error;
    const bool ok = sample::WriteIdxMulPair(
        idxPath, mulPath, static_cast<int32_t>(records.size()),
        [&records](int32_t n, sample::IdxRecord& r) { r = records[static_cast<size_t>(n)]; }, nullptr, &error);
    Check(ok, error);
    idx = TakeGenerated(idxPath);
    mul = TakeGenerated(mulPath);
}

sample::IdxRecord Record(sample::IdxRecord::Kind kind, int32_t extra, ByteArray bytes = {}) {
    sample::IdxRecord r;
    r.kind = kind;
    r.extra = extra;
    r.bytes = std::move(bytes);
    return r;
}

// Record n by hand: Position, Size, Extra.
void RawRecord(ByteArray& idx, int32_t position, int32_t size, int32_t extra) {
    LeWriter w(idx);
    w.I32(position);
    w.I32(size);
    w.I32(extra);
}

uint8_t Selector(int fileId, bool asTheyCome = false) {
    for (size_t i = 0; i < kMulTypes.size(); ++i)
        if (kMulTypes[i] == fileId) return static_cast<uint8_t>(i | (asTheyCome ? kAsTheyCome : 0));
    std::fprintf(stderr, "no MUL type %d\n", fileId);
    std::exit(1);
}

void MulSeeds() {
    const std::string t = "fuzz_mul";
    using Kind = sample::IdxRecord::Kind;
    std::vector<sample::IdxRecord> records{
        Record(Kind::Data, 0x00060004, sample::MakeGumpBlock(6, 4, 2)), Record(Kind::Empty, 0),
        Record(Kind::ZeroSize, 3),  Record(Kind::Data, 7, Repeat(1, 9)),
        Record(Kind::Empty, -1),    Record(Kind::Data, -5, sample::StaticsBlock(2, 0, 3))};
    MulLoadArgs args;
    Pair(records, args.Idx, args.Mul);
    // The pair types, from the first block up.
    for (int id : {2, 4, 6, 8, 10, 12, 14, 16, 31, 128}) {
        args.Selector = Selector(id);
        Put(t, "pair-" + std::to_string(id), MulLoadInput(args));
    }
    args.Selector = Selector(4, true);
    Put(t, "pair-4-short-index", MulLoadInput(args));
    args.Selector = Selector(4);
    args.FromBlock = 65530;
    Put(t, "pair-4-last-blocks", MulLoadInput(args));
    args.FromBlock = 3;
    args.ToBlock = 1;
    Put(t, "pair-4-to-below-from", MulLoadInput(args));
    args.FromBlock = -2;
    args.ToBlock = 400000;
    Put(t, "pair-4-negative-from", MulLoadInput(args));
    args.FromBlock = 0;
    for (int id : {1, 255}) {
        args.Selector = Selector(id);
        Put(t, "unused-" + std::to_string(id), MulLoadInput(args));
    }

    MulLoadArgs bad;  // records that ask too much: -2 ends the walk, the others fail
    bad.Selector = Selector(12);
    RawRecord(bad.Idx, 0, 4, 1);
    RawRecord(bad.Idx, 2, 4, 2);  // reaches past the end of the MUL file: zeros
    RawRecord(bad.Idx, 0, -2, 0);
    RawRecord(bad.Idx, 0, 4, 3);
    bad.Mul = {1, 2, 3, 4};
    Put(t, "stop-record", MulLoadInput(bad));
    bad.Idx.clear();
    RawRecord(bad.Idx, -4, 4, 0);
    Put(t, "negative-position", MulLoadInput(bad));
    bad.Idx.clear();
    RawRecord(bad.Idx, 0, 0x7FFFFFFF, 0);
    Put(t, "size-huge", MulLoadInput(bad));
    bad.Idx.clear();
    RawRecord(bad.Idx, 0, 5, 0);  // one more than the whole MUL file
    Put(t, "size-beyond-file", MulLoadInput(bad));

    // The constant-size types: a few blocks of the right size.
    MulLoadArgs constant;
    ByteArray map(196 * 2);
    sample::MakeMapBlock(1, sample::kMapRows, 0, nullptr, map.data());
    sample::MakeMapBlock(1, sample::kMapRows, 1, nullptr, map.data() + 196);
    constant.Selector = Selector(0);
    constant.Mul = map;
    constant.ToBlock = 3;
    Put(t, "map", MulLoadInput(constant));
    constant.Selector = Selector(0, true);
    constant.FromBlock = 393200;
    constant.ToBlock = 400000;
    Put(t, "map-last-blocks", MulLoadInput(constant));
    constant.FromBlock = 0;
    constant.ToBlock = 400000;
    constant.Selector = Selector(32);
    constant.Mul = Repeat(4, 708 * 2);
    Put(t, "hues", MulLoadInput(constant));
    constant.Selector = Selector(129);
    constant.Mul = Repeat(8, 64);
    constant.FromBlock = 65500;
    Put(t, "radarcol", MulLoadInput(constant));
    constant.FromBlock = -1;
    Put(t, "radarcol-negative-from", MulLoadInput(constant));

    MulLoadArgs tiles;  // the tile data file's two sections
    tiles.Selector = Selector(30);
    tiles.Mul = Repeat(6, 836 * 2);
    tiles.FromBlock = 100;
    tiles.ToBlock = 300;
    Put(t, "tiledata-land", MulLoadInput(tiles));
    tiles.FromBlock = 600;
    tiles.ToBlock = 700;
    Put(t, "tiledata-statics-from-512", MulLoadInput(tiles));
    tiles.FromBlock = 0;
    tiles.ToBlock = 512;
    Put(t, "tiledata-to-512", MulLoadInput(tiles));
    tiles.Selector = Selector(30, true);
    tiles.ToBlock = 400000;
    Put(t, "tiledata-short-file", MulLoadInput(tiles));
}

// ---- CompareMUL

uint8_t CompareSelector(int fileId, bool asTheyCome = false) {
    for (size_t i = 0; i < kCompareTypes.size(); ++i)
        if (kCompareTypes[i] == fileId) return static_cast<uint8_t>(i | (asTheyCome ? kAsTheyCome : 0));
    std::fprintf(stderr, "no compare type %d\n", fileId);
    std::exit(1);
}

void CompareSeeds() {
    const std::string t = "fuzz_compare";
    using Kind = sample::IdxRecord::Kind;
    const std::vector<sample::IdxRecord> base{
        Record(Kind::Data, 1, Repeat(1, 6)), Record(Kind::Data, 2, Repeat(2, 5)), Record(Kind::Empty, 0),
        Record(Kind::ZeroSize, 0),           Record(Kind::Data, 5, Repeat(3, 4)), Record(Kind::Data, 6, Repeat(4, 3))};
    std::vector<sample::IdxRecord> altered = base;
    altered[0].bytes[5] ^= 1;                              // one byte differs
    altered[1].extra = 99;                                 // only the extra word: equal
    altered[2] = Record(Kind::Data, 7, Repeat(9, 8));      // new
    altered[3] = Record(Kind::Empty, 0);                   // 0 against -1: differs
    altered[4] = Record(Kind::Empty, 0);                   // gone
    altered[5].bytes.push_back(0);                         // longer

    CompareArgs args;
    Pair(base, args.Idx1, args.Mul1);
    Pair(altered, args.Idx2, args.Mul2);
    for (int id : {8, 10, 14, 16, 31, 128}) {
        args.Selector = CompareSelector(id);
        Put(t, "pair-" + std::to_string(id), CompareInput(args));
    }
    args.Selector = CompareSelector(14, true);
    Put(t, "multis-short-index", CompareInput(args));
    args.Selector = CompareSelector(4);
    Put(t, "art", CompareInput(args));
    args.Selector = CompareSelector(12);
    Put(t, "gumps", CompareInput(args));
    args.Selector = CompareSelector(1);
    Put(t, "unused-type", CompareInput(args));
    CompareArgs same = args;
    same.Selector = CompareSelector(8);
    same.Idx2 = same.Idx1;
    same.Mul2 = same.Mul1;
    Put(t, "identical", CompareInput(same));

    CompareArgs constant;  // hues, radar colours and tile data by their block sizes
    constant.Selector = CompareSelector(32);
    constant.Mul1 = Repeat(1, 708 * 2);
    constant.Mul2 = constant.Mul1;
    constant.Mul2[708 + 100] ^= 0x40;
    Put(t, "hues", CompareInput(constant));
    constant.Mul2.resize(708);  // the altered file is shorter: zeros past its end
    Put(t, "hues-shorter", CompareInput(constant));
    constant.Selector = CompareSelector(32, true);
    Put(t, "hues-short-files", CompareInput(constant));
    constant.Selector = CompareSelector(129);
    constant.Mul1 = Repeat(2, 40);
    constant.Mul2 = Repeat(2, 42);
    Put(t, "radarcol", CompareInput(constant));
    constant.Selector = CompareSelector(30);
    constant.Mul1 = Repeat(3, 900);
    constant.Mul2 = Repeat(3, 900);
    constant.Mul2[850] = 0;  // in the second land group
    Put(t, "tiledata", CompareInput(constant));
    CompareArgs bad = args;  // a record that fails on the altered side
    bad.Selector = CompareSelector(8);
    bad.Idx2.clear();
    RawRecord(bad.Idx2, 0, 0x40000000, 0);
    Put(t, "altered-size-huge", CompareInput(bad));
    RawRecord(bad.Idx1, -1, 3, 0);
    bad.Idx2.clear();
    RawRecord(bad.Idx2, -1, 3, 0);
    Put(t, "negative-position", CompareInput(bad));
}

// ---- The registry

const char* const kWine =
    "WINE REGISTRY Version 2\n"
    ";; All keys relative to \\\\Machine\n"
    "\n"
    "#arch=win32\n"
    "\n"
    "[Software\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0] 1710000001\n"
    "#time=1da7b1c2d3e4f51\n"
    "\"ExePath\"=\"C:\\\\Program Files\\\\Ultima Online\\\\client.exe\"\n"
    "\"InstCDPath\"=\"C:\\\\Program Files\\\\Ultima Online\"\n"
    "\"Version\"=dword:00000001\n"
    "\n"
    "[Software\\\\Origin Worlds Online\\\\Ultima Online Third Dawn\\\\1.0] 1710000002\n"
    "\"ExePath\"=str(2):\"C:\\\\Program Files\\\\UOTD\\\\uotd.exe\"\n"
    "@=hex(2):43,00,3a,00,5c,00,00,00\n"
    "\"Binary\"=hex:01,02,\\\n"
    "  03,04\n";

const char* const kWin64 =
    "WINE REGISTRY Version 2\n"
    "#arch=win64\n"
    "\n"
    "[Software\\\\Wow6432Node\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0] 1\n"
    "\"ExePath\"=\"C:\\\\PROGRAM FILES\\\\ULTIMA ONLINE\\\\client.exe\"\n"
    "[Software\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0] 1\n"
    "\"ExePath\"=\"D:\\\\elsewhere\\\\client.exe\"\n"
    "[Software\\\\Escapes\\\\\\x00e9t\\xe9\\\"q\\] 2\n"
    "\"Name\\\\x\"=\"tab\\there\\x263a\\xd83d\\xde00\\101\"\n"
    "\"Deleted\"=-\n";

const char* const kRegedit4 =
    "REGEDIT4\r\n"
    "\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0]\r\n"
    "\"ExePath\"=\"C:\\\\Program Files\\\\Ultima Online\\\\client.exe\"\r\n"
    "[HKEY_CURRENT_USER\\Software\\Quillet]\r\n"
    "\"Left\"=dword:0000012c\r\n";

std::string Utf16(const std::string& text) {
    std::string out = "\xFF\xFE";
    for (const char c : text) {
        out += c;
        out += '\0';
    }
    return out;
}

void RegistrySeeds() {
    const std::string t = "fuzz_registry";
    const std::string twoD = "SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0|ExePath";
    Put(t, "wine", RegistryInput(twoD, kWine));
    Put(t, "wine-3d-default-value", RegistryInput("software\\origin worlds online\\ultima online third dawn\\1.0|", kWine));
    Put(t, "wine-binary", RegistryInput("Software\\Origin Worlds Online\\Ultima Online Third Dawn\\1.0|Binary", kWine));
    Put(t, "win64-twin", RegistryInput(twoD, kWin64));
    Put(t, "win64-escapes", RegistryInput("Software\\Escapes|name\\x", kWin64));
    Put(t, "regedit4", RegistryInput(twoD, kRegedit4));
    Put(t, "regedit4-user", RegistryInput("Software\\Quillet|Left", kRegedit4));
    const std::string regedit5 =
        "Windows Registry Editor Version 5.00\r\n\r\n"
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\WOW6432Node\\Origin Worlds Online\\Ultima Online\\1.0]\r\n"
        "\"ExePath\"=\"C:\\\\Games\\\\UO\\\\client.exe\"\r\n";
    Put(t, "regedit5-utf16", RegistryInput(twoD, Utf16(regedit5)));
    Put(t, "query", RegistryInput("key=SOFTWARE%5COrigin+Worlds+Online&ExePath=C%3A%5Cx%2B%26y%21&bad", kWine));
    Put(t, "broken-lines",
        RegistryInput("Software\\A|v", "WINE REGISTRY Version 2\n[Software\\\\A\n\"v\"=\"open\n[Software\\\\A] 1\n"
                                       "\"v\"=hex(:01\n\"v\"=dword:123456789\n\"v\"=\"ok\"\n"));
}

// ---- Numbers in text

void ConvertSeeds() {
    const std::string t = "fuzz_convert";
    const std::vector<std::pair<std::string, std::string>> texts{
        {"decimal-prefix", "12abc"},
        {"blank-sign-fraction", "  -3.5e2xyz"},
        {"hex-16", "&HFFFF"},
        {"hex-minus-one", "&hFFFFFFFF"},
        {"hex-33-bits", "&H100000000"},
        {"octal", "&O777"},
        {"block-0x", "0x1F4"},
        {"exponent-d", "1D308"},
        {"overflow", "9e999"},
        {"underflow", "1e-400"},
        {"half-to-even", "2.5"},
        {"byte-edge", "255.5"},
        {"date-time", "2024-02-29 13:45:10"},
        {"date-before-epoch", "1899-12-29T06:00"},
        {"time", "7:05:09"},
        {"currency", "0.00015"},
        {"currency-big", "922337203685477.5807"},
        {"hex-pairs", "4d5a9G0"},
        {"empty", ""},
    };
    for (const auto& [name, text] : texts) Put(t, name, text);
}

// ---- Client UOP containers and the stages of flag 3

std::string Numbered(const char* pattern, int32_t n) {
    char name[64];
    std::snprintf(name, sizeof name, pattern, n);
    return name;
}

// A container made by the writer: the entries, by name, with their flags.
struct ContainerEntry {
    std::string name;
    ByteArray bytes;
    int16_t flag;
};
ByteArray GeneratedContainer(const std::vector<ContainerEntry>& entries, uint32_t capacity, bool unusedSlot = false) {
    const std::string path = gTemp + "/seed.uop";
    try {
        ClientUOPWriter writer(path, {.capacity = capacity, .entryHeaders = true});
        for (size_t i = 0; i < entries.size(); ++i) {
            if (unusedSlot && i == 1) writer.AddUnusedSlot();
            writer.Add(entries[i].name, entries[i].bytes, entries[i].flag);
        }
        writer.Finish();
    } catch (const std::exception& failure) {
        Check(false, failure.what());
    }
    return TakeGenerated(path);
}

ByteArray Gump(int32_t width, int32_t height) {
    ByteArray out;
    LeWriter w(out);
    w.I32(width);
    w.I32(height);
    const ByteArray block = sample::MakeGumpBlock(width, height, 5);
    w.Bytes(block.data(), block.size());
    return out;
}

ByteArray MapEntry(int32_t first, int32_t blocks, int32_t extraBytes) {
    ByteArray out(static_cast<size_t>(blocks) * 196 + static_cast<size_t>(extraBytes));
    for (size_t i = 0; i < out.size(); ++i) out[i] = static_cast<uint8_t>((first * 7 + i / 196) % 11 + i % 3);
    return out;
}

void PutU64(ByteArray& file, size_t at, uint64_t v) {
    for (int i = 0; i < 8; ++i) file[at + static_cast<size_t>(i)] = static_cast<uint8_t>(v >> (8 * i));
}

void ContainerSeeds() {
    const std::string t = "fuzz_client_uop";
    const uint8_t art = ContainerSelector(4), gumps = ContainerSelector(12), sound = ContainerSelector(8),
                  map = ContainerSelector(0), statics = ContainerSelector(2);
    // Two tables of 3 slots, one unused, every flag.
    const ByteArray artFile =
        GeneratedContainer({{Numbered("build/artlegacymul/%08d.tga", 0), Repeat(1, 300), 0},
                            {Numbered("build/artlegacymul/%08d.tga", 0x4000), sample::MakeStaticArt(1, 0), 1},
                            {Numbered("build/artlegacymul/%08d.tga", 0x13FDB), Repeat(4, 200), 3},
                            {Numbered("build/artlegacymul/%08d.tga", 0x1FFFF), Repeat(9, 20), 0}},
                           3, true);
    Put(t, "art", ContainerInput(art, artFile));
    Put(t, "art-as-gumps", ContainerInput(gumps, artFile));
    Put(t, "art-as-statics", ContainerInput(statics, artFile));
    Put(t, "gumps",
        ContainerInput(gumps, GeneratedContainer({{Numbered("build/gumpartlegacymul/%08d.tga", 0), Gump(6, 4), 3},
                                                  {Numbered("build/gumpartlegacymul/%07d.tga", 9834), Gump(3, 2), 3},
                                                  {Numbered("build/gumpartlegacymul/%08d.tga", 5), Gump(2, 2), 0},
                                                  {Numbered("build/gumpartlegacymul/%08d.tga", 6), {1, 2, 3}, 1}},
                                                 100)));
    Put(t, "sound",
        ContainerInput(sound, GeneratedContainer({{Numbered("build/soundlegacymul/%08d.dat", 0), Repeat(3, 90), 1},
                                                  {Numbered("build/soundlegacymul/%08d.dat", 4095), Repeat(5, 41), 0}},
                                                 100)));
    // Facet 4 (32761 blocks): short entries, one with the facet's last block, one beyond the facet.
    Put(t, "map4",
        ContainerInput(map, GeneratedContainer({{Numbered("build/map4legacymul/%08d.dat", 0), MapEntry(0, 3, 50), 1},
                                                {Numbered("build/map4legacymul/%08d.dat", 7), MapEntry(7, 12, 0), 3},
                                                {Numbered("build/map4legacymul/%08d.dat", 9), MapEntry(9, 2, 10), 0}},
                                               100)));
    Put(t, "multicollection",
        ContainerInput(art, GeneratedContainer({{"build/multicollection/housing.bin", Repeat(1, 9), 1},
                                                {"build/multicollection/000003.bin", Repeat(2, 9), 0}},
                                               100)));
    Put(t, "empty", ContainerInput(sound, GeneratedContainer({}, 100)));

    // Damaged ones, each from the art container (its tables at 40 and 40 + 12 + 3 x 34 + the data).
    const auto hostile = [&](const std::string& name, ByteArray file) {
        Put(t, "hostile-" + name, ContainerInput(art, file));
    };
    const size_t slot0 = 40 + 12, slot2 = slot0 + 2 * 34;
    ByteArray file = artFile;
    PutU64(file, 44, 40);
    hostile("table-is-its-own-next", file);
    file = artFile;
    PutU64(file, 12, artFile.size());
    hostile("table-past-the-end", file);
    file = artFile;
    StoreI32(file.data() + 40, 4);
    hostile("more-slots-than-capacity", file);
    file = artFile;
    PutU64(file, slot0, artFile.size() - 10);
    hostile("entry-past-the-end", file);
    file = artFile;
    StoreI32(file.data() + slot0 + 12, -1);
    hostile("negative-stored-size", file);
    file = artFile;
    StoreI32(file.data() + slot2 + 16, 0x7FFFFFFF);
    hostile("inflated-2gb", file);
    file = artFile;
    StoreI32(file.data() + slot2 + 16, 10);
    hostile("inflates-to-more", file);
    file = artFile;
    StoreI16(file.data() + slot2 + 32, 3);
    hostile("zlib-entry-as-flag-3", file);
    // A flag-3 entry whose counts add up to more than its streams hold: T
    // through stage 1 after a prefix nobody looks at.
    ByteArray t2(1024 + 8, 0);
    StoreI32(t2.data() + 4 * 'A', 1000);
    ByteArray staged(4, 0);
    std::vector<uint8_t> list(256);
    for (int i = 0; i < 256; ++i) list[static_cast<size_t>(i)] = static_cast<uint8_t>(i);
    for (const uint8_t v : t2) {
        const auto at = std::find(list.begin(), list.end(), v);
        staged.push_back(static_cast<uint8_t>(at - list.begin()));
        list.erase(at);
        list.insert(list.begin(), v);
    }
    const std::string path = gTemp + "/counts.uop";
    try {
        ClientUOPWriter writer(path);
        writer.AddStored(UOPNameHash(Numbered("build/artlegacymul/%08d.tga", 1)), Deflate(staged),
                         static_cast<int32_t>(staged.size()), 3);
        writer.Finish();
    } catch (const std::exception& failure) {
        Check(false, failure.what());
    }
    const ByteArray counts = TakeGenerated(path);
    hostile("counts-past-the-data", counts);
}

void StagesSeeds() {
    const std::string t = "fuzz_entry_stages";
    Put(t, "aabacb", StagesInput(0, EncodeStages(ByteArray{'A', 'A', 'B', 'A', 'C', 'B'})));
    Put(t, "gump", StagesInput(0, EncodeStages(sample::MakeGumpBlock(9, 5, 3))));
    Put(t, "empty", StagesInput(0, EncodeStages(ByteArray{})));
    Put(t, "every-byte", StagesInput(0, EncodeStages(Repeat(0, 256))));
    ByteArray cut = EncodeStages(ByteArray{'A', 'B'});
    cut.resize(1000);
    Put(t, "cut-table", StagesInput(0, cut));
    Put(t, "round-trip", StagesInput(kStagesRoundTrip, sample::MakeGumpBlock(12, 7, 9)));
    ByteArray edit{3, 0, 1};  // the fourth stream byte made 1
    const ByteArray gump = sample::MakeGumpBlock(6, 3, 4);
    edit.insert(edit.end(), gump.begin(), gump.end());
    Put(t, "edited", StagesInput(kStagesRoundTrip | kStagesEdited, edit));
}

// ---- The picture decoders (a 4-byte Extra, then the block), the WAV
// writer and the art encoders.

ByteArray PictureInput(int32_t extra, const ByteArray& block) {
    ByteArray out;
    LeWriter w(out);
    w.I32(extra);
    w.Bytes(block.data(), block.size());
    return out;
}

// n u16 colours counting up from first by step, bit 15 on every third.
ByteArray Colours(size_t n, uint32_t first, uint32_t step) {
    ByteArray out;
    LeWriter w(out);
    for (size_t i = 0; i < n; ++i) w.U16(static_cast<uint16_t>(first + step * i | (i % 3 == 0 ? 0x8000u : 0u)));
    return out;
}

void PictureSeeds() {
    ByteArray land = sample::MakeLandArt(7, 3);
    Put("fuzz_art_land", "land", PictureInput(0, land));
    land.resize(2048, 0);
    Put("fuzz_art_land", "land-2048", PictureInput(0, land));
    land.resize(2023);
    Put("fuzz_art_land", "short", PictureInput(0, land));

    Put("fuzz_art_item", "item", PictureInput(0, sample::MakeStaticArt(7, 5)));
    Put("fuzz_art_item", "item-2", PictureInput(0, sample::MakeStaticArt(9, 300)));
    ByteArray item;  // 6 by 3: runs with gaps, a row sharing an end mark
    LeWriter iw(item);
    for (const int v :
         {0, 0, 6, 3, 0, 9, 7, 1, 2, 0x421, 0x7C00, 1, 1, 0x801F, 0, 0, 0, 3, 0x3E0, 0, 0x1234, 2, 1, 0x7FFF, 0, 0})
        iw.U16(static_cast<uint16_t>(v));
    Put("fuzz_art_item", "gaps", PictureInput(0, item));

    for (const auto& [width, height] : std::vector<std::pair<int32_t, int32_t>>{{9, 5}, {40, 30}, {1, 1}})
        Put("fuzz_gump", "gump-" + std::to_string(width) + "x" + std::to_string(height),
            PictureInput(width << 16 | height, sample::MakeGumpBlock(width, height, 3)));
    Put("fuzz_gump", "claims-65535", PictureInput(-1, sample::MakeGumpBlock(4, 4, 1)));

    Put("fuzz_texmap", "64", PictureInput(0, Colours(64 * 64, 5, 7)));
    Put("fuzz_texmap", "128", PictureInput(1, Colours(128 * 128, 1, 3)));
    Put("fuzz_texmap", "odd", PictureInput(0, Colours(100, 1, 1)));

    ByteArray light(24 * 20);
    for (size_t i = 0; i < light.size(); ++i) light[i] = static_cast<uint8_t>(i % 7 == 0 ? 255 - i % 32 : i % 32);
    Put("fuzz_light", "24x20", PictureInput(20 << 16 | 24, light));
    Put("fuzz_light", "square", PictureInput(16 << 16 | 16, ByteArray(light.begin(), light.begin() + 256)));

    ByteArray client(708, 0), patch(1220, 0);
    for (size_t hue = 0; hue < 8; ++hue) {
        const ByteArray colours = Colours(34, static_cast<uint32_t>(hue * 100), 1);
        std::copy(colours.begin(), colours.end(), client.begin() + static_cast<std::ptrdiff_t>(4 + 88 * hue));
        std::copy(colours.begin(), colours.end(), patch.begin() + static_cast<std::ptrdiff_t>(4 + 152 * hue));
    }
    Put("fuzz_hues", "client", PictureInput(0, client));
    Put("fuzz_hues", "patch", PictureInput(0, patch));

    ByteArray map(196);
    sample::MakeMapBlock(7, 512, 100, nullptr, map.data());
    Put("fuzz_map_block", "map", PictureInput(0, map));

    ByteArray sound(40, 0);
    const std::string name = "bell.wav";
    std::copy(name.begin(), name.end(), sound.begin());
    for (size_t i = 0; i < 101; ++i) sound.push_back(static_cast<uint8_t>(i * 37));
    Put("fuzz_sound_wave", "odd", sound);
    sound.pop_back();
    Put("fuzz_sound_wave", "even", sound);
    Put("fuzz_sound_wave", "header-only", ByteArray(sound.begin(), sound.begin() + 40));

    // Mode, width, height, palette count, palette, indices.
    ByteArray picture{0, 11, 6, 3, 255, 0, 0, 255, 0, 0, 0, 255, 200, 0, 0, 0, 4, 4, 4, 255};
    for (int i = 0; i < 12 * 7; ++i) picture.push_back(static_cast<uint8_t>(i * 5 % 7));
    Put("fuzz_art_encode", "item", picture);
    picture[0] = 1;
    Put("fuzz_art_encode", "land", picture);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS-DIR (fuzz/corpus)\n", argv[0]);
        return 2;
    }
    gRoot = argv[1];
    std::string pattern = (fs::temp_directory_path() / "quillet-seeds-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) {
        std::perror("mkdtemp");
        return 1;
    }
    gTemp = pattern;
    MuoSeeds();
    UopSeeds();
    VerdataSeeds();
    MulSeeds();
    CompareSeeds();
    RegistrySeeds();
    ConvertSeeds();
    ContainerSeeds();
    StagesSeeds();
    PictureSeeds();
    std::error_code ignored;
    fs::remove_all(gTemp, ignored);
    std::printf("%d seed files written under %s\n", gWritten, gRoot.c_str());
    return 0;
}
