// Finding the client through the Wine registry: a prefix made in a scratch
// folder, its system.reg written here as Wine and regedit write them.
#include <stdlib.h>

#include <filesystem>
#include <optional>
#include <regex>

#include "support/SupportTestUtil.h"
#include "support/cRegistery.h"
#include "support/cUO.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;

// A Wine system.reg with the 2D key and other keys around it.
const char* const kWineRegistry =
    "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win32\n\n"
    "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion] 1710000000\n#time=1da7b1c2d3e4f50\n"
    "\"ProgramFilesDir\"=\"C:\\\\Program Files\"\n\n"
    "[Software\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0] 1710000001\n#time=1da7b1c2d3e4f51\n"
    "\"ExePath\"=\"C:\\\\Program Files\\\\Ultima Online\\\\client.exe\"\n"
    "\"InstCDPath\"=\"C:\\\\Program Files\\\\Ultima Online\"\n\"Version\"=dword:00000001\n\n";
const std::string kWine = "WINE REGISTRY Version 2\n";
const std::string kUOKey = "Software\\Origin Worlds Online\\Ultima Online\\1.0";

// A key of system.reg with its ExePath value; Wine doubles the backslashes.
std::string ExeKey(const std::string& key, const std::string& exePath) {
    static const std::regex backslash(R"(\\)");
    const auto doubled = [](const std::string& text) { return std::regex_replace(text, backslash, R"(\\)"); };
    return "[" + doubled(key) + "]\n\"ExePath\"=\"" + doubled(exePath) + "\"\n";
}

// An environment variable set (or, for nullptr, unset) for one test and put back after it.
struct ScopedEnv {
    ScopedEnv(const char* n, const char* value) : name(n) {
        if (const char* was = std::getenv(n)) old = was;
        value ? ::setenv(n, value, 1) : ::unsetenv(n);
    }
    ~ScopedEnv() { old ? ::setenv(name, old->c_str(), 1) : ::unsetenv(name); }
    const char* name;
    std::optional<std::string> old;
};

class RegistryTest : public testing::ScratchTest {
protected:
    void SetUp() override {
        ScratchTest::SetUp();
        prefix = Path("home/.wine");  // where a prefix is looked for without WINEPREFIX
        clientDir = prefix + "/drive_c/Program Files/Ultima Online/";
        fs::create_directories(clientDir);
        fs::create_directories(prefix + "/dosdevices");
        fs::create_directory_symlink("../drive_c", prefix + "/dosdevices/c:");
        Write(clientDir + "client.exe", "MZ");
    }
    void WriteRegistry(const std::string& text) { Write(prefix + "/system.reg", text); }

    std::string prefix, clientDir;
};

TEST_F(RegistryTest, ThePrefixComesFromWineprefixElseHomeElseTheProgramsAreInTheCurrentDirectory) {
    // A 3D key naming a program that is not there: the two clients are independent.
    fs::create_directories(prefix + "/drive_c/UOTD");
    WriteRegistry(kWineRegistry +
                  ExeKey("Software\\Origin Worlds Online\\Ultima Online Third Dawn\\1.0", "C:\\UOTD\\uotd.exe"));
    ScopedEnv wine("WINEPREFIX", (prefix + "/").c_str());  // the closing '/' is not doubled
    EXPECT_EQ(cRegistery().HiveFile(HKEY_LOCAL_MACHINE), prefix + "/system.reg");
    ScopedEnv noWine("WINEPREFIX", nullptr);
    ScopedEnv home("HOME", Path("home").c_str());
    EXPECT_EQ(cRegistery().HiveFile(HKEY_CURRENT_USER), prefix + "/user.reg");
    const cUO uo;  // the lookup is done as the object is made
    EXPECT_EQ(uo.UO2DPath, clientDir);
    EXPECT_TRUE(uo.isUO2D);
    EXPECT_EQ(uo.UO3DPath, prefix + "/drive_c/UOTD/");
    EXPECT_FALSE(uo.isUO3D);

    // Without a prefix the programs are looked for in the current directory.
    const fs::path cwd = fs::current_path();
    fs::current_path(Path("home"));
    Write("uotd.exe", "MZ");
    cUO none;
    none.Init(cRegistery(Path("no-such-prefix")));
    fs::current_path(cwd);
    EXPECT_EQ(none.UO3DPath, "");
    EXPECT_TRUE(none.isUO3D);
    EXPECT_FALSE(fs::exists(Path("failures.log")));
}

