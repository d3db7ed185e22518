// quillet-cli: the command-line front end. It calls the same library
// procedures as the GUI, in the same order, so that a patch built here and
// one built through the dialogs are the same bytes.
#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "base/Warnings.h"
#include "base/cError.h"
#include "cli/Commands.h"
#include "cli/FrontEnd.h"
#include "cli/Session.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "support/Services.h"

namespace {

using namespace quillet;
using namespace quillet::cli;

constexpr int kSuccess = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

int UsageFailure(const std::string& prefix, const std::string& message, const std::string& usage) {
    std::fprintf(stderr, "%s: %s\n%s", prefix.c_str(), message.c_str(), usage.c_str());
    return kUsage;
}

const std::string kGeneralUsage = "usage: quillet-cli COMMAND [OPTIONS]   (quillet-cli --help lists the commands)\n";

int RunCommand(const CommandSpec& entry, const std::vector<std::string>& args) {
    const std::string prefix = "quillet-cli " + entry.name;
    // What the command's jobs went on past is told once, after it, whatever
    // its outcome: the exit status does not change for a warning.
    const WarningWatch warnings;
    int status = kFailed;
    try {
        const bool help = std::find(args.begin(), args.end(), "--help") != args.end() ||
                          std::find(args.begin(), args.end(), "-h") != args.end();
        if (help) {
            std::cout << CommandHelp(entry);
            return kSuccess;
        }
        const ParsedArgs parsed = ParseOptions(args, entry.options);
        CommandContext context{entry, parsed};
        // A failure that the library logs fails the command, whatever its
        // own answer was.
        const FailureWatch failures;
        status = entry.run(context);
        if (failures.Failed() && status == kSuccess) status = kFailed;
    } catch (const UsageError& e) {
        return UsageFailure(prefix, e.what(), UsageLines(entry));
    } catch (const CommandError& e) {
        PrintMessage(std::string("error: ") + e.what());
    } catch (const std::exception& e) {
        PrintMessage(std::string("error: ") + e.what());
    }
    PrintWarnings(warnings.Texts());
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    RegisterFileTypes();
    // The scratch file of the open patch goes to the temporary directory, not
    // into the directory the command was started in.
    DataFileDirectory = gFileIO.TempPath;
    InstallFrontEndHooks();
    InstallSignalCleanup();

    const std::vector<std::string> args(argv + 1, argv + argc);
    const std::vector<CommandSpec> table = BuildCommandTable();
    if (args.empty()) return UsageFailure("quillet-cli", "no command given", kGeneralUsage);
    const std::string& name = args[0];
    if (name == "--help" || name == "-h") {
        std::cout << OverviewHelp(table);
        return kSuccess;
    }
    if (name == "--version") {
        std::cout << "quillet-cli " << QUILLET_VERSION << "\n";
        return kSuccess;
    }

    int status = kUsage;
    bool known = false;
    for (const CommandSpec& entry : table) {
        if (entry.name != name) continue;
        known = true;
        status = RunCommand(entry, std::vector<std::string>(args.begin() + 1, args.end()));
        break;
    }
    if (!known) return UsageFailure("quillet-cli", "unknown command '" + name + "'", kGeneralUsage);

    std::cout.flush();
    if (!std::cout) {
        PrintMessage("error: writing the output failed");
        return kFailed;
    }
    return status;
}
