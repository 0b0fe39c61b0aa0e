// Content types and headers of parts; see part_writer.h.
#include "Anatomy/src/part_writer.h"

#include "Anatomy/src/exact_values.h"
#include "Anatomy/src/letters.h"
#include "Anatomy/src/library_text.h"

namespace mmskit_anatomy {
namespace {

constexpr uint8_t mixed = 0xA3, related_code = 0xB3, utf_8 = 0xEA;

}  // namespace

std::string_view PartWriter::spelled(std::string_view type) const {
    const uint8_t code = types_.code_of(type);
    return code < library_types ? types_.spelled(code) : type;
}

void PartWriter::write_type(BytesWriter& out, std::string_view type) const {
    if (const uint8_t code = types_.code_of(type); code < library_types)
        out.octet(0x80U | code);
    else
        out.plain(type);
}

std::string PartWriter::body_type(bool related, std::string_view start) const {
    BytesWriter out;
    out.octet(code_content_type);
    if (!related) {
        out.octet(mixed);
        return std::move(out.bytes);
    }
    BytesWriter value;
    value.octet(related_code);
    value.octet(parameter_type);
    value.plain("application/smil");
    if (!start.empty()) {
        value.octet(parameter_start);
        value.plain("<" + std::string(start) + ">");
    }
    out.value_length(value.bytes.size());
    out.bytes += value.bytes;
    return std::move(out.bytes);
}

std::string PartWriter::headers(const ExactBodyPart& part) const {
    BytesWriter type;
    write_type(type, part.type);
    const bool general = part.has_charset || !part.name.empty();
    if (part.has_charset) {
        type.octet(parameter_charset);
        type.octet(utf_8);
    }
    if (!part.name.empty()) {
        type.octet(parameter_name);
        type.text(part.name);
    }
    BytesWriter out;
    if (general) out.value_length(type.bytes.size());
    out.bytes += type.bytes;
    if (!part.location.empty()) {
        out.octet(code_location);
        out.text(part.location);
    }
    if (!part.content_id.empty()) {
        out.octet(code_content_id);
        out.plain(std::string("\"<").append(part.content_id).append(">"));
    }
    return std::move(out.bytes);
}

}  // namespace mmskit_anatomy
