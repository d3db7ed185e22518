#include "support/cUO.h"

#include <sys/stat.h>

#include <cstdlib>
#include <vector>

#include "support/cRegistery.h"

namespace quillet {
namespace {

// The keys the clients' installers write, under HKEY_LOCAL_MACHINE.
constexpr const char* k2DKey = "SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0";
constexpr const char* k3DKey = "SOFTWARE\\Origin Worlds Online\\Ultima Online Third Dawn\\1.0";

// The numeric value of the start of a text: blanks are passed over, then a
// sign, digits and a fraction are read as far as they go; no number is 0.
double NumericValue(const std::string& text) {
    std::string number;
    for (const char c : text) {
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r') continue;
        const bool sign = (c == '-' || c == '+') && number.empty();
        const bool digit = c >= '0' && c <= '9';
        const bool point = c == '.' && number.find('.') == std::string::npos;
        if (!sign && !digit && !point) break;
        number += c;
    }
    return std::strtod(number.c_str(), nullptr);
}

// Every occurrence of name taken out, in one pass from left to right: an
// occurrence that the taking out of another one brings together is kept.
std::string WithoutAll(const std::string& text, const std::string& name) {
    std::string out;
    out.reserve(text.size());
    size_t from = 0;
    for (size_t at = text.find(name); at != std::string::npos; at = text.find(name, from)) {
        out.append(text, from, at - from);
        from = at + name.size();
    }
    out.append(text, from, std::string::npos);
    return out;
}

bool FileThere(const std::string& path) {
    struct stat info{};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

// The client's directory from ExePath: the program's name taken out (in the
// exact case only), then the Windows path mapped into the prefix.
std::string ClientDirectory(const cRegistery& registry, const std::string& exePath, const std::string& program) {
    if (NumericValue(exePath) == -1) return {};
    const std::string directory = WithoutAll(exePath, program);
    return directory.empty() ? directory : registry.UnixPath(directory);
}

}  // namespace

cUO::cUO() { Init(cRegistery()); }

void cUO::Init(const cRegistery& registry) {
    isUO2D = true;
    isUO3D = true;
    // Both values from one reading of the registry, which may be large.
    const std::vector<std::string> exePaths =
        registry.GetValues({{k2DKey, "ExePath"}, {k3DKey, "ExePath"}}, "-1", HKEY_LOCAL_MACHINE);
    UO2DPath = ClientDirectory(registry, exePaths[0], "client.exe");
    UO3DPath = ClientDirectory(registry, exePaths[1], "uotd.exe");
    // With an empty path the programs are looked for in the current directory.
    if (!FileThere(UO2DPath + "client.exe")) isUO2D = false;
    if (!FileThere(UO3DPath + "uotd.exe")) isUO3D = false;
}

}  // namespace quillet
