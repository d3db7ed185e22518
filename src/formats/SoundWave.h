#pragma once
// A Sound block as a WAV file: the block is a 40-byte header (the sound's
// name) and then 16-bit signed mono samples at 22050 Hz; the WAV file is a
// 44-byte RIFF header and those samples.
#include <cstdint>
#include <span>
#include <string>

#include "base/ByteIO.h"

namespace quillet {

inline constexpr size_t kSoundHeaderBytes = 40;
inline constexpr size_t kWaveHeaderBytes = 44;

// The WAV file of the block: the header, the d = size - 40 sample bytes, and
// one 0 byte more when d is odd (a RIFF chunk has an even length; the pad is
// counted in the RIFF size, not in the data size). A block of 40 bytes or
// fewer has no samples: answers false with the reason in why.
bool SoundToWave(std::span<const uint8_t> block, ByteArray& wave, std::string& why);

}  // namespace quillet
