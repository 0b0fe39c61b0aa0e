// A file name for a part that carries none, by its content type. The table is in the order in
// which it is searched; types are compared exactly, case included.
#include <mmskit/presentation.h>

#include <cstdio>
#include <cstring>

namespace {

// Groups, each of a stem, types with their extensions, and an empty type, all with their NULs (\000
// before a digit); an empty stem ends them. With addresses they took twice the space.
// QUIRK name_rows_are_irregular: capitalised types, mp4 and 3gp exchanged by case, and a second
// audio/asf that is never reached. Hosts know stored files by these names.
constexpr char name_rows[] =
    "text\0"
    "text/plain\0txt\0"
    "text/css\0css\0"
    "text/richtext\0rtx\0"
    "text/rtf\0rtf\0"
    "text/vnd.wap.wml\0wml\0\0"
    "vCalendar\0"
    "text/x-vCalendar\0vcs\0\0"
    "vCard\0"
    "text/x-vCard\0vcf\0\0"
    "image\0"
    "image/bmp\0bmp\0"
    "image/x-bmp\0bmp\0"
    "image/jpg\0jpg\0"
    "image/jpeg\0jpeg\0"
    "image/gif\0gif\0"
    "image/ief\0ief\0"
    "image/vnd.wap.wbmp\0wbmp\0"
    "image/wbmp\0wbmp\0"
    "image/tiff\0tif\0"
    "image/tif\0tif\0"
    "image/x-rgb\0rgb\0\0"
    "video\0"
    "video/x-msvideo\0avi\0"
    "video/x-sgi-movie\0movie\0"
    "Video/3gpp\0003gp\0"
    "video/mp4\0003gp\0"
    "video/h263\0003gp\0"
    "video/3gpp\0mp4\0"
    "Video/mp4\0mp4\0"
    "Video/x-ms-wmv\0wmv\0"
    "video/asf\0wmv\0"
    "video/x-ms-wmv\0asf\0"
    "Video/asf\0asf\0"
    "video/x-ms-asf\0asf\0"
    "video/mpg\0mpg\0"
    "video/mpeg\0mpg\0\0"
    "audio\0"
    "audio/midi\0mid\0"
    "audio/mid\0mid\0"
    "audio/x-midi\0mid\0"
    "audio/x-mid\0mid\0"
    "audio/imy\0imy\0"
    "audio/imelody\0imy\0"
    "text/x-imelody\0imy\0"
    "audio/wav\0wav\0"
    "audio/x-wav\0wav\0"
    "audio/basic\0wav\0"
    "audio/x-mpeg\0mp2\0"
    "audio/mmf\0mmf\0"
    "application/vnd.smaf\0mmf\0"
    "application/vnd.mmf\0mmf\0"
    "audio/mpeg\0mp3\0"
    "audio/mp3\0mp3\0"
    "audio/x-mp3\0mp3\0"
    "audio/mpeg3\0mp3\0"
    "audio/x-mpeg3\0mp3\0"
    "audio/amr\0amr\0"
    "audio/qcp\0qcp\0"
    "audio/3gpp\0mp4\0"
    "Audio/mp4\0mp4\0"
    "Audio/3gpp\0003gp\0"
    "audio/mp4\0003gp\0\0"
    "Audio\0"
    "audio/asf\0asf\0\0"
    "audio\0"
    "audio/amr-wb\0awb\0"
    "audio/asf\0wma\0"
    "audio/x-ms-wma\0wma\0"
    "audio/xmf\0xmf\0"
    "audio/mobile-xmf\0xmf\0"
    "audio/au\0au\0"
    "audio/x-au\0au\0"
    "Audio/basic\0au\0\0";

const char* next_text(const char* text) {
    return text + std::strlen(text) + 1;
}

// Bytes of the caller's buffer; the longest name is "vCalendar-2147483648.vcs".
constexpr size_t name_capacity = 50;

}  // namespace

extern "C" int32_t fnPAR_CreatMediaObjName(char* dst, const char* contentType, int32_t number) {
    if (dst == nullptr || contentType == nullptr) return 0;
    for (const char* text = name_rows; *text != '\0'; ++text) {
        const char* stem = text;
        for (text = next_text(stem); *text != '\0'; text = next_text(next_text(text))) {
            if (std::strcmp(contentType, text) != 0) continue;
            std::snprintf(dst, name_capacity, "%s%d.%s", stem, number, next_text(text));
            return 1;
        }
    }
    std::memcpy(dst, "unKnown", sizeof "unKnown");
    return 1;
}
