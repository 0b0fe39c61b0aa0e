// From the composition to a message: the presentation (SMIL 2.0 basic, a fixed layout of an image
// region above a text region) and the media records that the body encoder takes. A record of type
// text/plain owns its data, every other borrows the composition's bytes.
#include <mmskit/runtime.h>

#include <cstring>

#include "Composer/src/composer_internal.h"
#include "Protocol/src/pdu_writer.h"
#include "scshare/common/src/log.h"

namespace mmskit {
namespace {

// ---- Presentation -------------------------------------------------------------------------

// No number in a presentation is larger; negative ones count as larger.
constexpr uint32_t most_ms = 120000;
// Ten slides with names of usual length fit, so the text is rarely copied while it grows.
constexpr uint32_t usual_smil_size = 3072;  // bytes

constexpr char head[] =
    "<smil>\r\n<head>\r\n<meta name=\"title\" content=\"mms info\" />\r\n"
    "<meta name=\"author\" content=\"Tamsor Corporation\" />\r\n"
    "<layout>\r\n<root-layout width=\"176\" height=\"220\"/>\r\n"
    "<region id=\"Image\" width=\"160\" height=\"170\" left=\"0\" top=\"0\" fit=\"meet\" />\r\n"
    "<region id=\"Text\" width=\"160\" height=\"30\" left=\"0\" top=\"170\" fit=\"meet\" />\r\n"
    "</layout>\r\n</head>\r\n<body>\r\n";

struct Element {
    const MediumKind& kind;
    const char* open;
    const char* after_source;
};
constexpr Element video_element = {video_kind, "<video src=\"", "\" region=\"Image\""};
constexpr Element image_element = {image_kind, "<img src=\"", "\" region=\"Image\""};
constexpr Element audio_element = {audio_kind, "<audio src=\"", "\" "};

// A number within a text of at most 23 characters.
struct Number {
    const char* format;
    uint32_t value;
};
struct NumberText {
    explicit NumberText(Number number) {
        fnSCRTL_snprintf(text, sizeof text, number.format, number.value);
    }
    char text[24];
};

Number milliseconds(int32_t ms) {
    const auto value = static_cast<uint32_t>(ms);
    return {"%u", value < most_ms ? value : most_ms};
}
Number hex_colour(uint32_t rgb) {
    return {"#%x", rgb};
}
Number text_name(uint32_t slide) {
    return {"Text%u.txt", slide};
}

// Writes pieces one after the other, without terminators.
class SmilText {
  public:
    template <typename... Pieces>
    void put(Pieces... pieces) {
        (piece(pieces), ...);
    }
    // The text with its terminator, or null when memory ran out.
    [[nodiscard]] char* release() {
        uint32_t length = 0;
        out_.byte(0);
        return reinterpret_cast<char*>(out_.release(&length));
    }

  private:
    void piece(const char* text) {
        if (text != nullptr) out_.bytes(text, std::strlen(text));
    }
    void piece(Number number) { piece(NumberText(number).text); }

