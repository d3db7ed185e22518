#include "FuzzSupport.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "actions/mStart.h"
#include "base/BlockLimit.h"
#include "base/cError.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mWait.h"

namespace quillet::fuzz {
namespace {

std::string gScratch;
Observed gObserved;
std::vector<std::pair<std::string, std::string>> gLogLines;  // name and text, for the report
std::array<uint8_t, kFileIDs> gRegisteredInVerdata{};

std::string MakeScratchDir() {
    std::vector<std::string> bases{"/dev/shm"};
    if (const char* tmp = std::getenv("TMPDIR"); tmp && *tmp) bases.emplace_back(tmp);
    bases.emplace_back("/tmp");
    for (const std::string& base : bases) {
        std::string pattern = base + "/quillet-fuzz-XXXXXX";
        if (::mkdtemp(pattern.data())) return pattern;
    }
    std::fprintf(stderr, "fuzz: no scratch directory could be made\n");
    std::abort();
}

void Cleanup() {
    PatchDispose();
    std::error_code ignored;
    if (!gScratch.empty()) std::filesystem::remove_all(gScratch, ignored);
}

}  // namespace

void InitPatchEnvironment() {
    if (!gScratch.empty()) return;
    gScratch = MakeScratchDir();
    // Every log line is caught by the hook; the file itself is of no use here.
    gError.LogFileOverride = "/dev/null";
    gError.OnLogged = [](const std::string& Proc, const std::string& description) {
        gObserved.logged.push_back(Proc);
        gLogLines.emplace_back(Proc, description);
    };
    WaitHooks hooks;
    hooks.message = [](const std::string& text) { gObserved.messages.push_back(text); };
    InstallWaitHooks(hooks);
    FileTypes = {};
    RegisterFileTypes();
    for (int id = 0; id < kFileIDs; ++id) gRegisteredInVerdata[static_cast<size_t>(id)] = FileTypes[id].InVerdata;
    DataFileDirectory = gScratch;
    PatchNew();
    std::atexit(Cleanup);
}

const std::string& ScratchDir() { return gScratch; }
std::string ScratchPath(const std::string& name) { return gScratch + "/" + name; }

Observed& ClearObserved() {
    gObserved = {};
    gLogLines.clear();
    return gObserved;
}

Observed& BeginIteration() {
    ClearObserved();
    WaitPercent = 0;
    if (!Datafile_Create(DataFileHandle, DataFileName)) Violation("the DataFile cannot be made again");
    return gObserved;
}

void WriteWholeFile(const std::string& path, const ByteArray& bytes) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) Violation("cannot write the scratch file " + path);
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n <= 0) Violation("cannot write the scratch file " + path);
        done += static_cast<size_t>(n);
    }
    ::close(fd);
}

