// sample-client: writes the synthetic client data set.
#include "base/cError.h"
#include "cli/Commands.h"
#include "cli/FrontEnd.h"
#include "sample/SampleClient.h"

namespace quillet::cli {
namespace {

int RunSampleClient(CommandContext& context) {
    sample::SampleOptions options;
    options.dir = context.args.Required("--dir");
    options.full = context.args.Has("--full");
    if (const auto seed = context.args.Optional("--seed"))
        options.seed = static_cast<uint32_t>(ParseNumber(*seed, "--seed", 4294967295));
    std::string error;
    const FailureWatch failures;
    if (sample::WriteSampleClient(options, &error)) return 0;
    if (failures.Failed()) return 1;  // already printed as it was logged
    throw CommandError(options.dir + ": " + error);
}

}  // namespace

void AddSampleCommands(std::vector<CommandSpec>& table) {
    table.push_back({"sample-client",
                     "write a small synthetic client data set, for trying the tool and for tests",
                     {"sample-client --dir D [--full] [--seed N]"},
                     {{"--dir", "D",
                       "a new or an empty directory to write into (made if missing); a directory that holds "
                       "anything, or a file, is refused (exit status 1) and nothing is written"},
                      {"--full", "", "full-size map and statics (393216 blocks each) instead of a small world"},
                      {"--seed", "N",
                       "the seed of the synthetic data (default 1): the same seed gives the same "
                       "bytes"}},
                     "",
                     RunSampleClient});
}

}  // namespace quillet::cli
