// The two stages of a flag-3 entry: the decoder on any input, held against
// a model of the stages (ClientUOPModel.h), and the encoder's output decoded
// back to what it was given.
#include <cstdint>
#include <string>

#include "ClientUOPModel.h"
#include "FuzzInput.h"
#include "FuzzSupport.h"
#include "base/Checked.h"
#include "formats/EntryStages.h"

using namespace quillet;
using namespace quillet::fuzz;

namespace {

// Decodes, or says it failed.
std::optional<ByteArray> Decode(ByteArray staged) {
    ByteArray out;
    try {
        DecodeStages(staged, out);
    } catch (const Failure&) {
        return std::nullopt;
    }
    return out;
}

void RoundTrip(const ByteArray& data) {
    const ByteArray staged = EncodeStages(data);
    FUZZ_CHECK(staged.size() == 4 + 1024 + data.size() + 1, "the staged length");
    FUZZ_CHECK((static_cast<uint32_t>(LoadI32(staged.data())) ^ kStagedLengthKey) == data.size(), "the prefix");
    const std::optional<ByteArray> decoded = Decode(staged);
    FUZZ_CHECK(decoded && *decoded == data, "an encoded entry decodes to something else");
    const std::optional<ByteArray> model = ModelUndoStages(staged);
    FUZZ_CHECK(model && *model == data, "the model decodes an encoded entry to something else");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    InputCutter in(data, size);
    const uint8_t mode = in.U8();
    const ByteArray bytes = in.Rest();
    ByteArray staged = bytes;
    if ((mode & kStagesRoundTrip) && !(mode & kStagesEdited)) {
        RoundTrip(bytes);
        return 0;
    }
    if (mode & kStagesEdited) {
        InputCutter edit(bytes.data(), bytes.size());
        const uint16_t place = edit.U16();
        const uint8_t value = edit.U8();
        staged = EncodeStages(edit.Rest());
        // T is what stage 1 gives: undone, edited, done again.
        const size_t t = 4 + 1024 + place % (staged.size() - 4 - 1024);
        UndoMoveToFront(staged.data() + 4, staged.size() - 4);
        staged[t] = value;
        ModelMoveToFront(staged.data() + 4, staged.size() - 4);
    }
    const std::optional<ByteArray> decoded = Decode(staged);
    const std::optional<ByteArray> model = ModelUndoStages(staged);
    FUZZ_CHECK(decoded.has_value() == model.has_value(),
               decoded ? "decodes, the model refuses" : "refused, the model decodes");
    if (!decoded) return 0;
    FUZZ_CHECK(*decoded == *model, "decodes to other bytes than the model");
    RoundTrip(*decoded);
    return 0;
}
