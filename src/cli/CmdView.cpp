// The commands that show a patch: info (the tree), list (a block list) and
// hexdump (the hex viewer).
#include <iostream>

#include "cli/CommandHelpers.h"
#include "cli/Commands.h"
#include "cli/Session.h"
#include "core/BlockRows.h"
#include "core/mPatch.h"
#include "viewers/HexRows.h"

namespace quillet::cli {
namespace {

int RunInfo(CommandContext& context) {
    PatchSession patch(context.args, PatchAccess::Read);
    for (int id = 0; id < kFileIDs; ++id) {
        const FileTypeRec& type = FileTypes[static_cast<size_t>(id)];
        if (type.Name.empty()) continue;
        std::cout << type.Name << " (" << PatchBlocks[static_cast<size_t>(id)].Count << ")\n";
    }
    return patch.Finish();
}

int RunList(CommandContext& context) {
    const int fileId = ParseType(context.args.Required("--type"));
    PatchSession patch(context.args, PatchAccess::Read);
    const auto& slots = PatchBlocks[static_cast<size_t>(fileId)].Blocks;
    std::cout << "ID Size Flags\n";
    for (const int32_t block : ListedBlocks(fileId)) {
        const BlockRow row = MakeBlockRow(block, slots[static_cast<size_t>(block)]);
        std::cout << row.ID << ' ' << row.Size << ' ' << row.Flags << '\n';
    }
    return patch.Finish();
}

// "OFFSET  B0 B1 ... B15  |TEXT|": the offset right-aligned to the widest one
// of the dump, the missing bytes of a short last row as blanks so that the
// text column stays in place.
void PrintHexRows(const ByteArray& bytes) {
    const size_t rows = HexRowCount(bytes.size());
    if (rows == 0) return;
    const size_t width = HexText((rows - 1) * kHexRowBytes).size();
    for (size_t index = 0; index < rows; ++index) {
        const HexRow row = MakeHexRow(bytes.data(), bytes.size(), index);
        std::string line(width - row.Offset.size(), ' ');
        line += row.Offset + " ";
        for (const std::string& byte : row.Bytes) line += " " + (byte.empty() ? std::string("  ") : byte);
        line += "  |" + PrintableText(row.Text) + "|\n";
        std::cout << line;
    }
}

int RunHexdump(CommandContext& context) {
    const int fileId = ParseType(context.args.Required("--type"));
    const int32_t block = ParseBlockOf(context.args, fileId);
    PatchSession patch(context.args, PatchAccess::Read);
    RequireBytes(fileId, block);
    PrintHexRows(ReadBlockBytes(fileId, block));
    return patch.Finish();
}

}  // namespace

void AddViewCommands(std::vector<CommandSpec>& table) {
    table.push_back({"info",
                     "print the tree: one line per file type, in tree order, as Name (Count)",
                     {"info --patch P"},
                     {PatchOption(), NoWaitOption()},
                     "Example output line: Art (120)",
                     RunInfo});
    table.push_back({"list",
                     "print the block list of a type: the header line \"ID Size Flags\", then one row per block "
                     "in the patch, in rising block order",
                     {"list --patch P --type T"},
                     {PatchOption(), NoWaitOption(), TypeOption()},
                     "The columns are separated by one blank. ID is the block number in hexadecimal (upper "
                     "case, no prefix); Size is decimal, with -1 shown as 0; Flags is the block's extra word in "
                     "hexadecimal, a negative value as its 8 digits (FFFFFFFF).",
                     RunList});
    table.push_back({"hexdump",
                     "print the bytes of a block as the hex viewer shows them, 16 to a row",
                     {"hexdump --patch P --type T --block N"},
                     {PatchOption(), NoWaitOption(), TypeOption(), {"--block", "N", "the block number (decimal, or 0x hex)"}},
                     "Each row is the offset of its first byte in hexadecimal, right-aligned, then 16 bytes as "
                     "two hexadecimal digits each (blanks past the end of the block), then the bytes as text "
                     "between bars, every byte outside 32..126 shown as '.':\n"
                     " 0  48 65 6C 6C 6F 0A 00 01 02 03 04 05 06 07 08 09  |Hello...........|\n"
                     "10  41 42                                            |AB|\n"
                     "\n"
                     "A block that is not in the patch, or that has no bytes, is a failure (exit status 1).",
                     RunHexdump});
}

}  // namespace quillet::cli
