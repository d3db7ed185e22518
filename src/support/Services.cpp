#include "support/Services.h"

namespace quillet {

// Definition order is construction order.
cFileIO gFileIO;
cConvert gConvert;

cUO& ClientLocation() {
    static cUO location;
    return location;
}

}  // namespace quillet
