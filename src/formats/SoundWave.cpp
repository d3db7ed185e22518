#include "formats/SoundWave.h"

#include <limits>

namespace quillet {
namespace {

constexpr int32_t kSampleRate = 22050;
constexpr int16_t kBytesPerFrame = 2;  // 16 bits, one channel

}  // namespace

bool SoundToWave(std::span<const uint8_t> block, ByteArray& wave, std::string& why) {
    if (block.size() <= kSoundHeaderBytes) {
        why = "the sound block has " + std::to_string(block.size()) + " bytes: no samples after its " +
              std::to_string(kSoundHeaderBytes) + "-byte header";
        return false;
    }
    const size_t data = block.size() - kSoundHeaderBytes;
    const size_t pad = data % 2;
    // A block's size is a 32-bit signed number, so the RIFF size always fits.
    if (data > static_cast<size_t>(std::numeric_limits<int32_t>::max()) - 36 - pad) {
        why = "the sound block is too large for a WAV file";
        return false;
    }
    wave.clear();
    wave.reserve(kWaveHeaderBytes + data + pad);
    LeWriter out(wave);
    out.Bytes("RIFF");
    out.I32(static_cast<int32_t>(36 + data + pad));
    out.Bytes("WAVE");
    out.Bytes("fmt ");
    out.I32(16);
    out.I16(1);  // PCM
    out.I16(1);  // mono
    out.I32(kSampleRate);
    out.I32(kSampleRate * kBytesPerFrame);
    out.I16(kBytesPerFrame);
    out.I16(16);
    out.Bytes("data");
    out.I32(static_cast<int32_t>(data));
    out.Bytes(block.data() + kSoundHeaderBytes, data);
    out.Zeros(pad);
    return true;
}

}  // namespace quillet
