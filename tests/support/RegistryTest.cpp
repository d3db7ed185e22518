// Finding the client through the Wine registry: a prefix made in a scratch
// folder, its system.reg written here as Wine and regedit write them.
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <optional>

#include "support/SupportTestUtil.h"
#include "support/cRegistery.h"
#include "support/cUO.h"
#include "viewers/mRadarCol.h"

namespace quillet {
namespace {

namespace fs = std::filesystem;

// A Wine system.reg with the 2D key and other keys around it.
const char* const kWineRegistry =
    "WINE REGISTRY Version 2\n"
    ";; All keys relative to \\\\Machine\n"
    "\n"
    "#arch=win32\n"
    "\n"
    "[Software\\\\Microsoft\\\\Windows\\\\CurrentVersion] 1710000000\n"
    "#time=1da7b1c2d3e4f50\n"
    "\"ProgramFilesDir\"=\"C:\\\\Program Files\"\n"
    "\n"
    "[Software\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0] 1710000001\n"
    "#time=1da7b1c2d3e4f51\n"
    "\"ExePath\"=\"C:\\\\Program Files\\\\Ultima Online\\\\client.exe\"\n"
    "\"InstCDPath\"=\"C:\\\\Program Files\\\\Ultima Online\"\n"
    "\"Version\"=dword:00000001\n"
    "\n";

// An environment variable set for one test and put back after it.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        if (value)
            ::setenv(name, value->c_str(), 1);
        else
            ::unsetenv(name);
    }
    ~ScopedEnv() {
        if (old_)
            ::setenv(name_, old_->c_str(), 1);
        else
            ::unsetenv(name_);
    }

private:
    const char* name_;
    std::optional<std::string> old_;
};

class RegistryTest : public testing::ScratchTest {
protected:
    void SetUp() override {
        ScratchTest::SetUp();
        prefix = Path("prefix");
        fs::create_directories(prefix + "/drive_c/Program Files/Ultima Online");
        fs::create_directories(prefix + "/dosdevices");
        fs::create_directory_symlink("../drive_c", prefix + "/dosdevices/c:");
        clientDir = prefix + "/drive_c/Program Files/Ultima Online/";
        Write(clientDir + "client.exe", "MZ");
    }
    void WriteRegistry(const std::string& text) { Write(prefix + "/system.reg", text); }

    std::string prefix;
    std::string clientDir;
};

TEST_F(RegistryTest, ExePathGivesTheClientDirectoryInThePrefixAndItsRadarColours) {
    WriteRegistry(kWineRegistry);
    cUO uo;
    uo.Init(cRegistery(prefix));
    EXPECT_EQ(uo.UO2DPath, clientDir);
    EXPECT_TRUE(uo.isUO2D);
    EXPECT_EQ(uo.UO3DPath, "");  // no 3D key
    EXPECT_FALSE(uo.isUO3D);
    EXPECT_TRUE(fs::is_directory(uo.UO2DPath));

    // LoadRadarCol reads radarcol.mul from that directory (what of it: MapStaticsTest).
    Write(clientDir + "radarcol.mul", std::string("\x1F\x00", 2));
    const cUO saved = gUO;
    const auto savedColours = RadarColors;
    gUO = uo;
    LoadRadarCol();
    EXPECT_EQ(RadarColors[0], 248 * 65536);  // blue
    gUO = saved;
    RadarColors = savedColours;
    EXPECT_FALSE(fs::exists(Path("failures.log")));
}

TEST_F(RegistryTest, ThePrefixComesFromWineprefixElseFromTheHomeDirectory) {
    WriteRegistry(kWineRegistry);
    {
        ScopedEnv wine("WINEPREFIX", prefix + "/");
        EXPECT_EQ(cRegistery().HiveFile(HKEY_LOCAL_MACHINE), prefix + "/system.reg");
        const cUO uo;  // the lookup is done as the object is made
        EXPECT_EQ(uo.UO2DPath, clientDir);
        EXPECT_TRUE(uo.isUO2D);
    }
    fs::create_directories(Path("home"));
    fs::rename(prefix, Path("home/.wine"));
    ScopedEnv wine("WINEPREFIX", std::nullopt);
    ScopedEnv home("HOME", Path("home"));
    EXPECT_EQ(cRegistery().HiveFile(HKEY_CURRENT_USER), Path("home/.wine/user.reg"));
    const cUO uo;
    EXPECT_EQ(uo.UO2DPath, Path("home/.wine/drive_c/Program Files/Ultima Online/"));
    EXPECT_TRUE(uo.isUO2D);
}

