// import: merges a patch source into the patch, with the limits of the
// Import dialog: MUO, UOP and verdata sources, or one file type from the
// client's own MUL (and IDX) files.
#include <sys/stat.h>

#include "actions/mImportJobs.h"
#include "actions/mPatchJobs.h"
#include "cli/CommandHelpers.h"
#include "cli/Commands.h"
#include "cli/FrontEnd.h"
#include "cli/Session.h"

namespace quillet::cli {
namespace {

std::string EveryBlock() { return "0-" + std::to_string(HighestBlock()); }

// import --type: the Import dialog with a file type selected. Both files are
// tested before anything starts, as the dialog does; Tiledata goes by its two
// sections.
int RunImportMUL(CommandContext& context) {
    const ParsedArgs& args = context.args;
    const int fileId = ParseType(args.Required("--type"));
    if (args.Has("--fileids")) throw UsageError("--fileids goes with --muo, --uop and --verdata: --type imports one type");
    const std::string& mul = args.Required("--mul");
    const std::optional<std::string> idx = ClientIndexOption(args, "--idx", fileId, mul);
    const BlockRange blocks = ParseRange(args.Optional("--blocks").value_or(EveryBlock()), "--blocks");
    RequireReadableFile(mul);
    if (idx) RequireReadableFile(*idx);

    PatchSession patch(args);
    ImportRequest request;
    request.Source = fileId;
    request.File = mul;
    request.Index = idx.value_or("");
    request.FromBlock = blocks.from;
    request.ToBlock = blocks.to;
    if (const Result imported = ImportFrom(request); !imported) return StatusOf(imported);
    patch.MarkChanged();
    return patch.Finish();
}

int RunImport(CommandContext& context) {
    const ParsedArgs& args = context.args;
    std::vector<std::string> sources;
    for (const char* source : {"--muo", "--uop", "--verdata", "--type"})
        if (args.Has(source)) sources.push_back(source);
    if (sources.empty()) throw UsageError("name a source: --muo, --uop, --verdata, or --type with --mul");
    if (sources.size() > 1) throw UsageError(sources[0] + " and " + sources[1] + " cannot be imported at once");
    if (sources[0] == "--type") return RunImportMUL(context);
    if (args.Has("--mul") || args.Has("--idx")) throw UsageError("--mul and --idx go with --type");

    const bool muo = sources[0] == "--muo";
    const std::string& source = args.Required(sources[0]);
    const BlockRange fileIds = ParseRange(args.Optional("--fileids").value_or("0-255"), "--fileids", 255);
    const BlockRange blocks = ParseRange(args.Optional("--blocks").value_or(EveryBlock()), "--blocks");
    struct stat info{};
    if (::stat(source.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) throw CommandError(source + ": no such file");
    if (muo)
        if (const Result readable = CheckPatchFile(source); !readable) throw CommandError(readable.Text());

    PatchSession patch(args);
    ImportRequest request;
    request.Source = muo ? kSourceMUO : sources[0] == "--uop" ? kSourceUOP : kSourceVerdata;
    request.File = source;
    request.FromFileID = static_cast<uint8_t>(fileIds.from);
    request.ToFileID = static_cast<uint8_t>(fileIds.to);
    request.FromBlock = blocks.from;
    request.ToBlock = blocks.to;
    if (const Result imported = ImportFrom(request); !imported) return StatusOf(imported);
    patch.MarkChanged();
    return patch.Finish();
}

}  // namespace

void AddImportCommands(std::vector<CommandSpec>& table) {
    table.push_back(
        {"import",
         "merge a patch source into the patch, within limits of FileID and block",
         {"import --patch P --muo F [--fileids A-B] [--blocks A-B] [--out FILE]",
          "import --patch P (--uop F | --verdata F) [--fileids A-B] [--blocks A-B] [--out FILE]",
          "import --patch P --type T --mul F [--idx F] [--blocks A-B] [--out FILE]"},
         {PatchOption(),
          NoWaitOption(),
          {"--muo", "F", "a MUO patch file to merge"},
          {"--uop", "F", "a UOP patch file (version 4 or 5) to merge"},
          {"--verdata", "F", "a verdata.mul to merge"},
          {"--type", "T", "import one type from the client's files"},
          {"--mul", "F",
           "with --type: the client's MUL file, or its UOP container (artLegacyMUL.uop, gumpartLegacyMUL.uop, "
           "map0LegacyMUL.uop, soundLegacyMUL.uop), told by its content"},
          {"--idx", "F",
           "with --type: its index file; needed by the types without a fixed block size, refused by the others "
           "(Map, Tiledata, Animdata, Hues, Radarcol) and by a container"},
          {"--fileids", "A-B", "take only entries whose FileID lies in the range (default 0-255)"},
          {"--blocks", "A-B",
           "take only entries whose block lies in the range (default " + EveryBlock() +
               "); with --type, the blocks to walk"},
          OutOption()},
         "The import adds to the patch: an entry replaces a block of the same type and number, all other "
         "blocks stay. An entry of a MUO file also sets its type's verdata flag (see flag --help), also when "
         "the limits leave it out. An entry whose block number is beyond its type is left out with a message "
         "on stderr, and the import goes on. Sources are only read, never written. A source that cannot be "
         "read, or is not the kind of file its option names (a client's UOP container given to --uop, a file "
         "that is not a MUO file given to --muo), is a failure (exit status 1) that names the file, and "
         "nothing is saved. A source cut short is read as what is there and zeros for the rest; this, blocks "
         "the client's files hold beyond a type's last block, and a source that gives no block at all are "
         "told as \"warning:\" lines on stderr with their counts, and the exit status stays 0.\n\n"
         "With --type the import walks block numbers: every block of the range, up to the type's last, is "
         "stored, and a block that the client's files have as empty becomes a present, empty block (Size -1), "
         "so that an export carries the empty block too. An index record of Size -2 ends the walk there. Hues "
         "groups are stored in the 1220-byte form of verdata.mul. Tiledata is read in its two sections, 836-byte "
         "groups for blocks 0 to 511 and 1188-byte groups from byte 428032 for blocks 512 to 1023 (High Seas: "
         "964-byte groups, then 1316-byte groups from byte 493568 for blocks 512 on, as many as the file holds); "
         "the second section is always taken from block 512 on, whatever the range's lower end, as the Import "
         "dialog does.",
         RunImport});
}

}  // namespace quillet::cli
