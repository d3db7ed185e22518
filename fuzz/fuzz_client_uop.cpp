// cClientUOP on any container, opened as one of the types it may hold and
// walked, held against a model of the format (ClientUOPModel.h): the same
// refusals, kind, extent and counts, and for every block looked at the same
// Size, Extra and bytes, or a failure of that block's load where the model
// says its entry does not decode.
#include <climits>
#include <cstdint>
#include <set>
#include <string>

#include "ClientUOPModel.h"
#include "FuzzInput.h"
#include "FuzzSupport.h"
#include "base/Checked.h"
#include "formats/cClientUOP.h"

namespace quillet::fuzz {
namespace {

// The block numbers a walk looks at: every present entry and its
// neighbours, every part of a map entry where its bytes end, the edges of
// the extent and the facet, and a spread of the numbers between.
std::set<int64_t> BlocksToWalk(const ContainerModel& model, uint8_t selector) {
    std::set<int64_t> blocks{-1, 0, 1, INT32_MAX, model.Extent() - 1, model.Extent(), model.Extent() + 1};
    if (model.WantedMap()) {
        for (const auto& [n, entry] : model.Entries()) {
            const int64_t first = int64_t{n} * 4096;
            for (const int64_t i : {int64_t{0}, int64_t{1}, int64_t{4095}, int64_t{entry.stored / 196},
                                    int64_t{entry.stored / 196 + 1}, int64_t{entry.inflated / 196}})
                if (i >= 0 && i < 4096) blocks.insert(first + i);
        }
        const int64_t facet = model.FacetBlocks();
        for (const int64_t b : {facet - 1, facet, facet + 1}) blocks.insert(b);
        for (int64_t b = selector; b < std::min<int64_t>(model.Extent() + 8192, 256 * 4096); b += 4093)
            blocks.insert(b);
    } else {
        for (const auto& [n, entry] : model.Entries())
            for (const int64_t b : {int64_t{n} - 1, int64_t{n}, int64_t{n} + 1}) blocks.insert(b);
        for (int64_t b = selector; b <= 0x20000; b += 251) blocks.insert(b);
    }
    return blocks;
}

void CheckBlock(cClientUOP& uop, ContainerModel& model, int64_t number, bool again) {
    const auto block = static_cast<int32_t>(number);
    const ModelBlock want = model.Block(block);
    const std::string which = "block " + std::to_string(block);
    int32_t extra = 12345;
    int32_t size = 0;
    try {
        size = uop.cLoadHead(block, extra);
    } catch (const Failure& failure) {
        FUZZ_CHECK(want.fails, which + ": " + failure.what());
        FUZZ_CHECK(std::string(failure.what()).rfind(which + " (", 0) == 0, failure.what());
        return;
    }
    FUZZ_CHECK(!want.fails, which + " loads, the model says it does not decode");
    FUZZ_CHECK(size == want.size && extra == want.extra,
               which + ": Size " + std::to_string(size) + ", Extra " + std::to_string(extra) +
                   "; the model: " + std::to_string(want.size) + ", " + std::to_string(want.extra));
    if (size <= 0) return;
    ByteArray got(static_cast<size_t>(size));
    const size_t half = got.size() / 2;
    uop.cData().Read(got.data(), half);
    uop.cData().Read(got.data() + half, got.size() - half);
    FUZZ_CHECK(got == want.bytes, which + ": other bytes");
    if (!again) return;
    ByteArray more(got.size());
    uop.cDataAgain().Read(more.data(), more.size());
    FUZZ_CHECK(more == want.bytes, which + ": other bytes the second time");
    ByteArray spare;
    const uint8_t* view = uop.cView(spare);
    FUZZ_CHECK(view != nullptr && ByteArray(view, view + got.size()) == want.bytes, which + ": another view");
}

}  // namespace
}  // namespace quillet::fuzz

using namespace quillet;
using namespace quillet::fuzz;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    InitPatchEnvironment();
    ModelNames();  // made once, before the first input
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    InputCutter in(data, size);
    const uint8_t selector = in.U8();
    const ByteArray file = in.Rest();
    const uint8_t fileId = kContainerTypes[selector % kContainerTypes.size()];
    const std::string path = ScratchPath("input.uop");
    WriteWholeFile(path, file);

    ContainerModel model;
    const bool opens = model.Open(file, fileId);
    cClientUOP uop;
    const int32_t code = uop.cOpen(path, fileId);
    FUZZ_CHECK(code == (opens ? 0 : 500), "cOpen answers " + std::to_string(code) + ": " + uop.Why);
    if (!opens) {
        FUZZ_CHECK(!uop.Why.empty(), "a refusal without a reason");
        return 0;
    }
    FUZZ_CHECK(uop.cKind() == model.Kind(), "kind " + uop.cKind() + ", the model: " + model.Kind());
    FUZZ_CHECK(uop.cExtent() == model.Extent(), "extent " + std::to_string(uop.cExtent()));
    const int64_t edge = model.Extent() / 2;
    for (const auto& [first, last] :
         {std::pair<int64_t, int64_t>{0, INT32_MAX}, {edge, edge + 5000}, {model.FacetBlocks(), INT32_MAX}, {5, 4}})
        FUZZ_CHECK(uop.cBlocksIn(first, last) == model.BlocksIn(first, last),
                   "blocks in " + std::to_string(first) + ".." + std::to_string(last));
    bool again = true;
    for (const int64_t block : BlocksToWalk(model, selector)) {
        CheckBlock(uop, model, block, again);
        again = !again;
    }
    FUZZ_CHECK(uop.cClose() == 0, "cClose");
    return 0;
}