TEST_F(RegistryTest, MissingPrefixOrKeyIsNoFailure) {
    const cRegistery nowhere(Path("no-such-prefix"));
    EXPECT_EQ(nowhere.GetValue("SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0", "ExePath", "-1"), "-1");
    std::vector<std::string> keys{"old"};
    EXPECT_EQ(nowhere.GetKeys("SOFTWARE", keys), 0);
    EXPECT_TRUE(keys.empty());

    // The programs are then looked for in the current directory.
    const fs::path cwd = fs::current_path();
    fs::create_directories(Path("cwd"));
    fs::current_path(Path("cwd"));
    Write("uotd.exe", "MZ");
    cUO uo;
    uo.Init(nowhere);
    fs::current_path(cwd);
    EXPECT_EQ(uo.UO2DPath, "");
    EXPECT_FALSE(uo.isUO2D);
    EXPECT_EQ(uo.UO3DPath, "");
    EXPECT_TRUE(uo.isUO3D);

    // A prefix whose registry lacks the keys.
    WriteRegistry("WINE REGISTRY Version 2\n\n[Software\\\\Wine] 1\n\"Version\"=\"win10\"\n");
    uo.Init(cRegistery(prefix));
    EXPECT_EQ(uo.UO2DPath, "");
    EXPECT_FALSE(uo.isUO2D);
    EXPECT_FALSE(fs::exists(Path("failures.log")));
}

TEST_F(RegistryTest, TheTwoClientsAreIndependent) {
    fs::create_directories(prefix + "/drive_c/UOTD");
    WriteRegistry(std::string(kWineRegistry) +
                  "[Software\\\\Origin Worlds Online\\\\Ultima Online Third Dawn\\\\1.0] 1710000002\n"
                  "\"ExePath\"=\"C:\\\\UOTD\\\\uotd.exe\"\n");
    cUO uo;
    uo.Init(cRegistery(prefix));
    EXPECT_TRUE(uo.isUO2D);
    EXPECT_EQ(uo.UO3DPath, prefix + "/drive_c/UOTD/");
    EXPECT_FALSE(uo.isUO3D);  // the key names a program that is not there
}

