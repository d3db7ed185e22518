#include "cli/Args.h"

#include <algorithm>
#include <cctype>

#include "core/mMuls.h"

namespace quillet::cli {
namespace {

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

const OptionSpec* FindOption(const std::vector<OptionSpec>& options, const std::string& name) {
    for (const OptionSpec& option : options)
        if (option.name == name) return &option;
    return nullptr;
}

}  // namespace

const std::string& ParsedArgs::Required(const std::string& name) const {
    const auto found = values_.find(name);
    if (found == values_.end()) throw UsageError("missing " + name);
    return found->second;
}

std::optional<std::string> ParsedArgs::Optional(const std::string& name) const {
    const auto found = values_.find(name);
    if (found == values_.end()) return std::nullopt;
    return found->second;
}

ParsedArgs ParseOptions(const std::vector<std::string>& args, const std::vector<OptionSpec>& options) {
    ParsedArgs parsed;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg.size() < 3 || arg.compare(0, 2, "--") != 0) throw UsageError("unexpected argument '" + arg + "'");
        const size_t equals = arg.find('=');
        const std::string name = arg.substr(0, equals);
        const OptionSpec* option = FindOption(options, name);
        if (!option) throw UsageError("unknown option " + name);
        if (parsed.Has(name)) throw UsageError(name + " given twice");
        std::string value;
        if (option->value.empty()) {
            if (equals != std::string::npos) throw UsageError(name + " takes no value");
        } else if (equals != std::string::npos) {
            value = arg.substr(equals + 1);
        } else {
            if (i + 1 >= args.size()) throw UsageError(name + " needs a value (" + option->value + ")");
            value = args[++i];
        }
        if (!option->value.empty() && value.empty()) throw UsageError(name + " needs a value (" + option->value + ")");
        parsed.values_[name] = value;
    }
    return parsed;
}

int64_t ParseNumber(const std::string& text, const std::string& option, int64_t max) {
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const size_t start = hex ? 2 : 0;
    const int base = hex ? 16 : 10;
    if (text.size() <= start) throw UsageError(option + ": '" + text + "' is not a number");
    int64_t value = 0;
    for (size_t i = start; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        int digit = -1;
        if (std::isdigit(c)) digit = c - '0';
        else if (hex && std::isxdigit(c)) digit = std::tolower(c) - 'a' + 10;
        if (digit < 0) throw UsageError(option + ": '" + text + "' is not a number (decimal, or hexadecimal with 0x)");
        value = value * base + digit;
        if (value > max) throw UsageError(option + ": " + text + " is too large (at most " + std::to_string(max) + ")");
    }
    return value;
}

BlockRange ParseRange(const std::string& text, const std::string& option, int64_t max) {
    const size_t dash = text.find('-');
    BlockRange range;
    if (dash == std::string::npos) {
        range.from = range.to = static_cast<int32_t>(ParseNumber(text, option, max));
        return range;
    }
    range.from = static_cast<int32_t>(ParseNumber(text.substr(0, dash), option, max));
    range.to = static_cast<int32_t>(ParseNumber(text.substr(dash + 1), option, max));
    if (range.from > range.to)
        throw UsageError(option + ": the range " + text + " is empty (write the lower end first)");
    return range;
}

int ParseType(const std::string& text) {
    int id = FileIDByName(text);
    if (id < 0 && !text.empty() && std::isdigit(static_cast<unsigned char>(text[0]))) {
        int64_t number = -1;
        try {
            number = ParseNumber(text, "--type", 255);
        } catch (const UsageError&) {
            number = -1;
        }
        if (number >= 0 && !FileTypes[static_cast<size_t>(number)].Name.empty()) id = static_cast<int>(number);
    }
    if (id < 0) throw UsageError("--type: unknown type '" + text + "' (a FileID number or one of " + TypeNames() + ")");
    return id;
}

std::string TypeNames() {
    std::string names;
    for (int id = 0; id < kFileIDs; ++id) {
        if (FileTypes[static_cast<size_t>(id)].Name.empty()) continue;
        if (!names.empty()) names += ", ";
        names += FileTypes[static_cast<size_t>(id)].Name;
    }
    return names;
}

bool ParseOnOff(const std::string& text, const std::string& option) {
    const std::string value = Lower(text);
    if (value == "on") return true;
    if (value == "off") return false;
    throw UsageError(option + ": '" + text + "' is neither on nor off");
}

}  // namespace quillet::cli
