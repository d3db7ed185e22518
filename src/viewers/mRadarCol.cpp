#include "viewers/mRadarCol.h"

#include <vector>

#include "base/cError.h"
#include "support/Services.h"
#include "base/BinaryFile.h"
#include "support/mConvert.h"

namespace quillet {

std::array<int32_t, 65536> RadarColors{};

void LoadRadarColFrom(const std::string& path) {
    try {
        // 65536 signed 16-bit entries in one read; a longer file is read only
        // that far, and a missing or short one gives zeros, which are black.
        std::vector<uint8_t> raw(RadarColors.size() * 2, 0);
        BinaryFile file;
        if (file.Open(path, BinaryFile::Mode::Read)) file.ReadAt(0, raw.data(), raw.size());
        for (size_t index = 0; index < RadarColors.size(); ++index)
            RadarColors[index] = ColorFrom555(LoadI16(&raw[index * 2]));
    } catch (...) {
        gError.Log("mRadarCol.LoadRadarCol");
    }
}

void LoadRadarCol() { LoadRadarColFrom(gUO.UO2DPath + "radarcol.mul"); }

}  // namespace quillet
