#pragma once
// The patch file as a whole: open (File, Open), save (File, Save) and the
// test that a file is a MUO file at all.
#include <string>

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

}  // namespace quillet
