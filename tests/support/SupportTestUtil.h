#pragma once
// A scratch folder per test, with the failure log redirected into it.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "base/cError.h"

namespace quillet::testing {

class ScratchTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "quillet-support-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        dir_ = pattern;
        savedLog_ = gError.LogFileOverride;
        gError.LogFileOverride = Path("failures.log");
    }
    void TearDown() override {
        gError.LogFileOverride = savedLog_;
        std::error_code ignored;
        std::filesystem::remove_all(dir_, ignored);
    }

    std::string Path(const std::string& name) const { return dir_ + "/" + name; }

    static void Write(const std::string& path, const std::string& bytes) {
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out << bytes;
        ASSERT_TRUE(out.good()) << path;
    }
    static std::string Read(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }

    // The log's lines without their CR LF; a line without CR LF fails the test.
    std::vector<std::string> LogLines() const {
        const std::string text = Read(gError.LogFileOverride);
        std::vector<std::string> lines;
        size_t start = 0;
        while (start < text.size()) {
            const size_t end = text.find("\r\n", start);
            if (end == std::string::npos) {
                ADD_FAILURE() << "log line without CR LF: " << text.substr(start);
                break;
            }
            lines.push_back(text.substr(start, end - start));
            start = end + 2;
        }
        return lines;
    }

    // "YYYY-MM-DD HH:MM:SS Proc: description", the description not empty.
    static void ExpectLogLine(const std::string& line, const std::string& proc) {
        static const std::regex stamp(R"(\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2} )");
        ASSERT_GT(line.size(), 20u) << line;
        EXPECT_TRUE(std::regex_match(line.substr(0, 20), stamp)) << line;
        EXPECT_EQ(line.substr(20, proc.size() + 2), proc + ": ") << line;
        EXPECT_GT(line.size(), 20 + proc.size() + 2) << "no description: " << line;
    }

    std::string dir_;

private:
    std::string savedLog_;
};

}  // namespace quillet::testing
