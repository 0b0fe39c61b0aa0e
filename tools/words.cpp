// A group is packed as its words with their lengths, "9:text=Hello", one after another: no
// character is left out of what a word may hold. A group without words is ":".
#include "words.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace mmskit_tool {
namespace {

struct Group {
    std::string_view option;
    bool leading_word;  // the first word is no key=value: a file
};
constexpr std::array groups{Group{"--slide", false}, Group{"--add-slide", false},
                            Group{"--attach", true}};

void pack(std::string& packed, const std::string& word) {
    packed += std::to_string(word.size()) + ':' + word;
}

bool is_key_and_value(const std::string& word) {
    return !word.starts_with('-') && word.find('=') != std::string::npos;
}

}  // namespace

std::vector<std::string> pack_groups(int argc, const char* const* argv) {
    const std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    std::vector<std::string> out;
    bool options_end = false;
    for (std::size_t i = 0; i < words.size(); ++i) {
        out.push_back(words[i]);
        options_end = options_end || words[i] == "--";
        const auto* group = std::find_if(groups.begin(), groups.end(), [&](const Group& each) {
            return each.option == words[i];
        });
        if (options_end || group == groups.end()) continue;
        std::string packed;
        // Without its file the option stays alone, and the parser asks for it.
        if (group->leading_word) {
            const bool file =
                i + 1 < words.size() && (!words[i + 1].starts_with('-') || words[i + 1] == "-");
            if (!file) continue;
            pack(packed, words[++i]);
        }
        for (; i + 1 < words.size() && is_key_and_value(words[i + 1]); ++i)
            pack(packed, words[i + 1]);
        out.push_back(packed.empty() ? ":" : packed);
    }
    return out;
}

std::vector<std::string> unpack_group(const std::string& packed) {
    std::vector<std::string> words;
    for (std::size_t at = 0; at < packed.size();) {
        std::size_t length = 0;
        for (; packed[at] != ':'; ++at)
            length = length * 10 + static_cast<std::size_t>(packed[at] - '0');
        ++at;
        if (at < packed.size()) words.push_back(packed.substr(at, length));
        at += length;
    }
    return words;
}

}  // namespace mmskit_tool
