#include "viewers/mRadarCol.h"

#include <algorithm>

#include "base/BinaryFile.h"
#include "base/ByteIO.h"
#include "base/cError.h"
#include "support/Services.h"
#include "support/mConvert.h"

namespace quillet {

std::vector<int32_t> RadarColors(kRadarColorsLeast, 0);

namespace {
bool gFound = false;
}  // namespace

bool RadarColorsFound() { return gFound; }

void LoadRadarColFrom(const std::string& path) {
    try {
        // Signed 16-bit entries in one read. A missing or short file gives
        // zeros, which are black; a longer one counts its whole entries, up
        // to the highest index a static item reaches.
        BinaryFile file;
        gFound = file.Open(path, BinaryFile::Mode::Read);
        const auto held = static_cast<size_t>(std::max<int64_t>(file.Size(), 0) / 2);
        const size_t entries = std::clamp(held, kRadarColorsLeast, kRadarColorsMost);
        std::vector<uint8_t> raw(entries * 2, 0);
        if (gFound) file.ReadAt(0, raw.data(), raw.size());
        // Converted in place: a failure leaves the entries not yet reached as they were.
        if (RadarColors.size() < entries) RadarColors.resize(entries, 0);
        LeReader read(raw);
        for (size_t index = 0; index < entries; ++index) RadarColors[index] = ColorFrom555(read.I16());
        RadarColors.resize(entries);
    } catch (...) {
        gError.Log("mRadarCol.LoadRadarCol");
    }
}

void LoadRadarCol() { LoadRadarColFrom(ClientLocation().UO2DPath + "radarcol.mul"); }

}  // namespace quillet
