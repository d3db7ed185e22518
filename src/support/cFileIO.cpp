#include "support/cFileIO.h"

#include <unistd.h>

#include <cstdlib>

#include "core/mStart.h"

namespace quillet {
namespace {

std::string WithSlash(std::string path) {
    if (path.empty() || path.back() != '/') path += '/';
    return path;
}

std::string ProgramDirectory() {
    char buffer[4096];
    const ssize_t n = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
    if (n <= 0) return {};
    const std::string path(buffer, static_cast<size_t>(n));
    const size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

}  // namespace

cFileIO::cFileIO() {
    AppPath = ProgramDirectory();
    exepath = gError.isNotIDE ? ProgramDirectory() : AppPath;
    const char* tmp = std::getenv("TMPDIR");
    TempPath = WithSlash(tmp && *tmp ? tmp : "/tmp");
    // There is no system or Windows directory on a POSIX system; these are
    // the nearest equivalents and nothing in the program depends on them.
    SystemPath = "/usr/lib";
    WindowsPath = "/usr";
}

}  // namespace quillet
