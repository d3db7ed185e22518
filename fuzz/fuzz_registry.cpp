// The Wine registry reader on any system.reg (and user.reg), through the
// lookups the program makes (cUO) and a lookup that the input names, with the
// answers held against each other: a listed subkey exists, a found value
// belongs to an existing key and does not depend on the default.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <unordered_set>
#include <vector>

#include "FuzzSupport.h"
#include "support/cRegistery.h"
#include "support/cUO.h"

namespace quillet::fuzz {
namespace {

std::string gPrefix;

// A prefix with drive C: and the client where the usual ExePath points.
void MakePrefix() {
    gPrefix = ScratchPath("prefix");
    const std::string client = gPrefix + "/drive_c/Program Files/Ultima Online";
    std::filesystem::create_directories(client);
    std::filesystem::create_directories(gPrefix + "/dosdevices");
    std::error_code ignored;
    std::filesystem::create_directory_symlink("../drive_c", gPrefix + "/dosdevices/c:", ignored);
    WriteWholeFile(client + "/client.exe", ByteArray{'M', 'Z'});
}

// A name as it is compared: ASCII letters folded.
std::string Folded(std::string name) {
    for (char& c : name)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return name;
}

void CheckKey(cRegistery& reg, const std::string& subKey, const std::string& valueName, int32_t root) {
    std::vector<std::string> keys{"left over"};
    const int32_t count = reg.GetKeys(subKey, keys, root);
    FUZZ_CHECK(count == static_cast<int32_t>(keys.size()), "GetKeys counts what it lists");
    // A set, not a search of the names before: a key may have a million.
    std::unordered_set<std::string> seen;
    for (const std::string& key : keys) {
        FUZZ_CHECK(!key.empty(), "a subkey has a name");
        FUZZ_CHECK(seen.insert(Folded(key)).second, "a subkey is listed once: " + key);
    }
    if (count > 0) FUZZ_CHECK(reg.CreateKey(subKey, root), "a key with subkeys exists: " + subKey);
    for (size_t i = 0; i < keys.size() && i < 8; ++i) {
        if (keys[i].find('\\') != std::string::npos) continue;  // a name no lookup can spell
        const std::string child = subKey.empty() ? keys[i] : subKey + "\\" + keys[i];
        FUZZ_CHECK(reg.CreateKey(child, root), "a listed subkey exists: " + child);
    }

    const std::string first = reg.GetValue(subKey, valueName, std::string("\x01" "A"), root);
    const std::string second = reg.GetValue(subKey, valueName, std::string("\x01" "B"), root);
    if (first == "\x01" "A") {
        FUZZ_CHECK(second == "\x01" "B", "a missing value gives the default");
    } else {
        FUZZ_CHECK(first == second, "a value does not depend on the default");
        FUZZ_CHECK(first.find('\0') == std::string::npos, "a value is cut at its first zero");
        FUZZ_CHECK(reg.CreateKey(subKey, root), "a key with a value exists: " + subKey);
        reg.UnixPath(first);
    }
    FUZZ_CHECK(!reg.DeleteKey(subKey, root), "the registry is read-only");
}

}  // namespace
}  // namespace quillet::fuzz

using namespace quillet;
using namespace quillet::fuzz;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    InitPatchEnvironment();
    MakePrefix();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t newline = input.find('\n');
    const std::string lookup = newline == std::string::npos ? input : input.substr(0, newline);
    const std::string text = newline == std::string::npos ? std::string() : input.substr(newline + 1);
    const ByteArray hive(text.begin(), text.end());
    WriteWholeFile(gPrefix + "/system.reg", hive);
    WriteWholeFile(gPrefix + "/user.reg", hive);

    Observed& seen = BeginIteration();
    cRegistery reg(gPrefix);
    static cUO uo;  // made once: its own lookup reads the user's real prefix
    uo.Init(reg);
    FUZZ_CHECK(uo.UO2DPath.empty() || uo.UO2DPath.back() == '/' || !uo.isUO2D, "a found client's directory");

    const size_t bar = lookup.find('|');
    const std::string subKey = bar == std::string::npos ? lookup : lookup.substr(0, bar);
    const std::string valueName = bar == std::string::npos ? std::string("ExePath") : lookup.substr(bar + 1);
    for (const int32_t root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
        CheckKey(reg, subKey, valueName, root);
        CheckKey(reg, "SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0", "ExePath", root);
        CheckKey(reg, "Software", "", root);
        CheckKey(reg, "", "", root);
    }

    // The web query form: decoding never makes a text longer, and a failure
    // is one log line of its own.
    FUZZ_CHECK(RegQueryKeyText(lookup).size() <= lookup.size(), "a decoded key is not longer");
    FUZZ_CHECK(RegQueryValueText(lookup).size() <= lookup.size(), "a decoded value is not longer");
    seen.logged.clear();
    cRegistery(gPrefix).RegQuery(lookup, HKEY_LOCAL_MACHINE);
    const bool broken = !lookup.empty() && [&] {
        for (size_t start = 0;;) {
            const size_t end = lookup.find('&', start);
            const std::string part = lookup.substr(start, end == std::string::npos ? std::string::npos : end - start);
            if (part.find('=') == std::string::npos) return true;
            if (end == std::string::npos) return false;
            start = end + 1;
        }
    }();
    FUZZ_CHECK(seen.logged == (broken ? std::vector<std::string>{"cRegistery.RegQuery"} : std::vector<std::string>{}),
               "RegQuery logs a part without \"=\" and nothing else");
    return 0;
}
