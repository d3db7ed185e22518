// The commands that are planned but not built yet. Their usage and options
// stand here so that --help describes them; running one is a usage error
// (exit status 2) that says it is not available yet. Building one means
// giving it a run function in a file of its own group.
#include "cli/Commands.h"

namespace quillet::cli {

void AddPendingCommands(std::vector<CommandSpec>&) {}

}  // namespace quillet::cli
