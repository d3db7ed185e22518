#pragma once
// The command line of one command: its options, and the numbers, ranges and
// file types they hold. Anything malformed is a UsageError (exit status 2).
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace quillet::cli {

// A bad command line: unknown command or option, a missing value, a bad
// number, range or type. main prints it in one line with the usage; exit 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The operation failed: main prints "error: " and the text; exit 1.
class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct OptionSpec {
    std::string name;   // "--patch"
    std::string value;  // what the value is called in the help ("FILE"); empty for a switch
    std::string help;
};

class ParsedArgs {
public:
    bool Has(const std::string& name) const { return values_.count(name) != 0; }
    // The option's value; a UsageError if the option was not given.
    const std::string& Required(const std::string& name) const;
    std::optional<std::string> Optional(const std::string& name) const;

private:
    friend ParsedArgs ParseOptions(const std::vector<std::string>& args, const std::vector<OptionSpec>& options);
    std::map<std::string, std::string> values_;  // a switch has the value ""
};

// "--name VALUE" and "--name=VALUE"; a switch takes no value. An option
// given twice, an unknown option or a bare word is a UsageError. ("--help"
// is main's business: it is looked for before the parse.)
ParsedArgs ParseOptions(const std::vector<std::string>& args, const std::vector<OptionSpec>& options);

// A non-negative number, decimal or hexadecimal with "0x", at most `max`.
int64_t ParseNumber(const std::string& text, const std::string& option, int64_t max = 2147483647);

struct BlockRange {
    int32_t from = 0;
    int32_t to = 0;
    bool Contains(int64_t value) const { return value >= from && value <= to; }
};
// "A-B" (inclusive, A not above B) or a single number, both ends in 0..max.
BlockRange ParseRange(const std::string& text, const std::string& option, int64_t max = 2147483647);

// A type of the tree by name, in any case, or by FileID number: the FileID.
int ParseType(const std::string& text);
// "Map, Statics, Art, ..." in tree order.
std::string TypeNames();

// "on" or "off" (any case).
bool ParseOnOff(const std::string& text, const std::string& option);

}  // namespace quillet::cli
