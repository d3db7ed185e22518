#include "cli/CommandHelpers.h"

#include "core/BlockRows.h"
#include "core/mPatch.h"

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