// Where ExePath leads in the registries that Wine, regedit and installers
// write, and Windows paths in the drive folders; drive_c is found without
// the dosdevices link too.
TEST_F(RegistryTest, ExePathIsReadInEveryFormOfTheRegistryAndMappedToTheDrives) {
    fs::remove(prefix + "/dosdevices/c:");
    fs::create_directories(prefix + "/drive_c/Other");
    Write(prefix + "/drive_c/Other/client.exe", "MZ");
    const std::string win64 = kWine + "#arch=win64\n\n", win32 = kWine + "#arch=win32\n\n";
    const std::string twin = ExeKey("Software\\Wow6432Node\\Origin Worlds Online\\Ultima Online\\1.0",
                                    "C:\\Program Files\\Ultima Online\\client.exe");
    const std::string direct = ExeKey(kUOKey, "C:\\Other\\client.exe");
    const struct { const char* name; std::string text, path; bool found; } cases[] = {
        {"the twin first in a 64-bit prefix (a 32-bit installer's keys)", win64 + direct + twin, clientDir, true},
        {"the direct key in a 32-bit prefix", win32 + direct + twin, prefix + "/drive_c/Other/", true},
        {"key names without case, the folders' own spelling",
         kWine + ExeKey("software\\ORIGIN WORLDS ONLINE\\ultima online\\1.0",
                        "c:\\PROGRAM FILES\\ultima online\\client.exe"),
         clientDir, true},
        {"a regedit export",
         "REGEDIT4\n\n[HKEY_CURRENT_USER\\Software\\Origin Worlds Online\\Ultima Online\\1.0]\n"
         "\"ExePath\"=\"C:\\\\Wrong\\\\client.exe\"\n\n"
         "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0]\n"
         "\"ExePath\"=\"C:\\\\Program Files\\\\Ultima Online\\\\client.exe\"\n",
         clientDir, true},
        // "Client.exe" stays in the path (mapped to the file's own spelling), and no program is found.
        {"only the exact name is taken out", kWine + ExeKey(kUOKey, "C:\\Program Files\\Ultima Online\\Client.exe"),
         clientDir + "client.exe", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        WriteRegistry(c.text);
        cUO uo;
        uo.Init(cRegistery(prefix));
        EXPECT_EQ(uo.UO2DPath, c.path);
        EXPECT_EQ(uo.isUO2D, c.found);
    }

    fs::create_directory_symlink("/", prefix + "/dosdevices/z:");
    const cRegistery registry(prefix);
    EXPECT_EQ(registry.UnixPath("Z:\\usr\\lib\\"), "/usr/lib/");
    EXPECT_EQ(registry.UnixPath("Z:\\"), "/");
    EXPECT_EQ(registry.UnixPath("\\\\?\\C:\\Program Files\\"), prefix + "/drive_c/Program Files/");
    EXPECT_EQ(registry.UnixPath("C:\\program files\\New Folder\\x"), prefix + "/drive_c/Program Files/New Folder/x");
    EXPECT_EQ(registry.UnixPath("D:\\Games\\"), prefix + "/dosdevices/d:/Games/");  // no such drive
    EXPECT_EQ(registry.UnixPath("relative\\dir\\"), "relative/dir/");
}

TEST_F(RegistryTest, BrokenLinesAreSkippedAndValueFormsAreRead) {
    WriteRegistry(  // CR LF lines
        "WINE REGISTRY Version 2\r\n[Software\\\\Test] 1\r\n"
        "\"Plain\"=\"a \\\"quoted\\\" \\\\ text\"\r\n\"Expand\"=str(2):\"%SystemRoot%\\\\system32\"\r\n"
        "\"Multi\"=str(7):\"first\\0second\\0\"\r\n\"Zero\"=\"before\\0after\"\r\n"
        "\"Accent\"=\"caf\\x00e9 \\xd83d\\xde00\"\r\n\"Number\"=dword:00000041\r\n"
        "\"Wide\"=hex(2):43,00,3a,00,5c,00,\\\r\n  55,00,4f,00,00,00\r\n"
        "\"Unclosed\"=\"no end\r\nthis line is garbage\r\n\"NoEquals\" \"x\"\r\n\"Bad\"=hex:zz\r\n"
        "@=\"the default\"\r\n\"Twice\"=\"first\"\r\n\"Twice\"=\"second\"\r\n"
        "[Software\\\\Broken\r\n\"ExePath\"=\"must not land in Software\\\\Test\"\r\n"
        "[Software\\\\Test\\\\Sub] 2\r\n[Software\\\\Test\\\\Sub\\\\Deeper] 3\r\n"
        "[Software\\\\Test\\\\Other\\\\Leaf] 4\r\n[Software\\\\Test\\\\Caf\\x00e9 \\xd83d\\xde00] 5\r\n");
    const cRegistery registry(prefix);
    // A dword gives its bytes, cut at the first zero; broken lines are skipped,
    // and a broken key line ends the key before it.
    for (const auto& [name, value] : std::vector<std::pair<std::string, std::string>>{
             {"Plain", "a \"quoted\" \\ text"}, {"expand", "%SystemRoot%\\system32"}, {"Multi", "first"},
             {"Zero", "before"}, {"Accent", "caf\xC3\xA9 \xF0\x9F\x98\x80"}, {"Number", "A"}, {"Wide", "C:\\UO"},
             {"", "the default"}, {"Twice", "second"}, {"Missing", "-"}, {"Unclosed", "-"}, {"NoEquals", "-"},
             {"Bad", "-"}, {"ExePath", "-"}})
        EXPECT_EQ(registry.GetValue("Software\\Test", name, "-"), value) << name;

    // Several values from one reading of the file, each as GetValue gives it.
    EXPECT_EQ(registry.GetValues({{"Software\\Test", "Twice"},
                                  {"software\\test", "Missing"},
                                  {"Software\\Nokey", "x"},
                                  {"Software\\Test", "Zero"}},
                                 "-"),
              (std::vector<std::string>{"second", "-", "-", "before"}));

    std::vector<std::string> keys{"left over"};
    EXPECT_EQ(registry.GetKeys("software\\test", keys), 3);
    // Other only through a deeper key; a name with Wine's escapes in UTF-8.
    EXPECT_EQ(keys, (std::vector<std::string>{"Sub", "Other", "Caf\xC3\xA9 \xF0\x9F\x98\x80"}));
    EXPECT_EQ(registry.GetKeys("Software\\Test\\Sub\\Deeper", keys), 0);
    EXPECT_TRUE(keys.empty());
    EXPECT_EQ(registry.GetKeys("Software\\Broken", keys), 0);
}

// Registries of a size where a pass that searches what it found so far takes
// minutes: a key with hundreds of thousands of subkeys or values, an ExePath
// of megabytes with the program's name all over it or with millions of
// folders. Only the answers are checked; the test's time limit (ctest) is
// what a quadratic reader would run into.
TEST_F(RegistryTest, HugeKeysValuesAndPathsAreReadWhole) {
    // Wine doubles the backslashes of key names and texts: R"(\\)" is one.
    constexpr int kMany = 600000;
    std::string text = kWine + R"([Software\\Wide])" + "\n";
    for (int n = 0; n < kMany; ++n) text += "\"v" + std::to_string(n) + "\"=\"" + std::to_string(n) + "\"\n";
    text += "\"v7\"=\"again\"\n\"v8\"=-\n";
    for (int n = 0; n < kMany; ++n) text += R"([Software\\Many\\k)" + std::to_string(n) + "]\n";
    text += R"([Software\\Many\\K0\\Below])"
            "\n";  // a name listed already, in other case
    std::string names, folders;
    for (int n = 0; n < 400000; ++n) names += "client.exe";
    for (int n = 0; n < 2000000; ++n) folders += R"(x\\)";
    text += R"([Software\\Origin Worlds Online\\Ultima Online\\1.0])"
            "\n"
            R"("ExePath"="C:\\Program Files\\Ultima Online\\)" +
            names + "\"\n";
    text += R"([Software\\Origin Worlds Online\\Ultima Online Third Dawn\\1.0])"
            "\n"
            R"("ExePath"="C:\\)" +
            folders + "uotd.exe\"\n";
    WriteRegistry(text);

    const cRegistery registry(prefix);
    EXPECT_EQ(registry.GetValue("Software\\Wide", "v7", "-"), "again");
    EXPECT_EQ(registry.GetValue("Software\\Wide", "v" + std::to_string(kMany - 1), "-"), std::to_string(kMany - 1));
    std::vector<std::string> keys;
    ASSERT_EQ(registry.GetKeys("Software\\Many", keys), kMany);
    EXPECT_EQ(keys.front(), "k0");
    EXPECT_EQ(keys.back(), "k" + std::to_string(kMany - 1));

    cUO uo;
    uo.Init(registry);
    EXPECT_EQ(uo.UO2DPath, clientDir) << "every client.exe taken out";
    EXPECT_TRUE(uo.isUO2D);
    std::string expected = prefix + "/drive_c";
    for (int n = 0; n < 2000000; ++n) expected += "/x";
    EXPECT_EQ(uo.UO3DPath, expected + "/");
    EXPECT_FALSE(uo.isUO3D);
}

