// Faults that the fuzz targets found, one case each, with the input cut down
// to what shows the fault. The fuzzer's own reproducers are kept under
// fuzz/regressions and run by the fuzz.<target> tests of a sanitizer build;
// these cases hold the same behaviour in every build.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/SupportTestUtil.h"
#include "support/cRegistery.h"
#include "support/cUO.h"

namespace quillet {
namespace {

using FuzzRegressionTest = testing::ScratchTest;

// A key name in which an escape spells a backslash ("\x005c"): the section's
// path then had one name more than its components, and listing the subkeys
// of a key above it read past the end of the components.
TEST_F(FuzzRegressionTest, EscapedBackslashInAKeyNamePartsTheNames) {
    const std::string prefix = Path("prefix");
    std::filesystem::create_directories(prefix + "/drive_c");
    Write(prefix + "/system.reg",
          "WINE REGISTRY Version 2\n"
          "[Software\\\\Origin Worlds Online\\\\Ultima Online\\x005c1.0\\\\X] 1\n"
          "\"ExePath\"=\"C:\\\\client.exe\"\n"
          "[Software\\\\Odd\\134Name] 2\n");
    cRegistery reg(prefix);

    std::vector<std::string> keys{"left over"};
    EXPECT_EQ(reg.GetKeys("SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0", keys), 1);
    EXPECT_EQ(keys, std::vector<std::string>{"X"});
    EXPECT_EQ(reg.GetKeys("Software\\Origin Worlds Online", keys), 1);
    EXPECT_EQ(keys, std::vector<std::string>{"Ultima Online"});
    EXPECT_EQ(reg.GetKeys("Software", keys), 2);
    EXPECT_EQ(keys, (std::vector<std::string>{"Origin Worlds Online", "Odd"}));

    // Every listed name can be looked up, and the value lies where the names say.
    EXPECT_TRUE(reg.CreateKey("Software\\Odd\\Name"));
    EXPECT_TRUE(reg.CreateKey("SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0\\X"));
    EXPECT_EQ(reg.GetValue("SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0\\X", "ExePath", "-1"),
              "C:\\client.exe");
    EXPECT_EQ(reg.GetValue("SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0", "ExePath", "-1"), "-1");

    cUO uo;
    uo.Init(reg);
    EXPECT_EQ(uo.UO2DPath, "");
}

}  // namespace
}  // namespace quillet
