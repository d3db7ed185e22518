// LoadMUO (and with it cMUO) on any file, held against a model of the format;
// with the write-back flag the loaded patch is saved again by SaveMUO and the
// file compared byte for byte with what the format says it must be.
#include <cstdint>
#include <string>

#include "FuzzInput.h"
#include "FuzzSupport.h"
#include "core/mMuls.h"
#include "formats/mPatchMUO.h"

namespace quillet::fuzz {
namespace {

// LoadMUO by the format's rules, step for step, on the bytes of the file.
void ModelLoadMUO(const ByteArray& file, const PatchLoadArgs& args, ExpectedPatch& patch, ExpectedEnd& end) {
    // Every way out of a file that exists recounts, a stop too.
    end.Recounted = true;
    ModelReader reader(file);
    uint8_t head[8];
    reader.Read(head, sizeof head);
    const int32_t version = LoadI32(head + 4);
    bool whole = true;
    for (int text = 0; text < 3 && whole; ++text) {
        for (;;) {
            if (reader.Remaining() <= 0) {  // no 0 byte before the end
                whole = false;
                break;
            }
            uint8_t c = 0;
            reader.Read(&c, 1);
            if (c == 0) break;
        }
    }
    // Another version, or a header cut short: a failure that names the file.
    if (version != 1 || !whole) {
        end.Failed = true;
        return;
    }
    uint8_t word[4];
    reader.Read(word, sizeof word);
    const int32_t total = LoadI32(word);

    ByteArray first;  // what the file holds of an entry's bytes; zeros for the rest
    for (int32_t entry = 0; entry < total; ++entry) {
        // Past the end every entry is the zeroed record; one stands for all.
        const bool pastEnd = reader.Remaining() <= 0;
        uint8_t raw[16];
        reader.Read(raw, sizeof raw);
        const int32_t field = LoadI32(raw);
        const int32_t block = LoadI32(raw + 4);
        const int32_t extra = LoadI32(raw + 8);
        const int32_t size = LoadI32(raw + 12);
        if (field < 0 || field > 255) {
            end.Failed = true;
            return;
        }
        // The bytes pass into the DataFile: what the file has, zeros for the rest.
        first = size > 0 ? BytesIn(file, reader.Position(), size) : ByteArray();
        if (size > 0) reader.Skip(size);
        int id = field;
        const bool reserved = id >= 252;
        if (id & 64) {
            id &= ~64;
            patch.InVerdata[static_cast<size_t>(id)] = 0;
        } else {
            patch.InVerdata[static_cast<size_t>(id)] = 1;
        }
        bool dropped = false;
        if (block > FileTypes[id].NbrOfBlocks) {
            end.Messages.push_back(IllegalBlockText(id, block));
            dropped = true;
        }
        if (id < args.FromFileID || id > args.ToFileID || block < args.FromBlock || block > args.ToBlock || reserved)
            dropped = true;
        if (!dropped && !patch.StoreStreamed(id, block, size, extra, first, end)) {
            end.Failed = true;
            return;
        }
        if (pastEnd) break;
    }
}

// The file SaveMUO must write for the model's patch.
ByteArray ExpectedSave(const ExpectedPatch& patch) {
    ByteArray out;
    LeWriter w(out);
    w.Bytes("MUOP");
    w.I32(1);
    w.CString("MUO");
    w.CString("Created by Quillet");
    w.CString("Sir Patch");
    w.I32(static_cast<int32_t>(patch.Slots.size()));
    for (const auto& [key, slot] : patch.Slots) {
        const int id = key.first;
        w.I32(patch.InVerdata[static_cast<size_t>(id)] != 0 ? id : (id | 64));
        w.I32(key.second);
        w.I32(slot.Extra);
        w.I32(slot.Size);
        if (slot.HasData) {
            w.Bytes(slot.Bytes.data(), slot.Bytes.size());
            w.Zeros(static_cast<size_t>(slot.Size) - slot.Bytes.size());
        }
    }
    return out;
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
    const std::string path = ScratchPath("input.muo");
    WriteWholeFile(path, file);

    Observed& seen = BeginIteration();
    ExpectedPatch expected;
    ExpectedEnd end;
    ModelLoadMUO(file, args, expected, end);
    LoadMUO(path, args.FromFileID, args.ToFileID, args.FromBlock, args.ToBlock);
    VerifyPatch(expected, end, seen, "mPatch.LoadMUO");

    // The model builds the saved file in memory: a patch with a block of
    // more than 64 MiB (mostly zeros the input never held) is not written back.
    if ((args.Flags & kWriteBack) && !HoldsHugeBlock(expected)) {
        const std::string saved = ScratchPath("saved.muo");
        FUZZ_CHECK(SaveMUO(saved), "SaveMUO of a loaded patch");
        FUZZ_CHECK(ReadWholeFile(saved) == ExpectedSave(expected), "the saved MUO file");
    }
    ResetPatch();
    return 0;
}
