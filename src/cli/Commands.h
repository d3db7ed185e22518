#pragma once
// The command table. Each command group adds its commands in its own file;
// main looks a command up by name, parses its options and runs it.
#include <functional>
#include <string>
#include <vector>

#include "cli/Args.h"

namespace quillet::cli {

struct CommandSpec;

struct CommandContext {
    const CommandSpec& entry;
    const ParsedArgs& args;
};

struct CommandSpec {
    std::string name;
    std::string summary;             // one line in the overview
    std::vector<std::string> usage;  // usage lines, without the program's name
    std::vector<OptionSpec> options;
    std::string details;             // help text after the options
    // Answers the exit status; throws UsageError or CommandError.
    std::function<int(CommandContext&)> run;
};

std::vector<CommandSpec> BuildCommandTable();

// The groups, one file each.
void AddViewCommands(std::vector<CommandSpec>& table);     // info, list, hexdump
void AddBlockCommands(std::vector<CommandSpec>& table);    // extract, replace, delete, flag
void AddImportCommands(std::vector<CommandSpec>& table);   // import
void AddExportCommands(std::vector<CommandSpec>& table);   // export
void AddSampleCommands(std::vector<CommandSpec>& table);   // sample-client
void AddCompareCommands(std::vector<CommandSpec>& table);  // compare
void AddGumpCommands(std::vector<CommandSpec>& table);     // gump, art
void AddBlockPictureCommands(std::vector<CommandSpec>& table);  // picture
void AddPictureCommands(std::vector<CommandSpec>& table);  // render, client

// delete --rect: a rectangle of map or statics blocks (in the picture group).
int RunDeleteRect(CommandContext& context);

// The options every patch command has.
OptionSpec PatchOption();
OptionSpec OutOption();
OptionSpec NoWaitOption();
OptionSpec TypeOption();


// Help texts.
std::string OverviewHelp(const std::vector<CommandSpec>& table);
std::string CommandHelp(const CommandSpec& entry);
std::string UsageLines(const CommandSpec& entry);

}  // namespace quillet::cli
