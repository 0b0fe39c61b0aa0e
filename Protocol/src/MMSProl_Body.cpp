// Message bodies (WAP-230 8.5): splits a received body into the SMIL part and the list of its
// other parts, and releases such unions. Data of a decoded part is a slice of the caller's bytes
// and never copied. Relies on the bounded reader and the content types.
#include <mmskit/pdu.h>

#include <cstdio>
#include <utility>

#include "Protocol/src/MMSProl_Error.h"
#include "Protocol/src/field_codes.h"
#include "Protocol/src/wsp_values.h"
#include "scshare/common/src/limits.h"

namespace mmskit {
namespace {

constexpr uint8_t content_location = 0x8E;  // these as headers of a part
constexpr uint8_t content_id = 0xC0;
constexpr uint8_t content_disposition_1_1 = 0xAE;
constexpr uint8_t content_disposition = 0xC5;

bool is_type(const char* type, const char* wanted) {
    return type != nullptr && std::strcmp(type, wanted) == 0;
}

void free_smil(tMMS_SmilPart* smil, bool with_data) {
    if (smil == nullptr) return;
    deallocate(smil->pContentType);
    if (with_data) deallocate(smil->pData);
    deallocate(smil);
}

void free_media(tMMS_MediaData* media, bool with_text_data) {
    if (with_text_data && is_type(media->pContentType, "text/plain")) deallocate(media->pData);
    deallocate(media->pContentLocation);
    deallocate(media->pContentId);
    deallocate(media->pName);
    deallocate(media->pFwdParam);
    deallocate(media->pContentType);
    deallocate(media);
}

void free_union(tMMS_ContentUnion* content, bool with_data) {
    if (content == nullptr) return;
    free_smil(content->pSmil, with_data);
    for (tMMS_MediaData* media = content->pMediaList; media != nullptr;) {
        tMMS_MediaData* next = media->pNext;
        free_media(media, with_data);
        media = next;
    }
    deallocate(content);
}

struct MediaFree {
    void operator()(tMMS_MediaData* media) const { free_media(media, false); }
};
struct UnionFree {
    void operator()(tMMS_ContentUnion* content) const { free_union(content, false); }
};
using OwnedMedia = Owned<tMMS_MediaData, MediaFree>;
using OwnedUnion = Owned<tMMS_ContentUnion, UnionFree>;

uint8_t* borrowed_data(Slice data) {
    return const_cast<uint8_t*>(data.data);
}

// A record with the type, name and charset of a content type; null when memory is out.
OwnedMedia new_media(const ContentType& type, Slice data) {
    OwnedMedia media(new_record<tMMS_MediaData>());
    if (!media) return media;
    if (!type.copy_type(media->pContentType) || !type.copy_name(media->pName)) {
        media.reset();
        return media;
    }
    media->bHasCharset = type.has_charset ? 1 : 0;
    media->iCharset = type.charset;
    media->pData = borrowed_data(data);
    media->iDataLen = static_cast<uint32_t>(data.size);
    return media;
}

[[nodiscard]] bool take_fwd(tMMS_MediaData& media, const ContentType& type) {
    media.bHasFwd = type.has_fwd ? 1 : 0;
    media.bFwd = type.fwd ? 1 : 0;
    media.iFwdParamLen = static_cast<uint32_t>(type.fwd_bytes.size);
    return type.copy_fwd(media.pFwdParam);
}

[[nodiscard]] bool give_generated_name(char*& field, const char* format, uint32_t number) {
    auto* name = static_cast<char*>(allocate(limits::generated_name));
    if (name == nullptr) return false;
    std::snprintf(name, limits::generated_name, format, static_cast<int>(number));
    field = name;
    return true;
}

// A text without location and name is given both.
[[nodiscard]] bool name_text(tMMS_MediaData& media, const char* format, uint32_t number) {
    if (media.pContentLocation != nullptr || media.pName != nullptr ||
        !is_type(media.pContentType, "text/plain"))
        return true;
    return give_generated_name(media.pContentLocation, format, number) &&
           give_generated_name(media.pName, format, number);
}

// A part without a location is found by its name.
[[nodiscard]] bool locate_by_name(tMMS_MediaData& media) {
    if (media.pContentLocation != nullptr || media.pName == nullptr) return true;
    media.pContentLocation = copy_text(media.pName);
    return media.pContentLocation != nullptr;
}

// The text of a Content-ID header without its angle brackets. The opening double quote is that
// of a WSP quoted-string, which has no closing one (WAP-230 8.4.2.1).
[[nodiscard]] bool read_content_id(BoundedReader& in, char*& field) {
    if (in.peek() == '"') in.skip(1);
    const Slice text = in.text();
    char* id = copy_text(text.data, text.size);
    if (id == nullptr) return false;
    char* to = id;
    for (const char* from = id; *from != '\0'; ++from)
        if (*from != '<' && *from != '>') *to++ = *from;
    *to = '\0';
    replace_owned(field, id);
    return true;
}

// Headers of a part up to the first that is not one of these; false when memory is out.
[[nodiscard]] bool read_part_headers(BoundedReader in, tMMS_MediaData& media) {
    while (!in.at_end()) {
        switch (in.byte()) {
            case content_location:
                if (!put_text(media.pContentLocation, quoted_text(in))) return false;
                break;
            case content_id:
                if (!read_content_id(in, media.pContentId)) return false;
                break;
            case content_disposition_1_1:
            case content_disposition: {
                const uint32_t length = read_uintvar(in);
                in.skip(length);
                break;
            }
            default:
                return true;
        }
    }
    return true;
}

class BodySplitter {
  public:
    explicit BodySplitter(BoundedReader body) : in_(body) {}

