#pragma once
// Little-endian numbers in byte arrays and the client's 16-bit colours.
#include <array>
#include <cstdint>

#include "base/ByteIO.h"

namespace quillet {

// low in bits 0..15, high in bits 16..31, bit for bit.
int32_t MakeLong(int16_t low, int16_t high);
// Writes the lowest byte always, the next ones only while Length allows (at most 4).
// An index outside the array ends it silently; bytes already written stay.
void LongToBytes(int32_t Value, ByteArray& bytes, int32_t Start, int32_t Length);
// Mirror of LongToBytes; bytes not read are 0. An index outside the array is a failure.
int32_t BytesToLong(const ByteArray& bytes, int32_t Start, int32_t Length);
// Signed 16-bit colour entry to red + 256 green + 65536 blue.
int32_t ColorFrom555(int32_t v);
// Colour value to 5 bits per channel (red divided by 8.1, the others by 8).
int32_t ColorTo555(int32_t color);

// The 5-bit value ColorTo555 gives each channel value 0..255, for a
// conversion of many pixels: colour = Red[r] * 1024 + Other[g] * 32 + Other[b].
struct ChannelsTo555 {
    std::array<uint8_t, 256> Red{};
    std::array<uint8_t, 256> Other{};
};
const ChannelsTo555& ChannelTables555();

}  // namespace quillet
