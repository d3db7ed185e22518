#include "support/mConvert.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quillet {

int32_t MakeLong(int16_t low, int16_t high) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint16_t>(low)) |
                                static_cast<uint32_t>(static_cast<uint16_t>(high)) << 16);
}

void LongToBytes(int32_t Value, ByteArray& bytes, int32_t Start, int32_t Length) {
    const auto v = static_cast<uint32_t>(Value);
    const int32_t count = std::clamp(Length, 1, 4);
    for (int32_t i = 0; i < count; ++i) {
        const int64_t index = int64_t{Start} + i;
        if (index < 0 || index >= static_cast<int64_t>(bytes.size())) return;
        bytes[static_cast<size_t>(index)] = static_cast<uint8_t>(v >> (8 * i));
    }
}

int32_t BytesToLong(const ByteArray& bytes, int32_t Start, int32_t Length) {
    const int32_t count = std::clamp(Length, 1, 4);
    uint32_t v = 0;
    for (int32_t i = 0; i < count; ++i) v |= uint32_t{At(bytes, int64_t{Start} + i)} << (8 * i);
    return static_cast<int32_t>(v);
}

int32_t ColorFrom555(int32_t v) {
    // Division cuts toward zero on the signed value, as the client's tools did.
    const int32_t blue = (v & 31) * 8;
    const int32_t green = ((v / 32) & 31) * 8;
    const int32_t red = ((v / 1024) & 31) * 8;
    return red + 256 * green + 65536 * blue;
}

const ChannelsTo555& ChannelTables555() {
    // Red divided by 8.1, green and blue by 8, rounded, held at 31 (a channel
    // of 252 or more would round to 32 and run into the next field). Worked
    // out once; a picture's conversion then looks up three numbers a pixel.
    static const ChannelsTo555 tables = [] {
        ChannelsTo555 made;
        for (int32_t value = 0; value < 256; ++value) {
            made.Red[static_cast<size_t>(value)] = static_cast<uint8_t>(std::min(std::nearbyint(value / 8.1), 31.0));
            made.Other[static_cast<size_t>(value)] = static_cast<uint8_t>(std::min(std::nearbyint(value / 8.0), 31.0));
        }
        return made;
    }();
    return tables;
}

int32_t ColorTo555(int32_t color) {
    const auto c = static_cast<uint32_t>(color);
    const ChannelsTo555& channels = ChannelTables555();
    return channels.Red[c & 0xFF] * 1024 + channels.Other[(c >> 8) & 0xFF] * 32 + channels.Other[(c >> 16) & 0xFF];
}

}  // namespace quillet
