#pragma once
// The patch file as a whole: open (File, Open), save (File, Save) and the
// test that a file is a MUO file at all.
#include <string>

#include "base/PathLock.h"
#include "base/Result.h"

namespace quillet {

// A fresh patch (PatchDispose, PatchNew), then the whole MUO file loaded into
// it under "Loading MUO. Please wait.". An empty name or a file that is not
// there gives the new, empty patch. Fails with the first failure logged, the
// new patch's own (a scratch file that cannot be made) included.
Result OpenPatch(const std::string& PatchFilename);
// The loading half of OpenPatch, into the patch that is open: for a front end
// that must know the new scratch file's name before the load begins.
Result LoadPatchFile(const std::string& PatchFilename);

// SaveMUO under "Saving MUO. Please wait.".
Result SavePatch(const std::string& PatchFilename);

// Whether the file opens as a MUO file; the failure names the file and says
// why ("F: File does not exist.", "F: Unsupported patchfile."...). Logs nothing.
Result CheckPatchFile(const std::string& PatchFilename);

// The patch file of a front end stays locked (exclusively: a save may come at
// any moment) for as long as it is that front end's file, so that no other
// Quillet changes it meanwhile.
//
// What the user is told when another program holds the lock of a patch file.
std::string PatchInUseText(const std::string& PatchFilename);
// Takes the lock on the patch file, or on the place where it will be, without
// waiting; fails with PatchInUseText when another program holds it. A lock
// that holds this path already stays as it is, following the path to the
// file it names now; any other lock held by lock is let go.
Result LockPatchFile(PathLock& lock, const std::string& PatchFilename);
// SavePatch by the holder of the lock on PatchFilename (LockPatchFile): the
// lock then moves to the saved file, which a save makes anew. If another
// program takes the new file first, the save stands but the lock is gone,
// and the next LockPatchFile fails.
Result SaveLockedPatch(PathLock& lock, const std::string& PatchFilename);

}  // namespace quillet
