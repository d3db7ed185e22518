#include "viewers/mRadarCol.h"

#include <vector>

#include "core/mStart.h"
#include "support/BinaryFile.h"
#include "support/mConvert.h"

namespace quillet {

std::array<int32_t, 65536> RadarColors{};

void LoadRadarCol() {
    try {
        std::vector<uint8_t> raw(65536 * 2, 0);
        BinaryFile file;
        if (file.Open(gUO.UO2DPath + "radarcol.mul", BinaryFile::Mode::Read))
            file.ReadAt(0, raw.data(), raw.size());  // past the end: zeros, black entries
        for (size_t index = 0; index < RadarColors.size(); ++index)
            RadarColors[index] = ColorFrom555(LoadI16(&raw[index * 2]));
    } catch (...) {
        gError.Log("mRadarCol.LoadRadarCol");
    }
}

}  // namespace quillet
