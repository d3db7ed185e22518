// The writers of cRegistery's interface. The registry is read-only here (see
// cRegistery.h): CreateKey only tells whether the key is there, the others
// change nothing, and RegQuery goes through its parts calling them.
#include "support/cRegistery.h"

#include <vector>

#include "base/Checked.h"
#include "base/cError.h"

namespace quillet {
namespace {

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

bool cRegistery::CreateKey(const std::string& lpSubKey, int32_t Key) { return KeyExists(lpSubKey, Key); }

bool cRegistery::DeleteKey(const std::string&, int32_t) { return false; }

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

}  // namespace quillet
