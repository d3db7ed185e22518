// compare: the Compare dialog. Every block of a type that differs between
// two versions of the client's files goes into the patch, as the altered
// version has it; or the same for every type of two whole clients.
#include <sys/stat.h>

#include <algorithm>
#include <vector>

#include "actions/mClientCompare.h"
#include "actions/mImportJobs.h"
#include "cli/CommandHelpers.h"
#include "cli/Commands.h"
#include "cli/FrontEnd.h"
#include "cli/Session.h"
#include "core/mPatch.h"

namespace quillet::cli {
namespace {

void RequireDirectory(const std::string& path) {
    struct stat info{};
    if (::stat(path.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) throw CommandError(path + ": no such directory");
}

// "Art,gumps,0x20": the types of a whole-client compare, each as --type takes it.
std::vector<uint8_t> ParseTypes(const std::string& text) {
    std::vector<uint8_t> types;
    for (size_t start = 0; start <= text.size();) {
        const size_t comma = std::min(text.find(',', start), text.size());
        int fileId = 0;
        try {
            fileId = ParseType(text.substr(start, comma - start));
        } catch (const UsageError& bad) {
            const std::string why = bad.what();
            throw UsageError("--types" + why.substr(std::min(why.find(':'), why.size())));
        }
        bool known = false;
        for (const uint8_t id : ClientFileTypes()) known = known || id == fileId;
        if (!known) throw UsageError("--types: " + FileTypes[static_cast<size_t>(fileId)].Name + " has no client files");
        types.push_back(static_cast<uint8_t>(fileId));
        start = comma + 1;
    }
    return types;
}

int RunClientCompare(CommandContext& context) {
    const ParsedArgs& args = context.args;
    for (const char* single : {"--type", "--base-mul", "--base-idx", "--new-mul", "--new-idx"})
        if (args.Has(single)) throw UsageError(std::string(single) + " compares one type; it cannot go with --base-dir");
    const std::string& baseDir = args.Required("--base-dir");
    const std::string& newDir = args.Required("--new-dir");
    const std::optional<std::string> types = args.Optional("--types");
    const std::vector<uint8_t> wanted = types ? ParseTypes(*types) : std::vector<uint8_t>();
    RequireDirectory(baseDir);
    RequireDirectory(newDir);

    PatchSession patch(args);
    const ClientComparePlan plan = PlanClientCompare(baseDir, newDir, wanted);
    for (const std::string& line : plan.Skipped) PrintMessage(line);
    std::vector<TypeCompareSummary> summary;
    const Result compared = CompareClients(plan, &summary);
    int64_t stored = 0;
    for (const TypeCompareSummary& type : summary) {
        PrintMessage(FileTypes[type.FileID].Name + ": " + std::to_string(type.Counts.Compared) + " blocks compared, " +
                     std::to_string(type.Counts.Stored) + " added" + (type.Completed ? "" : " (stopped by a failure)"));
        stored += type.Counts.Stored;
    }
    if (plan.Both.empty()) PrintMessage("No type has its files in both clients: nothing was compared.");
    if (!compared) return StatusOf(compared);
    if (stored > 0) patch.MarkChanged();
    return patch.Finish();
}

int RunCompare(CommandContext& context) {
    const ParsedArgs& args = context.args;
    if (args.Has("--base-dir") || args.Has("--new-dir") || args.Has("--types")) return RunClientCompare(context);
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
    const SlotTable before = PatchBlocks[static_cast<size_t>(fileId)].Blocks;
    const Result compared =
        CompareFiles(static_cast<uint8_t>(fileId), baseMul, baseIdx.value_or(""), newMul, newIdx.value_or(""));
    if (!compared) return StatusOf(compared);
    if (!(before == PatchBlocks[static_cast<size_t>(fileId)].Blocks)) patch.MarkChanged();
    return patch.Finish();
}

}  // namespace

void AddCompareCommands(std::vector<CommandSpec>& table) {
    table.push_back(
        {"compare",
         "add every block that differs between two versions of a client file, or of two whole clients",
         {"compare --patch P --type T --base-mul F [--base-idx F] --new-mul F [--new-idx F] [--out FILE]",
          "compare --patch P --base-dir A --new-dir B [--types T,T,...] [--out FILE]"},
         {PatchOption(), NoWaitOption(), TypeOption(), {"--base-mul", "F", "the original (base) MUL file, or a client UOP container of the type"},
          {"--base-idx", "F", "its index file (for the types without a fixed block size; not for a container)"},
          {"--new-mul", "F", "the altered (new) MUL file, or a client UOP container of the type"},
          {"--new-idx", "F", "its index file (for the types without a fixed block size; not for a container)"},
          {"--base-dir", "A", "the original (base) client's directory: compare every type found in both clients"},
          {"--new-dir", "B", "the altered (new) client's directory"},
          {"--types", "T,T,...", "with --base-dir: only these types (names or FileIDs, comma-separated)"},
          OutOption()},
         "Every block of the type is walked on both sides. A block differs when its sizes differ (so an empty "
         "block of Size -1 and one of Size 0 differ too), or, with equal sizes above 0, when its bytes do; the "
         "extra words are not compared. A block that differs goes into the patch as the new version has it, "
         "with its extra word; one that the new version lacks goes in as a present, empty block with the new "
         "version's Size. A block that does not differ leaves the patch's slot as it was: the comparison adds "
         "to the patch and clears nothing, so that a patch of exactly the differences starts from a new patch. "
         "Hues groups are compared as the client's 708-byte groups and stored in the 1220-byte form of "
         "verdata.mul; Tiledata is compared in its two sections (836 and 1188 bytes, High Seas 964 and 1316), "
         "and two files of different layouts are not compared (exit status 1).\n\n"
         "With --base-dir and --new-dir every type is compared whose files both directories hold under the "
         "client's own names (any case): map0.mul, staidx0.mul and statics0.mul, artidx.mul and art.mul, "
         "anim.idx and anim.mul, soundidx.mul and sound.mul, texidx.mul and texmaps.mul, gumpidx.mul and "
         "gumpart.mul, multi.idx and multi.mul, skills.idx and skills.mul, tiledata.mul, animdata.mul, hues.mul, "
         "lightidx.mul and light.mul, radarcol.mul; for Map, Art, Sound and Gumps a current client's container "
         "(map0LegacyMUL.uop, artLegacyMUL.uop, soundLegacyMUL.uop, gumpartLegacyMUL.uop) is taken instead "
         "when there is one. The two sides may differ in kind: a container against a MUL pair compares "
         "their blocks. A type whose files one side lacks is named on stderr and not compared. A line "
         "for each type compared tells on stderr how many blocks were compared and how many went into the "
         "patch. A type that fails does not stop the others, but the command then ends with exit status 1 "
         "and the patch is not saved.\n\n"
         "The patch is saved only if a slot changed.",
         RunCompare});
}

}  // namespace quillet::cli
