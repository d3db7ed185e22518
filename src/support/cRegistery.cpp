#include "support/cRegistery.h"

#include <dirent.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string_view>

#include "base/Checked.h"
#include "base/cError.h"
#include "base/BinaryFile.h"

namespace quillet {
namespace {

// Two spellings of a registry file: Wine's own ("WINE REGISTRY Version 2",
// key names relative to the file's root, with Wine's escapes) and regedit's
// export ("REGEDIT4", "Windows Registry Editor Version 5.00": key names start
// with the root's name and have no escapes).
enum class Style { Wine, Regedit };

struct Hive {
    std::string text;
    Style style = Style::Wine;
    bool win64 = false;  // "#arch=win64": 32-bit programs see the Wow6432Node twins
};

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string LowerText(std::string_view text) {
    std::string out(text);
    for (char& c : out) c = Lower(c);
    return out;
}

bool SameCaseless(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (Lower(a[i]) != Lower(b[i])) return false;
    return true;
}

bool StartsWith(std::string_view text, std::string_view head) { return text.substr(0, head.size()) == head; }

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
int HexDigit(char c) { return c <= '9' ? c - '0' : Lower(c) - 'a' + 10; }

void AppendUtf8(std::string& out, uint32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | cp >> 6);
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | cp >> 12);
        out += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | cp >> 18);
        out += static_cast<char>(0x80 | (cp >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

// UTF-16 code units to UTF-8; a pair of surrogates is one character, a lone
// surrogate becomes U+FFFD.
class Utf16ToUtf8 {
public:
    explicit Utf16ToUtf8(std::string& out) : out_(out) {}
    ~Utf16ToUtf8() { Finish(); }
    void Unit(uint32_t unit) {
        if (high_ != 0) {
            if (unit >= 0xDC00 && unit <= 0xDFFF) {
                AppendUtf8(out_, 0x10000 + ((high_ - 0xD800) << 10) + (unit - 0xDC00));
                high_ = 0;
                return;
            }
            AppendUtf8(out_, 0xFFFD);
            high_ = 0;
        }
        if (unit >= 0xD800 && unit <= 0xDBFF)
            high_ = unit;
        else
            AppendUtf8(out_, unit >= 0xDC00 && unit <= 0xDFFF ? 0xFFFD : unit);
    }
    void Finish() {
        if (high_ != 0) AppendUtf8(out_, 0xFFFD);
        high_ = 0;
    }

private:
    std::string& out_;
    uint32_t high_ = 0;
};

// One escape after a backslash at text[pos] (pos is at the character after
// the backslash), as Wine writes them: \\ \" \[ \] \a \b \e \f \n \r \t \v,
// \x with up to four hexadecimal digits (a UTF-16 unit), \ with up to three
// octal digits. Answers false for any other character.
bool Escape(std::string_view text, size_t& pos, Utf16ToUtf8& out) {
    if (pos >= text.size()) return false;
    const char c = text[pos];
    switch (c) {
        case '\\': case '"': case '[': case ']': out.Unit(static_cast<uint8_t>(c)); ++pos; return true;
        case 'a': out.Unit(7); ++pos; return true;
        case 'b': out.Unit(8); ++pos; return true;
        case 'e': out.Unit(27); ++pos; return true;
        case 'f': out.Unit(12); ++pos; return true;
        case 'n': out.Unit(10); ++pos; return true;
        case 'r': out.Unit(13); ++pos; return true;
        case 't': out.Unit(9); ++pos; return true;
        case 'v': out.Unit(11); ++pos; return true;
        default: break;
    }
    if (c == 'x' && pos + 1 < text.size() && IsHexDigit(text[pos + 1])) {
        uint32_t unit = 0;
        size_t i = pos + 1;
        for (int n = 0; n < 4 && i < text.size() && IsHexDigit(text[i]); ++n, ++i)
            unit = unit * 16 + static_cast<uint32_t>(HexDigit(text[i]));
        out.Unit(unit);
        pos = i;
        return true;
    }
    if (c >= '0' && c <= '7') {
        uint32_t unit = 0;
        size_t i = pos;
        for (int n = 0; n < 3 && i < text.size() && text[i] >= '0' && text[i] <= '7'; ++n, ++i)
            unit = unit * 8 + static_cast<uint32_t>(text[i] - '0');
        out.Unit(unit);
        pos = i;
        return true;
    }
    return false;
}

// A quoted text starting at text[pos] == '"'. Answers false when it has no
// closing quote on the line (a broken line). Bytes of 128 and more pass as
// they are: Wine writes none, and an export converted from UTF-16 holds UTF-8.
bool QuotedText(std::string_view text, size_t& pos, std::string& value) {
    value.clear();
    Utf16ToUtf8 out(value);
    ++pos;
    while (pos < text.size()) {
        const char c = text[pos];
        if (c == '"') {
            ++pos;
            out.Finish();
            return true;
        }
        if (c == '\\') {
            ++pos;
            if (!Escape(text, pos, out)) {  // unknown escape: the character itself
                if (pos >= text.size()) return false;
                out.Unit(static_cast<uint8_t>(text[pos++]));
            }
            continue;
        }
        out.Finish();
        value += c;
        ++pos;
    }
    return false;
}

// The components of a "[...]" line, empty ones dropped. Wine's form escapes
// the separating backslash as "\\"; a single backslash before a character
// that is no escape is taken for a separator too, as regedit writes it.
bool SectionComponents(std::string_view line, Style style, std::vector<std::string>& components) {
    components.clear();
    std::string current;
    Utf16ToUtf8 out(current);
    size_t pos = 1;
    // A backslash that an escape spells (\x005c, \134) parts names as a
    // written one does: no key name holds one, and the path joined from the
    // components must have as many names as there are components.
    auto endComponent = [&] {
        out.Finish();
        for (size_t start = 0;;) {
            const size_t at = current.find('\\', start);
            const std::string name = current.substr(start, at == std::string::npos ? at : at - start);
            if (!name.empty()) components.push_back(name);
            if (at == std::string::npos) break;
            start = at + 1;
        }
        current.clear();
    };
    if (style == Style::Regedit) {
        const size_t close = line.rfind(']');
        if (close == std::string_view::npos || close == 0) return false;
        for (; pos < close; ++pos) {
            if (line[pos] == '\\')
                endComponent();
            else
                current += line[pos];
        }
        endComponent();
        return true;
    }
    while (pos < line.size()) {
        const char c = line[pos];
        if (c == ']') {
            endComponent();
            return true;
        }
        if (c == '\\') {
            ++pos;
            if (pos < line.size() && line[pos] == '\\') {
                ++pos;
                endComponent();
                continue;
            }
            if (!Escape(line, pos, out)) endComponent();
            continue;
        }
        out.Finish();
        current += c;
        ++pos;
    }
    return false;  // no closing bracket: a broken line
}

std::vector<std::string> SplitKeyPath(std::string_view path) {
    std::vector<std::string> parts;
    std::string current;
    for (const char c : path) {
        if (c == '\\') {
            if (!current.empty()) parts.push_back(current);
            current.clear();
        } else {
            current += c;
        }
    }
    if (!current.empty()) parts.push_back(current);
    return parts;
}

std::string JoinLower(const std::vector<std::string>& parts, size_t from = 0) {
    std::string out;
    for (size_t i = from; i < parts.size(); ++i) {
        if (!out.empty()) out += '\\';
        out += LowerText(parts[i]);
    }
    return out;
}

int32_t RootOfName(std::string_view name) {
    if (SameCaseless(name, "HKEY_LOCAL_MACHINE") || SameCaseless(name, "HKLM")) return HKEY_LOCAL_MACHINE;
    if (SameCaseless(name, "HKEY_CURRENT_USER") || SameCaseless(name, "HKCU")) return HKEY_CURRENT_USER;
    if (SameCaseless(name, "HKEY_CLASSES_ROOT") || SameCaseless(name, "HKCR")) return HKEY_CLASSES_ROOT;
    if (SameCaseless(name, "HKEY_USERS") || SameCaseless(name, "HKU")) return HKEY_USERS;
    return 0;
}

bool LoadHive(const std::string& file, Hive& hive) {
    if (file.empty()) return false;
    // A regular file only (a FIFO would wait for a writer for ever), and of a
    // size a registry file can have: Wine's are tens of megabytes.
    constexpr int64_t kLargestHive = int64_t{256} << 20;
    BinaryFile in;
    if (!in.Open(file, BinaryFile::Mode::Read) || in.Size() > kLargestHive) return false;
    std::string raw(static_cast<size_t>(in.Size()), '\0');
    raw.resize(in.ReadAt(0, reinterpret_cast<uint8_t*>(raw.data()), raw.size()));
    if (raw.size() >= 2 && static_cast<uint8_t>(raw[0]) == 0xFF && static_cast<uint8_t>(raw[1]) == 0xFE) {
        // A regedit export of version 5 is UTF-16.
        Utf16ToUtf8 out(hive.text);
        for (size_t i = 2; i + 1 < raw.size(); i += 2)
            out.Unit(static_cast<uint8_t>(raw[i]) | static_cast<uint32_t>(static_cast<uint8_t>(raw[i + 1])) << 8);
    } else {
        hive.text = std::move(raw);
        if (StartsWith(hive.text, "\xEF\xBB\xBF")) hive.text.erase(0, 3);
    }
    const std::string_view text = hive.text;
    const size_t first = text.find_first_not_of(" \t\r\n");
    const std::string_view head = first == std::string_view::npos ? std::string_view{} : text.substr(first, 40);
    hive.style = StartsWith(head, "REGEDIT4") || StartsWith(head, "Windows Registry Editor") ? Style::Regedit
                                                                                              : Style::Wine;
    const size_t arch = text.substr(0, 4096).find("\n#arch=");
    hive.win64 = arch != std::string_view::npos && StartsWith(text.substr(arch + 7), "win64");
    return true;
}

// Walks the lines of a file; a line keeps no CR.
class Lines {
public:
    explicit Lines(std::string_view text) : text_(text) {}
    bool Next(std::string_view& line) {
        if (pos_ >= text_.size()) return false;
        size_t end = text_.find('\n', pos_);
        if (end == std::string_view::npos) end = text_.size();
        line = text_.substr(pos_, end - pos_);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        pos_ = end + 1;
        return true;
    }

private:
    std::string_view text_;
    size_t pos_ = 0;
};

std::string_view TrimLeft(std::string_view s) {
    const size_t first = s.find_first_not_of(" \t");
    return first == std::string_view::npos ? std::string_view{} : s.substr(first);
}
std::string_view TrimRight(std::string_view s) {
    const size_t last = s.find_last_not_of(" \t");
    return last == std::string_view::npos ? std::string_view{} : s.substr(0, last + 1);
}

enum class ValueLine { Value, Deleted, Broken };

// "hex:" or "hex(N):" data: bytes as two-digit numbers separated by commas.
bool HexBytes(std::string_view data, std::string& bytes) {
    bytes.clear();
    size_t pos = 0;
    while (true) {
        while (pos < data.size() && (data[pos] == ' ' || data[pos] == '\t')) ++pos;
        if (pos >= data.size()) return true;
        int value = 0, digits = 0;
        while (pos < data.size() && IsHexDigit(data[pos]) && digits < 2) value = value * 16 + HexDigit(data[pos++]), ++digits;
        if (digits == 0) return false;
        bytes += static_cast<char>(value);
        while (pos < data.size() && (data[pos] == ' ' || data[pos] == '\t')) ++pos;
        if (pos >= data.size()) return true;
        if (data[pos] != ',') return false;
        ++pos;
    }
}

// The text of a value line's data as the ANSI query gives it: strings in
// UTF-8, other types as their bytes.
ValueLine ParseValue(std::string_view line, std::string& name, std::string& text) {
    size_t pos = 0;
    if (line.empty()) return ValueLine::Broken;
    if (line[0] == '@') {
        name.clear();
        pos = 1;
    } else if (line[0] == '"') {
        if (!QuotedText(line, pos, name)) return ValueLine::Broken;
    } else {
        return ValueLine::Broken;
    }
    std::string_view rest = TrimLeft(line.substr(pos));
    if (rest.empty() || rest[0] != '=') return ValueLine::Broken;
    rest = TrimRight(TrimLeft(rest.substr(1)));
    if (rest == "-") return ValueLine::Deleted;
    if (StartsWith(rest, "str(")) {
        const size_t close = rest.find("):");
        if (close == std::string_view::npos) return ValueLine::Broken;
        rest = rest.substr(close + 2);
    }
    if (!rest.empty() && rest[0] == '"') {
        size_t at = 0;
        return QuotedText(rest, at, text) ? ValueLine::Value : ValueLine::Broken;
    }
    if (StartsWith(rest, "dword:")) {
        const std::string_view digits = rest.substr(6);
        if (digits.empty() || digits.size() > 8) return ValueLine::Broken;
        uint32_t value = 0;
        for (const char c : digits) {
            if (!IsHexDigit(c)) return ValueLine::Broken;
            value = value * 16 + static_cast<uint32_t>(HexDigit(c));
        }
        text.clear();
        for (int i = 0; i < 4; ++i) text += static_cast<char>(value >> (8 * i) & 0xFF);
        return ValueLine::Value;
    }
    if (StartsWith(rest, "hex")) {
        std::string_view data = rest.substr(3);
        unsigned type = 3;  // REG_BINARY
        if (!data.empty() && data[0] == '(') {
            const size_t close = data.find(')');
            if (close == std::string_view::npos || close == 1) return ValueLine::Broken;
            type = 0;
            for (const char c : data.substr(1, close - 1)) {
                if (!IsHexDigit(c)) return ValueLine::Broken;
                type = type * 16 + static_cast<unsigned>(HexDigit(c));
            }
            data = data.substr(close + 1);
        }
        if (data.empty() || data[0] != ':') return ValueLine::Broken;
        std::string bytes;
        if (!HexBytes(data.substr(1), bytes)) return ValueLine::Broken;
        text.clear();
        if (type == 1 || type == 2 || type == 7) {  // strings: UTF-16 in the file
            Utf16ToUtf8 out(text);
            for (size_t i = 0; i + 1 < bytes.size(); i += 2)
                out.Unit(static_cast<uint8_t>(bytes[i]) | static_cast<uint32_t>(static_cast<uint8_t>(bytes[i + 1])) << 8);
        } else {
            text = bytes;
        }
        return ValueLine::Value;
    }
    return ValueLine::Broken;
}

// What one pass over a hive finds out about one key.
struct KeyView {
    std::string path;  // lower case, '\' between the names
    size_t depth = 0;  // number of names in path
    bool exists = false;
    std::vector<std::string> subkeys;  // as first written
    std::vector<std::pair<std::string, std::string>> values;  // lower-case name, text
};

void Scan(const Hive& hive, int32_t Key, std::vector<KeyView>& views, bool wantValues) {
    Lines lines(hive.text);
    std::string_view line;
    std::vector<std::string> components;
    std::vector<KeyView*> inSection;  // the views whose key the current section is
    bool sectionValid = false;
    while (lines.Next(line)) {
        const std::string_view trimmed = TrimLeft(line);
        if (trimmed.empty()) continue;
        if (trimmed[0] == '[') {
            inSection.clear();
            sectionValid = SectionComponents(trimmed, hive.style, components);
            if (!sectionValid) continue;
            size_t from = 0;
            if (hive.style == Style::Regedit) {
                if (components.empty() || RootOfName(components[0]) != Key) {
                    sectionValid = false;
                    continue;
                }
                from = 1;
            }
            const std::string path = JoinLower(components, from);
            for (KeyView& view : views) {
                const bool same = path == view.path;
                const bool below = view.path.empty() ? !path.empty()
                                                     : path.size() > view.path.size() && StartsWith(path, view.path) &&
                                                           path[view.path.size()] == '\\';
                if (same || below) view.exists = true;
                if (same) inSection.push_back(&view);
                // The path is joined from the components, so a path below the
                // view has a component at the view's depth; guarded all the same.
                if (below && from + view.depth < components.size()) {
                    const std::string& child = components[from + view.depth];
                    bool known = false;
                    for (const std::string& name : view.subkeys) known = known || SameCaseless(name, child);
                    if (!known) view.subkeys.push_back(child);
                }
            }
            continue;
        }
        if (!sectionValid || inSection.empty() || !wantValues) continue;
        if (trimmed[0] != '"' && trimmed[0] != '@') continue;  // comments, "#time=", broken lines
        // Hexadecimal data may go on over lines that end in a backslash.
        std::string joined;
        std::string_view logical = TrimRight(trimmed);
        if (!logical.empty() && logical.back() == '\\' && logical.find("=hex") != std::string_view::npos) {
            joined.assign(logical.substr(0, logical.size() - 1));
            std::string_view next;
            while (lines.Next(next)) {
                next = TrimRight(TrimLeft(next));
                const bool more = !next.empty() && next.back() == '\\';
                joined.append(more ? next.substr(0, next.size() - 1) : next);
                if (!more) break;
            }
            logical = joined;
        }
        std::string name, text;
        const ValueLine kind = ParseValue(logical, name, text);
        if (kind == ValueLine::Broken) continue;
        name = LowerText(name);
        for (KeyView* view : inSection) {
            auto& values = view->values;
            for (auto it = values.begin(); it != values.end(); ++it) {
                if (it->first == name) {
                    values.erase(it);
                    break;
                }
            }
            if (kind == ValueLine::Value) values.emplace_back(name, text);
        }
    }
}

// The key and, under HKEY_LOCAL_MACHINE\SOFTWARE, its Wow6432Node twin, in the
// order a 32-bit program of this prefix sees them.
std::vector<KeyView> ViewsOf(const std::string& lpSubKey, int32_t Key, const Hive& hive) {
    const std::vector<std::string> parts = SplitKeyPath(lpSubKey);
    std::vector<KeyView> views(1);
    views[0].path = JoinLower(parts);
    views[0].depth = parts.size();
    if (Key == HKEY_LOCAL_MACHINE && !parts.empty() && SameCaseless(parts[0], "SOFTWARE") &&
        !(parts.size() > 1 && SameCaseless(parts[1], "Wow6432Node"))) {
        KeyView twin;
        twin.path = "software\\wow6432node";
        twin.depth = parts.size() + 1;
        if (parts.size() > 1) twin.path += "\\" + JoinLower(parts, 1);
        if (hive.win64)
            views.insert(views.begin(), twin);
        else
            views.push_back(twin);
    }
    return views;
}

bool Exists(const std::string& path) {
    struct stat info{};
    return ::lstat(path.c_str(), &info) == 0;
}

// The entry of dir whose name equals name without regard to case, or "".
std::string FindCaseless(const std::string& dir, const std::string& name) {
    DIR* handle = ::opendir(dir.empty() ? "/" : dir.c_str());
    if (!handle) return {};
    std::string found;
    while (const dirent* entry = ::readdir(handle)) {
        if (SameCaseless(entry->d_name, name)) {
            found = entry->d_name;
            break;
        }
    }
    ::closedir(handle);
    return found;
}

std::string HomeDirectory() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    if (const passwd* user = ::getpwuid(::getuid()); user && user->pw_dir) return user->pw_dir;
    return {};
}

std::string WithoutClosingSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

// One pass from left to right over text, with the escapes of a table.
std::string DecodeQuery(const std::string& text, bool value) {
    struct Escape {
        const char* code;
        char becomes;
    };
    static constexpr Escape kKey[] = {{"%5C", '\\'}};
    static constexpr Escape kValue[] = {{"%5C", '\\'}, {"%2B", '+'}, {"%26", '&'}, {"%2F", '/'},
                                        {"%3A", ':'},  {"%7E", '~'}, {"%21", '!'}};
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        if (text[i] == '+') {
            out += ' ';
            ++i;
            continue;
        }
        bool done = false;
        if (text[i] == '%') {
            const auto check = [&](const Escape& escape) {
                if (!done && text.compare(i, 3, escape.code) == 0) {
                    out += escape.becomes;
                    i += 3;
                    done = true;
                }
            };
            if (value)
                for (const Escape& escape : kValue) check(escape);
            else
                for (const Escape& escape : kKey) check(escape);
        }
        if (!done) out += text[i++];
    }
    return out;
}

}  // namespace

