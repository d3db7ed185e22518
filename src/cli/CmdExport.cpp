// export: the patch written into a new verdata.mul in the directory given,
// as File, Export does it beside the program.
#include <sys/stat.h>

#include "actions/mExportJob.h"
#include "cli/Commands.h"
#include "cli/FrontEnd.h"
#include "cli/Session.h"

namespace quillet::cli {
namespace {

int RunExport(CommandContext& context) {
    const std::string& dir = context.args.Required("--dir");
    struct stat info {};
    if (::stat(dir.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) throw CommandError(dir + ": no such directory");
    // The export only reads the patch: exports of one patch into several
    // directories may run side by side.
    PatchSession patch(context.args, PatchAccess::Read);
    const LockWait wait = context.args.Has("--no-wait") ? LockWait::NoWait : LockWait::Wait;
    const MissingVerdata missing = context.args.Has("--create") ? MissingVerdata::Create : MissingVerdata::Tell;
    if (const Result exported = ExportToVerdata(dir, wait, missing); !exported) return StatusOf(exported);
    return patch.Finish();
}

}  // namespace

void AddExportCommands(std::vector<CommandSpec>& table) {
    table.push_back(
        {"export",
         "write the patch into D/verdata.mul by way of D/verdata.tmp, keeping the old file as D/verdata.bak",
         {"export --patch P --dir D [--create]"},
         {PatchOption(),
          NoWaitOption(),
          {"--dir", "D", "the directory that holds the verdata.mul to rewrite"},
          {"--create", "", "start a new, empty D/verdata.mul when D has none, and export into it"}},
         "The new verdata.mul holds the entries of the old one followed by every block of the patch. It is "
         "written as D/verdata.tmp first and takes the name verdata.mul only when complete, so verdata.mul "
         "names a whole file at every moment. The old file is kept as D/verdata.bak; an older verdata.bak "
         "is kept as D/verdata.N.bak (N the first free number from 1), so no backup is ever deleted. The new "
         "file keeps the old one's mode, owner and group. A verdata.mul that is a symbolic link is written "
         "through: the file it leads to is replaced, its .tmp and .bak lie beside that file, the link stays. "
         "D is locked for the whole export: a second "
         "export into D waits, or with --no-wait ends at once. A message that says the export did not happen "
         "(no blocks in the patch, no verdata.mul, a file that cannot be opened or created, D in use) goes to "
         "stderr and makes the exit status 1. The patch file is not changed.\n\n"
         "Without --create, a D without verdata.mul is such a message, with a second line that names the "
         "directory looked in. With --create the export first writes an empty verdata.mul there (the 4 bytes "
         "of an entry count of 0, mode 0666 less the umask), never over a file that stands there by then, and "
         "then exports into it as into any other; no verdata.bak is made of it, and older backups stay as they "
         "are. An export that then fails takes the empty file away again. A patch without blocks creates "
         "nothing.",
         RunExport});
}

}  // namespace quillet::cli