    PduWriter out_{usual_smil_size};
};

void correct_timing(CPSSlideStruct& slide, const MediumKind& kind, int32_t duration) {
    int32_t& begin = slide.*kind.begin;
    int32_t& end = slide.*kind.end;
    if (end > duration) end = duration;
    if (begin >= end) begin = 0;
}

void put_timing(SmilText& out, const CPSSlideStruct& slide, const MediumKind& kind) {
    out.put(" begin=\"", milliseconds(slide.*kind.begin), "ms\" end=\"",
            milliseconds(slide.*kind.end), "ms\" ");
}

void put_element(SmilText& out, CPSSlideStruct& slide, const Element& element, int32_t duration) {
    correct_timing(slide, element.kind, duration);
    out.put(element.open, slide.*element.kind.name, element.after_source);
    put_timing(out, slide, element.kind);
    out.put("/>\r\n");
}

void put_text_element(SmilText& out, CPSSlideStruct& slide, uint32_t number, int32_t duration) {
    // QUIRK text_corrects_image_timing: the image's times are corrected here, those of the text
    // are written as the host gave them.
    correct_timing(slide, image_kind, duration);
    out.put("<text src=\"", text_name(number), "\" region=\"Text\"");
    put_timing(out, slide, text_kind);
    if (slide.bForeColor != 0)
        out.put(">\r\n", " <param name=\"foreground-color\" value=\"", hex_colour(slide.foreColor),
                "\" />\r\n ", "</text>\r\n");
    else
        out.put("/>\r\n");
}

void put_slide(SmilText& out, CPSSlideStruct& slide, uint32_t number) {
    int32_t& duration = tCPS_NewMessage.iSlideDur[number];
    if (duration < 1) duration = default_slide_ms;
    out.put("<par dur=\"", milliseconds(duration), "ms\">\r\n");
    if (slide.bBgColor != 0)
        out.put(" <param name=\"background-color\" value=\"", hex_colour(slide.bgColor),
                "\" />\r\n ");
    if (slide.bVideo != 0) {
        put_element(out, slide, video_element, duration);
    } else {
        if (slide.bImage != 0) put_element(out, slide, image_element, duration);
        if (slide.bAudio != 0) put_element(out, slide, audio_element, duration);
    }
    if (slide.bText != 0) put_text_element(out, slide, number, duration);
    out.put("</par>\r\n");
}

void log_presentation(const tMMS_SmilPart& smil) {
    if (!log_enabled) return;
    const char* text = reinterpret_cast<const char*>(smil.pData);
    log_line("SMIL BEGIN len:%d\n", static_cast<int32_t>(smil.iDataLen));
    for (uint32_t at = 0; at < smil.iDataLen; at += 50)
        log_line("%.50s", text + at);
    log_line("SMIL END");
}

// ---- Media records ------------------------------------------------------------------------

// Buffers of a record's texts: what does not fit is cut.
constexpr uint32_t type_buffer = 25;
constexpr uint32_t name_buffer = 50;

struct Part {
    const char* type;
    uint32_t type_room;
    const char* name;
    uint8_t* data;
    uint32_t size;
    // Of a record that owns its data: the block, and how much of the data is copied into it.
    uint64_t block;
    uint64_t copied;
};

bool is_plain_text(const char* type) {
    return std::strcmp(type, plain_text_type) == 0;
}

OwnedText cut_copy(const char* text, uint32_t room) {
    OwnedText copy(static_cast<char*>(allocate(room)));
    if (copy) fnSC_STRLCPY(copy.get(), text, room);
    return copy;
}

// Appends records to a list; one that memory runs out for is left out.
class PartList {
  public:
    explicit PartList(tMMS_MediaData** first) : end_(first) {}

