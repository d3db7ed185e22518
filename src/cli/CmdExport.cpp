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
    if (const Result exported = ExportToVerdata(dir, wait); !exported) return StatusOf(exported);
    return patch.Finish();
}

}  // namespace

void AddExportCommands(std::vector<CommandSpec>& table) {
    table.push_back(
        {"export",
         "write the patch into D/verdata.mul by way of D/verdata.tmp, keeping the old file as D/verdata.bak",
         {"export --patch P --dir D"},
         {PatchOption(), NoWaitOption(), {"--dir", "D", "the directory that holds the verdata.mul to rewrite"}},
         "The new verdata.mul holds the entries of the old one followed by every block of the patch. It is "
         "written as D/verdata.tmp first and takes the name verdata.mul only when complete, so verdata.mul "
         "names a whole file at every moment. The old file is kept as D/verdata.bak; an older verdata.bak "
         "is kept as D/verdata.N.bak (N the first free number from 1), so no backup is ever deleted. The new "
         "file keeps the old one's mode, owner and group. A verdata.mul that is a symbolic link is written "
         "through: the file it leads to is replaced, its .tmp and .bak lie beside that file, the link stays. "
         "D is locked for the whole export: a second "
         "export into D waits, or with --no-wait ends at once. A message that says the export did not happen "
         "(no blocks in the patch, no verdata.mul, a file that cannot be opened or created, D in use) goes to "
         "stderr and makes the exit status 1. The patch file is not changed.",
         RunExport});
}

}  // namespace quillet::cli
