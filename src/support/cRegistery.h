#pragma once
// The system registry as the client's installer left it. On this platform
// that is the Wine registry of the user's prefix: HKEY_LOCAL_MACHINE is
// $WINEPREFIX/system.reg (else ~/.wine/system.reg), HKEY_CURRENT_USER is
// user.reg beside it. The files are read afresh by every call, so the class
// keeps no state but the prefix it was made for.
//
// The model is read-only. The Wine server owns these files and rewrites them
// from its own memory, so an edit made here while it runs would be lost or
// would clobber its work; and nothing in the program writes to the registry.
// So CreateKey answers true only for a key that already exists (opening it is
// all that a create of an existing key does), DeleteKey answers false,
// CreateValue does nothing, and RegQuery goes through its parts, calling
// them, without changing anything.
//
// Key and value names are compared without regard to case, as Windows does.
// Under HKEY_LOCAL_MACHINE a key below "SOFTWARE\" also has its 32-bit twin
// "SOFTWARE\Wow6432Node\...": in a 64-bit prefix the twin is looked at first
// (that is where a 32-bit installer's keys land), in a 32-bit prefix second.
// Texts come back in UTF-8, the file names' encoding here. One reading of a
// file is one pass over it, linear in its length.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace quillet {

inline constexpr int32_t HKEY_CLASSES_ROOT = static_cast<int32_t>(0x80000000u);
inline constexpr int32_t HKEY_CURRENT_USER = static_cast<int32_t>(0x80000001u);
inline constexpr int32_t HKEY_LOCAL_MACHINE = static_cast<int32_t>(0x80000002u);
inline constexpr int32_t HKEY_USERS = static_cast<int32_t>(0x80000003u);

class cRegistery {
public:
    // The prefix of $WINEPREFIX, else ~/.wine.
    cRegistery();
    // A given prefix directory (tests, or a user with several prefixes).
    explicit cRegistery(std::string winePrefix);

    // True if the key was created or existed: here, if it exists.
    bool CreateKey(const std::string& lpSubKey, int32_t Key = HKEY_LOCAL_MACHINE);
    // True if the key was deleted: never, the model is read-only.
    bool DeleteKey(const std::string& lpSubKey, int32_t Key = HKEY_LOCAL_MACHINE);
    // The number of subkeys of the key; Keys is emptied, then holds their
    // names from index 0, in the order of the file. 0 for a key that is not there.
    int32_t GetKeys(const std::string& lpSubKey, std::vector<std::string>& Keys,
                    int32_t Key = HKEY_LOCAL_MACHINE) const;
    // The value's text cut at its first zero character, or Default when the
    // key or the value is not there. lpValue "" is the key's default value.
    std::string GetValue(const std::string& lpSubKey, const std::string& lpValue, const std::string& Default,
                         int32_t Key = HKEY_LOCAL_MACHINE) const;
    // GetValue for several values (subkey, value name) in one reading of the
    // file, which may be a hundred megabytes: the texts in the same order.
    std::vector<std::string> GetValues(const std::vector<std::pair<std::string, std::string>>& lpSubKeyValues,
                                       const std::string& Default, int32_t Key = HKEY_LOCAL_MACHINE) const;
    // Sets a string value, creating the key if need be: nothing, here.
    void CreateValue(const std::string& lpSubKey, const std::string& lpValue, const std::string& Value,
                     int32_t Key = HKEY_LOCAL_MACHINE);
    // A key and its values from a web query text "key=SUB&name=value&...".
    // A part without "=" is a failure, logged as "cRegistery.RegQuery".
    void RegQuery(const std::string& Query, int32_t Key = HKEY_LOCAL_MACHINE);

    // The prefix directory, without a closing '/'.
    const std::string& Prefix() const { return prefix_; }
    // The file that holds a root key, or "" for a root this registry lacks.
    std::string HiveFile(int32_t Key) const;
    // A Windows path ("C:\Program Files\...") in the prefix's drive folders:
    // the drive through dosdevices/x: (or drive_c), each further name matched
    // without regard to case when the exact one is not there, '\' as '/'. A
    // path without a drive letter only has its separators turned. A closing
    // separator stays.
    std::string UnixPath(const std::string& windowsPath) const;

private:
    // The key, or its Wow6432Node twin, is in the root's file: all that a
    // create of an existing key does, and what CreateKey answers.
    bool KeyExists(const std::string& lpSubKey, int32_t Key) const;

    std::string prefix_;
};

// RegQuery's decoding of the key part ("%5C" -> "\", "+" -> blank) and of a
// value part ("%5C", "%2B", "%26", "+", "%2F", "%3A", "%7E", "%21"). Each is
// one pass from left to right, so a character that an escape yields is never
// decoded again: "%2B" gives "+" and "%21" gives "!".
std::string RegQueryKeyText(const std::string& text);
std::string RegQueryValueText(const std::string& text);

}  // namespace quillet