// Where ExePath leads in the registries that Wine, regedit and installers
// write; drive_c is found without the dosdevices link too.
TEST_F(RegistryTest, ExePathIsReadInEveryFormOfTheRegistry) {
    fs::remove(prefix + "/dosdevices/c:");
    fs::create_directories(prefix + "/drive_c/Other");
    Write(prefix + "/drive_c/Other/client.exe", "MZ");
    const std::string wine = "WINE REGISTRY Version 2\n";
    const std::string twin =
        "[Software\\\\Wow6432Node\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0] 1710000003\n"
        "\"ExePath\"=\"C:\\\\Program Files\\\\Ultima Online\\\\client.exe\"\n";
    const std::string direct =
        "[Software\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0] 1710000004\n"
        "\"ExePath\"=\"C:\\\\Other\\\\client.exe\"\n";
    const struct {
        const char* name;
        std::string text, path;
        bool found;
    } cases[] = {
        {"only the Wow6432Node twin", wine + "#arch=win64\n\n" + twin, clientDir, true},
        // A 32-bit installer's keys in a 64-bit prefix are the twin's.
        {"the twin first in a 64-bit prefix", wine + "#arch=win64\n\n" + direct + twin, clientDir, true},
        {"the direct key in a 32-bit prefix", wine + "#arch=win32\n\n" + direct + twin, prefix + "/drive_c/Other/",
         true},
        {"names without case, the folders' own spelling",
         wine + "[software\\\\ORIGIN WORLDS ONLINE\\\\ultima online\\\\1.0] 1\n"
                "\"EXEPATH\"=\"c:\\\\PROGRAM FILES\\\\ultima online\\\\client.exe\"\n",
         clientDir, true},
        {"a regedit export",
         "REGEDIT4\n\n[HKEY_CURRENT_USER\\Software\\Origin Worlds Online\\Ultima Online\\1.0]\n"
         "\"ExePath\"=\"C:\\\\Wrong\\\\client.exe\"\n\n"
         "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0]\n"
         "\"ExePath\"=\"C:\\\\Program Files\\\\Ultima Online\\\\client.exe\"\n",
         clientDir, true},
        // "Client.exe" is not "client.exe": it stays in the path (where the
        // mapping finds the file by its own spelling), and no program is found.
        {"only the exact name is taken out",
         wine + "[Software\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0]\n"
                "\"ExePath\"=\"C:\\\\Program Files\\\\Ultima Online\\\\Client.exe\"\n",
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
}

TEST_F(RegistryTest, BrokenLinesAreSkippedAndValueFormsAreRead) {
    const std::string key = "Software\\Test";
    WriteRegistry(
        "WINE REGISTRY Version 2\r\n"
        "[Software\\\\Test] 1\r\n"
        "\"Plain\"=\"a \\\"quoted\\\" \\\\ text\"\r\n"
        "\"Expand\"=str(2):\"%SystemRoot%\\\\system32\"\r\n"
        "\"Multi\"=str(7):\"first\\0second\\0\"\r\n"
        "\"Zero\"=\"before\\0after\"\r\n"
        "\"Accent\"=\"caf\\x00e9 \\xd83d\\xde00\"\r\n"
        "\"Number\"=dword:00000041\r\n"
        "\"Wide\"=hex(2):43,00,3a,00,5c,00,\\\r\n"
        "  55,00,4f,00,00,00\r\n"
        "\"Unclosed\"=\"no end\r\n"
        "this line is garbage\r\n"
        "\"NoEquals\" \"x\"\r\n"
        "\"Bad\"=hex:zz\r\n"
        "@=\"the default\"\r\n"
        "\"Twice\"=\"first\"\r\n"
        "\"Twice\"=\"second\"\r\n"
        "[Software\\\\Broken\r\n"
        "\"ExePath\"=\"must not land in Software\\\\Test\"\r\n"
        "[Software\\\\Test\\\\Sub] 2\r\n"
        "[Software\\\\Test\\\\Sub\\\\Deeper] 3\r\n"
        "[Software\\\\Test\\\\Other\\\\Leaf] 4\r\n"
        "[Software\\\\Test\\\\Caf\\x00e9 \\xd83d\\xde00] 5\r\n");
    const cRegistery registry(prefix);
    EXPECT_EQ(registry.GetValue(key, "Plain", "-"), "a \"quoted\" \\ text");
    EXPECT_EQ(registry.GetValue(key, "expand", "-"), "%SystemRoot%\\system32");
    EXPECT_EQ(registry.GetValue(key, "Multi", "-"), "first");
    EXPECT_EQ(registry.GetValue(key, "Zero", "-"), "before");
    EXPECT_EQ(registry.GetValue(key, "Accent", "-"), "caf\xC3\xA9 \xF0\x9F\x98\x80");
    EXPECT_EQ(registry.GetValue(key, "Number", "-"), "A");  // its bytes, cut at the first zero
    EXPECT_EQ(registry.GetValue(key, "Wide", "-"), "C:\\UO");
    EXPECT_EQ(registry.GetValue(key, "Unclosed", "-"), "-");
    EXPECT_EQ(registry.GetValue(key, "NoEquals", "-"), "-");
    EXPECT_EQ(registry.GetValue(key, "Bad", "-"), "-");
    EXPECT_EQ(registry.GetValue(key, "", "-"), "the default");
    EXPECT_EQ(registry.GetValue(key, "Twice", "-"), "second");
    EXPECT_EQ(registry.GetValue(key, "ExePath", "-"), "-");
    EXPECT_EQ(registry.GetValue(key, "Missing", "-"), "-");
    EXPECT_EQ(registry.GetValue("Software\\Nothing", "Plain", "dflt"), "dflt");

    std::vector<std::string> keys{"left over"};
    EXPECT_EQ(registry.GetKeys("software\\test", keys), 3);
    // Other only through a deeper key; a name with Wine's escapes in UTF-8.
    EXPECT_EQ(keys, (std::vector<std::string>{"Sub", "Other", "Caf\xC3\xA9 \xF0\x9F\x98\x80"}));
    EXPECT_EQ(registry.GetKeys("Software\\Test\\Sub\\Deeper", keys), 0);
    EXPECT_TRUE(keys.empty());
    EXPECT_EQ(registry.GetKeys("Software\\Broken", keys), 0);
}

TEST_F(RegistryTest, WindowsPathsMapToTheDriveFolders) {
    fs::create_directory_symlink("/", prefix + "/dosdevices/z:");
    const cRegistery registry(prefix);
    EXPECT_EQ(registry.UnixPath("Z:\\usr\\lib\\"), "/usr/lib/");
    EXPECT_EQ(registry.UnixPath("Z:\\"), "/");
    EXPECT_EQ(registry.UnixPath("\\\\?\\C:\\Program Files\\"), prefix + "/drive_c/Program Files/");
    EXPECT_EQ(registry.UnixPath("C:\\program files\\New Folder\\x"), prefix + "/drive_c/Program Files/New Folder/x");
    EXPECT_EQ(registry.UnixPath("D:\\Games\\"), prefix + "/dosdevices/d:/Games/");  // no such drive
    EXPECT_EQ(registry.UnixPath("relative\\dir\\"), "relative/dir/");
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
    EXPECT_FALSE(fs::exists(Path("failures.log")));

    registry.RegQuery("key=SOFTWARE%5CQuillet&Name=x&broken&Last=y");
    const auto lines = LogLines();
    ASSERT_EQ(lines.size(), 1u);
    ExpectLogLine(lines[0], "cRegistery.RegQuery");

    EXPECT_EQ(RegQueryKeyText("SOFTWARE%5CMy+Key%2F"), "SOFTWARE\\My Key%2F");
    EXPECT_EQ(RegQueryValueText("a%5Cb%2Bc+d%26e%2Ff%3Ag%7Eh%21i%41"), "a\\b+c d&e/f:g~h!i%41");
    EXPECT_EQ(RegQueryValueText("%252F"), "%252F");  // decoded once, left to right
}

}  // namespace
}  // namespace quillet
