// LoadUOP (and with it cUOP) on any file, held against a model of the format.
#include <cstdint>
#include <cstring>
#include <string>

#include "FuzzInput.h"
#include "FuzzSupport.h"
#include "core/mMuls.h"
#include "formats/mPatchUOP.h"

namespace quillet::fuzz {
namespace {

// A field read over the variable that receives it: where the file has
// ended, the variable keeps its old bytes.
void ReadOver(ModelReader& reader, int32_t& field) {
    uint8_t raw[4];
    StoreI32(raw, field);
    uint8_t got[4];
    const size_t n = reader.Read(got, sizeof got);
    std::memcpy(raw, got, n);
    field = LoadI32(raw);
}

void ModelLoadUOP(const ByteArray& file, const PatchLoadArgs& args, ExpectedPatch& patch, ExpectedEnd& end) {
    // Every way out of a file that exists recounts, a stop too.
    end.Recounted = true;
    ModelReader reader(file);
    uint8_t head[12];
    reader.Read(head, sizeof head);
    const uint8_t version = head[3];
    const int32_t total = LoadI32(head + 4);
    if (version != 4 && version != 5) {  // no UOP patch file this program reads: a failure that names it
        end.Failed = true;
        return;
    }
    if (version == 5) {
        uint8_t toolName[10];
        reader.Read(toolName, sizeof toolName);
    }
    // The variables live across the walk: a file shorter than its count
    // repeats its last entry, with zero bytes as the data.
    uint8_t id = 0;
    int32_t block = 0, size = 0, extra = 0;
    ByteArray first;  // what the file holds of an entry's bytes; zeros for the rest
    for (int32_t entry = 0; entry < total; ++entry) {
        const bool pastEnd = reader.Remaining() <= 0;
        uint8_t b = 0;
        if (reader.Read(&b, 1) == 1) id = b;
        ReadOver(reader, block);
        ReadOver(reader, size);
        ReadOver(reader, extra);
        // The bytes pass into the DataFile: what the file has, zeros for the rest.
        first = size > 0 ? BytesIn(file, reader.Position(), size) : ByteArray();
        if (size > 0) reader.Skip(size);
        bool dropped = false;
        if (block > FileTypes[id].NbrOfBlocks) {
            end.Messages.push_back(IllegalBlockText(id, block));
            dropped = true;
        }
        if (id < args.FromFileID || id > args.ToFileID || block < args.FromBlock || block > args.ToBlock || id >= 252)
            dropped = true;
        if (!dropped && !patch.StoreStreamed(id, block, size, extra, first, end)) {
            end.Failed = true;
            return;
        }
        if (pastEnd) break;
    }
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
    const std::string path = ScratchPath("input.uop");
    WriteWholeFile(path, file);

    Observed& seen = BeginIteration();
    ExpectedPatch expected;
    ExpectedEnd end;
    ModelLoadUOP(file, args, expected, end);
    LoadUOP(path, args.FromFileID, args.ToFileID, args.FromBlock, args.ToBlock);
    CheckPatch(expected, end, seen, "mPatch.LoadUOP");
    return 0;
}
