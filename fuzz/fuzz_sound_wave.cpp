// A Sound block as a WAV file, held against the model (PictureModel.h): no
// file for a block without samples, else the same bytes.
#include <cstdint>
#include <string>

#include "FuzzSupport.h"
#include "PictureModel.h"
#include "formats/SoundWave.h"

using namespace quillet;
using namespace quillet::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const ByteArray block(data, data + size);
    ByteArray wave;
    std::string why;
    const bool made = SoundToWave(block, wave, why);
    const std::optional<ByteArray> model = ModelWave(block);
    FUZZ_CHECK(made == model.has_value(), made ? "a WAV file, the model makes none" : "no WAV file: " + why);
    if (!made) {
        FUZZ_CHECK(!why.empty(), "a refusal without a reason");
        return 0;
    }
    FUZZ_CHECK(wave == *model, "other bytes than the model's");
    return 0;
}