std::string RegQueryKeyText(const std::string& text) { return DecodeQuery(text, false); }
std::string RegQueryValueText(const std::string& text) { return DecodeQuery(text, true); }

cRegistery::cRegistery() {
    const char* prefix = std::getenv("WINEPREFIX");
    if (prefix && *prefix) {
        prefix_ = WithoutClosingSlash(prefix);
    } else {
        const std::string home = HomeDirectory();
        if (!home.empty()) prefix_ = WithoutClosingSlash(home) + "/.wine";
    }
}

cRegistery::cRegistery(std::string winePrefix) : prefix_(WithoutClosingSlash(std::move(winePrefix))) {}

std::string cRegistery::HiveFile(int32_t Key) const {
    if (prefix_.empty()) return {};
    if (Key == HKEY_LOCAL_MACHINE) return prefix_ + "/system.reg";
    if (Key == HKEY_CURRENT_USER) return prefix_ + "/user.reg";
    return {};
}

bool cRegistery::CreateKey(const std::string& lpSubKey, int32_t Key) {
    Hive hive;
    if (!LoadHive(HiveFile(Key), hive)) return false;
    std::vector<KeyView> views = ViewsOf(lpSubKey, Key, hive);
    if (views[0].path.empty()) return true;  // the root itself
    Scan(hive, Key, views, false);
    for (const KeyView& view : views)
        if (view.exists) return true;
    return false;
}

