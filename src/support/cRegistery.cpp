// The lookup of keys and values, the part of the registry that the program
// reads; the writers of the interface are in cRegisteryWriters.cpp. The
// files are parsed in RegistryHive.cpp, and Windows paths are mapped to the
// prefix's folders in WinePaths.cpp.
#include "support/cRegistery.h"

#include <string_view>
#include <utility>

#include "base/FilePaths.h"
#include "support/Caseless.h"
#include "support/RegistryHive.h"
#include "support/WinePaths.h"

namespace quillet {
namespace {

std::vector<std::string> SplitKeyPath(std::string_view path) {
    std::vector<std::string> parts;
    std::string current;
    for (const char c : path) {
        if (c == '\\') {
            if (!current.empty()) parts.push_back(current);
            current.clear();
        } else {
            current += c;
        }
    }
    if (!current.empty()) parts.push_back(current);
    return parts;
}

// The key and, under HKEY_LOCAL_MACHINE\SOFTWARE, its Wow6432Node twin, in the
// order a 32-bit program of this prefix sees them.
std::vector<KeyView> ViewsOf(const std::string& lpSubKey, int32_t Key, const Hive& hive) {
    const std::vector<std::string> parts = SplitKeyPath(lpSubKey);
    std::vector<KeyView> views(1);
    views[0].path = KeyPath(parts);
    views[0].depth = parts.size();
    if (Key == HKEY_LOCAL_MACHINE && !parts.empty() && SameCaseless(parts[0], "SOFTWARE") &&
        !(parts.size() > 1 && SameCaseless(parts[1], "Wow6432Node"))) {
        KeyView twin;
        twin.path = "software\\wow6432node";
        twin.depth = parts.size() + 1;
        if (parts.size() > 1) {
            twin.path += '\\';
            twin.path += KeyPath(parts, 1);
        }
        if (hive.win64)
            views.insert(views.begin(), twin);
        else
            views.push_back(twin);
    }
    return views;
}

}  // namespace

cRegistery::cRegistery() : prefix_(DefaultWinePrefix()) {}

cRegistery::cRegistery(std::string winePrefix) : prefix_(WithoutSlash(std::move(winePrefix))) {}

std::string cRegistery::HiveFile(int32_t Key) const {
    if (prefix_.empty()) return {};
    if (Key == HKEY_LOCAL_MACHINE) return prefix_ + "/system.reg";
    if (Key == HKEY_CURRENT_USER) return prefix_ + "/user.reg";
    return {};
}

bool cRegistery::KeyExists(const std::string& lpSubKey, int32_t Key) const {
    Hive hive;
    if (!LoadHive(HiveFile(Key), hive)) return false;
    std::vector<KeyView> views = ViewsOf(lpSubKey, Key, hive);
    if (views[0].path.empty()) return true;  // the root itself
    ScanHive(hive, Key, views);
    for (const KeyView& view : views)
        if (view.exists) return true;
    return false;
}

int32_t cRegistery::GetKeys(const std::string& lpSubKey, std::vector<std::string>& Keys, int32_t Key) const {
    Keys.clear();
    Hive hive;
    if (!LoadHive(HiveFile(Key), hive)) return 0;
    std::vector<KeyView> views = ViewsOf(lpSubKey, Key, hive);
    ScanHive(hive, Key, views);
    for (const KeyView& view : views) {
        if (!view.exists) continue;
        Keys = view.subkeys;
        return static_cast<int32_t>(Keys.size());
    }
    return 0;
}

std::string cRegistery::GetValue(const std::string& lpSubKey, const std::string& lpValue, const std::string& Default,
                                 int32_t Key) const {
    return GetValues({{lpSubKey, lpValue}}, Default, Key)[0];
}

std::vector<std::string> cRegistery::GetValues(const std::vector<std::pair<std::string, std::string>>& lpSubKeyValues,
                                               const std::string& Default, int32_t Key) const {
    std::vector<std::string> texts(lpSubKeyValues.size(), Default);
    Hive hive;
    if (!LoadHive(HiveFile(Key), hive)) return texts;
    // The views of all the keys, found in one pass; each query's views in a
    // row, the first of them at firsts[query].
    std::vector<KeyView> views;
    std::vector<size_t> firsts;
    for (const auto& [subKey, value] : lpSubKeyValues) {
        firsts.push_back(views.size());
        for (KeyView& view : ViewsOf(subKey, Key, hive)) {
            view.valueName = LowerText(value);
            views.push_back(std::move(view));
        }
    }
    firsts.push_back(views.size());
    ScanHive(hive, Key, views);
    for (size_t query = 0; query < lpSubKeyValues.size(); ++query) {
        for (size_t index = firsts[query]; index < firsts[query + 1]; ++index) {
            if (!views[index].value) continue;
            const std::string& text = *views[index].value;
            const size_t zero = text.find('\0');
            texts[query] = zero == std::string::npos ? text : text.substr(0, zero);
            break;
        }
    }
    return texts;
}

std::string cRegistery::UnixPath(const std::string& windowsPath) const {
    return WindowsToUnixPath(prefix_, windowsPath);
}

}  // namespace quillet
