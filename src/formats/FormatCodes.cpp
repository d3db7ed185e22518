#include "formats/FormatCodes.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "base/FilePaths.h"
#include "base/cError.h"

namespace quillet {

std::string PatchFileErrorText(int32_t code) {
    switch (code) {
        case 500: return "Unsupported patchfile.";
        case 501: return "Unable to open file.";
        case 502: return "There is allready an open patch file.";
        case 503: return "File does not exist.";
        case 504: return "There is allready an open patch file.";
        case 505: return "Unable to create file.";
        case 506: return "Unable to close file.";
        case 507: return "Cannot close the patchfile as its not open.";
        default: return {};
    }
}

std::string IllegalBlockMessage(int FileID, int32_t Block) {
    return "An block with an illegal sized blocknumber where detected and ignored:\r\nFileID: " +
           std::to_string(FileID) + "\r\nBlocknumber:" + std::to_string(Block);
}

std::string OpenFailureWhy(const std::string& path) {
    const int error = errno;
    struct stat info {};
    if (::stat(path.c_str(), &info) == 0) {
        if (S_ISDIR(info.st_mode)) return "It is a directory.";
        if (!S_ISREG(info.st_mode)) return "It is not a regular file.";
    }
    return error != 0 ? ErrnoText(error) + "." : std::string();
}

bool IsClientContainer(const uint8_t* head, size_t size) { return size >= 4 && std::memcmp(head, "MYP\0", 4) == 0; }

std::string SourceFailure(const std::string& file, const std::string& text, const std::string& why) {
    return file + ": " + text + (why.empty() ? "" : " " + why);
}

std::string FailureInSource(const std::string& file, int64_t entry) {
    const std::string text = CurrentFailureText();
    if (text.rfind(file + ": ", 0) == 0) return text;
    return file + (entry >= 0 ? ", entry " + std::to_string(entry) : std::string()) + ": " + text;
}

}  // namespace quillet
