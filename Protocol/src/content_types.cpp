// Content types (WAP-230 8.4.2.24): the well-known media types by their assigned numbers, and the
// Content-type field in its three forms: a short integer, a text, and the general form with
// parameters.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "Protocol/src/wsp_values.h"

namespace mmskit {

namespace {

// The row is the assigned number.
// QUIRK well_known_types_keep_their_spelling: the capitals of rows 11 to 15, row 18 and "x-x968"
// differ from the registry; peers and stored messages compare these texts byte for byte.
constexpr const char* well_known_types[] = {
    /*  0 */ "*/*",
    /*  1 */ "text/*",
    /*  2 */ "text/html",
    /*  3 */ "text/plain",
    /*  4 */ "text/x-hdml",
    /*  5 */ "text/x-ttml",
    /*  6 */ "text/x-vCalendar",
    /*  7 */ "text/x-vCard",
    /*  8 */ "text/vnd.wap.wml",
    /*  9 */ "text/vnd.wap.wmlscript",
    /* 10 */ "text/vnd.wap.channel",
    /* 11 */ "Multipart/*",
    /* 12 */ "Multipart/mixed",
    /* 13 */ "Multipart/form-data",
    /* 14 */ "Multipart/byteranges",
    /* 15 */ "Multipart/alternative",
    /* 16 */ "application/*",
    /* 17 */ "application/java-vm",
    /* 18 */ "application/x-www-form-rulencoded",
    /* 19 */ "application/x-hdmlc",
    /* 20 */ "application/vnd.wap.wmlc",
    /* 21 */ "application/vnd.wap.wmlscriptc",
    /* 22 */ "application/vnd.wap.channelc",
    /* 23 */ "application/vnd.wap.uaprof",
    /* 24 */ "application/vnd.wap.wtls-ca-certificate",
    /* 25 */ "application/vnd.wap.wtls-user-certificate",
    /* 26 */ "application/x-x509-ca-cert",
    /* 27 */ "application/x-x509-user-cert",
    /* 28 */ "image/*",
    /* 29 */ "image/gif",
    /* 30 */ "image/jpeg",
    /* 31 */ "image/tiff",
    /* 32 */ "image/png",
    /* 33 */ "image/vnd.wap.wbmp",
    /* 34 */ "application/vnd.wap.multipart.*",
    /* 35 */ "application/vnd.wap.multipart.mixed",
    /* 36 */ "application/vnd.wap.multipart.form-data",
    /* 37 */ "application/vnd.wap.multipart.byteranges",
    /* 38 */ "application/vnd.wap.multipart.alternative",
    /* 39 */ "application/xml",
    /* 40 */ "text/xml",
    /* 41 */ "application/vnd.wap.wbxml",
    /* 42 */ "application/x-x968-cross-cert",
    /* 43 */ "application/x-x968-ca-cert",
    /* 44 */ "application/x-x968-user-cert",
    /* 45 */ "text/vnd.wap.si",
    /* 46 */ "application/vnd.wap.sic",
    /* 47 */ "text/vnd.wap.sl",
    /* 48 */ "application/vnd.wap.slc",
    /* 49 */ "text/vnd.wap.co",
    /* 50 */ "application/vnd.wap.coc",
    /* 51 */ "application/vnd.wap.multipart.related",
    /* 52 */ "application/vnd.wap.sia",
};
static_assert(std::size(well_known_types) == 53);

// QUIRK drm_types_are_decoded_only: they go out as text, which every receiver understands.
constexpr uint8_t first_drm_type = 72;
constexpr const char* drm_types[] = {
    /* 72 */ "application/vnd.oma.drm.message",
    /* 73 */ "application/vnd.oma.drm.content",
    /* 74 */ "application/vnd.oma.drm.rights+xml",
    /* 75 */ "application/vnd.oma.drm.rights+wbxml",
};

constexpr uint8_t unknown_type = 255;
constexpr uint32_t type_buffer = 50;  // bytes; the longest row takes 42 with its NUL

// The row's text, or null for a code without one.
const char* well_known_type(uint8_t code) {
    if (code < std::size(well_known_types)) return well_known_types[code];
    if (code >= first_drm_type && code - first_drm_type < std::ssize(drm_types))
        return drm_types[code - first_drm_type];
    return nullptr;
}

// The media type in its short-integer or text form; false when memory is out.
bool read_media_type(BoundedReader& in, tMMS_ContentType& type) {
    if (in.peek() < wsp::short_integer) {
        OwnedText text;
        if (!read_text(in, text)) return false;
        type.pType = text.release();
        return true;
    }
    const uint8_t code = in.byte() & 0x7F;
    type.pType = DecodeWellKnownContentType(code);
    return type.pType != nullptr || well_known_type(code) == nullptr;
}

// ---- Parameters of the general form (WAP-230 8.4.2.4) ---------------------------------------

enum class Step : uint8_t { next, stop, out_of_memory };

Step read_charset(BoundedReader& in, tMMS_ContentType& type) {
    type.bHasCharset = 1;
    const uint8_t first = in.peek();
    if (first >= wsp::short_integer) {
        type.iCharset = in.byte() & 0x7FU;
        return Step::next;
    }
    type.iCharset = long_integer_at(in);
    // Past a length that is no short-length, the next parameter cannot be told.
    if (first > wsp::longest_short_length) return Step::stop;
    in.skip(uint64_t{1} + first);
    return Step::next;
}

Step read_name(BoundedReader& in, tMMS_ContentType& type) {
    OwnedText name;
    if (!read_quoted_text(in, name)) return Step::out_of_memory;
    replace_owned(type.pName, name.release());
    return Step::next;
}

Step pass_text(BoundedReader& in, tMMS_ContentType&) {
    in.text();
    return Step::next;
}

Step pass_text_or_short_integer(BoundedReader& in, tMMS_ContentType& type) {
    if (in.peek() < wsp::short_integer) return pass_text(in, type);
    in.skip(1);
    return Step::next;
}

struct Parameter {
    uint8_t code;
    Step (*read)(BoundedReader& in, tMMS_ContentType& type);
};

// A parameter that is not here ends the reading of parameters: its extent is not known, and the
// caller goes on behind the whole field.
constexpr Parameter parameters[] = {
    {0x81, read_charset},
    {0x85, read_name},
    {0x89, pass_text_or_short_integer},  // Type, of multipart/related
    {0x8A, pass_text},                   // Start
    {0x8B, pass_text},                   // Start-info
};

// ---- The textual parameter "fwd" of forward-locked content -----------------------------------

constexpr uint64_t fwd_name_size = 4;  // the name and its separator

bool word_at(const BoundedReader& in, uint64_t ahead, const char* lower_case) {
    for (; *lower_case != '\0'; lower_case++, ahead++)
        if ((in.peek(ahead) | 0x20) != *lower_case) return false;
    return true;
}

bool fwd_at(const BoundedReader& in) {
    return word_at(in, 0, "fwd") && (in.peek(3) == '\0' || in.peek(3) == '=');
}

bool quote_at(const BoundedReader& in, uint64_t ahead) {
    return in.peek(ahead) == '"' || in.peek(ahead) == '\0';
}

// The bytes of the whole parameter when its value is `word`, bare or quoted; else 0.
uint64_t fwd_size_with(const BoundedReader& in, const char* word) {
    const uint64_t end = fwd_name_size + std::strlen(word);
    if (word_at(in, fwd_name_size, word) && in.peek(end) == '\0') return end + 1;
    if (quote_at(in, fwd_name_size) && word_at(in, fwd_name_size + 1, word) &&
        quote_at(in, end + 1) && in.peek(end + 2) == '\0')
        return end + 3;
    return 0;
}

Step read_fwd(BoundedReader& in, tMMS_ContentType& type) {
    type.bHasFwd = 1;
    const uint64_t no = fwd_size_with(in, "no");
    const uint64_t yes = fwd_size_with(in, "yes");
    if (no != 0 || yes != 0) type.bFwd = yes != 0;
    const Slice bytes = in.take(no + yes != 0 ? no + yes : fwd_name_size);
    char* copy = copy_text(bytes.data, bytes.size);
    if (copy == nullptr) return Step::out_of_memory;
    replace_owned(type.pFwdParam, reinterpret_cast<uint8_t*>(copy));
    type.iFwdParamLen = static_cast<uint32_t>(bytes.size);
    return Step::next;
}

Step read_parameter(BoundedReader& in, tMMS_ContentType& type) {
    const uint8_t code = in.peek();
    if (code < wsp::short_integer) return fwd_at(in) ? read_fwd(in, type) : Step::stop;
    for (const Parameter& parameter : parameters) {
        if (parameter.code != code) continue;
        in.skip(1);
        return parameter.read(in, type);
    }
    return Step::stop;
}

// The general form; false when memory is out. The declared length decides where the parameters and
// the field end; a value that began before is read whole, as far as what encloses the field
// reaches, so that all the parts of a body cost no more than their headers. What is not there reads
// as zeros, and a zero is no parameter, so the loop ends with the input at the latest.
bool read_general_form(BoundedReader& in, tMMS_ContentType& type, uint64_t enclosed_by) {
    const uint32_t length = read_value_length(in);
    const uint64_t end = in.position() + length;
    BoundedReader values = in.cut_at(std::max(end, enclosed_by));
    in.skip(length);
    if (!read_media_type(values, type)) return false;
    Step step = Step::next;
    while (step == Step::next && values.position() < end)
        step = read_parameter(values, type);
    return step != Step::out_of_memory;
}

}  // namespace

void ContentTypeFree::operator()(tMMS_ContentType* type) const {
    fnSC_Free(&type->pType);
    fnSC_Free(&type->pName);
    fnSC_Free(&type->pFwdParam);
    fnSC_Free(&type);
}

OwnedContentType read_content_type(BoundedReader& in, uint64_t enclosed_by) {
    OwnedContentType type(new_record<tMMS_ContentType>());
    if (!type) return type;
    const bool general = in.peek() <= wsp::length_quote;
    if (!(general ? read_general_form(in, *type, enclosed_by) : read_media_type(in, *type)))
        type.reset();
    return type;
}

}  // namespace mmskit

char* DecodeWellKnownContentType(uint8_t code) {
    const char* text = mmskit::well_known_type(code);
    if (text == nullptr) return nullptr;
    auto* copy = static_cast<char*>(mmskit::allocate(mmskit::type_buffer));
    if (copy != nullptr) std::memcpy(copy, text, std::strlen(text) + 1);
    return copy;
}

uint8_t EncodeContentType(const char* type) {
    if (type == nullptr) return mmskit::unknown_type;
    uint8_t code = 0;
    for (const char* row : mmskit::well_known_types) {
        if (std::strcmp(type, row) == 0) return code;
        code++;
    }
    return mmskit::unknown_type;
}
