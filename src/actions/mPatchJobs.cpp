#include "actions/mPatchJobs.h"

#include <limits>

#include "actions/RunJob.h"
#include "actions/mStart.h"
#include "base/cError.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "formats/FormatCodes.h"
#include "formats/cMUO.h"
#include "formats/mPatchMUO.h"
#include "support/Services.h"

namespace quillet {

Result OpenPatch(const std::string& PatchFilename) {
    FailureWatch watch;
    PatchDispose();
    PatchNew();
    const Result loaded = LoadPatchFile(PatchFilename);
    if (watch.Failed()) return Result::Logged(watch.First()).WithWarnings(loaded.Warnings());
    return loaded;
}

Result LoadPatchFile(const std::string& PatchFilename) {
    if (!gFileIO.FileExist(PatchFilename)) return Result::Success();
    // The whole of every type: 400000 lies above every classic range, and a
    // type's range may reach past it (458751 for a current map). Blocks past
    // their type's range are told and left out by the load itself.
    int32_t lastBlock = 400000;
    for (const FileTypeRec& type : FileTypes) lastBlock = std::max(lastBlock, type.NbrOfBlocks);
    return RunJob("Loading MUO. Please wait.", "mPatchJobs.LoadPatchFile",
                  [&] { return LoadMUO(PatchFilename, 0, 255, 0, std::numeric_limits<int32_t>::max()); });
}

Result SavePatch(const std::string& PatchFilename) {
    return RunJob("Saving MUO. Please wait.", "mPatchJobs.SavePatch", [&] { return SaveMUO(PatchFilename); });
}

Result CheckPatchFile(const std::string& PatchFilename) {
    cMUO muo;
    const int32_t code = muo.cOpen(PatchFilename);
    if (code != 0) return Result::Failed(SourceFailure(PatchFilename, muo.cError(code), muo.Why));
    muo.cClose();
    return Result::Success();
}

std::string PatchInUseText(const std::string& PatchFilename) {
    return PatchFilename + " is being used by another program.";
}

Result LockPatchFile(PathLock& lock, const std::string& PatchFilename) {
    if (lock.Follow(PatchFilename)) return Result::Success();
    if (lock.Acquire({{PatchFilename, LockMode::Exclusive}}, false)) return Result::Success();
    return Result::Failed(PatchInUseText(PatchFilename));
}

Result SaveLockedPatch(PathLock& lock, const std::string& PatchFilename) {
    const Result saved = SavePatch(PatchFilename);
    lock.Follow(PatchFilename);
    return saved;
}

}  // namespace quillet
