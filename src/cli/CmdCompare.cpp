// compare: the Compare dialog. Every block of a type that differs between
// two versions of the client's files goes into the patch, as the altered
// version has it.
#include <vector>

#include "actions/mImportJobs.h"
#include "cli/CommandHelpers.h"
#include "cli/Commands.h"
#include "cli/FrontEnd.h"
#include "cli/Session.h"
#include "core/mPatch.h"

namespace quillet::cli {
namespace {

bool SameSlots(const std::vector<PatchBlock>& before, const std::vector<PatchBlock>& after) {
    if (before.size() != after.size()) return false;
    for (size_t i = 0; i < before.size(); ++i)
        if (before[i].Size != after[i].Size || before[i].Extra != after[i].Extra || before[i].Offset != after[i].Offset)
            return false;
    return true;
}

int RunCompare(CommandContext& context) {
    const ParsedArgs& args = context.args;
    const int fileId = ParseType(args.Required("--type"));
    const std::string& baseMul = args.Required("--base-mul");
    const std::string& newMul = args.Required("--new-mul");
    const std::optional<std::string> baseIdx = ClientIndexOption(args, "--base-idx", fileId, baseMul);
    const std::optional<std::string> newIdx = ClientIndexOption(args, "--new-idx", fileId, newMul);
    // The dialog's order of tests: both MUL files, then both index files.
    RequireReadableFile(baseMul);
    RequireReadableFile(newMul);
    if (baseIdx) RequireReadableFile(*baseIdx);
    if (newIdx) RequireReadableFile(*newIdx);

    PatchSession patch(args);
    // Two equal sets change no slot: the patch is then not saved again.
    const std::vector<PatchBlock> before = PatchBlocks[static_cast<size_t>(fileId)].Blocks;
    const Result compared =
        CompareFiles(static_cast<uint8_t>(fileId), baseMul, baseIdx.value_or(""), newMul, newIdx.value_or(""));
    if (!compared) return StatusOf(compared);
    if (!SameSlots(before, PatchBlocks[static_cast<size_t>(fileId)].Blocks)) patch.MarkChanged();
    return patch.Finish();
}

}  // namespace

void AddCompareCommands(std::vector<CommandSpec>& table) {
    table.push_back(
        {"compare",
         "add every block of a type that differs between two versions of a client file",
         {"compare --patch P --type T --base-mul F [--base-idx F] --new-mul F [--new-idx F] [--out FILE]"},
         {PatchOption(), NoWaitOption(), TypeOption(), {"--base-mul", "F", "the original (base) MUL file, or a client UOP container of the type"},
          {"--base-idx", "F", "its index file (for the types without a fixed block size; not for a container)"},
          {"--new-mul", "F", "the altered (new) MUL file, or a client UOP container of the type"},
          {"--new-idx", "F", "its index file (for the types without a fixed block size; not for a container)"}, OutOption()},
         "Every block of the type is walked on both sides. A block differs when its sizes differ (so an empty "
         "block of Size -1 and one of Size 0 differ too), or, with equal sizes above 0, when its bytes do; the "
         "extra words are not compared. A block that differs goes into the patch as the new version has it, "
         "with its extra word; one that the new version lacks goes in as a present, empty block with the new "
         "version's Size. A block that does not differ leaves the patch's slot as it was: the comparison adds "
         "to the patch and clears nothing, so that a patch of exactly the differences starts from a new patch. "
         "Hues groups are compared as the client's 708-byte groups and stored in the 1220-byte form of "
         "verdata.mul; Tiledata is compared in its two sections (836 and 1188 bytes, High Seas 964 and 1316), "
         "and two files of different layouts are not compared (exit status 1).\n\n"
         "The patch is saved only if a slot changed.",
         RunCompare});
}

}  // namespace quillet::cli
