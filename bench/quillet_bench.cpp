// Benchmarks of the procedures that walk whole client files, each next to a
// baseline that moves the same bytes as dd bs=1M would: read() and write()
// of 1 MB through one buffer.
//
//   quillet_bench [--dir DIR] [--runs N] [--only CASE-PREFIX]
//
// The data is generated once (full-size map, statics, art, gumps, an old
// verdata.mul of 20000 entries) into DIR, or into a fresh temporary directory
// that is removed at the end. Every run of a case happens in a forked child
// so that its peak resident memory (ru_maxrss from wait4) is its own; the
// child times only the measured work, its preparation (a patch to draw, a
// verdata.mul to export onto) is not counted. The bulk jobs are timed whole,
// as a command pays for them: from the fresh patch's set-up to its disposal,
// the scratch file's making and removal included. A failure logged by the
// library during a run marks the case FAILED instead of giving a time.
// The picture cases (11, 12) need the Qt adapter; 12a and 12b run the
// quillet-cli built beside this program, as a user would, against QImage
// alone, and print blocks per second too.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "actions/mClientCompare.h"
#include "actions/mStart.h"
#include "base/cError.h"
#include "core/BlockRows.h"
#include "core/mDatafile.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "formats/ClientUOPWriter.h"
#include "formats/cClientUOP.h"
#include "formats/mPatchMUO.h"
#include "formats/mVerdata.h"
#include "operations/mGumps.h"
#include "operations/mImport.h"
#include "sample/SampleClient.h"
#include "sample/SampleContainers.h"
#include "support/Services.h"
#include "support/cRegistery.h"
#include "viewers/Canvas.h"
#include "viewers/mMap.h"
#include "viewers/mStatics.h"
#ifdef QUILLET_BENCH_GUI
#include "BlockListModel.h"
#endif
#ifdef QUILLET_BENCH_PICTURES
#include <dirent.h>

#include <QImage>

#include "core/BlockRows.h"
#include "qtpictures/PictureFiles.h"
#include "qtpictures/PicturePreview.h"
#include "viewers/BlockPictures.h"
#endif

namespace fs = std::filesystem;
using namespace quillet;

