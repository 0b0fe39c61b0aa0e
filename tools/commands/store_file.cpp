// A store is entry after entry: a key, a zero byte, a value, a zero byte, a line feed. Its reader
// takes anything for entries, so what is not exactly that is told by what else it looks like.
#include "commands/store_file.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "ground/safe_text.h"
#include "reading/open_message.h"
#include "writing/media_type.h"

namespace mmskit_tool {
namespace {

// The bytes of whole entries from the start on. A value that begins with a line feed ends them: it
// loses it on loading, and would on disk with the next save.
std::size_t whole_entries(std::string_view bytes) {
    std::size_t at = 0;
    for (;;) {
        const std::size_t value = bytes.find('\0', at) + 1;
        if (value == 0) return at;
        const std::size_t end = bytes.find('\0', value);
        if (end == std::string_view::npos || bytes[value] == '\n') return at;
        if (end + 1 == bytes.size() || bytes[end + 1] != '\n') return at;
        at = end + 2;
    }
}

bool has_sections(std::string_view text) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const std::size_t first = line.find_first_not_of(" \t");
        const std::size_t last = line.find_last_not_of(" \t\r");
        if (first != std::string_view::npos && line[first] == '[' && line[last] == ']') return true;
    }
    return false;
}

std::string with_type(const char* what, const std::string& type) {
    return what + (" (" + type + ')');
}

std::string looks_like(std::span<const uint8_t> bytes) {
    const AnatomyOwner anatomy = dissect(bytes);
    if (anatomy->iMessage != MMS_MESSAGE_NONE) return with_type("a message", anatomy->pKind);
    constexpr uint8_t message_type = 0x8C;
    if (bytes[0] == message_type) return "a message";
    const std::string type = media_type(bytes, "");
    if (type.starts_with("image/")) return with_type("a picture", type);
    if (type.starts_with("audio/")) return with_type("a sound", type);
    if (type.starts_with("video/")) return with_type("a video", type);
    if (type == "application/octet-stream") return "data of an unknown kind";
    if (type != "text/plain") return with_type("a file", type);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return has_sections(text) ? "an INI file with sections" : "a text";
}

}  // namespace

std::optional<NoStore> why_no_store(std::span<const uint8_t> bytes) {
    const std::size_t whole =
        whole_entries({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    if (whole == bytes.size()) return std::nullopt;
    if (whole > 0)
        return NoStore{"the store is damaged from byte " + std::to_string(whole) + " on", true};
    return NoStore{"it is no store but looks like " + looks_like(bytes), false};
}

}  // namespace mmskit_tool
