// LoadVerdata (and with it cVerdata) on any file, held against a model of the
// format. With the write-back flag the same file then serves as the old
// verdata.mul of ExportVerdata, and the new file is compared byte for byte
// with the old entries followed by the loaded patch.
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "FuzzInput.h"
#include "FuzzSupport.h"
#include "core/mMuls.h"
#include "formats/mVerdata.h"

namespace quillet::fuzz {
namespace {

// An entry as cVerdata.cLoad gives it.
struct Entry {
    uint8_t FileID = 0;
    int32_t Block = 0;
    int32_t Extra = 0;
    int32_t Size = 0;  // ByteArraySize: -1 for a FileID of 256 or more
    ByteArray Data;    // Size bytes when Size is above 0
};

// Entry index as cVerdata reads it, or nothing where the reading fails: a
// negative FileID and data at a negative Position. An entry of FileID 256 or more has no data, whatever it
// says; data and entries past the end of the file read as zeros. Data holds
// what the file has of the bytes; zeros for the rest of Size.
std::optional<Entry> ReadEntry(const ByteArray& file, int32_t index) {
    const ByteArray raw = BytesAt(file, 4 + 20 * int64_t{index}, 20);
    const int32_t fileId = LoadI32(raw.data());
    const int32_t position = LoadI32(raw.data() + 8);
    const int32_t size = LoadI32(raw.data() + 12);
    Entry entry;
    entry.Block = LoadI32(raw.data() + 4);
    entry.Extra = LoadI32(raw.data() + 16);
    if (fileId >= 256) {
        entry.FileID = 255;
        entry.Size = -1;
        return entry;
    }
    if (fileId < 0) return std::nullopt;
    entry.FileID = static_cast<uint8_t>(fileId);
    entry.Size = size;
    if (size > 0) {
        if (position < 0) return std::nullopt;
        entry.Data = BytesIn(file, position, size);
    }
    return entry;
}

int32_t CountOf(const ByteArray& file) { return LoadI32(BytesAt(file, 0, 4).data()); }

void ModelLoadVerdata(const ByteArray& file, const PatchLoadArgs& args, ExpectedPatch& patch, ExpectedEnd& end) {
    // Every way out of a file that exists recounts, a stop too.
    end.Recounted = true;
    const int32_t count = CountOf(file);
    // A client's container, or a negative count: no verdata file at all.
    if (count < 0 || (file.size() >= 4 && std::memcmp(file.data(), "MYP\0", 4) == 0)) {
        end.Failed = true;
        return;
    }
    for (int32_t index = 0; index < count; ++index) {
        // Past the end every entry is the zeroed one: one stands for all.
        const bool pastEnd = 4 + 20 * (int64_t{index} + 1) > static_cast<int64_t>(file.size());
        const std::optional<Entry> entry = ReadEntry(file, index);
        if (!entry) {
            end.Failed = true;
            return;
        }
        bool dropped = false;
        if (entry->Block > FileTypes[entry->FileID].NbrOfBlocks) {
            end.Messages.push_back(IllegalBlockText(entry->FileID, entry->Block));
            dropped = true;
        }
        if (entry->FileID < args.FromFileID || entry->FileID > args.ToFileID || entry->Block < args.FromBlock ||
            entry->Block > args.ToBlock)
            dropped = true;
        if (!dropped &&
            !patch.StoreStreamed(entry->FileID, entry->Block, entry->Size, entry->Extra, entry->Data, end)) {
            end.Failed = true;
            return;
        }
        if (pastEnd) break;
    }
}

// The old file as ExportVerdata copies it: the entries that the file holds
// whole (a count beyond them, or below 0, gives just those), a FileID of 256
// or more as 255 without data, the bytes of the others as far as the file
// has them and zeros for the rest. An entry of a negative FileID fails the
// export. Bytes counts the data bytes, so that the caller can tell how much
// the new file holds before any of it is made.
struct ExportedOld {
    std::vector<Entry> Entries;
    bool Fails = false;
    int64_t Bytes = 0;
};

ExportedOld ModelExportedOld(const ByteArray& file, int64_t mostBytes) {
    ExportedOld old;
    const int64_t held = std::max<int64_t>(0, (static_cast<int64_t>(file.size()) - 4) / 20);
    const int64_t count = std::clamp<int64_t>(LoadI32(BytesAt(file, 0, 4).data()), 0, held);
    for (int64_t index = 0; index < count; ++index) {
        const ByteArray raw = BytesAt(file, 4 + 20 * index, 20);
        const int32_t fileId = LoadI32(raw.data());
        const int32_t size = LoadI32(raw.data() + 12);
        if (fileId < 0) {
            old.Fails = true;
            return old;
        }
        Entry entry;
        entry.Block = LoadI32(raw.data() + 4);
        entry.Extra = LoadI32(raw.data() + 16);
        entry.FileID = static_cast<uint8_t>(fileId >= 256 ? 255 : fileId);
        entry.Size = fileId >= 256 ? -1 : size;
        if (entry.Size > 0) {
            old.Bytes += entry.Size;
            if (old.Bytes <= mostBytes) entry.Data = BytesAt(file, LoadI32(raw.data() + 8), entry.Size);
        }
        old.Entries.push_back(std::move(entry));
    }
    return old;
}

// The new verdata.mul: the old entries, then the patch by FileID and Block,
// the data behind all entries in the same order.
ByteArray ExpectedExport(const ExportedOld& old, const ExpectedPatch& patch) {
    std::vector<Entry> entries = old.Entries;
    for (const auto& [key, slot] : patch.Slots) {
        Entry entry;
        entry.FileID = static_cast<uint8_t>(key.first);
        entry.Block = key.second;
        entry.Extra = slot.Extra;
        entry.Size = slot.HasData ? slot.Size : -1;
        entry.Data = slot.Bytes;
        entries.push_back(std::move(entry));
    }
    ByteArray out;
    LeWriter w(out);
    w.I32(static_cast<int32_t>(entries.size()));
    int64_t position = 4 + 20 * static_cast<int64_t>(entries.size());
    for (const Entry& entry : entries) {
        w.I32(entry.FileID);
        w.I32(entry.Block);
        w.I32(entry.Size > 0 ? static_cast<int32_t>(position) : 0);
        w.I32(entry.Size);
        w.I32(entry.Extra);
        if (entry.Size > 0) position += entry.Size;
    }
    for (const Entry& entry : entries) {
        if (entry.Size <= 0) continue;
        w.Bytes(entry.Data.data(), entry.Data.size());
        w.Zeros(static_cast<size_t>(entry.Size) - entry.Data.size());
    }
    return out;
}

bool Exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

// What an export leaves behind from an earlier iteration.
void RemoveExportFiles() {
    std::error_code ignored;
    for (const auto& item : std::filesystem::directory_iterator(ScratchDir(), ignored)) {
        const std::string name = item.path().filename().string();
        if (name.rfind("verdata.", 0) == 0 && name != "verdata.mul") std::filesystem::remove(item.path(), ignored);
    }
}

void CheckExport(const ByteArray& file, const ExpectedPatch& patch, Observed& seen) {
    const std::string mul = ScratchPath("verdata.mul");
    const std::string bak = ScratchPath("verdata.bak");
    // Blocks that lie past the end of a small input, old entries and the
    // patch's alike, are exported as zeros, up to the 2 GB the format
    // allows: a new file larger than this harness may hold in memory is not
    // made.
    constexpr int64_t kMostBytes = 32 << 20;
    const ExportedOld old = ModelExportedOld(file, kMostBytes);
    int64_t patchBytes = 0;
    for (const auto& [key, slot] : patch.Slots)
        if (slot.HasData) patchBytes += slot.Size;
    if (!patch.Slots.empty() && !old.Fails && old.Bytes + patchBytes > kMostBytes) return;
    seen = {};
    const bool done = ExportVerdata(ScratchDir());
    FUZZ_CHECK(!Exists(ScratchPath("verdata.tmp")), "no verdata.tmp after an export");
    if (patch.Slots.empty()) {
        FUZZ_CHECK(!done && seen.messages == std::vector<std::string>{"There are no blocks in the patch to save."},
                   "an empty patch is not exported");
        FUZZ_CHECK(seen.logged.empty(), "no log line");
    } else if (old.Fails) {
        FUZZ_CHECK(!done && seen.messages.empty(), "an entry of a negative FileID fails the export without a message");
        FUZZ_CHECK(seen.logged == std::vector<std::string>{"mVerdata.ExportVerdata"}, "one log line");
    } else {
        FUZZ_CHECK(done && seen.messages.empty() && seen.logged.empty(), "the export succeeds");
        FUZZ_CHECK(ReadWholeFile(mul) == ExpectedExport(old, patch), "the new verdata.mul");
        FUZZ_CHECK(ReadWholeFile(bak) == file, "verdata.bak is the old file");
        return;
    }
    FUZZ_CHECK(ReadWholeFile(mul) == file && !Exists(bak), "a failed export leaves verdata.mul alone");
}

}  // namespace
}  // namespace quillet::fuzz

using namespace quillet;
using namespace quillet::fuzz;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    InitPatchEnvironment();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    InputCutter in(data, size);
    const PatchLoadArgs args = CutPatchLoadArgs(in);
    const ByteArray file = in.Rest();
    RemoveExportFiles();
    const std::string path = ScratchPath("verdata.mul");
    WriteWholeFile(path, file);

    Observed& seen = BeginIteration();
    ExpectedPatch expected;
    ExpectedEnd end;
    ModelLoadVerdata(file, args, expected, end);
    LoadVerdata(path, args.FromFileID, args.ToFileID, args.FromBlock, args.ToBlock);
    VerifyPatch(expected, end, seen, "mVerdata.LoadVerdata");

    if (args.Flags & kWriteBack) CheckExport(file, expected, seen);
    ResetPatch();
    return 0;
}