ByteArray ReadWholeFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return ByteArray(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void Violation(const std::string& what) {
    std::fprintf(stderr, "\n==fuzz== violated: %s\n", what.c_str());
    for (const std::string& text : gObserved.messages) std::fprintf(stderr, "==fuzz== message: %s\n", text.c_str());
    for (const auto& [proc, text] : gLogLines) std::fprintf(stderr, "==fuzz== logged: %s: %s\n", proc.c_str(), text.c_str());
    std::fflush(stderr);
    std::abort();
}

size_t ModelReader::Read(uint8_t* out, size_t count) {
    // Zeros, but for the part of [pos, pos + count) that lies inside the file.
    std::memset(out, 0, count);
    const int64_t end = pos_ + static_cast<int64_t>(count);
    const int64_t from = std::max<int64_t>(pos_, 0);
    const int64_t to = std::min(end, Size());
    size_t real = 0;
    if (from < to) {
        real = static_cast<size_t>(to - from);
        std::memcpy(out + (from - pos_), file_.data() + from, real);
    }
    pos_ = end;
    return real;
}

ByteArray BytesAt(const ByteArray& file, int64_t position, int64_t count) {
    ByteArray out(static_cast<size_t>(count), 0);
    ModelReader reader(file, position);
    reader.Read(out.data(), out.size());
    return out;
}

ByteArray BytesIn(const ByteArray& file, int64_t position, int64_t count) {
    const int64_t size = static_cast<int64_t>(file.size());
    if (count <= 0 || position < 0 || position >= size) return {};
    const int64_t end = std::min(size, position + count);
    return ByteArray(file.begin() + position, file.begin() + end);
}

bool SameBlock(const ByteArray& one, const ByteArray& two, int64_t Size) {
    const ByteArray& longer = one.size() >= two.size() ? one : two;
    const ByteArray& shorter = one.size() >= two.size() ? two : one;
    const auto upTo = static_cast<size_t>(std::min<int64_t>(Size, static_cast<int64_t>(longer.size())));
    for (size_t i = 0; i < upTo; ++i)
        if (longer[i] != (i < shorter.size() ? shorter[i] : 0)) return false;
    return true;
}

const char* const kScratchFullText = "The patch's scratch file would pass 2147483647 bytes: the block was not stored.";

ExpectedPatch::ExpectedPatch() : InVerdata(gRegisteredInVerdata.begin(), gRegisteredInVerdata.end()) {}

bool ExpectedPatch::SlotExists(int FileID, int64_t Block) {
    if (FileID < 0 || FileID >= kFileIDs) return false;
    const int32_t last = FileTypes[FileID].NbrOfBlocks;
    return last > 0 && Block >= 0 && Block <= last;
}

bool ExpectedPatch::Store(int FileID, int64_t Block, int32_t Size, int32_t Extra, const uint8_t* data) {
    if (!SlotExists(FileID, Block)) return false;
    ExpectedSlot slot;
    slot.Size = Size;
    slot.Extra = Extra;
    if (Size >= 1) {
        slot.HasData = true;
        slot.Bytes.assign(data, data + Size);
        DataBytes += Size;
    }
    Slots[{FileID, static_cast<int32_t>(Block)}] = std::move(slot);
    return true;
}

bool ExpectedPatch::StoreStreamed(int FileID, int64_t Block, int32_t Size, int32_t Extra, const ByteArray& First,
                                  ExpectedEnd& end) {
    if (!SlotExists(FileID, Block)) return false;
    if (Size >= 1 && DataBytes + Size > kDatafileLimit) {
        end.Messages.push_back(kScratchFullText);
        return false;
    }
    ExpectedSlot slot;
    slot.Size = Size;
    slot.Extra = Extra;
    if (Size >= 1) {
        slot.HasData = true;
        slot.Bytes.assign(First.begin(), First.begin() + std::min<int64_t>(Size, static_cast<int64_t>(First.size())));
        DataBytes += Size;
    }
    Slots[{FileID, static_cast<int32_t>(Block)}] = std::move(slot);
    return true;
}

// Whether the stored block is First and zeros: read back a piece at a time,
// so that a block of a gigabyte costs no gigabyte here either.
static bool StoredBlockIs(const PatchBlock& slot, const ByteArray& first) {
    constexpr int64_t kPiece = 1 << 20;
    ByteArray piece;
    ReadWindow window;
    for (int64_t at = 0; at < slot.Size; at += kPiece) {
        const int64_t n = std::min<int64_t>(kPiece, slot.Size - at);
        piece.resize(static_cast<size_t>(n));
        Datafile_ReadThrough(DataFileHandle, window, static_cast<int32_t>(slot.Offset + at), static_cast<int32_t>(n),
                             piece.data());
        for (int64_t i = 0; i < n; ++i) {
            const int64_t k = at + i;
            const uint8_t want = k < static_cast<int64_t>(first.size()) ? first[static_cast<size_t>(k)] : 0;
            if (piece[static_cast<size_t>(i)] != want) return false;
        }
    }
    return true;
}

namespace {

std::string SlotName(int FileID, int32_t Block) {
    return "FileID " + std::to_string(FileID) + " Block " + std::to_string(Block);
}

// The first slot from `from` on that is not absent and zeroed, or size().
// Only the pages written since the store was made are looked at: a run
// touches a few of the 1.1 million slots.
size_t NextTouched(const SlotTable& slots, size_t from) {
    for (size_t i = slots.NextAllocated(from); i < slots.size(); i = slots.NextAllocated(i + 1))
        if (!(slots[i] == PatchBlock{})) return i;
    return slots.size();
}

}  // namespace

void VerifyPatch(const ExpectedPatch& expected, const ExpectedEnd& end, const Observed& seen,
                 const std::string& Procedure) {
    if (end.Failed) {
        FUZZ_CHECK(seen.logged.size() == 1 && seen.logged[0] == Procedure, "one log line of " + Procedure);
    } else {
        FUZZ_CHECK(seen.logged.empty(), "no log line");
    }
    FUZZ_CHECK(seen.messages == end.Messages,
               "message boxes: " + std::to_string(seen.messages.size()) + " shown, " +
                   std::to_string(end.Messages.size()) + " expected");
    FUZZ_CHECK(DataFileHandle.Size() == expected.DataBytes,
               "DataFile of " + std::to_string(DataFileHandle.Size()) + " bytes, " +
                   std::to_string(expected.DataBytes) + " expected");

    std::array<int32_t, kFileIDs> counts{};
    for (const auto& [key, want] : expected.Slots) {
        const auto [id, block] = key;
        ++counts[static_cast<size_t>(id)];
        const SlotTable& blocks = PatchBlocks[static_cast<size_t>(id)].Blocks;
        FUZZ_CHECK(block >= 0 && static_cast<size_t>(block) < blocks.size(), "slot allocated: " + SlotName(id, block));
        const PatchBlock& got = blocks[static_cast<size_t>(block)];
        const std::string name = SlotName(id, block);
        FUZZ_CHECK(got.Size == want.Size,
                   name + " Size " + std::to_string(got.Size) + ", expected " + std::to_string(want.Size));
        FUZZ_CHECK(got.Extra == want.Extra, name + " Extra");
        if (want.HasData) {
            FUZZ_CHECK(got.Offset >= 1 && int64_t{got.Offset} - 1 + got.Size <= DataFileHandle.Size(),
                       name + " Offset " + std::to_string(got.Offset) + " inside the DataFile");
            FUZZ_CHECK(StoredBlockIs(got, want.Bytes), name + " bytes read back");
        } else {
            FUZZ_CHECK(got.Offset == 0, name + " present and empty, Offset " + std::to_string(got.Offset));
        }
    }
    for (int id = 0; id < kFileIDs; ++id) {
        bool recounted = false;
        if (end.Recounted)
            recounted = end.RecountFileID < 0 ? id <= 254 && !FileTypes[id].Name.empty() : id == end.RecountFileID;
        const PatchBlockSet& set = PatchBlocks[static_cast<size_t>(id)];
        const int32_t want = recounted ? counts[static_cast<size_t>(id)] : 0;
        FUZZ_CHECK(set.Count == want, "Count of FileID " + std::to_string(id) + " is " + std::to_string(set.Count) +
                                          ", expected " + std::to_string(want));
        FUZZ_CHECK(FileTypes[id].InVerdata == expected.InVerdata[static_cast<size_t>(id)],
                   "InVerdata of FileID " + std::to_string(id));
        // No slot that the model leaves alone may have changed.
        const size_t total = set.Blocks.size();
        for (size_t block = NextTouched(set.Blocks, 0); block < total; block = NextTouched(set.Blocks, block + 1)) {
            const PatchBlock& slot = set.Blocks[block];
            if (expected.Slots.count({id, static_cast<int32_t>(block)}) != 0) continue;
            Violation("a slot that no entry names was changed: " + SlotName(id, static_cast<int32_t>(block)) +
                      " Size " + std::to_string(slot.Size) + " Extra " + std::to_string(slot.Extra) + " Offset " +
                      std::to_string(slot.Offset));
        }
    }
}

void ResetPatch() {
    // The pages the run wrote go too: the next run's checks look at its own writes only.
    CreatePatchStructures();
    for (int id = 0; id < kFileIDs; ++id) FileTypes[id].InVerdata = gRegisteredInVerdata[static_cast<size_t>(id)];
}

void CheckPatch(const ExpectedPatch& expected, const ExpectedEnd& end, const Observed& seen,
                const std::string& Procedure) {
    VerifyPatch(expected, end, seen, Procedure);
    ResetPatch();
}

bool HoldsHugeBlock(const ExpectedPatch& patch) {
    for (const auto& entry : patch.Slots)
        if (entry.second.Size > kMaxBlockInMemory) return true;
    return false;
}

std::string IllegalBlockText(int FileID, int32_t Block) {
    return "An block with an illegal sized blocknumber where detected and ignored:\r\nFileID: " +
           std::to_string(FileID) + "\r\nBlocknumber:" + std::to_string(Block);
}

ByteArray VerdataHues(const ByteArray& group) {
    ByteArray out(1220, 0);
    for (size_t n = 0; n < 8; ++n)
        for (size_t i = 0; i < 88; ++i) out[4 + 152 * n + i] = group[4 + 88 * n + i];
    return out;
}

}  // namespace quillet::fuzz
