// Writes a content union as a message body: the Content-Type header and the multipart of WAP-230
// 8.5, related when the union has a SMIL part, which is then its start part. The lengths in front
// of headers are counted by the routines that write the headers.
#include <mmskit/pdu.h>

#include <cstring>

#include "Protocol/src/MMSProl_Encode.h"
#include "Protocol/src/field_codes.h"

namespace mmskit {
namespace {

constexpr uint8_t content_location = 0x8E;  // these as headers of a part
constexpr uint8_t content_id = 0xC0;
constexpr uint8_t quoted_string = 0x22;  // WAP-230 8.4.2.1: there is no closing quote

constexpr uint8_t parameter_charset = 0x81;  // WAP-230 table 38, encoding version 1.1
constexpr uint8_t parameter_name = 0x85;
constexpr uint8_t parameter_type = 0x89;
constexpr uint8_t parameter_start = 0x8A;

constexpr uint8_t empty_body[] = {field::content_type, multipart_mixed, 0};
constexpr uint64_t empty_body_block = 4;

constexpr char start_id[] = "<AAAA>";
constexpr char smil_name[] = "mms.smil";

void write_start_id(PduWriter& headers) {
    headers.byte(content_id);
    headers.byte(quoted_string);
    headers.text(start_id);
}

void write_charset(PduWriter& out, uint32_t charset) {
    out.byte(parameter_charset);
    if (charset < wsp::short_integer) {
        out.byte(static_cast<uint8_t>(wsp::short_integer | charset));
        return;
    }
    // QUIRK charset_above_127_is_a_counted_uintvar: the octets after the count are those of a
    // uintvar where WAP-230 8.4.2.1 has a long integer; receivers of this library's messages
    // expect them so, strict decoders read another number.
    out.byte(static_cast<uint8_t>(measured_size([&](PduWriter& u) { write_uintvar(u, charset); })));
    write_uintvar(out, charset);
}

void write_named_type(PduWriter& out, const char* type, const char* name) {
    write_media_type(out, type);
    out.byte(parameter_name);
    out.text(name);
}

void write_smil_headers(PduWriter& headers, const tMMS_SmilPart& smil) {
    write_with_length(headers, [&](PduWriter& type) {
        write_named_type(type, smil.pContentType, smil_name);
        write_charset(type, wsp::utf_8);
    });
    write_start_id(headers);
}

// QUIRK one_name_for_three_headers: pContentLocation is the Name, the Content-ID and the
// Content-Location, since the SMIL refers to parts by that text and receivers look for it in any
// of the three. The record's pName and pContentId are not written.
void write_media_headers(PduWriter& headers, const tMMS_MediaData& media) {
    const char* name = media.pContentLocation != nullptr ? media.pContentLocation : "";
    write_with_length(headers, [&](PduWriter& type) {
        write_named_type(type, media.pContentType, name);
        if (media.bHasCharset == 1) write_charset(type, media.iCharset);
    });
    headers.byte(content_id);
    headers.byte(quoted_string);
    headers.byte('<');
    headers.bytes(name, std::strlen(name));
    headers.text(">");
    headers.byte(content_location);
    headers.text(name);
}

// HeadersLen, DataLen, headers and data (WAP-230 8.5.2).
template <typename WriteHeaders>
void write_entry(PduWriter& out, const uint8_t* data, uint32_t length, const WriteHeaders& write) {
    const uint32_t data_length = data != nullptr ? length : 0;
    const uint64_t headers_length = measured_size(write);
    write_uintvar(out, static_cast<uint32_t>(headers_length));
    write_uintvar(out, data_length);
    if (!out.counts(headers_length)) write(out);
    out.bytes(data, data_length);
}

void write_smil_entry(PduWriter& out, const tMMS_SmilPart& smil) {
    write_entry(out, smil.pData, smil.iDataLen,
                [&](PduWriter& headers) { write_smil_headers(headers, smil); });
}

void write_media_entry(PduWriter& out, const tMMS_MediaData& media) {
    write_entry(out, media.pData, media.iDataLen,
                [&](PduWriter& headers) { write_media_headers(headers, media); });
}

void write_body_type(PduWriter& out, const tMMS_SmilPart* smil) {
    out.byte(field::content_type);
    if (smil == nullptr) {
        out.byte(multipart_mixed);
        return;
    }
    write_with_length(out, [smil](PduWriter& type) {
        type.byte(multipart_related);
        type.byte(parameter_type);
        write_media_type(type, smil->pContentType);
        type.byte(parameter_start);
        type.text(start_id);
    });
}

uint32_t count_entries(const tMMS_ContentUnion& content) {
    uint32_t count = content.pSmil != nullptr ? 1 : 0;
    for (const tMMS_MediaData* media = content.pMediaList; media != nullptr; media = media->pNext)
        count++;
    return count;
}

void write_body(PduWriter& out, const tMMS_ContentUnion& content, uint32_t entries) {
    write_body_type(out, content.pSmil);
    write_uintvar(out, entries);
    if (content.pSmil != nullptr) write_smil_entry(out, *content.pSmil);
    for (const tMMS_MediaData* media = content.pMediaList; media != nullptr; media = media->pNext)
        write_media_entry(out, *media);
}

// Unlike any other result, a failure here is told by the length too.
uint8_t* make_empty_body(uint32_t* length) {
    *length = 0;
    PduWriter out(empty_body_block);
    out.bytes(empty_body, sizeof empty_body);
    return out.release(length);
}

}  // namespace
}  // namespace mmskit

extern "C" uint8_t* fnMMS_MakeContentBodyPdu(const tMMS_ContentUnion* content, uint32_t* len) {
    if (len == nullptr) return nullptr;
    if (content == nullptr || content->pMediaList == nullptr) return mmskit::make_empty_body(len);
    const uint32_t entries = mmskit::count_entries(*content);
    return mmskit::encode(
        len, [&](mmskit::PduWriter& out) { mmskit::write_body(out, *content, entries); });
}
