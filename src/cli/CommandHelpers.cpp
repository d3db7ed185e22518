#include "cli/CommandHelpers.h"

#include <sys/stat.h>
#include <unistd.h>

#include "actions/mImportJobs.h"
#include "actions/mPageJobs.h"
#include "cli/FrontEnd.h"
#include "core/BlockRows.h"
#include "core/mPatch.h"
#include "support/Services.h"

namespace quillet::cli {

int32_t ParseBlockOf(const ParsedArgs& args, int FileID) {
    const std::string& text = args.Required("--block");
    const int64_t block = ParseNumber(text, "--block");
    const FileTypeRec& type = FileTypes[static_cast<size_t>(FileID)];
    if (block > type.NbrOfBlocks)
        throw UsageError("--block: " + text + " is beyond " + type.Name + ", whose highest block is " +
                         std::to_string(type.NbrOfBlocks));
    return static_cast<int32_t>(block);
}

std::string BlockName(int FileID, int32_t Block) {
    return FileTypes[static_cast<size_t>(FileID)].Name + " block " + std::to_string(Block) + " (0x" +
           HexText(static_cast<uint32_t>(Block)) + ")";
}

void RequireReadableFile(const std::string& path) {
    struct stat info{};
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) throw CommandError(path + ": no such file");
    if (::access(path.c_str(), R_OK) != 0) throw CommandError(path + ": cannot be read");
}

std::optional<std::string> ClientIndexOption(const ParsedArgs& args, const std::string& option, int FileID,
                                             const std::string& MULFile) {
    const FileTypeRec& type = FileTypes[static_cast<size_t>(FileID)];
    if (type.ConstantIndex != 0) {
        if (args.Has(option))
            throw UsageError(option + ": " + type.Name + " has no index file (its blocks have a fixed size)");
        return std::nullopt;
    }
    if (!NeedsIndexFile(static_cast<uint8_t>(FileID), MULFile)) {
        if (args.Has(option))
            throw UsageError(option + ": " + MULFile + " is a client UOP container, which needs no index file");
        return std::nullopt;
    }
    if (!args.Has(option))
        throw UsageError("missing " + option + ": " + type.Name + " blocks are found through an index file");
    return args.Required(option);
}

std::optional<std::string> RadarcolOption(const ParsedArgs& args) {
    std::optional<std::string> radarcol = args.Optional("--radarcol");
    if (radarcol) RequireReadableFile(*radarcol);
    return radarcol;
}

Result LoadRadarColours(const std::optional<std::string>& radarcol) {
    const std::string colours = radarcol ? *radarcol : ClientLocation().UO2DPath + "radarcol.mul";
    struct stat info {};
    if (!radarcol && (::stat(colours.c_str(), &info) != 0 || !S_ISREG(info.st_mode)))
        PrintMessage("warning: no radar colour file (" + colours +
                     " is not there): every block is drawn black; name one with --radarcol");
    return LoadRadarColors(colours);
}

void RequirePresent(int FileID, int32_t Block) {
    if (Slot(FileID, Block).Offset == -1) throw CommandError(BlockName(FileID, Block) + " is not in the patch");
}

void RequireBytes(int FileID, int32_t Block) {
    RequirePresent(FileID, Block);
    const PatchBlock& slot = Slot(FileID, Block);
    if (slot.Offset < 1 || slot.Size < 1)
        throw CommandError(BlockName(FileID, Block) + " has no bytes (Size " + std::to_string(slot.Size) + ")");
}

}  // namespace quillet::cli