namespace {

constexpr int32_t kMapLastBlock = sample::kMapColumns * sample::kMapRows - 1;
constexpr int32_t kWideMapLastBlock = 896 * sample::kMapRows - 1;  // a Mondain's Legacy map
constexpr int32_t kVerdataEntries = 20000;
constexpr size_t kCopyBuffer = 1 << 20;

std::string gDir;  // ends without '/'

std::string In(const std::string& name) { return gDir + "/" + name; }

double NowMs() {
    using namespace std::chrono;
    return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

// ---- Baselines: what dd bs=1M does, read() and write() system calls of
// 1 MB into and out of one buffer, no stdio and no copy in between

// A save must have its finished file on the disk before it renames it over
// the user's file; the baseline copy of those bytes is synced too, or the
// comparison would set a durable save against a copy into the page cache.
// The copy that stands for a patch's scratch file is not synced: a job never
// syncs its scratch file, it removes it at the end (RemoveScratch).
enum class Sync { No, Yes };

[[noreturn]] void BaselineFailed(const char* what, const std::string& path) {
    std::fprintf(stderr, "baseline: cannot %s %s: %s\n", what, path.c_str(), std::strerror(errno));
    std::exit(1);
}

char* CopyBuffer() {
    static std::vector<char> buffer(kCopyBuffer);
    return buffer.data();
}

int OpenFile(const std::string& path, int flags) {
    int fd = -1;
    do {
        fd = ::open(path.c_str(), flags | O_CLOEXEC, 0644);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) BaselineFailed("open", path);
    return fd;
}

// The next piece of the file into the buffer: 1 MB, or fewer where read()
// gives fewer; 0 at the end.
size_t ReadPiece(int fd, const std::string& path) {
    for (;;) {
        const ssize_t got = ::read(fd, CopyBuffer(), kCopyBuffer);
        if (got >= 0) return static_cast<size_t>(got);
        if (errno != EINTR) BaselineFailed("read", path);
    }
}

// The first size bytes of the buffer, however many calls write() needs.
void WritePiece(int fd, size_t size, const std::string& path) {
    const char* at = CopyBuffer();
    while (size > 0) {
        const ssize_t put = ::write(fd, at, size);
        if (put < 0) {
            if (errno == EINTR) continue;
            BaselineFailed("write", path);
        }
        at += put;
        size -= static_cast<size_t>(put);
    }
}

// A new file to of the bytes of each file of from, one after the other.
void CopyFiles(std::initializer_list<std::string> from, const std::string& to, Sync sync) {
    const int out = OpenFile(to, O_WRONLY | O_CREAT | O_TRUNC);
    for (const std::string& source : from) {
        const int in = OpenFile(source, O_RDONLY);
        while (const size_t got = ReadPiece(in, source)) WritePiece(out, got, to);
        ::close(in);
    }
    if (sync == Sync::Yes && ::fsync(out) != 0) BaselineFailed("sync", to);
    if (::close(out) != 0) BaselineFailed("close", to);
}

void CopyFile(const std::string& from, const std::string& to, Sync sync = Sync::No) { CopyFiles({from}, to, sync); }

void RemoveScratch(const std::string& path) {
    if (::unlink(path.c_str()) != 0) BaselineFailed("remove", path);
}

// Reads the whole file, touching the last byte of every piece so that the
// read is not idle.
volatile unsigned gTouched = 0;
void ReadFile(const std::string& from) {
    const int in = OpenFile(from, O_RDONLY);
    unsigned sum = 0;
    while (const size_t got = ReadPiece(in, from)) sum += static_cast<unsigned char>(CopyBuffer()[got - 1]);
    ::close(in);
    gTouched = sum;
}

// ---- A picture page over plain memory

class MemorySurface : public PictureSurface {
public:
    MemorySurface() : pixels_(static_cast<size_t>(kClassicColumns) * kGridRows) {}
    void SetWidth(int32_t width) override {
        width_ = width;
        pixels_.resize(static_cast<size_t>(width) * kGridRows);
    }
    void Cls() override { std::fill(pixels_.begin(), pixels_.end(), 0xFFFFFFFFu); }
    void Refresh() override { ++refreshed; }
    Canvas hDC() override { return Canvas{pixels_.data(), width_, kGridRows, width_}; }
    int32_t Width() const { return width_; }
    int refreshed = 0;

private:
    int32_t width_ = kClassicColumns;
    std::vector<uint32_t> pixels_;
};

// A generated picture: smooth gradients with some noise, so rows have runs
// of varied length as a real picture would.
class GeneratedPicture : public PixelSource {
public:
    GeneratedPicture(int32_t width, int32_t height) : width_(width), height_(height) {
        pixels_.resize(static_cast<size_t>(width) * height);
        uint32_t state = 12345;
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x) {
                state = state * 1664525u + 1013904223u;
                RGB& p = pixels_[static_cast<size_t>(y) * width + x];
                p.Red = static_cast<uint8_t>(x / 8);
                p.Green = static_cast<uint8_t>(y / 8);
                p.Blue = static_cast<uint8_t>((state >> 24) < 32 ? state >> 16 : 64);
            }
    }
    int32_t Width() const override { return width_; }
    int32_t Height() const override { return height_; }
    RGB Pixel(int32_t x, int32_t y) const override { return pixels_[static_cast<size_t>(y) * width_ + x]; }

private:
    int32_t width_;
    int32_t height_;
    std::vector<RGB> pixels_;
};

// ---- Running a case

// prepare is untimed, work is timed; both run in the child, in a fresh patch.
// A case timed whole is what a command pays for a bulk job: its timed part
// begins with the fresh patch's set-up (the slots and the scratch file) and
// ends after the patch is disposed of (the scratch file removed); its
// prepare, if any, runs before, without a patch.
struct Case {
    std::string name;
    std::function<void()> prepare;
    std::function<bool()> work;      // false: the procedure answered failure
    std::function<void()> baseline;  // empty: no baseline
    // A baseline that needs an untimed preparation of its own runs in a
    // child as the case does: prepare, then work (both may be empty).
    std::function<void()> childBaselinePrepare{};
    std::function<bool()> childBaseline{};
    // Blocks a run handles: when set, blocks per second are printed too.
    int64_t blocks = 0;
    bool wholeJob = false;
};

Case WholeJob(Case c) {
    c.wholeJob = true;
    return c;
}

// A work that times only part of what it does (a baseline that must decode
// the pictures whose saving it measures) sets its own time here.
double gOwnTimeMs = -1;

struct RunResult {
    bool ok = false;
    double ms = 0;
    long maxRssKb = 0;
};

RunResult RunInChild(const Case& c) {
    int fds[2];
    if (::pipe(fds) != 0) {
        std::perror("pipe");
        std::exit(1);
    }
    const pid_t pid = ::fork();
    if (pid < 0) {
        std::perror("fork");
        std::exit(1);
    }
    if (pid == 0) {
        ::close(fds[0]);
        int logged = 0;
        gError.OnLogged = [&logged](const std::string& proc, const std::string& description) {
            ++logged;
            std::fprintf(stderr, "  logged: %s: %s\n", proc.c_str(), description.c_str());
        };
        bool answered = false;
        double ms = -1;
        if (c.wholeJob) {
            if (c.prepare) c.prepare();
            const double start = NowMs();
            PatchNew();
            answered = c.work();
            PatchDispose();
            ms = NowMs() - start;
        } else {
            PatchNew();
            if (c.prepare) c.prepare();
            const double start = NowMs();
            answered = c.work();
            ms = gOwnTimeMs >= 0 ? gOwnTimeMs : NowMs() - start;
            PatchDispose();
        }
        if (!answered || logged > 0) ms = -1;
        const ssize_t written = ::write(fds[1], &ms, sizeof ms);
        ::_exit(written == static_cast<ssize_t>(sizeof ms) ? 0 : 1);
    }
    ::close(fds[1]);
    double ms = -1;
    const ssize_t got = ::read(fds[0], &ms, sizeof ms);
    ::close(fds[0]);
    int status = 0;
    rusage usage{};
    ::wait4(pid, &status, 0, &usage);
    RunResult result;
    result.ok = got == static_cast<ssize_t>(sizeof ms) && WIFEXITED(status) && WEXITSTATUS(status) == 0 && ms >= 0;
    result.ms = ms;
    result.maxRssKb = usage.ru_maxrss;
    return result;
}

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

void Require(bool ok, const std::string& what, const std::string& error) {
    if (ok) return;
    std::fprintf(stderr, "cannot generate %s: %s\n", what.c_str(), error.c_str());
    std::exit(1);
}

// Gump n of a full Gumps type: the gumps of gumpart.mul, and a small one
// under every other number, so that each of the 65536 blocks has a picture.
void FullGumpRecord(int32_t n, sample::IdxRecord& record) {
    const sample::GumpOptions all;
    sample::GumpRecord(all, n, record);
    if (record.kind != sample::IdxRecord::Kind::Data) {
        record.bytes = sample::MakeGumpBlock(8, 8, static_cast<uint32_t>(n));
        record.extra = sample::GumpExtra(8, 8);
    }
}

// The current client's containers: the sample set's (art on to 0x13FDB, the
// whole 896 x 512 map in 112 entries, stored and zlib), and a gump container
// of every gump of gumpart.mul, all flag 3, as the client has it.
void GenerateContainers() {
    fs::remove_all(In(sample::kCurrentDir));
    sample::SampleOptions options;
    options.dir = gDir;
    options.full = true;
    sample::detail::WriteCurrentContainers(options, sample::ArtOptions{}, sample::GumpOptions{});
    fs::remove(In("current/gumpartLegacyMUL.uop"));
    ClientUOPWriter gumps(In("current/gumpartLegacyMUL.uop"));
    // Every gump of gumpart.mul, and a small one under every other number:
    // 65536 entries, as many as the client's container names.
    for (int32_t n = 0; n < sample::GumpOptions{}.records; ++n) {
        sample::IdxRecord record;
        FullGumpRecord(n, record);
        ByteArray entry;
        LeWriter w(entry);
        w.I32(static_cast<int32_t>(static_cast<uint32_t>(record.extra) >> 16));
        w.I32(record.extra & 0xFFFF);
        w.Bytes(record.bytes.data(), record.bytes.size());
        char name[64];
        std::snprintf(name, sizeof name, "build/gumpartlegacymul/%08d.tga", n);
        gumps.Add(name, entry, 3);
    }
    gumps.Finish();
}

// Two whole clients by their files' names, as links to the data: the new
// one has the map with 1% of its blocks changed.
const char* const kClientFiles[] = {"map0.mul",   "staidx0.mul", "statics0.mul", "artidx.mul",   "art.mul",
                                    "gumpidx.mul", "gumpart.mul", "tiledata.mul", "hues.mul", "radarcol.mul"};
void GenerateClients() {
    for (const char* side : {"client-base", "client-new"}) {
        fs::remove_all(In(side));
        fs::create_directories(In(side));
        for (const char* name : kClientFiles) {
            const bool changed = std::string(side) == "client-new" && std::string(name) == "map0.mul";
            fs::create_symlink(In(changed ? "map0-changed.mul" : name), In(std::string(side) + "/" + name));
        }
    }
}

void Generate() {
    std::string error;
    const auto t0 = NowMs();
    // The generator makes its files new: those of an earlier run in a --dir
    // given again go first.
    for (const char* name : {"map0.mul", "map0-changed.mul", "staidx0.mul", "statics0.mul", "artidx.mul", "art.mul",
                             "gumpidx.mul", "gumpart.mul", "radarcol.mul", "verdata-old.mul", "tiledata.mul",
                             "hues.mul"})
        fs::remove(In(name));
    Require(sample::WriteMap(In("map0.mul"), sample::kMapColumns, sample::kMapRows, 1, &error), "map0.mul", error);
    Require(sample::WriteChangedMap(In("map0-changed.mul"), sample::kMapColumns, sample::kMapRows, 1,
                                    sample::MapChange{7, 10}, &error),
            "map0-changed.mul", error);
    Require(sample::WriteStatics(In("staidx0.mul"), In("statics0.mul"), sample::kMapColumns, sample::kMapRows, 1,
                                 nullptr, &error),
            "statics", error);
    Require(sample::WriteArt(In("artidx.mul"), In("art.mul"), sample::ArtOptions{}, nullptr, &error), "art", error);
    Require(sample::WriteGumps(In("gumpidx.mul"), In("gumpart.mul"), sample::GumpOptions{}, nullptr, &error),
            "gumps", error);
    Require(sample::WriteRadarcol(In("radarcol.mul"), 1, &error), "radarcol.mul", error);
    Require(sample::WriteSampleVerdata(In("verdata-old.mul"), kVerdataEntries, 1, &error), "verdata-old.mul", error);
    Require(sample::WriteTiledata(In("tiledata.mul"), 1, &error), "tiledata.mul", error);
    Require(sample::WriteHues(In("hues.mul"), 375, 1, &error), "hues.mul", error);
    GenerateContainers();
    GenerateClients();
    std::printf("generated data in %s (%.0f ms)\n", gDir.c_str(), NowMs() - t0);
}

// A Wine prefix whose system.reg is as large as a real one grows (109 MiB):
// COM classes and interfaces of a 64-bit prefix, with #time lines, default
// values, strings and hexadecimal data over two lines, and the 2D client's
// key near the end, under Wow6432Node as a 32-bit installer leaves it.
void WriteLargeRegistry(const std::string& prefix) {
    const std::string client = prefix + "/drive_c/Program Files/Ultima Online";
    fs::create_directories(client);
    std::FILE* exe = std::fopen((client + "/client.exe").c_str(), "wb");
    std::FILE* out = std::fopen((prefix + "/system.reg").c_str(), "wb");
    if (!exe || !out) {
        std::fprintf(stderr, "cannot write the registry in %s\n", prefix.c_str());
        std::exit(1);
    }
    std::fputs("MZ", exe);
    std::fclose(exe);
    std::fputs("WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win64\n\n", out);
    unsigned long long state = 1;
    const auto next = [&state] {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return state >> 16;
    };
    char text[512];
    for (long written = 0, n = 0; written < (long{109} << 20); ++n) {
        char guid[48];
        std::snprintf(guid, sizeof guid, "{%08llX-%04llX-%04llX-%04llX-%012llX}", next() & 0xFFFFFFFFull,
                      next() & 0xFFFF, next() & 0xFFFF, next() & 0xFFFF, next() & 0xFFFFFFFFFFFFull);
        int length = std::snprintf(text, sizeof text,
                                   "[Software\\\\Classes\\\\CLSID\\\\%s\\\\InprocServer32] 1700000000\n"
                                   "#time=1d9a0b1c2d3e4f5\n@=\"C:\\\\windows\\\\system32\\\\lib%ld.dll\"\n"
                                   "\"ThreadingModel\"=\"Both\"\n\n",
                                   guid, n);
        if (n % 7 == 0)
            length += std::snprintf(text + length, sizeof text - static_cast<size_t>(length),
                                    "[Software\\\\Wow6432Node\\\\Classes\\\\Interface\\\\%s] 1700000000\n"
                                    "#time=1d9a0b1c2d3e4f5\n@=\"IInterface%ld\"\n\"Data\"=hex:01,02,03,04,05,06,07,"
                                    "08,09,0a,0b,0c,0d,0e,0f,10,\\\n  11,12,13,14\n\n",
                                    guid, n);
        std::fwrite(text, 1, static_cast<size_t>(length), out);
        written += length;
    }
    std::fputs(
        "[Software\\\\Wow6432Node\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0] 1700000000\n"
        "\"ExePath\"=\"C:\\\\Program Files\\\\Ultima Online\\\\client.exe\"\n\n",
        out);
    if (std::fclose(out) != 0) {
        std::fprintf(stderr, "cannot write the registry in %s\n", prefix.c_str());
        std::exit(1);
    }
}

// ExportVerdata renames the old file to a backup: every run starts again from
// the pristine old verdata.mul in an empty directory.
void FreshExportDir() {
    const fs::path dir = In("export");
    fs::remove_all(dir);
    fs::create_directories(dir);
    fs::copy_file(In("verdata-old.mul"), dir / "verdata.mul");
}

// Every data byte of the source went into the DataFile (the generated data
// files hold their blocks back to back, each once).
bool StoredAll(const std::string& mul) {
    return DataFileHandle.Size() == static_cast<int64_t>(fs::file_size(mul));
}

// map0.mul followed by its first 65536 blocks again: 896 x 512 blocks.
void MakeWideMap(const std::string& wide) {
    if (fs::exists(wide)) return;
    CopyFile(In("map0.mul"), wide);
    std::FILE* in = std::fopen(In("map0.mul").c_str(), "rb");
    std::FILE* out = std::fopen(wide.c_str(), "ab");
    std::vector<char> chunk(static_cast<size_t>(kWideMapLastBlock - kMapLastBlock) * sample::kMapBlockSize);
    const bool ok = in && out && std::fread(chunk.data(), 1, chunk.size(), in) == chunk.size() &&
                    std::fwrite(chunk.data(), 1, chunk.size(), out) == chunk.size();
    if (in) std::fclose(in);
    if ((out && std::fclose(out) != 0) || !ok) {
        std::fprintf(stderr, "cannot write %s\n", wide.c_str());
        std::exit(1);
    }
}

// In a patch of its own: the case that needs it sets its patch up after.
void MakeMapMUO(const std::string& muo) {
    PatchNew();
    LoadMUL(In("map0.mul"), "", 0, 0, kMapLastBlock);
    SaveMUO(muo);
    PatchDispose();
}

// One Art block of 1 GB, put into the DataFile a megabyte at a time as a
// loader would store it, but without a loader: what these cases measure is
// the save and the export, whose memory must not follow the block's size.
constexpr int32_t kGigabyte = 1 << 30;
void StoreOneGigabyteBlock() {
    const ByteArray piece(1 << 20, 0x5A);
    int32_t first = 0;
    for (int32_t done = 0; done < kGigabyte; done += static_cast<int32_t>(piece.size())) {
        const int32_t at = Datafile_Write(DataFileHandle, piece);
        if (done == 0) first = at;
    }
    Datafile_Flush(DataFileHandle);
    PatchBlock& slot = Slot(4, 1);
    slot.Size = kGigabyte;
    slot.Extra = 0;
    slot.Offset = first;
    RecountAllBlocks();
}

#ifdef QUILLET_BENCH_GUI
// Every type full: each slot present (Size -1, no bytes), as many rows as a
// list can ever have.
void FillEveryType() {
    for (int id = 0; id < kFileIDs; ++id) {
        const FileTypeRec& type = FileTypes[static_cast<size_t>(id)];
        if (type.Name.empty() || type.Page.kind != PageRef::Kind::List) continue;
        for (int32_t block = 0; block <= type.NbrOfBlocks; ++block)
            StoreBlock(static_cast<uint8_t>(id), block, -1, 0, nullptr);
    }
}

// What MenuRefresh asks of the list models: each of the twelve relists its
// type from the store.
bool FillAllLists() {
    int lists = 0;
    int64_t rows = 0;
    for (int id = 0; id < kFileIDs; ++id) {
        const FileTypeRec& type = FileTypes[static_cast<size_t>(id)];
        if (type.Name.empty() || type.Page.kind != PageRef::Kind::List) continue;
        BlockListModel model;
        model.Rebuild(id, ListedBlocks(id));
        ++lists;
        rows += model.rowCount();
        if (model.rowCount() != type.NbrOfBlocks + 1) return false;
    }
    return lists == 12 && rows > 0;
}
#endif

#ifdef QUILLET_BENCH_PICTURES
constexpr int32_t kFullGumps = 65536;

// A patch of a full Gumps type, saved once.
void MakeFullGumpsMUO(const std::string& muo) {
    if (fs::exists(muo)) return;
    for (int32_t n = 0; n < kFullGumps; ++n) {
        sample::IdxRecord record;
        FullGumpRecord(n, record);
        StoreBlock(kGumpsFileID, n, static_cast<int32_t>(record.bytes.size()), record.extra, record.bytes);
    }
    RecountBlocks(kGumpsFileID);
    SaveMUO(muo);
    PatchDispose();
    PatchNew();
}

// Runs quillet-cli with args as a user would (its scratch file in the data
// directory, stdout dropped, stderr kept for a failure); answers whether it
// ended with exit status 0.
bool RunCli(const std::vector<std::string>& args) {
    const std::string errors = In("cli-stderr.txt");
    const pid_t pid = ::fork();
    if (pid == 0) {
        // Plain descriptors, not freopen: that would flush this program's
        // buffered output a second time from here.
        ::setenv("TMPDIR", gDir.c_str(), 1);
        const int quiet = ::open("/dev/null", O_WRONLY);
        const int kept = ::open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (quiet < 0 || kept < 0 || ::dup2(quiet, STDOUT_FILENO) < 0 || ::dup2(kept, STDERR_FILENO) < 0) ::_exit(127);
        std::vector<char*> argv{const_cast<char*>(QUILLET_CLI_PATH)};
        for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    int status = -1;
    if (pid < 0 || ::waitpid(pid, &status, 0) != pid) return false;
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
    std::fprintf(stderr, "  quillet-cli %s failed:\n", args.front().c_str());
    std::FILE* text = std::fopen(errors.c_str(), "r");
    char line[512];
    for (int n = 0; text && n < 10 && std::fgets(line, sizeof line, text); ++n) std::fprintf(stderr, "    %s", line);
    if (text) std::fclose(text);
    return false;
}

size_t FilesIn(const std::string& dir) {
    std::error_code failure;
    size_t count = 0;
    for (fs::directory_iterator entry(dir, failure); !failure && entry != fs::directory_iterator();
         entry.increment(failure))
        ++count;
    return count;
}

// The largest gump of the sample client, by its pixels.
struct LargestGump {
    ByteArray bytes;
    int32_t extra = 0;
};
LargestGump FindLargestGump() {
    LargestGump largest;
    int64_t most = 0;
    const sample::GumpOptions options;
    for (int32_t n = 0; n < options.records; ++n) {
        sample::IdxRecord record;
        sample::GumpRecord(options, n, record);
        const int64_t pixels =
            int64_t{static_cast<int32_t>(static_cast<uint32_t>(record.extra) >> 16)} * (record.extra & 0xFFFF);
        if (record.kind != sample::IdxRecord::Kind::Data || pixels <= most) continue;
        most = pixels;
        largest.bytes = std::move(record.bytes);
        largest.extra = record.extra;
    }
    return largest;
}
#endif

std::string Fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    int runs = 3;
    std::string dir;
    std::string only;  // run only the cases whose name starts with this
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--runs" && i + 1 < argc) {
            runs = std::atoi(argv[++i]);
        } else if (arg == "--dir" && i + 1 < argc) {
            dir = argv[++i];
        } else if (arg == "--only" && i + 1 < argc) {
            only = argv[++i];
        } else {
            std::fprintf(stderr, "usage: quillet_bench [--dir DIR] [--runs N] [--only CASE-PREFIX]\n");
            return 2;
        }
    }
    if (runs < 1) runs = 1;
    bool removeDir = false;
    if (dir.empty()) {
        std::string pattern = (fs::temp_directory_path() / "quillet-bench-XXXXXX").string();
        if (!::mkdtemp(pattern.data())) {
            std::perror("mkdtemp");
            return 1;
        }
        dir = pattern;
        removeDir = true;
    }
    fs::create_directories(dir);
    while (dir.size() > 1 && dir.back() == '/') dir.pop_back();
    gDir = dir;

    RegisterFileTypes();
    DataFileDirectory = gDir;
    gError.LogFileOverride = In("quillet-bench.log");
    ClientLocation().UO2DPath = gDir + "/";  // radarcol.mul for PatchNew

    Generate();

    const std::string muo = In("map0.muo");
    std::unique_ptr<GeneratedPicture> picture;  // made untimed, in the child
