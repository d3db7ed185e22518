#pragma once
// The global service objects, made once for the whole run in this order
// (after the failure log, which every one of them may use). The client's
// location is the exception: it is looked up in the registry at its first
// use, so that a command that never needs it never reads the registry.
#include "support/cConvert.h"
#include "support/cFileIO.h"
#include "support/cUO.h"

namespace quillet {

extern cFileIO gFileIO;
extern cConvert gConvert;

// Where the game clients are, as the registry of the user's Wine prefix
// says; the lookup runs once, at the first call.
cUO& ClientLocation();

}  // namespace quillet
