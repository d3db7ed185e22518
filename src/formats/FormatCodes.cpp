#include "formats/FormatCodes.h"

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

}  // namespace quillet