    // The union, or null with the reason noted.
    tMMS_ContentUnion* split() {
        const char* reason = read_body();
        if (reason != nullptr) {
            note_decode_failure(reason, part_start_);
            return nullptr;
        }
        note_decode_success();
        if (cut_) note_decode_failure("more parts than a message may have", in_.position());
        return content_.release();
    }

  private:
    // These give null, or why the body is refused.
    const char* read_body();
    const char* read_single_text(const ContentType& type);
    const char* read_parts();
    const char* read_part(uint32_t headers_length, uint32_t data_length);
    const char* keep_smil(const ContentType& type, Slice data);
    const char* keep_media(const ContentType& type, BoundedReader headers, Slice data);

    void append(OwnedMedia media) {
        *tail_ = media.release();
        tail_ = &(*tail_)->pNext;
        ++kept_;
    }

    BoundedReader in_;
    OwnedUnion content_;
    tMMS_MediaData** tail_ = nullptr;
    uint32_t kept_ = 0;
    uint64_t part_start_ = 0;
    bool cut_ = false;  // at the limit of parts
};

const char* BodySplitter::read_body() {
    content_.reset(new_record<tMMS_ContentUnion>());
    if (!content_) return out_of_memory;
    tail_ = &content_->pMediaList;
    if (in_.byte() != field::content_type) return "body does not start with Content-Type";
    const ContentType type = content_type(in_);
    if (in_.at_end()) return nullptr;
    return type.is("text/plain") ? read_single_text(type) : read_parts();
}

// QUIRK single_text_name: a message of one text is MMS_Text0000.txt, not MMS_Text000.txt as the
// first text of a multipart body is; hosts store the part under this name. A name of its own stays
// its name alone and is not copied to its location.
const char* BodySplitter::read_single_text(const ContentType& type) {
    OwnedMedia media = new_media(type, in_.take(in_.remaining()));
    if (!media || !name_text(*media, "MMS_Text0000.txt", 0)) return out_of_memory;
    append(std::move(media));
    return nullptr;
}

// The count is a limit only: the parts end with the input at the latest.
const char* BodySplitter::read_parts() {
    const uint32_t declared = read_uintvar(in_);
    uint32_t left = declared < limits::message_parts ? declared : limits::message_parts;
    for (; left > 0 && !in_.at_end(); --left) {
        part_start_ = in_.position();
        const uint32_t headers_length = read_uintvar(in_);
        const uint32_t data_length = read_uintvar(in_);
        const char* reason = read_part(headers_length, data_length);
        if (reason != nullptr) return reason;
    }
    cut_ = declared > limits::message_parts && !in_.at_end();
    return nullptr;
}

// The content type bounds itself: it is read whole even where the declared length of the headers
// is shorter, and the data then follows it.
const char* BodySplitter::read_part(uint32_t headers_length, uint32_t data_length) {
    const uint64_t start = in_.position();
    const ContentType type = content_type(in_, start + headers_length);
    const uint64_t type_length = in_.position() - start;
    const BoundedReader headers =
        in_.child(headers_length > type_length ? headers_length - type_length : 0);
    const Slice data = in_.take(data_length);
    if (type.is("application/smil")) return keep_smil(type, data);
    return data.size != 0 ? keep_media(type, headers, data) : nullptr;
}

// The last SMIL part wins.
const char* BodySplitter::keep_smil(const ContentType& type, Slice data) {
    Owned<tMMS_SmilPart> smil(new_record<tMMS_SmilPart>());
    if (!smil || !type.copy_type(smil->pContentType)) return out_of_memory;
    smil->pData = borrowed_data(data);
    smil->iDataLen = static_cast<uint32_t>(data.size);
    free_smil(std::exchange(content_->pSmil, smil.release()), false);
    return nullptr;
}

// QUIRK part_text_name: the number follows "00" without padding and counts the parts kept before
// (MMS_Text000.txt, MMS_Text0010.txt); the presentation refers to texts by these names.
const char* BodySplitter::keep_media(const ContentType& type, BoundedReader headers, Slice data) {
    OwnedMedia media = new_media(type, data);
    if (!media) return out_of_memory;
    if (!take_fwd(*media, type) || !read_part_headers(headers, *media) || !locate_by_name(*media) ||
        !name_text(*media, "MMS_Text00%d.txt", kept_))
        return out_of_memory;
    append(std::move(media));
    return nullptr;
}

}  // namespace
}  // namespace mmskit

extern "C" tMMS_ContentUnion* fnMMS_GetMediaDataFromPdu(const uint8_t* body, int32_t len) {
    if (body == nullptr || len < 0) {
        mmskit::note_decode_failure(mmskit::no_input, 0);
        return nullptr;
    }
    return mmskit::BodySplitter(mmskit::BoundedReader(body, static_cast<size_t>(len))).split();
}

extern "C" void fnMMS_FreeMediaData(tMMS_ContentUnion* content) {
    mmskit::free_union(content, false);
}

extern "C" void fnMMS_FreeContentUnion(tMMS_ContentUnion* content) {
    mmskit::free_union(content, true);
}

extern "C" int32_t fnMMS_EmptyMMS(const uint8_t* body) {
    if (body == nullptr) return 1;
    using namespace mmskit;
    const bool empty = body[0] == field::content_type && body[1] == multipart_mixed && body[2] == 0;
    return empty ? 1 : 0;
}
