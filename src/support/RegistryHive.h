#pragma once
// One registry file read whole, and the pass over its lines that finds keys
// and values in it. Key and value names come back as the file spells them
// where a caller lists them, and in lower case where they are compared.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace quillet {

struct Hive {
    // Two spellings of a registry file: Wine's own ("WINE REGISTRY Version
    // 2", key names relative to the file's root, with Wine's escapes) and
    // regedit's export ("REGEDIT4", "Windows Registry Editor Version 5.00":
    // key names start with the root's name and have no escapes).
    enum class Style { Wine, Regedit };

    std::string text;  // UTF-8, without a byte order mark
    Style style = Style::Wine;
    bool win64 = false;  // "#arch=win64": 32-bit programs see the Wow6432Node twins
};

// Reads a registry file in either spelling (a regedit export of version 5 is
// UTF-16, turned into UTF-8 here). False for "" and for what is not a regular
// file of at most 256 MiB: a FIFO would wait for a writer for ever, and
// Wine's files are tens of megabytes.
bool LoadHive(const std::string& file, Hive& hive);

// The names from index from on, in lower case, joined by '\': the form in
// which a key's path is compared.
std::string KeyPath(const std::vector<std::string>& names, size_t from = 0);

// What one pass over a hive finds out about one key.
struct KeyView {
    std::string path;  // as KeyPath makes it; "" for the root
    size_t depth = 0;  // number of names in path
    bool exists = false;
    std::vector<std::string> subkeys;  // as first written
    std::unordered_set<std::string> subkeysSeen;  // their names in lower case
    std::optional<std::string> valueName;         // the value looked for, in lower case
    std::optional<std::string> value;             // its text, if the key has it
};

// One pass over the hive that fills in every view: whether its key exists
// (a key below it counts too), the names of its subkeys and, for a view with
// a valueName, the text of that value (a string in UTF-8, other types as
// their bytes; a later line of the same name replaces an earlier one, "=-"
// deletes it). Key is the root key the file holds; a regedit export's
// sections under other roots are passed over. Broken lines are skipped. The
// pass is linear in the file's length: the subkeys seen are found by hashing,
// as a registry may hold hundreds of thousands of them under one key.
void ScanHive(const Hive& hive, int32_t Key, std::vector<KeyView>& views);

}  // namespace quillet
