// The messages made to be odd and what a reader owes of each. They are no part of the project:
// without the folder that MMSKIT_ODD names their tests are skipped.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ground/exit_status.h"
#include "reading/open_message.h"
#include "tests/support/bytes.h"

namespace testing_support {

struct OddMessages : testing::Test {
    const std::string folder = std::string(MMSKIT_ODD) + "/";
    nlohmann::json all =
        nlohmann::json::parse(std::ifstream(folder + "facts.json"), nullptr, false);
    void SetUp() override {
        if (!all.is_object()) GTEST_SKIP() << "no odd messages here";
    }
};

inline std::vector<uint8_t> byte_list(const std::string& data) {
    return {data.begin(), data.end()};
}

// The exit status of showing these bytes: nothing is shown when they cannot be opened.
inline int status_of(const std::string& data) {
    try {
        const mmskit_tool::OpenMessage message(byte_list(data));
        return mmskit_tool::exit_status(message.facts());
    } catch (const mmskit_tool::Flaw&) {
        return mmskit_tool::exit_failed;
    }
}

}  // namespace testing_support
