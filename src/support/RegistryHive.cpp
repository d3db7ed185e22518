#include "support/RegistryHive.h"

#include <string_view>
#include <utility>

#include "base/BinaryFile.h"
#include "support/Caseless.h"
#include "support/NumberText.h"
#include "support/cRegistery.h"

namespace quillet {
namespace {

// The value of a hexadecimal digit, or -1.
int HexValue(char c) { return numbertext::DigitValue(c, 16); }

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
    if (c == 'x' && pos + 1 < text.size() && HexValue(text[pos + 1]) >= 0) {
        uint32_t unit = 0;
        size_t i = pos + 1;
        for (int n = 0; n < 4 && i < text.size() && HexValue(text[i]) >= 0; ++n, ++i)
            unit = unit * 16 + static_cast<uint32_t>(HexValue(text[i]));
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

// The names of a "[...]" line joined by '\', as written and in lower case
// (of one length: only ASCII letters fold), with where each name starts.
// Kept from line to line, so that a pass over a file allocates next to nothing.
class SectionPath {
public:
    void Clear() {
        written_.clear();
        lower_.clear();
        starts_.clear();
    }
    // A name as decoded; a backslash in it parts it (see SectionComponents),
    // and empty names are dropped.
    void Add(std::string_view text) {
        for (size_t start = 0;;) {
            const size_t at = text.find('\\', start);
            AddName(text.substr(start, at == std::string_view::npos ? at : at - start));
            if (at == std::string_view::npos) return;
            start = at + 1;
        }
    }
    size_t Count() const { return starts_.size(); }
    std::string_view Name(size_t index) const { return Part(written_, index); }
    std::string_view LowerName(size_t index) const { return Part(lower_, index); }
    // The names from index on, in lower case: the form in which KeyPath joins them.
    std::string_view LowerFrom(size_t index) const {
        return index < starts_.size() ? std::string_view(lower_).substr(starts_[index]) : std::string_view();
    }
    std::string& Scratch() { return current_; }

private:
    void AddName(std::string_view name) {
        if (name.empty()) return;
        if (!starts_.empty()) {
            written_ += '\\';
            lower_ += '\\';
        }
        starts_.push_back(written_.size());
        written_ += name;
        const size_t from = lower_.size();
        lower_ += name;
        for (size_t at = from; at < lower_.size(); ++at)
            if (lower_[at] >= 'A' && lower_[at] <= 'Z') lower_[at] = static_cast<char>(lower_[at] - 'A' + 'a');
    }
    std::string_view Part(const std::string& joined, size_t index) const {
        const size_t end = index + 1 < starts_.size() ? starts_[index + 1] - 1 : joined.size();
        return std::string_view(joined).substr(starts_[index], end - starts_[index]);
    }

    std::string written_, lower_, current_;
    std::vector<size_t> starts_;
};

// The names of a "[...]" line, empty ones dropped. Wine's form escapes
// the separating backslash as "\\"; a single backslash before a character
// that is no escape is taken for a separator too, as regedit writes it.
bool SectionComponents(std::string_view line, Hive::Style style, SectionPath& components) {
    components.Clear();
    std::string& current = components.Scratch();
    current.clear();
    Utf16ToUtf8 out(current);
    size_t pos = 1;
    // A backslash that an escape spells (\x005c, \134) parts names as a
    // written one does: no key name holds one, and the path joined from the
    // names must have as many names as there are components.
    auto endComponent = [&] {
        out.Finish();
        components.Add(current);
        current.clear();
    };
    if (style == Hive::Style::Regedit) {
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

int32_t RootOfName(std::string_view name) {
    if (SameCaseless(name, "HKEY_LOCAL_MACHINE") || SameCaseless(name, "HKLM")) return HKEY_LOCAL_MACHINE;
    if (SameCaseless(name, "HKEY_CURRENT_USER") || SameCaseless(name, "HKCU")) return HKEY_CURRENT_USER;
    if (SameCaseless(name, "HKEY_CLASSES_ROOT") || SameCaseless(name, "HKCR")) return HKEY_CLASSES_ROOT;
    if (SameCaseless(name, "HKEY_USERS") || SameCaseless(name, "HKU")) return HKEY_USERS;
    return 0;
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
        while (pos < data.size() && HexValue(data[pos]) >= 0 && digits < 2) value = value * 16 + HexValue(data[pos++]), ++digits;
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
    if (rest.starts_with("str(")) {
        const size_t close = rest.find("):");
        if (close == std::string_view::npos) return ValueLine::Broken;
        rest = rest.substr(close + 2);
    }
    if (!rest.empty() && rest[0] == '"') {
        size_t at = 0;
        return QuotedText(rest, at, text) ? ValueLine::Value : ValueLine::Broken;
    }
    if (rest.starts_with("dword:")) {
        const std::string_view digits = rest.substr(6);
        if (digits.empty() || digits.size() > 8) return ValueLine::Broken;
        uint32_t value = 0;
        for (const char c : digits) {
            if (HexValue(c) < 0) return ValueLine::Broken;
            value = value * 16 + static_cast<uint32_t>(HexValue(c));
        }
        text.clear();
        for (int i = 0; i < 4; ++i) text += static_cast<char>(value >> (8 * i) & 0xFF);
        return ValueLine::Value;
    }
    if (rest.starts_with("hex")) {
        std::string_view data = rest.substr(3);
        unsigned type = 3;  // REG_BINARY
        if (!data.empty() && data[0] == '(') {
            const size_t close = data.find(')');
            if (close == std::string_view::npos || close == 1) return ValueLine::Broken;
            type = 0;
            for (const char c : data.substr(1, close - 1)) {
                if (HexValue(c) < 0) return ValueLine::Broken;
                type = type * 16 + static_cast<unsigned>(HexValue(c));
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

}  // namespace

std::string KeyPath(const std::vector<std::string>& names, size_t from) {
    std::string out;
    for (size_t i = from; i < names.size(); ++i) {
        if (!out.empty()) out += '\\';
        out += LowerText(names[i]);
    }
    return out;
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
        if (hive.text.starts_with("\xEF\xBB\xBF")) hive.text.erase(0, 3);
    }
    const std::string_view text = hive.text;
    const size_t first = text.find_first_not_of(" \t\r\n");
    const std::string_view head = first == std::string_view::npos ? std::string_view{} : text.substr(first, 40);
    hive.style = head.starts_with("REGEDIT4") || head.starts_with("Windows Registry Editor") ? Hive::Style::Regedit
                                                                                              : Hive::Style::Wine;
    const size_t arch = text.substr(0, 4096).find("\n#arch=");
    hive.win64 = arch != std::string_view::npos && text.substr(arch + 7).starts_with("win64");
    return true;
}

void ScanHive(const Hive& hive, int32_t Key, std::vector<KeyView>& views) {
    Lines lines(hive.text);
    std::string_view line;
    SectionPath components;
    std::vector<KeyView*> inSection;  // the views of the current section's key that look for a value
    bool sectionValid = false;
    while (lines.Next(line)) {
        const std::string_view trimmed = TrimLeft(line);
        if (trimmed.empty()) continue;
        if (trimmed[0] == '[') {
            inSection.clear();
            sectionValid = SectionComponents(trimmed, hive.style, components);
            if (!sectionValid) continue;
            size_t from = 0;
            if (hive.style == Hive::Style::Regedit) {
                if (components.Count() == 0 || RootOfName(components.Name(0)) != Key) {
                    sectionValid = false;
                    continue;
                }
                from = 1;
            }
            const std::string_view path = components.LowerFrom(from);
            for (KeyView& view : views) {
                const bool same = path == view.path;
                const bool below = view.path.empty() ? !path.empty()
                                                     : path.size() > view.path.size() && path.starts_with(view.path) &&
                                                           path[view.path.size()] == '\\';
                if (same || below) view.exists = true;
                if (same && view.valueName) inSection.push_back(&view);
                // The path is joined from the components, so a path below the
                // view has a component at the view's depth; guarded all the same.
                if (below && from + view.depth < components.Count()) {
                    const size_t child = from + view.depth;
                    if (view.subkeysSeen.emplace(components.LowerName(child)).second)
                        view.subkeys.emplace_back(components.Name(child));
                }
            }
            continue;
        }
        if (!sectionValid || inSection.empty()) continue;
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
            if (name != *view->valueName) continue;
            if (kind == ValueLine::Value)
                view->value = text;
            else
                view->value.reset();
        }
    }
}

}  // namespace quillet
