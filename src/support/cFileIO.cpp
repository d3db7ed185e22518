// The part of cFileIO that the program calls: its paths, existence tests,
// folders and whole files as bytes. The rest of the class is in
// cFileIOExtras.cpp.
#include "support/cFileIO.h"

#include <sys/stat.h>

#include <cstdlib>

#include "base/AppInfo.h"
#include "base/FilePaths.h"
#include "base/cError.h"
#include "support/WholeFile.h"

namespace quillet {

cFileIO::cFileIO() {
    AppPath = ProgramDirectory();
    exepath = kIsIDE ? AppPath : ProgramDirectory();
    const char* tmp = std::getenv("TMPDIR");
    TempPath = WithSlash(tmp && *tmp ? tmp : "/tmp");
    // There is no system or Windows directory on a POSIX system; these are
    // the nearest equivalents and nothing in the program depends on them.
    SystemPath = "/usr/lib";
    WindowsPath = "/usr";
}

void cFileIO::CreateDir(const std::string& sFolder) {
    // A folder that exists already is no failure; no failure is reported.
    ::mkdir(sFolder.c_str(), 0777);
}

bool cFileIO::FileExist(const std::string& Filename) {
    struct stat st {};
    return !Filename.empty() && ::stat(Filename.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

int32_t cFileIO::FileToByteArray(const std::string& Filename, ByteArray& bytes) {
    try {
        bytes = fileio::ReadWholeFile(Filename);
        return static_cast<int32_t>(bytes.size());
    } catch (...) {
        ByteArray().swap(bytes);  // not reported
        return 0;
    }
}

void cFileIO::ByteArrayToFile(const ByteArray& bytes, const std::string& Filename) {
    try {
        fileio::ReplaceFile(Filename, bytes.data(), bytes.size());
    } catch (...) {
        if (!gError.isNotIDE) throw;
        gError.Log("cFileIO.ByteArrayToFile(ByteArray(), '" + Filename + "')");
    }
}

}  // namespace quillet
