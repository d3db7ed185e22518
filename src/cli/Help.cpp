// The texts of --help: the overview of all commands and the page of one.
#include <sstream>

#include "cli/Commands.h"

namespace quillet::cli {
namespace {

constexpr size_t kWidth = 79;

// Fills the words of text into lines of kWidth, each after `indent` blanks
// (the first line after `first` characters already written).
std::string Wrap(const std::string& text, size_t indent, size_t first) {
    std::istringstream words(text);
    std::string out, word;
    size_t column = first;
    bool lineEmpty = true;
    while (words >> word) {
        if (!lineEmpty && column + 1 + word.size() > kWidth) {
            out += '\n';
            out.append(indent, ' ');
            column = indent;
            lineEmpty = true;
        }
        if (!lineEmpty) {
            out += ' ';
            ++column;
        }
        out += word;
        column += word.size();
        lineEmpty = false;
    }
    return out;
}

// Paragraphs are separated by empty lines; a line that starts with blanks is
// kept as it stands (examples, lists).
std::string Paragraphs(const std::string& text) {
    std::istringstream lines(text);
    std::string out, line, paragraph;
    auto flush = [&] {
        if (!paragraph.empty()) out += Wrap(paragraph, 0, 0) + "\n";
        paragraph.clear();
    };
    while (std::getline(lines, line)) {
        if (line.empty()) {
            flush();
            out += "\n";
        } else if (line[0] == ' ') {
            flush();
            out += line + "\n";
        } else {
            paragraph += (paragraph.empty() ? "" : " ") + line;
        }
    }
    flush();
    return out;
}

const char* kGeneral =
    "A command that reads or changes a patch names it with --patch FILE, a MUO file; a file that does not exist "
    "is a new, empty patch. A command that changes the patch saves it, only if it changed something, to --out "
    "FILE or back to --patch. The save is written to a temporary file beside the target and renamed into place "
    "when complete, so a failed command leaves the patch file as it was.\n"
    "\n"
    "Numbers are decimal, or hexadecimal with a 0x prefix. A range (--blocks, --fileids) is A-B, both ends "
    "included, or a single number.\n"
    "\n"
    "Exit status: 0 success, 1 the operation failed, 2 usage error. The result goes to stdout and nothing "
    "else does; messages, failures and (on a terminal) a progress bar go to stderr.\n";

}  // namespace

std::string UsageLines(const CommandSpec& entry) {
    std::string out;
    for (size_t i = 0; i < entry.usage.size(); ++i)
        out += std::string(i == 0 ? "usage: " : "       ") + "quillet-cli " + entry.usage[i] + "\n";
    return out;
}

std::string OverviewHelp(const std::vector<CommandSpec>& table) {
    std::string out =
        "quillet-cli: the command-line front end of the Quillet Patching Tool.\n"
        "\n"
        "usage: quillet-cli COMMAND [OPTIONS]\n"
        "       quillet-cli COMMAND --help\n"
        "       quillet-cli --help | --version\n"
        "\n"
        "Commands:\n";
    for (const CommandSpec& entry : table) {
        std::string line = "  " + entry.name;
        line.resize(17, ' ');
        std::string summary = entry.summary;
        out += line + Wrap(summary, 17, 17) + "\n";
    }
    out += "\n";
    out += Paragraphs(std::string("File types (--type): a FileID number or one of ") + TypeNames() +
                      ", in any case.\n\n" + kGeneral);
    return out;
}

std::string CommandHelp(const CommandSpec& entry) {
    std::string out = UsageLines(entry) + "\n" + Wrap(entry.summary, 0, 0) + "\n";
    if (!entry.options.empty()) {
        out += "\nOptions:\n";
        for (const OptionSpec& option : entry.options) {
            std::string head = "  " + option.name + (option.value.empty() ? "" : " " + option.value);
            if (head.size() >= 22) {
                out += head;
                out += '\n';
                out.append(22, ' ');
            } else {
                head.resize(22, ' ');
                out += head;
            }
            out += Wrap(option.help, 22, 22) + "\n";
        }
    }
    if (!entry.details.empty()) {
        out += '\n';
        out += Paragraphs(entry.details);
    }
    return out;
}

}  // namespace quillet::cli
