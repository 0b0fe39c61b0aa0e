// Content types from magic numbers, then from the name's extension. A text without a mark goes by
// its name first: every script and markup language is a text. The tables were held against the
// freedesktop.org list of types (shared-mime-info) for what phones make and send.
#include "writing/media_type.h"

#include <algorithm>
#include <array>

#include "ground/safe_text.h"

namespace mmskit_tool {
namespace {

using namespace std::string_view_literals;

// Bytes at the start and, where one start serves several formats, at a second place.
struct Magic {
    std::string_view bytes;
    const char* type;
    std::size_t place = 0;
    std::string_view there = {};
};

// Searched in order.
constexpr Magic magics[] = {
    {"\xFF\xD8\xFF"sv, "image/jpeg"},
    {"\x89PNG\r\n\x1A\n"sv, "image/png"},
    {"GIF87a"sv, "image/gif"},
    {"GIF89a"sv, "image/gif"},
    {"II*\0"sv, "image/tiff"},
    {"MM\0*"sv, "image/tiff"},
    {"RIFF"sv, "image/webp", 8, "WEBP"sv},
    {"\0\0\0\x0CJXL \r\n\x87\n"sv, "image/jxl"},
    {"#!AMR-WB\n"sv, "audio/amr-wb"},
    {"#!AMR\n"sv, "audio/amr"},
    {"ID3"sv, "audio/mpeg"},
    {"ADIF"sv, "audio/aac"},
    {"MThd"sv, "audio/midi"},
    {"XMF_2.00\0\0\0\2"sv, "audio/mobile-xmf"},
    {"OggS"sv, "video/ogg", 28, "\x80theora"sv},
    {"OggS"sv, "video/ogg", 28, "fishead\0"sv},
    {"OggS"sv, "audio/ogg"},
    {"fLaC"sv, "audio/flac"},
    {"RIFF"sv, "audio/x-wav", 8, "WAVE"sv},
    {"FORM"sv, "audio/x-aiff", 8, "AIF"sv},
    {"caff\0\1"sv, "audio/x-caf"},
    {".snd\0"sv, "audio/basic"},
    {"MMMD"sv, "application/vnd.smaf"},
    {"RIFF"sv, "video/x-msvideo", 8, "AVI "sv},
    {"\0\0\1\xBA"sv, "video/mpeg"},
    {"\0\0\1\xB3"sv, "video/mpeg"},
    {"\x30\x26\xB2\x75\x8E\x66\xCF\x11"sv, "video/x-ms-asf"},
    {"%PDF-"sv, "application/pdf"},
    {"PK\3\4"sv, "application/zip"},
    {"\x1F\x8B\x08"sv, "application/gzip"},
    {"{\\rtf"sv, "application/rtf"},
};

// Texts that mark themselves, in either case (RFC 2425).
constexpr Magic text_magics[] = {
    {"BEGIN:IMELODY"sv, "text/x-imelody"},
    {"BEGIN:VCARD"sv, "text/x-vCard"},
    {"BEGIN:VNOTE"sv, "text/x-vnote"},
};

struct Brand {
    std::string_view prefix;
    const char* type;
};

// The major brand of an ISO base media file; any other is MP4. Of pictures the general brands mif1
// and msf1 leave to the brands after it which coding is meant.
constexpr Brand brands[] = {
    {"3g2", "video/3gpp2"},
    {"3g", "video/3gpp"},
    {"M4A", "audio/mp4"},
    {"M4B", "audio/mp4"},
    {"qt", "video/quicktime"},
    {"avif", "image/avif"},
    {"avis", "image/avif"},
    {"heic", "image/heic"},
    {"heix", "image/heic"},
    {"heim", "image/heic"},
    {"heis", "image/heic"},
    {"hevc", "image/heic-sequence"},
    {"mif1", "image/heif"},
    {"hevx", "image/heic-sequence"},
    {"msf1", "image/heif-sequence"},
    {"jpeg", "image/heif"},
};

struct Extension {
    std::string_view name;
    const char* type;
};

constexpr Extension extensions[] = {
    {"jpg", "image/jpeg"},
    {"jpeg", "image/jpeg"},
    {"jpe", "image/jpeg"},
    {"png", "image/png"},
    {"gif", "image/gif"},
    {"bmp", "image/bmp"},
    {"wbmp", "image/vnd.wap.wbmp"},
    {"tif", "image/tiff"},
    {"tiff", "image/tiff"},
    {"dng", "image/x-adobe-dng"},
    {"webp", "image/webp"},
    {"heic", "image/heic"},
    {"heif", "image/heif"},
    {"hif", "image/heif"},
    {"avif", "image/avif"},
    {"jxl", "image/jxl"},
    {"ico", "image/vnd.microsoft.icon"},
    {"svg", "image/svg+xml"},
    {"amr", "audio/amr"},
    {"awb", "audio/amr-wb"},
    {"mp3", "audio/mpeg"},
    {"aac", "audio/aac"},
    {"adts", "audio/aac"},
    {"mid", "audio/midi"},
    {"midi", "audio/midi"},
    {"mxmf", "audio/mobile-xmf"},
    {"mmf", "application/vnd.smaf"},
    {"wav", "audio/x-wav"},
    {"wma", "audio/x-ms-wma"},
    {"m4a", "audio/mp4"},
    {"m4b", "audio/mp4"},
    {"m4r", "audio/mp4"},
    {"ogg", "audio/ogg"},
    {"oga", "audio/ogg"},
    {"opus", "audio/ogg"},
    {"flac", "audio/flac"},
    {"aif", "audio/x-aiff"},
    {"aiff", "audio/x-aiff"},
    {"caf", "audio/x-caf"},
    {"mka", "audio/x-matroska"},
    {"imy", "text/x-imelody"},
    {"au", "audio/basic"},
    {"3gp", "video/3gpp"},
    {"3gpp", "video/3gpp"},
    {"3g2", "video/3gpp2"},
    {"mp4", "video/mp4"},
    {"m4v", "video/mp4"},
    {"mov", "video/quicktime"},
    {"qt", "video/quicktime"},
    {"webm", "video/webm"},
    {"mkv", "video/x-matroska"},
    {"ogv", "video/ogg"},
    {"avi", "video/x-msvideo"},
    {"mpg", "video/mpeg"},
    {"mpeg", "video/mpeg"},
    {"asf", "video/x-ms-asf"},
    {"wmv", "video/x-ms-wmv"},
    {"vcf", "text/x-vCard"},
    {"vcard", "text/x-vCard"},
    {"vcs", "text/x-vCalendar"},
    {"ics", "text/calendar"},
    {"vnt", "text/x-vnote"},
    {"txt", "text/plain"},
    {"html", "text/html"},
    {"htm", "text/html"},
    {"xml", "text/xml"},
    {"css", "text/css"},
    {"csv", "text/csv"},
    {"wml", "text/vnd.wap.wml"},
    {"jad", "text/vnd.sun.j2me.app-descriptor"},
    {"json", "application/json"},
    {"gpx", "application/gpx+xml"},
    {"kml", "application/vnd.google-earth.kml+xml"},
    {"pdf", "application/pdf"},
    {"rtf", "application/rtf"},
    {"doc", "application/msword"},
    {"xls", "application/vnd.ms-excel"},
    {"ppt", "application/vnd.ms-powerpoint"},
    {"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
    {"xlsx", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
    {"pptx", "application/vnd.openxmlformats-officedocument.presentationml.presentation"},
    {"zip", "application/zip"},
    {"jar", "application/java-archive"},
    {"apk", "application/vnd.android.package-archive"},
    {"pkpass", "application/vnd.apple.pkpass"},
    {"gz", "application/gzip"},
    {"dm", "application/vnd.oma.drm.message"},
};

struct Alias {
    std::string_view type;
    std::string_view known_as;
};

// Other names of a type, and types whose files begin alike. In lower case.
constexpr Alias aliases[] = {
    {"image/jpg", "image/jpeg"},
    {"image/pjpeg", "image/jpeg"},
    {"image/apng", "image/png"},
    {"image/x-ms-bmp", "image/bmp"},
    {"image/x-bmp", "image/bmp"},
    {"image/x-adobe-dng", "image/tiff"},
    {"image/heic", "image/heif"},
    {"image/heic-sequence", "image/heif"},
    {"image/heif-sequence", "image/heif"},
    {"image/avif-sequence", "image/avif"},
    {"audio/x-amr", "audio/amr"},
    {"audio/3gpp", "video/3gpp"},
    {"audio/3gpp2", "video/3gpp2"},
    {"video/3gp", "video/3gpp"},
    {"audio/mp3", "audio/mpeg"},
    {"audio/x-mp3", "audio/mpeg"},
    {"audio/x-mpeg", "audio/mpeg"},
    {"audio/mpg", "audio/mpeg"},
    {"audio/mp4", "video/mp4"},
    {"audio/m4a", "video/mp4"},
    {"audio/x-m4a", "video/mp4"},
    {"audio/x-m4b", "video/mp4"},
    {"audio/x-m4r", "video/mp4"},
    {"audio/mp4a-latm", "video/mp4"},
    {"video/x-m4v", "video/mp4"},
    {"audio/x-aac", "audio/aac"},
    {"audio/aacp", "audio/aac"},
    {"audio/mid", "audio/midi"},
    {"audio/x-midi", "audio/midi"},
    {"audio/sp-midi", "audio/midi"},
    {"audio/xmf", "audio/mobile-xmf"},
    {"audio/wav", "audio/x-wav"},
    {"audio/wave", "audio/x-wav"},
    {"audio/vnd.wave", "audio/x-wav"},
    {"audio/aiff", "audio/x-aiff"},
    {"audio/x-flac", "audio/flac"},
    {"audio/ogg", "video/ogg"},
    {"audio/opus", "video/ogg"},
    {"audio/vorbis", "video/ogg"},
    {"audio/x-vorbis", "video/ogg"},
    {"application/ogg", "video/ogg"},
    {"audio/webm", "video/webm"},
    {"audio/x-matroska", "video/x-matroska"},
    {"application/x-smaf", "application/vnd.smaf"},
    {"audio/imelody", "text/x-imelody"},
    {"audio/x-imelody", "text/x-imelody"},
    {"text/imelody", "text/x-imelody"},
    {"video/x-ms-wmv", "video/x-ms-asf"},
    {"audio/x-ms-wma", "video/x-ms-asf"},
    {"video/avi", "video/x-msvideo"},
    {"text/vcard", "text/x-vcard"},
    {"text/directory", "text/x-vcard"},
    {"text/rtf", "application/rtf"},
    {"application/x-pdf", "application/pdf"},
    {"application/x-gzip", "application/gzip"},
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

bool is_brand(std::string_view brand) {
    return std::all_of(brand.begin(), brand.end(), [](char c) { return c >= ' ' && c <= '~'; });
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

// The brands that the file says to be readable as follow its major brand and a version.
const char* general_picture_type(std::string_view data, const char* type) {
    constexpr std::size_t farthest = 128;
    for (std::size_t at = 16; at + 4 <= std::min(data.size(), farthest); at += 4) {
        const std::string_view brand = data.substr(at, 4);
        if (brand == "avif") return "image/avif";
        if (brand == "heic" || brand == "heix") return "image/heic";
        if (!is_brand(brand)) break;
    }
    return type;
}

const char* base_media_type(std::string_view data) {
    if (data.size() < 12) return nullptr;
    const std::string_view box = data.substr(4, 4);
    if (box == "moov" || box == "mdat" || box == "wide") return "video/quicktime";
    if (box != "ftyp") return nullptr;
    const std::string_view major = data.substr(8, 4);
    for (const Brand& brand : brands) {
        if (!major.starts_with(brand.prefix)) continue;
        return brand.prefix == "mif1" ? general_picture_type(data, brand.type) : brand.type;
    }
    return "video/mp4";
}

// Matroska's header names its document type within its first bytes.
const char* matroska_type(std::string_view data) {
    if (!data.starts_with("\x1A\x45\xDF\xA3"sv)) return nullptr;
    const std::string_view header = data.substr(0, 80);
    if (header.find("webm") != std::string_view::npos) return "video/webm";
    return header.find("matroska") != std::string_view::npos ? "video/x-matroska" : nullptr;
}

// vCalendar 1.0 and iCalendar 2.0 (RFC 5545) begin alike; a property says which it is.
const char* calendar_type(std::string_view data) {
    const std::string start = lower(data.substr(0, 4096));
    const bool second = start.find("\nversion:2.0") != std::string::npos;
    return second ? "text/calendar" : "text/x-vCalendar";
}

const char* marked_text_type(std::string_view data) {
    if (data.starts_with("\xEF\xBB\xBF")) data.remove_prefix(3);
    for (const Magic& magic : text_magics) {
        if (starts_with_ignoring_case(data, magic.bytes)) return magic.type;
    }
    return starts_with_ignoring_case(data, "BEGIN:VCALENDAR") ? calendar_type(data) : nullptr;
}

const char* type_by_bytes(std::string_view data) {
    for (const Magic& magic : magics) {
        if (data.starts_with(magic.bytes) &&
            data.substr(std::min(magic.place, data.size())).starts_with(magic.there))
            return magic.type;
    }
    // Two letters alone could begin any text; the four reserved bytes are zero.
    if (data.starts_with("BM") && data.size() > 10 && data.substr(6, 4) == "\0\0\0\0"sv) {
        return "image/bmp";
    }
    for (const auto reader : {base_media_type, matroska_type, marked_text_type}) {
        if (const char* type = reader(data)) return type;
    }
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
        return (static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\r' && c != '\n') ||
               c == '\x7F';
    };
    return !data.empty() && std::none_of(data.begin(), data.end(), control) && is_utf8(data);
}

std::string known_as(std::string_view type) {
    std::string name = lower(type.substr(0, type.find(';')));
    const auto* row = std::find_if(std::begin(aliases), std::end(aliases),
                                   [&](const Alias& each) { return each.type == name; });
    return row != std::end(aliases) ? std::string(row->known_as) : name;
}

// A private type, "application/x-mine", may be anything; of those that are known the table tells.
bool claims_nothing(std::string_view type) {
    const auto known = [&](const auto& row) { return known_as(row.type) == known_as(type); };
    return lower(type).starts_with("application/") &&
           std::none_of(std::begin(extensions), std::end(extensions), known);
}

// Whether a file that is marked as `marked` may be of the type: the same under another name, or
// another user of the same container, as every document format of today is of ZIP.
bool may_be(std::string_view type, std::string_view marked) {
    if (marked == "application/zip" || marked == "application/gzip")
        return lower(type).starts_with("application/");
    return known_as(type) == known_as(marked);
}

std::string_view characters(std::span<const uint8_t> data) {
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

}  // namespace

std::string media_type(std::span<const uint8_t> data, std::string_view file_name) {
    const std::string_view bytes = characters(data);
    const char* marked = type_by_bytes(bytes);
    const char* named = type_by_name(file_name);
    if (marked != nullptr) return named != nullptr && may_be(named, marked) ? named : marked;
    if (named != nullptr) return named;
    return is_text(bytes) ? "text/plain" : "application/octet-stream";
}

std::optional<std::string> contradicting_type(std::span<const uint8_t> data,
                                              std::string_view type) {
    const std::string given = lower(type.substr(0, type.find(';')));
    if (claims_nothing(given)) return std::nullopt;
    const std::string_view bytes = characters(data);
    const char* marked = type_by_bytes(bytes);
    if (marked != nullptr) {
        const bool plain = given == "text/plain" && is_text(bytes);
        return plain || may_be(given, marked) ? std::nullopt : std::optional<std::string>(marked);
    }
    const bool medium =
        given.starts_with("image/") || given.starts_with("audio/") || given.starts_with("video/");
    if (medium && given != "image/svg+xml" && is_text(bytes)) return "text/plain";
    return std::nullopt;
}

}  // namespace mmskit_tool
