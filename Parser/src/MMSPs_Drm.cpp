// The DRM class of a part: OMA DRM 1 messages (a MIME body part inside the part) are told apart by
// the Content-Type line among the first lines of their data.
#include <mmskit/presentation.h>

#include <algorithm>
#include <cstring>

#include "Parser/src/MMSPs_Media.h"
#include "scshare/common/src/bounded_reader.h"
#include "scshare/common/src/limits.h"

namespace mmskit {
namespace {

constexpr size_t line_capacity = 127;
constexpr size_t value_capacity = 50;
constexpr size_t inner_type_capacity = 49;
constexpr char content_type_field[] = "content-type:";

// One line without its CR LF; `length` counts the bytes that `text` has no room for too.
struct Line {
    char text[line_capacity + 1] = {};
    size_t length = 0;
};

// False when no CR LF follows any more.
bool read_line(BoundedReader& in, Line& line) {
    const Slice rest{in.here(), static_cast<size_t>(in.remaining())};
    size_t at = 0;
    while (at + 1 < rest.size && (rest.data[at] != '\r' || rest.data[at + 1] != '\n'))
        ++at;
    if (at + 1 >= rest.size) return false;
    line.length = at;
    const size_t kept = std::min(at, line_capacity);
    std::memcpy(line.text, rest.data, kept);
    line.text[kept] = '\0';
    in.skip(static_cast<uint64_t>(at) + 2);
    return true;
}

void lower_case(char* text) {
    for (; *text != '\0'; ++text)
        if (*text >= 'A' && *text <= 'Z') *text = static_cast<char>(*text + ('a' - 'A'));
}

// Copies the value up to ";" or the line's end, without spaces; returns what stands behind it.
const char* read_value(const char* from, char (&value)[value_capacity + 1]) {
    size_t size = 0;
    for (; *from != '\0' && *from != ';' && size < value_capacity; ++from)
        if (*from != ' ') value[size++] = *from;
    value[size] = '\0';
    return from;
}

bool carries_parameters(const char* rest) {
    for (const char* name : {"fwd=", "screen=", "ringtone="})
        if (std::strstr(rest, name) != nullptr) return true;
    return false;
}

// What a Content-Type line decides; drm_content when DRM content follows the headers.
DrmClass class_of_value(const char* value, const char* rest) {
    if (std::strcmp(value, "application/vnd.oma.drm.rights+xml") == 0 ||
        std::strcmp(value, "application/vnd.oma.drm.rights+wbxml") == 0)
        return drm_rights;
    if (std::strcmp(value, drm_content_type) == 0) return drm_content;
    return carries_parameters(rest) ? drm_separate : drm_forward_locked;
}

DrmClass scan_message(BoundedReader in, int32_t& header_length, char* inner_type) {
    Line line;
    bool content_follows = false;
    int32_t counted = 0;
    while (read_line(in, line)) {
        if (content_follows && line.length == 0) {
            // QUIRK drm_header_length_leaves_out_empty_line: the attachment's data begins with it.
            header_length = counted;
            return drm_message_with_content;
        }
        if (!content_follows && line.length >= sizeof content_type_field - 1) {
            lower_case(line.text);
            const char* field = std::strstr(line.text, content_type_field);
            if (field != nullptr) {
                char value[value_capacity + 1];
                const char* rest = read_value(field + sizeof content_type_field - 1, value);
                const DrmClass found = class_of_value(value, rest);
                if (found == drm_forward_locked && inner_type != nullptr) {
                    const size_t size = std::min(std::strlen(value), inner_type_capacity);
                    std::memcpy(inner_type, value, size);
                    inner_type[size] = '\0';
                }
                if (found != drm_content) return found;
                content_follows = true;
            }
        }
        counted += static_cast<int32_t>(line.length) + 2;
    }
    return drm_none;
}

}  // namespace
}  // namespace mmskit

extern "C" int32_t fnPAR_DrmType(const char* type, const uint8_t* data, int32_t length,
                                 int32_t* headerLength, char* innerType) {
    using namespace mmskit;
    int32_t header_length = 0;
    DrmClass found = drm_none;
    if (type != nullptr && std::strcmp(type, drm_content_type) == 0) {
        found = drm_content;
    } else if (type != nullptr && std::strcmp(type, drm_message_type) == 0 && data != nullptr &&
               length > 0) {
        const auto scanned = static_cast<size_t>(std::min(length, limits::drm_header_scan));
        found = scan_message(BoundedReader(data, scanned), header_length, innerType);
    }
    if (headerLength != nullptr) *headerLength = header_length;
    return found;
}
