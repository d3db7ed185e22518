#pragma once
// The global service objects and the life of the one open patch.
#include <string>

#include "core/cError.h"
#include "support/cConvert.h"
#include "support/cFileIO.h"
#include "support/cUO.h"

namespace quillet {

// Made once, in this order, for the whole run.
extern cError gError;
extern cFileIO gFileIO;
extern cConvert gConvert;
extern cUO gUO;

// Where PatchNew puts the DataFile: empty means the current directory (the
// GUI); the CLI points it at the temporary directory.
extern std::string DataFileDirectory;

// The one way to an empty patch: fresh slots, a new hidden DataFile in the
// current directory, the radar colours reloaded.
void PatchNew();
// Closes and deletes the DataFile.
void PatchDispose();

// ".abcdefgh.dat": a leading dot hides it, the 8 letters come from 'a'..'y'.
std::string NewDataFileName();

}  // namespace quillet
