#pragma once
// The life of the one open patch, as the front ends start it.
namespace quillet {

// The one way to an empty patch: fresh slots, a new hidden DataFile (see
// NewPatchStore), the radar colours reloaded under their wait text.
void PatchNew();

}  // namespace quillet
