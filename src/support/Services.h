#pragma once
// The global service objects, made once for the whole run in this order
// (after the failure log, which every one of them may use).
#include "support/cConvert.h"
#include "support/cFileIO.h"
#include "support/cUO.h"

namespace quillet {

extern cFileIO gFileIO;
extern cConvert gConvert;
extern cUO gUO;

}  // namespace quillet