    bool append(const Part& part) {
        Owned<tMMS_MediaData> record(new_record<tMMS_MediaData>());
        OwnedText type = cut_copy(part.type, part.type_room);
        OwnedText name = cut_copy(part.name, name_buffer);
        if (!record || !type || !name) return false;
        uint8_t* data = part.data;
        if (part.block != 0) {
            data = static_cast<uint8_t*>(allocate(part.block));
            if (data == nullptr) return false;
            if (part.copied != 0) std::memcpy(data, part.data, static_cast<size_t>(part.copied));
        }
        record->pContentType = type.release();
        record->pContentLocation = name.release();
        record->pData = data;
        record->iDataLen = part.size;
        *end_ = record.release();
        last_ = *end_;
        end_ = &last_->pNext;
        return true;
    }
    bool append_text(const CPSSlideStruct& slide, uint32_t number) {
        constexpr uint32_t utf8 = 106;
        const auto room = static_cast<uint32_t>(slide.iTextLen);
        const auto length = static_cast<uint32_t>(strnlen(slide.pText, room));
        if (!append({plain_text_type, type_buffer, NumberText(text_name(number)).text,
                     reinterpret_cast<uint8_t*>(slide.pText), length, uint64_t{room} + 1, length}))
            return false;
        last_->iCharset = utf8;
        last_->bHasCharset = 1;
        return true;
    }
    bool append_medium(const CPSSlideStruct& slide, const MediumKind& kind) {
        const char* type = slide.*kind.type;
        const auto size = static_cast<uint32_t>(slide.*kind.size);
        const uint32_t owned = is_plain_text(type) ? size : 0;
        return append({type, type_buffer, slide.*kind.name, slide.*kind.data, size, owned, owned});
    }
    // QUIRK text_attachment_ends_at_nul: behind a NUL the part is zeros, its size is kept.
    bool append_attachment(const CPSAttachment& slot) {
        Part part = {slot.Type,  static_cast<uint32_t>(std::strlen(slot.Type)) + 1,
                     slot.Name,  slot.pData,
                     slot.iSize, 0,
                     0};
        if (is_plain_text(slot.Type)) {
            part.block = uint64_t{slot.iSize} + 1;
            part.copied = strnlen(reinterpret_cast<const char*>(slot.pData), slot.iSize);
        }
        return append(part);
    }
    // Up to the first part that fails.
    void append_slide(const CPSSlideStruct& slide, uint32_t number) {
        const bool has_text = slide.bText != 0 && slide.iTextLen >= 1;  // unreachable: empty texts
        if (has_text && !append_text(slide, number)) return;
        if (slide.bVideo != 0) {
            append_medium(slide, video_kind);
            return;
        }
        if (slide.bImage != 0 && !append_medium(slide, image_kind)) return;
        if (slide.bAudio != 0) append_medium(slide, audio_kind);
    }

  private:
    tMMS_MediaData** end_;
    tMMS_MediaData* last_ = nullptr;
};

struct UnionFree {
    void operator()(tMMS_ContentUnion* content) const { fnMMS_FreeContentUnion(content); }
};

bool make_presentation(tMMS_ContentUnion& content) {
    content.pSmil = new_record<tMMS_SmilPart>();
    if (content.pSmil == nullptr) return false;
    content.pSmil->pContentType = cut_copy("application/smil", type_buffer).release();
    if (content.pSmil->pContentType == nullptr) return false;
    char* text = CPSCreateSmil();
    if (text == nullptr) return false;
    content.pSmil->pData = reinterpret_cast<uint8_t*>(text);
    content.pSmil->iDataLen = static_cast<uint32_t>(std::strlen(text));
    log_presentation(*content.pSmil);
    return true;
}

}  // namespace
}  // namespace mmskit

using namespace mmskit;

extern "C" char* CPSCreateSmil(void) {
    SmilText out;
    out.put(head);
    for (uint32_t i = 0; i < CPS_MAX_SLIDES && tCPS_NewMessage.bSlideUsed[i] == 1; ++i) {
        put_slide(out, tCPS_SlideStruct[i], i);
    }
    out.put("</body>\r\n</smil>");
    return out.release();
}

extern "C" tMMS_ContentUnion* CPSRes2StructLink(void) {
    if (CPSCheckNewMMStruct() == 0) return nullptr;
    Owned<tMMS_ContentUnion, UnionFree> content(new_record<tMMS_ContentUnion>());
    if (!content || !make_presentation(*content)) return nullptr;
    PartList parts(&content->pMediaList);
    for (uint32_t i = 0; const CPSSlideStruct* slide = used_slide(i); ++i)
        parts.append_slide(*slide, i);
    for (int32_t i = 0; i < tCPS_NewMessage.TotalAttachment; ++i) {
        const CPSAttachment* slot = attachment_slot(i);
        if (slot != nullptr && slot->pData != nullptr) parts.append_attachment(*slot);
    }
    return content.release();
}
