#pragma once
// Where the game client is installed, as the registry says: the 2D client
// (client.exe) and the 3D client (uotd.exe). The lookup is done once, when
// the object is made; nothing stops the start when a client is not found.
#include <string>

namespace quillet {

class cRegistery;

class cUO {
public:
    // Looks the clients up in the registry of the user's Wine prefix.
    cUO();
    // Looks them up in the given registry (a test's prefix); the fields of an
    // earlier lookup are replaced.
    void Init(const cRegistery& registry);

    bool isUO2D = false;
    bool isUO3D = false;
    std::string UO2DPath;  // directory of client.exe, ending in '/', or empty
    std::string UO3DPath;  // directory of uotd.exe, ending in '/', or empty
};

}  // namespace quillet
