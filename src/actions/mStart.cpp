#include "actions/mStart.h"

#include "core/mPatch.h"
#include "core/mWait.h"
#include "viewers/mRadarCol.h"

namespace quillet {

void PatchNew() {
    NewPatchStore();
    Wait_Start("Loading radar colors");
    LoadRadarCol();
    Wait_Stop();
}

}  // namespace quillet
