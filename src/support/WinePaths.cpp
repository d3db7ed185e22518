#include "support/WinePaths.h"

#include <dirent.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string_view>

#include "base/FilePaths.h"
#include "support/Caseless.h"

namespace quillet {
namespace {

// The entry of dir whose name equals name without regard to case, or "".
std::string FindCaseless(const std::string& dir, const std::string& name) {
    DIR* handle = ::opendir(dir.empty() ? "/" : dir.c_str());
    if (!handle) return {};
    std::string found;
    while (const dirent* entry = ::readdir(handle)) {
        if (SameCaseless(entry->d_name, name)) {
            found = entry->d_name;
            break;
        }
    }
    ::closedir(handle);
    return found;
}

std::string HomeDirectory() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    if (const passwd* user = ::getpwuid(::getuid()); user && user->pw_dir) return user->pw_dir;
    return {};
}

}  // namespace

std::string DefaultWinePrefix() {
    if (const char* prefix = std::getenv("WINEPREFIX"); prefix && *prefix) return WithoutSlash(prefix);
    const std::string home = HomeDirectory();
    return home.empty() ? home : WithoutSlash(home) + "/.wine";
}

std::string WindowsToUnixPath(const std::string& prefix, const std::string& windowsPath) {
    std::string path = windowsPath;
    // The long-path and the native spellings of the same path.
    for (const char* head : {"\\\\?\\", "\\??\\"})
        if (path.starts_with(head)) path.erase(0, std::char_traits<char>::length(head));
    const bool drive = path.size() >= 2 && path[1] == ':' &&
                       ((path[0] >= 'A' && path[0] <= 'Z') || (path[0] >= 'a' && path[0] <= 'z'));
    if (!drive) {
        for (char& c : path)
            if (c == '\\') c = '/';
        return path;
    }

    // The drive: Wine keeps it as the link dosdevices/x:, most often to
    // ../drive_c; a prefix without it still has drive_c for C:.
    const char letter = LowerAscii(path[0]);
    const std::string dos = prefix + "/dosdevices/" + letter + ":";
    std::string base = dos;
    struct stat info{};
    if (::lstat(dos.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
        std::string target(4096, '\0');
        const ssize_t n = ::readlink(dos.c_str(), target.data(), target.size());
        if (n > 0) {
            target.resize(static_cast<size_t>(n));
            base = target[0] == '/' ? target
                                    : (std::filesystem::path(prefix) / "dosdevices" / target).lexically_normal().string();
        }
    } else if (!NameTaken(dos) && letter == 'c') {
        base = prefix + "/drive_c";
    }
    while (!base.empty() && base.back() == '/') base.pop_back();  // "/" (drive Z:) becomes ""

    const std::string rest = path.substr(2);
    const bool closing = !rest.empty() && (rest.back() == '\\' || rest.back() == '/');
    std::string out = base;
    bool resolving = true;
    std::string name;
    // Appended in place: a path of a million names costs a million appends,
    // not a million copies of what came before.
    auto addName = [&] {
        if (name.empty()) return;
        const size_t parent = out.size();
        out += '/';
        out += name;
        if (resolving && !NameTaken(out)) {
            out.resize(parent);
            const std::string match = FindCaseless(out, name);
            out += '/';
            out += match.empty() ? name : match;
            if (match.empty()) resolving = false;  // what follows cannot exist either
        }
        name.clear();
    };
    for (const char c : rest) {
        if (c == '\\' || c == '/')
            addName();
        else
            name += c;
    }
    addName();
    if (closing || out.empty()) out += '/';
    return out;
}

}  // namespace quillet
