#include "viewers/mRadarCol.h"

#include <vector>

#include "base/cError.h"
#include "support/Services.h"
#include "base/BinaryFile.h"
#include "base/ByteIO.h"
#include "support/mConvert.h"

namespace quillet {

std::array<int32_t, 65536> RadarColors{};

namespace {
bool gFound = false;
}  // namespace

bool RadarColorsFound() { return gFound; }

void LoadRadarColFrom(const std::string& path) {
    try {
        // 65536 signed 16-bit entries in one read; a longer file is read only
        // that far, and a missing or short one gives zeros, which are black.
        std::vector<uint8_t> raw(RadarColors.size() * 2, 0);
        BinaryFile file;
        gFound = file.Open(path, BinaryFile::Mode::Read);
        if (gFound) file.ReadAt(0, raw.data(), raw.size());
        LeReader entries(raw);
        for (int32_t& colour : RadarColors) colour = ColorFrom555(entries.I16());
    } catch (...) {
        gError.Log("mRadarCol.LoadRadarCol");
    }
}

void LoadRadarCol() { LoadRadarColFrom(ClientLocation().UO2DPath + "radarcol.mul"); }

}  // namespace quillet