#ifdef QUILLET_BENCH_PICTURES
    LargestGump largestGump;  // found untimed, in the child
    const std::string fullGumps = In("gumps-full.muo");
#endif
    const std::vector<Case> cases = {
        WholeJob({"1 LoadMUL map + SaveMUO", nullptr,
                  [&] {
                      LoadMUL(In("map0.mul"), "", 0, 0, kMapLastBlock);
                      return PatchBlocks[0].Count == kMapLastBlock + 1 && SaveMUO(muo);
                  },
                  [&] {
                      // The map into the scratch file, and from there into the MUO.
                      CopyFile(In("map0.mul"), In("copy1.bin"));
                      CopyFile(In("copy1.bin"), In("copy2.bin"), Sync::Yes);
                      RemoveScratch(In("copy1.bin"));
                  }}),
        WholeJob({"2 LoadMUO + ExportVerdata",
                  [&] {
                      FreshExportDir();
                      if (!fs::exists(muo)) MakeMapMUO(muo);  // when case 1 did not run
                  },
                  [&] {
                      LoadMUO(muo, 0, 255, 0, INT32_MAX);
                      return PatchBlocks[0].Count == kMapLastBlock + 1 && ExportVerdata(In("export"));
                  },
                  [&] {
                      // The patch's blocks into the scratch file; the old verdata.mul and
                      // the scratch file into the new one, which is synced.
                      CopyFile(muo, In("copy1.bin"));
                      CopyFiles({In("verdata-old.mul"), In("copy1.bin")}, In("copy2.bin"), Sync::Yes);
                      RemoveScratch(In("copy1.bin"));
                  }}),
        WholeJob({"3 CompareMUL map 1%", nullptr,
                  [&] {
                      CompareMUL(In("map0.mul"), "", In("map0-changed.mul"), "", 0);
                      return PatchBlocks[0].Count > 0;
                  },
                  [&] {
                      ReadFile(In("map0.mul"));
                      ReadFile(In("map0-changed.mul"));
                  }}),
        {"4a DrawMap full", [&] { LoadMUL(In("map0.mul"), "", 0, 0, kMapLastBlock); },
         [&] {
             MemorySurface page;
             DrawMap(page);
             return page.refreshed == 1;
         },
         nullptr},
        {"4b DrawStatics full", [&] { LoadMUL(In("statics0.mul"), In("staidx0.mul"), 2, 0, kMapLastBlock); },
         [&] {
             MemorySurface page;
             DrawStatics(page);
             return page.refreshed == 1;
         },
         nullptr},
        {"4c DrawMap 896 wide",
         [&] {
             // The 768 columns of the sample map and 128 more of its first blocks: the page every
             // block of 896 x 512 covers.
             MakeWideMap(In("map0-wide.mul"));
             LoadMUL(In("map0-wide.mul"), "", 0, 0, kWideMapLastBlock);
         },
         [&] {
             MemorySurface page;
             DrawMap(page);
             return page.refreshed == 1 && page.Width() == 896 && PatchBlocks[0].Count == kWideMapLastBlock + 1;
         },
         nullptr},
        WholeJob({"5a LoadMUL Art 65537", nullptr,
                  [&] {
                      LoadMUL(In("art.mul"), In("artidx.mul"), 4, 0, 65536);
                      return PatchBlocks[4].Count == 65537 && StoredAll(In("art.mul"));
                  },
                  [&] {
                      CopyFile(In("art.mul"), In("copy1.bin"));
                      ReadFile(In("artidx.mul"));
                      RemoveScratch(In("copy1.bin"));
                  }}),
        WholeJob({"5b LoadMUL Gumps 65536", nullptr,
                  [&] {
                      LoadMUL(In("gumpart.mul"), In("gumpidx.mul"), kGumpsFileID, 0, 65535);
                      return PatchBlocks[kGumpsFileID].Count == 65536 && StoredAll(In("gumpart.mul"));
                  },
                  [&] {
                      CopyFile(In("gumpart.mul"), In("copy1.bin"));
                      ReadFile(In("gumpidx.mul"));
                      RemoveScratch(In("copy1.bin"));
                  }}),
#ifdef QUILLET_BENCH_GUI
        {"6 list models, all full", FillEveryType, FillAllLists, nullptr},
#endif
        {"7 Gump_LoadBMP 1024x1024", [&] { picture = std::make_unique<GeneratedPicture>(1024, 1024); },
         [&] {
             Gump_LoadBMP(*picture, 0);
             return Slot(kGumpsFileID, 0).Offset >= 1;
         },
         nullptr},
        {"8a SaveMUO, 1 GB block", StoreOneGigabyteBlock,
         [&] {
             return SaveMUO(In("big.muo")) &&
                    fs::file_size(In("big.muo")) == 45u + 16u + static_cast<uint64_t>(kGigabyte);
         },
         nullptr},
        {"8b ExportVerdata, 1 GB blk",
         [&] {
             FreshExportDir();
             StoreOneGigabyteBlock();
         },
         [&] { return ExportVerdata(In("export")); }, nullptr},
        // What info, list and every other command do first: the patch file
        // loaded into a fresh patch, its one block streamed into the scratch file.
        {"8c LoadMUO, 1 GB block",
         [&] {
             if (fs::exists(In("big.muo")) && fs::file_size(In("big.muo")) == 45u + 16u + uint64_t{kGigabyte})
                 return;
             StoreOneGigabyteBlock();  // when case 8a did not run
             SaveMUO(In("big.muo"));
             PatchNew();
         },
         [&] { return LoadMUO(In("big.muo"), 0, 255, 0, INT32_MAX) && Slot(4, 1).Size == kGigabyte; }, nullptr},
        // The client's lookup in a registry of 109 MiB: what the GUI's start
        // and the CLI's client command wait for.
        {"9 cUO, 109 MiB registry",
         [&] {
             if (!fs::exists(In("prefix/system.reg"))) WriteLargeRegistry(In("prefix"));
         },
         [&] {
             cUO location;
             location.Init(cRegistery(In("prefix")));
             return location.isUO2D && location.UO2DPath == In("prefix/drive_c/Program Files/Ultima Online/");
         },
         [&] { ReadFile(In("prefix/system.reg")); }},
        // A current client's containers imported as the MUL cases are: the
        // map saved too, each against copies of the container's bytes.
        WholeJob({"10a LoadMUL container map 896x512 + SaveMUO", nullptr,
                  [&] {
                      LoadMUL(In("current/map0LegacyMUL.uop"), "", 0, 0, kWideMapLastBlock);
                      return PatchBlocks[0].Count == kWideMapLastBlock + 1 && SaveMUO(In("map0-uop.muo"));
                  },
                  [&] {
                      CopyFile(In("current/map0LegacyMUL.uop"), In("copy1.bin"));
                      CopyFile(In("copy1.bin"), In("copy2.bin"), Sync::Yes);
                      RemoveScratch(In("copy1.bin"));
                  }}),
        WholeJob({"10b LoadMUL container art 81884", nullptr,
                  [&] {
                      LoadMUL(In("current/artLegacyMUL.uop"), "", 4, 0, 0x13FDB);
                      return PatchBlocks[4].Count == 0x13FDC;
                  },
                  [&] {
                      CopyFile(In("current/artLegacyMUL.uop"), In("copy1.bin"));
                      RemoveScratch(In("copy1.bin"));
                  }}),
        WholeJob({"10c LoadMUL container gumps 65536, flag 3", nullptr,
                  [&] {
                      LoadMUL(In("current/gumpartLegacyMUL.uop"), "", kGumpsFileID, 0, 65535);
                      return PatchBlocks[kGumpsFileID].Count == 65536;
                  },
                  [&] {
                      CopyFile(In("current/gumpartLegacyMUL.uop"), In("copy1.bin"));
                      RemoveScratch(In("copy1.bin"));
                  }}),
        // Every type of two clients compared into a patch, against reading
        // all their files.
        WholeJob({"13 whole-client compare, map 1%", nullptr,
                  [&] {
                      const ClientComparePlan plan = PlanClientCompare(In("client-base"), In("client-new"));
                      return plan.Both.size() == 7 &&
                             CompareClients(plan).Ok() &&  // map, statics, art, gumps, tiles, hues, colours
                             PatchBlocks[0].Count > 0;
                  },
                  [&] {
                      for (const char* side : {"client-base/", "client-new/"})
                          for (const char* name : kClientFiles) ReadFile(In(std::string(side) + name));
                  }}),
#ifdef QUILLET_BENCH_PICTURES
        // What the preview shows when a row is selected: the largest gump
        // of the sample client decoded and drawn into a room of 512 x 512.
        {"11 preview, largest gump", [&] { largestGump = FindLargestGump(); },
         [&] {
             BlockPicture gump;
             std::string why;
             return DecodeGump(largestGump.bytes, largestGump.extra, gump, why) &&
                    !PreviewImage(gump, QSize(512, 512)).isNull();
         },
         nullptr},
        // quillet-cli itself on a patch of a full Gumps type, against QImage
        // alone writing PNG files of the same pixels into a fresh folder
        // (only its saves are timed, not the decoding that gives it the
        // pixels) and reading them back.
        {"12a picture --to-dir 65536 gumps",
         [&] {
             MakeFullGumpsMUO(fullGumps);
             fs::remove_all(In("pictures"));
         },
         [&] {
             return RunCli({"picture", "--patch", fullGumps, "--type", "gumps", "--blocks", "0-0xFFFF", "--to-dir",
                            In("pictures")}) &&
                    FilesIn(In("pictures")) == kFullGumps;
         },
         nullptr,
         [&] {
             MakeFullGumpsMUO(fullGumps);
             LoadMUO(fullGumps, 0, 255, 0, INT32_MAX);
             fs::remove_all(In("qimage-pictures"));
             fs::create_directories(In("qimage-pictures"));
         },
         [&] {
             gOwnTimeMs = 0;
             BlockPicture gump;
             std::string why;
             int32_t saved = 0;
             for (const int32_t block : ListedBlocks(kGumpsFileID)) {
                 const ByteArray bytes = ReadBlockBytes(kGumpsFileID, block);
                 if (!DecodeGump(bytes, Slot(kGumpsFileID, block).Extra, gump, why)) return false;
                 const std::string path = In("qimage-pictures/Gumps_" + HexText(static_cast<uint32_t>(block)) + ".png");
                 const double start = NowMs();
                 const bool ok = ImageOf(gump).save(QString::fromStdString(path), "PNG");
                 gOwnTimeMs += NowMs() - start;
                 if (!ok) return false;
                 ++saved;
             }
             return saved == kFullGumps;
         },
         kFullGumps},
        {"12b gump --from-dir 65536 gumps",
         [&] {
             MakeFullGumpsMUO(fullGumps);
             if (FilesIn(In("pictures")) != kFullGumps)  // when case 12a did not run
                 RunCli({"picture", "--patch", fullGumps, "--type", "gumps", "--blocks", "0-0xFFFF", "--to-dir",
                         In("pictures")});
             fs::remove(In("imported.muo"));
         },
         [&] {
             return RunCli({"gump", "--patch", In("imported.muo"), "--from-dir", In("pictures")}) &&
                    fs::file_size(In("imported.muo")) > 45u + 16u * kFullGumps;
         },
         nullptr, nullptr,
         [&] {
             size_t read = 0;
             DIR* folder = ::opendir(In("pictures").c_str());
             while (dirent* entry = folder ? ::readdir(folder) : nullptr) {
                 if (entry->d_name[0] == '.') continue;
                 QImage image;
                 if (!image.load(QString::fromStdString(In("pictures/") + entry->d_name))) break;
                 ++read;
             }
             if (folder) ::closedir(folder);
             return read == kFullGumps;
         },
         kFullGumps},
#endif
    };

