// Runs the mmskit command as a user does, each test in a fresh folder that is removed after it.
// Needs MMSKIT_TOOL, the path of the built command; that name in the environment tells another.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/bytes.h"

namespace testing_support {

struct Outcome {
    int code;
    std::string out, err;
};

class ToolRunner : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "mmskit-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    void write(const std::string& name, const std::string& data) {
        std::ofstream(folder_ / name, std::ios::binary) << data;
    }
    std::string read(const std::string& name) { return file_bytes((folder_ / name).string()); }
    static std::string tool() {
        const char* other = std::getenv("MMSKIT_TOOL");
        return other != nullptr ? other : MMSKIT_TOOL;
    }
    // `arguments` is shell text, so that it can redirect; `before` runs in the same shell.
    Outcome run(const std::string& arguments, const std::string& before = ":") {
        const std::string line = "cd '" + folder_.string() + "' && " + before + " && { '" + tool() +
                                 "' " + arguments + "; } >.out 2>.err";
        const int status = std::system(line.c_str());
        return {WEXITSTATUS(status), read(".out"), read(".err")};
    }
    nlohmann::json shown(const std::string& file) {
        return nlohmann::json::parse(run("show --json " + file).out);
    }

    std::filesystem::path folder_;
};

}  // namespace testing_support
