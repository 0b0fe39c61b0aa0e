// A message that was cut anywhere says so: exit status 3 with a note of what is lost, or 1. Only
// where its facts say that nothing can be missed may it be 0.
#include "tests/reading/odd_messages.h"

namespace {

using nlohmann::json;
using namespace testing_support;

constexpr std::size_t whole_search = 1500;  // every length of a file of up to so many bytes

bool is_in(std::size_t length, const json& ranges) {
    for (const json& range : ranges) {
        if (length >= range[0].get<std::size_t>() && length <= range[1].get<std::size_t>())
            return true;
    }
    return false;
}

// Of a large file the beginning, where most of its structure is, and places all over it.
void expect_told(const std::string& data, const json& whole_at) {
    std::string silent;
    for (std::size_t length = 0; length < data.size();) {
        const int status = status_of(data.substr(0, length));
        if (status == mmskit_tool::exit_done && !is_in(length, whole_at))
            silent += ' ' + std::to_string(length);
        length += length < whole_search ? 1 : 1 + data.size() / 97;
    }
    EXPECT_EQ(silent, "") << "lengths at which nothing is said, of " << data.size();
}

TEST_F(OddMessages, a_cut_anywhere_is_told) {
    for (const auto& [file, facts] : all.items()) {
        if (file.starts_with("garbage-")) continue;
        SCOPED_TRACE(file);
        expect_told(file_bytes(folder + file), facts.value("whole_at", json::array()));
    }
}

// Where nothing can be missed: the length of a single text stands nowhere, and a confirmation may
// end before its message id.
json whole_at_of(const std::string& file) {
    static const json places{{"single-text.mms", {{114, 145}}},
                             {"send-conf-1.mms", {{13, 13}}},
                             {"send-conf-2.mms", {{11, 11}}}};
    return places.value(file, json::array());
}

TEST(Truncation, of_the_examples_and_samples_is_told) {
    std::error_code none;
    for (const char* folder : {MMSKIT_SOURCE_DIR "/examples", MMSKIT_SAMPLES})
        for (const auto& entry : std::filesystem::directory_iterator(folder, none)) {
            if (entry.path().extension() != ".mms") continue;
            SCOPED_TRACE(entry.path());
            expect_told(file_bytes(entry.path()), whole_at_of(entry.path().filename()));
        }
}

}  // namespace
