#include "formats/mHues.h"

#include <array>

#include "base/Checked.h"
#include "base/cError.h"

namespace quillet {
namespace {

constexpr int32_t kHues = 8;
constexpr int32_t kHeader = 4;
constexpr int32_t kHueSize = 88;
constexpr int32_t kVerdataHueSize = 152;

}  // namespace

void ToVerdataHues(const ByteArray& HueGroup, ByteArray& VerdataGroup) {
    try {
        if (HueGroup.size() < static_cast<size_t>(kHueGroupSize))
            Fail("A hue group of " + std::to_string(HueGroup.size()) + " bytes, " +
                 std::to_string(kHueGroupSize) + " are needed");
        std::array<uint8_t, kVerdataHueGroupSize> group{};
        LeReader hues(HueGroup);
        hues.Skip(kHeader);
        for (int32_t n = 0; n < kHues; ++n)
            hues.Bytes(group.data() + (kHeader + kVerdataHueSize * n), kHueSize);
        VerdataGroup.assign(group.begin(), group.end());
    } catch (...) {
        gError.Log("mHues.ToVerdataHues");
    }
}

}  // namespace quillet