#ifdef QUILLET_BENCH_GUI
    std::printf("runs per case: %d (median)\n", runs);
#else
    std::printf("runs per case: %d (median); case 6 needs the GUI build (list models)\n", runs);
#endif
    std::printf(
        "cases 8a, 8b: the 1 GB block is put into the scratch file directly (untimed, but in the peak);\n"
        "the peak is that of the whole child, the memory it shares with this program included\n");
    std::string whole;
    for (const Case& c : cases)
        if (c.wholeJob) whole += (whole.empty() ? "" : ", ") + c.name.substr(0, c.name.find(' '));
    std::printf("cases %s: timed whole, the fresh patch's set-up and its disposal included\n", whole.c_str());
    std::printf("%-44s %10s %12s %7s %10s\n", "case", "median ms", "baseline ms", "ratio", "peak MiB");
    int failures = 0;
    for (const Case& c : cases) {
        if (c.name.rfind(only, 0) != 0) continue;
        std::vector<double> times, baseTimes;
        long peakKb = 0;
        bool ok = true;
        for (int run = 0; run < runs; ++run) {
            // What the last run left to write back must not be timed in this one.
            ::sync();
            const RunResult result = RunInChild(c);
            ok = ok && result.ok;
            times.push_back(result.ms);
            peakKb = std::max(peakKb, result.maxRssKb);
            if (c.baseline) {
                ::sync();
                const double start = NowMs();
                c.baseline();
                baseTimes.push_back(NowMs() - start);
            }
            if (c.childBaseline) {
                ::sync();
                const RunResult base = RunInChild({c.name, c.childBaselinePrepare, c.childBaseline, nullptr});
                ok = ok && base.ok;
                baseTimes.push_back(base.ms);
            }
        }
        std::error_code ignored;
        fs::remove_all(In("export"), ignored);
        fs::remove(In("copy1.bin"), ignored);
        fs::remove(In("copy2.bin"), ignored);
        fs::remove(In("big.muo"), ignored);
        const std::string ms = ok ? Fixed(Median(times), 1) : "FAILED";
        const std::string base = baseTimes.empty() ? "-" : Fixed(Median(baseTimes), 1);
        const std::string ratio = ok && !baseTimes.empty() ? Fixed(Median(times) / Median(baseTimes), 2) : "-";
        std::printf("%-44s %10s %12s %7s %10s\n", c.name.c_str(), ms.c_str(), base.c_str(), ratio.c_str(),
                    Fixed(static_cast<double>(peakKb) / 1024.0, 1).c_str());
        if (ok && c.blocks > 0)
            std::printf("  %lld blocks: %s blocks/s%s\n", static_cast<long long>(c.blocks),
                        Fixed(static_cast<double>(c.blocks) * 1000.0 / Median(times), 0).c_str(),
                        baseTimes.empty()
                            ? ""
                            : (", baseline " + Fixed(static_cast<double>(c.blocks) * 1000.0 / Median(baseTimes), 0) +
                               " blocks/s")
                                  .c_str());
        std::fflush(stdout);
        if (!ok) ++failures;
    }
    if (removeDir) fs::remove_all(gDir);
    return failures == 0 ? 0 : 1;
}
