// A file name for a part that carries none, by its content type. The table is in the order in
// which it is searched; types are compared exactly, case included.
#include <mmskit/presentation.h>

#include <cstdio>
#include <cstring>

namespace {

// Type, stem and extension, each with its NUL (\000 before a digit); an empty type ends them. With
// addresses they took nearly twice the space.
// QUIRK name_rows_are_irregular: capitalised types, mp4 and 3gp exchanged by case, and a second
// audio/asf that is never reached. Hosts know stored files by these names.
constexpr char name_rows[] =
    "text/plain\0text\0txt\0"
    "text/css\0text\0css\0"
    "text/richtext\0text\0rtx\0"
    "text/rtf\0text\0rtf\0"
    "text/vnd.wap.wml\0text\0wml\0"
    "text/x-vCalendar\0vCalendar\0vcs\0"
    "text/x-vCard\0vCard\0vcf\0"
    "image/bmp\0image\0bmp\0"
    "image/x-bmp\0image\0bmp\0"
    "image/jpg\0image\0jpg\0"
    "image/jpeg\0image\0jpeg\0"
    "image/gif\0image\0gif\0"
    "image/ief\0image\0ief\0"
    "image/vnd.wap.wbmp\0image\0wbmp\0"
    "image/wbmp\0image\0wbmp\0"
    "image/tiff\0image\0tif\0"
    "image/tif\0image\0tif\0"
    "image/x-rgb\0image\0rgb\0"
    "video/x-msvideo\0video\0avi\0"
    "video/x-sgi-movie\0video\0movie\0"
    "Video/3gpp\0video\0003gp\0"
    "video/mp4\0video\0003gp\0"
    "video/h263\0video\0003gp\0"
    "video/3gpp\0video\0mp4\0"
    "Video/mp4\0video\0mp4\0"
    "Video/x-ms-wmv\0video\0wmv\0"
    "video/asf\0video\0wmv\0"
    "video/x-ms-wmv\0video\0asf\0"
    "Video/asf\0video\0asf\0"
    "video/x-ms-asf\0video\0asf\0"
    "video/mpg\0video\0mpg\0"
    "video/mpeg\0video\0mpg\0"
    "audio/midi\0audio\0mid\0"
    "audio/mid\0audio\0mid\0"
    "audio/x-midi\0audio\0mid\0"
    "audio/x-mid\0audio\0mid\0"
    "audio/imy\0audio\0imy\0"
    "audio/imelody\0audio\0imy\0"
    "text/x-imelody\0audio\0imy\0"
    "audio/wav\0audio\0wav\0"
    "audio/x-wav\0audio\0wav\0"
    "audio/basic\0audio\0wav\0"
    "audio/x-mpeg\0audio\0mp2\0"
    "audio/mmf\0audio\0mmf\0"
    "application/vnd.smaf\0audio\0mmf\0"
    "application/vnd.mmf\0audio\0mmf\0"
    "audio/mpeg\0audio\0mp3\0"
    "audio/mp3\0audio\0mp3\0"
    "audio/x-mp3\0audio\0mp3\0"
    "audio/mpeg3\0audio\0mp3\0"
    "audio/x-mpeg3\0audio\0mp3\0"
    "audio/amr\0audio\0amr\0"
    "audio/qcp\0audio\0qcp\0"
    "audio/3gpp\0audio\0mp4\0"
    "Audio/mp4\0audio\0mp4\0"
    "Audio/3gpp\0audio\0003gp\0"
    "audio/mp4\0audio\0003gp\0"
    "audio/asf\0Audio\0asf\0"
    "audio/amr-wb\0audio\0awb\0"
    "audio/asf\0audio\0wma\0"
    "audio/x-ms-wma\0audio\0wma\0"
    "audio/xmf\0audio\0xmf\0"
    "audio/mobile-xmf\0audio\0xmf\0"
    "audio/au\0audio\0au\0"
    "audio/x-au\0audio\0au\0"
    "Audio/basic\0audio\0au\0";

const char* next_text(const char* text) {
    return text + std::strlen(text) + 1;
}

// Bytes of the caller's buffer; the longest name is "vCalendar-2147483648.vcs".
constexpr size_t name_capacity = 50;

}  // namespace

extern "C" int32_t fnPAR_CreatMediaObjName(char* dst, const char* contentType, int32_t number) {
    if (dst == nullptr || contentType == nullptr) return 0;
    for (const char* type = name_rows; *type != '\0';) {
        const char* stem = next_text(type);
        const char* extension = next_text(stem);
        if (std::strcmp(contentType, type) == 0) {
            std::snprintf(dst, name_capacity, "%s%d.%s", stem, number, extension);
            return 1;
        }
        type = next_text(extension);
    }
    std::memcpy(dst, "unKnown", sizeof "unKnown");
    return 1;
}