bool cRegistery::DeleteKey(const std::string&, int32_t) { return false; }

int32_t cRegistery::GetKeys(const std::string& lpSubKey, std::vector<std::string>& Keys, int32_t Key) const {
    Keys.clear();
    Hive hive;
    if (!LoadHive(HiveFile(Key), hive)) return 0;
    std::vector<KeyView> views = ViewsOf(lpSubKey, Key, hive);
    Scan(hive, Key, views, false);
    for (const KeyView& view : views) {
        if (!view.exists) continue;
        Keys = view.subkeys;
        return static_cast<int32_t>(Keys.size());
    }
    return 0;
}

std::string cRegistery::GetValue(const std::string& lpSubKey, const std::string& lpValue, const std::string& Default,
                                 int32_t Key) const {
    Hive hive;
    if (!LoadHive(HiveFile(Key), hive)) return Default;
    std::vector<KeyView> views = ViewsOf(lpSubKey, Key, hive);
    Scan(hive, Key, views, true);
    const std::string name = LowerText(lpValue);
    for (const KeyView& view : views) {
        for (const auto& [valueName, text] : view.values) {
            if (valueName != name) continue;
            const size_t zero = text.find('\0');
            return zero == std::string::npos ? text : text.substr(0, zero);
        }
    }
    return Default;
}

