// The commands that are planned but not built yet. Their usage and options
// stand here so that --help describes them; running one is a usage error
// (exit status 2) that says it is not available yet. Building one means
// giving it a run function in a file of its own group.
#include "cli/Commands.h"

namespace quillet::cli {

void AddPendingCommands(std::vector<CommandSpec>& table) {
    table.push_back({"compare",
                     "add every block of a type that differs between two versions of a client file",
                     {"compare --patch P --type T --base-mul F [--base-idx F] --new-mul F [--new-idx F]"},
                     {PatchOption(), TypeOption(), {"--base-mul", "F", "the old MUL file"},
                      {"--base-idx", "F", "its index file"}, {"--new-mul", "F", "the new MUL file"},
                      {"--new-idx", "F", "its index file"}, OutOption()},
                     "",
                     {}});
    table.push_back({"gump",
                     "convert a BMP, JPG or GIF picture into a Gumps block",
                     {"gump --patch P --picture IMG --index N"},
                     {PatchOption(), {"--picture", "IMG", "the picture"},
                      {"--index", "N", "the Gumps block number (decimal, or 0x hex)"}, OutOption()},
                     "",
                     {}});
    table.push_back({"render",
                     "draw the overview picture of the map or statics page, 768 by 512, as a PNG",
                     {"render --patch P --page map|statics [--radarcol F] --to OUT.png"},
                     {PatchOption(), {"--page", "map|statics", "which page"},
                      {"--radarcol", "F", "the radar colour file (default: the client's radarcol.mul)"},
                      {"--to", "OUT.png", "the picture to write"}},
                     "",
                     {}});
    table.push_back({"client",
                     "print where the 2D and 3D clients are and whether their programs were found",
                     {"client"},
                     {},
                     "",
                     {}});
}

}  // namespace quillet::cli
