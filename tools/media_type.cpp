// Content types from magic numbers, then from the name's extension. A text without a mark goes by
// its name first: every script and markup language is a text.
#include "media_type.h"

#include <algorithm>
#include <array>

#include "safe_text.h"

namespace mmskit_tool {
namespace {

using namespace std::string_view_literals;

struct Magic {
    std::string_view bytes;
    const char* type;
};

// Searched in order.
constexpr Magic magics[] = {
    {"\xFF\xD8\xFF"sv, "image/jpeg"},  {"\x89PNG\r\n\x1A\n"sv, "image/png"},
    {"GIF87a"sv, "image/gif"},         {"GIF89a"sv, "image/gif"},
    {"II*\0"sv, "image/tiff"},         {"MM\0*"sv, "image/tiff"},
    {"#!AMR-WB\n"sv, "audio/amr-wb"},  {"#!AMR\n"sv, "audio/amr"},
    {"ID3"sv, "audio/mpeg"},           {"MThd"sv, "audio/midi"},
    {"OggS"sv, "audio/ogg"},           {"BEGIN:IMELODY"sv, "text/x-imelody"},
    {"BEGIN:VCARD"sv, "text/x-vCard"}, {"BEGIN:VCALENDAR"sv, "text/x-vCalendar"},
};

struct Brand {
    std::string_view prefix;
    const char* type;
};

// The major brand of an ISO base media file; any other is MP4.
constexpr Brand brands[] = {
    {"3g2", "video/3gpp2"},
    {"3g", "video/3gpp"},
    {"M4A", "audio/mp4"},
    {"qt", "video/quicktime"},
};

struct Extension {
    std::string_view name;
    const char* type;
};

constexpr Extension extensions[] = {
    {"jpg", "image/jpeg"},
    {"jpeg", "image/jpeg"},
    {"png", "image/png"},
    {"gif", "image/gif"},
    {"bmp", "image/bmp"},
    {"wbmp", "image/vnd.wap.wbmp"},
    {"tif", "image/tiff"},
    {"tiff", "image/tiff"},
    {"webp", "image/webp"},
    {"svg", "image/svg+xml"},
    {"amr", "audio/amr"},
    {"awb", "audio/amr-wb"},
    {"mp3", "audio/mpeg"},
    {"aac", "audio/aac"},
    {"mid", "audio/midi"},
    {"midi", "audio/midi"},
    {"wav", "audio/x-wav"},
    {"wma", "audio/x-ms-wma"},
    {"m4a", "audio/mp4"},
    {"ogg", "audio/ogg"},
    {"imy", "text/x-imelody"},
    {"au", "audio/basic"},
    {"3gp", "video/3gpp"},
    {"3g2", "video/3gpp2"},
    {"mp4", "video/mp4"},
    {"mpg", "video/mpeg"},
    {"mpeg", "video/mpeg"},
    {"wmv", "video/x-ms-wmv"},
    {"vcf", "text/x-vCard"},
    {"vcs", "text/x-vCalendar"},
    {"ics", "text/calendar"},
    {"txt", "text/plain"},
    {"html", "text/html"},
    {"htm", "text/html"},
    {"xml", "text/xml"},
    {"css", "text/css"},
    {"csv", "text/csv"},
    {"json", "application/json"},
    {"pdf", "application/pdf"},
    {"zip", "application/zip"},
    {"dm", "application/vnd.oma.drm.message"},
};

std::string lower(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return out;
}

bool starts_with_ignoring_case(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && lower(text.substr(0, prefix.size())) == lower(prefix);
}

// MPEG audio without a tag begins with a frame: eleven set bits, then fields that each have a
// value that is never used. ADTS (AAC) has the same start and the layer 0.
const char* audio_frame_type(std::string_view data) {
    if (data.size() < 4 || data[0] != '\xFF') return nullptr;
    const auto second = static_cast<uint8_t>(data[1]);
    const auto third = static_cast<uint8_t>(data[2]);
    if ((second & 0xF6U) == 0xF0U) return "audio/aac";
    const bool layer_3 = (second & 0xE6U) == 0xE2U;
    const bool valid = (second & 0x18U) != 0x08U && (third & 0xF0U) != 0xF0U &&
                       (third & 0xF0U) != 0 && (third & 0x0CU) != 0x0CU;
    return layer_3 && valid ? "audio/mpeg" : nullptr;
}

const char* container_type(std::string_view data) {
    if (data.size() < 12) return nullptr;
    const std::string_view inner = data.substr(8, 4);
    if (data.starts_with("RIFF")) {
        if (inner == "WAVE") return "audio/x-wav";
        if (inner == "WEBP") return "image/webp";
        return nullptr;
    }
    if (data.substr(4, 4) != "ftyp") return nullptr;
    for (const Brand& brand : brands) {
        if (inner.starts_with(brand.prefix)) return brand.type;
    }
    return "video/mp4";
}

const char* type_by_bytes(std::string_view data) {
    for (const Magic& magic : magics) {
        // Only the marks of letters come in both cases (RFC 2425).
        const bool letters = magic.bytes.starts_with("BEGIN:");
        if (letters ? starts_with_ignoring_case(data, magic.bytes)
                    : data.starts_with(magic.bytes)) {
            return magic.type;
        }
    }
    // Two letters alone could begin any text; the four reserved bytes are zero.
    if (data.starts_with("BM") && data.size() > 10 && data.substr(6, 4) == "\0\0\0\0"sv) {
        return "image/bmp";
    }
    if (const char* type = container_type(data)) return type;
    return audio_frame_type(data);
}

const char* type_by_name(std::string_view file_name) {
    const std::size_t dot = file_name.rfind('.');
    if (dot == std::string_view::npos) return nullptr;
    const std::string name = lower(file_name.substr(dot + 1));
    const auto* row = std::find_if(std::begin(extensions), std::end(extensions),
                                   [&](const Extension& each) { return each.name == name; });
    return row != std::end(extensions) ? row->type : nullptr;
}

bool is_text(std::string_view data) {
    const auto control = [](char c) {
        return (c >= 0 && c < ' ' && c != '\t' && c != '\r' && c != '\n') || c == '\x7F';
    };
    return !data.empty() && std::none_of(data.begin(), data.end(), control) && is_utf8(data);
}

}  // namespace

std::string media_type(std::span<const uint8_t> data, std::string_view file_name) {
    const std::string_view bytes(reinterpret_cast<const char*>(data.data()), data.size());
    if (const char* type = type_by_bytes(bytes)) return type;
    if (const char* type = type_by_name(file_name)) return type;
    return is_text(bytes) ? "text/plain" : "application/octet-stream";
}

}  // namespace mmskit_tool
