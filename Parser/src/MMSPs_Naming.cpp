// A file name for a part that carries none, by its content type. The table is in the order in
// which it is searched; types are compared exactly, case included.
#include <mmskit/presentation.h>

#include <cstdio>
#include <cstring>

namespace {

struct NameRow {
    const char* type;
    const char* stem;
    const char* extension;
};

// QUIRK name_rows_are_irregular: capitalised types, mp4 and 3gp exchanged by case, and a second
// audio/asf that is never reached. Hosts know stored files by these names.
constexpr NameRow name_rows[] = {
    {"text/plain", "text", "txt"},
    {"text/css", "text", "css"},
    {"text/richtext", "text", "rtx"},
    {"text/rtf", "text", "rtf"},
    {"text/vnd.wap.wml", "text", "wml"},
    {"text/x-vCalendar", "vCalendar", "vcs"},
    {"text/x-vCard", "vCard", "vcf"},
    {"image/bmp", "image", "bmp"},
    {"image/x-bmp", "image", "bmp"},
    {"image/jpg", "image", "jpg"},
    {"image/jpeg", "image", "jpeg"},
    {"image/gif", "image", "gif"},
    {"image/ief", "image", "ief"},
    {"image/vnd.wap.wbmp", "image", "wbmp"},
    {"image/wbmp", "image", "wbmp"},
    {"image/tiff", "image", "tif"},
    {"image/tif", "image", "tif"},
    {"image/x-rgb", "image", "rgb"},
    {"video/x-msvideo", "video", "avi"},
    {"video/x-sgi-movie", "video", "movie"},
    {"Video/3gpp", "video", "3gp"},
    {"video/mp4", "video", "3gp"},
    {"video/h263", "video", "3gp"},
    {"video/3gpp", "video", "mp4"},
    {"Video/mp4", "video", "mp4"},
    {"Video/x-ms-wmv", "video", "wmv"},
    {"video/asf", "video", "wmv"},
    {"video/x-ms-wmv", "video", "asf"},
    {"Video/asf", "video", "asf"},
    {"video/x-ms-asf", "video", "asf"},
    {"video/mpg", "video", "mpg"},
    {"video/mpeg", "video", "mpg"},
    {"audio/midi", "audio", "mid"},
    {"audio/mid", "audio", "mid"},
    {"audio/x-midi", "audio", "mid"},
    {"audio/x-mid", "audio", "mid"},
    {"audio/imy", "audio", "imy"},
    {"audio/imelody", "audio", "imy"},
    {"text/x-imelody", "audio", "imy"},
    {"audio/wav", "audio", "wav"},
    {"audio/x-wav", "audio", "wav"},
    {"audio/basic", "audio", "wav"},
    {"audio/x-mpeg", "audio", "mp2"},
    {"audio/mmf", "audio", "mmf"},
    {"application/vnd.smaf", "audio", "mmf"},
    {"application/vnd.mmf", "audio", "mmf"},
    {"audio/mpeg", "audio", "mp3"},
    {"audio/mp3", "audio", "mp3"},
    {"audio/x-mp3", "audio", "mp3"},
    {"audio/mpeg3", "audio", "mp3"},
    {"audio/x-mpeg3", "audio", "mp3"},
    {"audio/amr", "audio", "amr"},
    {"audio/qcp", "audio", "qcp"},
    {"audio/3gpp", "audio", "mp4"},
    {"Audio/mp4", "audio", "mp4"},
    {"Audio/3gpp", "audio", "3gp"},
    {"audio/mp4", "audio", "3gp"},
    {"audio/asf", "Audio", "asf"},
    {"audio/amr-wb", "audio", "awb"},
    {"audio/asf", "audio", "wma"},
    {"audio/x-ms-wma", "audio", "wma"},
    {"audio/xmf", "audio", "xmf"},
    {"audio/mobile-xmf", "audio", "xmf"},
    {"audio/au", "audio", "au"},
    {"audio/x-au", "audio", "au"},
    {"Audio/basic", "audio", "au"},
};

// Bytes of the caller's buffer; the longest name is "vCalendar-2147483648.vcs".
constexpr size_t name_capacity = 50;

}  // namespace

extern "C" int32_t fnPAR_CreatMediaObjName(char* dst, const char* contentType, int32_t number) {
    if (dst == nullptr || contentType == nullptr) return 0;
    for (const NameRow& row : name_rows) {
        if (std::strcmp(contentType, row.type) != 0) continue;
        std::snprintf(dst, name_capacity, "%s%d.%s", row.stem, number, row.extension);
        return 1;
    }
    std::memcpy(dst, "unKnown", sizeof "unKnown");
    return 1;
}