void cRegistery::CreateValue(const std::string&, const std::string&, const std::string&, int32_t) {}

void cRegistery::RegQuery(const std::string& Query, int32_t Key) {
    try {
        if (Query.empty()) return;  // no parts at all
        std::vector<std::string> parts;
        for (size_t start = 0;;) {
            const size_t end = Query.find('&', start);
            parts.push_back(Query.substr(start, end == std::string::npos ? std::string::npos : end - start));
            if (end == std::string::npos) break;
            start = end + 1;
        }
        std::string subKey;
        for (size_t index = 0; index < parts.size(); ++index) {
            const std::string& part = parts[index];
            const size_t equals = part.find('=');
            if (equals == std::string::npos) Fail("the part \"" + part + "\" has no \"=\"");
            // The value is all that follows the first "=".
            const std::string name = part.substr(0, equals);
            const std::string value = part.substr(equals + 1);
            if (index == 0) {
                subKey = RegQueryKeyText(value);
                CreateKey(subKey, Key);
            } else {
                CreateValue(subKey, name, RegQueryValueText(value), Key);
            }
        }
    } catch (...) {
        gError.Log("cRegistery.RegQuery");
    }
}

std::string cRegistery::UnixPath(const std::string& windowsPath) const {
    std::string path = windowsPath;
    // The long-path and the native spellings of the same path.
    for (const char* head : {"\\\\?\\", "\\??\\"})
        if (StartsWith(path, head)) path.erase(0, std::char_traits<char>::length(head));
    const bool drive = path.size() >= 2 && path[1] == ':' &&
                       ((path[0] >= 'A' && path[0] <= 'Z') || (path[0] >= 'a' && path[0] <= 'z'));
    if (!drive) {
        for (char& c : path)
            if (c == '\\') c = '/';
        return path;
    }

    // The drive: Wine keeps it as the link dosdevices/x:, most often to
    // ../drive_c; a prefix without it still has drive_c for C:.
    const char letter = Lower(path[0]);
    const std::string dos = prefix_ + "/dosdevices/" + letter + ":";
    std::string base = dos;
    struct stat info{};
    if (::lstat(dos.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
        std::string target(4096, '\0');
        const ssize_t n = ::readlink(dos.c_str(), target.data(), target.size());
        if (n > 0) {
            target.resize(static_cast<size_t>(n));
            base = target[0] == '/' ? target
                                    : (std::filesystem::path(prefix_) / "dosdevices" / target).lexically_normal().string();
        }
    } else if (!Exists(dos) && letter == 'c') {
        base = prefix_ + "/drive_c";
    }
    while (!base.empty() && base.back() == '/') base.pop_back();  // "/" (drive Z:) becomes ""

    const std::string rest = path.substr(2);
    const bool closing = !rest.empty() && (rest.back() == '\\' || rest.back() == '/');
    std::string out = base;
    bool resolving = true;
    std::string name;
    auto addName = [&] {
        if (name.empty()) return;
        std::string next = out + "/" + name;
        if (resolving && !Exists(next)) {
            const std::string match = FindCaseless(out, name);
            if (!match.empty())
                next = out + "/" + match;
            else
                resolving = false;  // what follows cannot exist either
        }
        out = next;
        name.clear();
    };
    for (const char c : rest) {
        if (c == '\\' || c == '/')
            addName();
        else
            name += c;
    }
    addName();
    if (closing || out.empty()) out += '/';
    return out;
}

}  // namespace quillet
