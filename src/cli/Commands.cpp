#include "cli/Commands.h"

#include <algorithm>

namespace quillet::cli {

std::vector<CommandSpec> BuildCommandTable() {
    std::vector<CommandSpec> table;
    AddViewCommands(table);
    AddBlockCommands(table);
    AddImportCommands(table);
    AddExportCommands(table);
    AddCompareCommands(table);
    AddGumpCommands(table);
    AddPictureCommands(table);
    AddBlockPictureCommands(table);
    AddSampleCommands(table);
    return table;
}

OptionSpec PatchOption() {
    return {"--patch", "FILE", "the patch (a MUO file); a file that does not exist is a new, empty patch"};
}

OptionSpec OutOption() {
    return {"--out", "FILE",
            "save the changed patch here instead of back to --patch (nothing is written when the command "
            "changes nothing)"};
}

OptionSpec NoWaitOption() {
    return {"--no-wait", "",
            "fail at once (exit status 1) when another command holds the patch or the export directory, "
            "instead of waiting for it"};
}

OptionSpec TypeOption() { return {"--type", "T", "a file type: a name from the tree (any case) or a FileID number"}; }


}  // namespace quillet::cli