TEST_F(RegistryTest, WritesChangeNothingAndRegQueryLogsAPartWithoutEquals) {
    WriteRegistry(kWineRegistry);
    cRegistery registry(prefix);
    EXPECT_TRUE(registry.CreateKey("SOFTWARE\\Origin Worlds Online"));  // exists (through its subkey)
    EXPECT_FALSE(registry.CreateKey("SOFTWARE\\Quillet"));
    EXPECT_FALSE(registry.DeleteKey("SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0"));
    registry.CreateValue("SOFTWARE\\Quillet", "Name", "value");
    registry.RegQuery("key=SOFTWARE%5CQuillet&Name=a+b&Other=c%2Bd");
    EXPECT_EQ(registry.GetValue("SOFTWARE\\Quillet", "Name", "-"), "-");
    EXPECT_EQ(Read(prefix + "/system.reg"), kWineRegistry);

    registry.RegQuery("key=SOFTWARE%5CQuillet&Name=x&broken&Last=y");  // the only line logged
    ASSERT_EQ(LogLines().size(), 1u);
    ExpectLogLine(LogLines()[0], "cRegistery.RegQuery");

    EXPECT_EQ(RegQueryKeyText("SOFTWARE%5CMy+Key%2F"), "SOFTWARE\\My Key%2F");
    EXPECT_EQ(RegQueryValueText("a%5Cb%2Bc+d%26e%2Ff%3Ag%7Eh%21i%41"), "a\\b+c d&e/f:g~h!i%41");
    EXPECT_EQ(RegQueryValueText("%252F"), "%252F");  // decoded once, left to right
}

}  // namespace
}  // namespace quillet
