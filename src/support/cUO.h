#pragma once
// Where the game client is installed.
#include <string>

namespace quillet {

class cUO {
public:
    bool isUO2D = false;
    bool isUO3D = false;
    std::string UO2DPath;  // directory of client.exe, ending in '/', or empty
    std::string UO3DPath;  // directory of uotd.exe, ending in '/', or empty
};

}  // namespace quillet
