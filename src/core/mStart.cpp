#include "core/mStart.h"

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <random>

#include "core/mDatafile.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "viewers/mRadarCol.h"

namespace quillet {

// Definition order is construction order: cError first, every other object
// may log through it.
cError gError;
cFileIO gFileIO;
cConvert gConvert;
cUO gUO;
std::string DataFileDirectory;

std::string NewDataFileName() {
    std::mt19937 generator(static_cast<std::mt19937::result_type>(
        std::chrono::high_resolution_clock::now().time_since_epoch().count()));
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    std::string name = ".";
    for (int i = 0; i < 8; ++i) name += static_cast<char>(static_cast<int>(std::floor(uniform(generator) * 25)) + 97);
    return name + ".dat";
}

void PatchNew() {
    CreatePatchStructures();
    // What crashed runs left behind goes before this run adds its own.
    RemoveStaleDatafiles(DataFileDirectory);
    DataFileName = NewDataFileName();
    if (!DataFileDirectory.empty())
        DataFileName = DataFileDirectory + (DataFileDirectory.back() == '/' ? "" : "/") + DataFileName;
    Datafile_Create(DataFileHandle, DataFileName);
    Wait_Start("Loading radar colors");
    LoadRadarCol();
    Wait_Stop();
}

void PatchDispose() {
    Datafile_Close(DataFileHandle);
    if (!DataFileName.empty()) ::unlink(DataFileName.c_str());
}

}  // namespace quillet
