// Content types (WAP-230 8.4.2.24): the well-known media types by their assigned numbers, and the
// Content-type field in its three forms: a short integer, a text, and the general form with
// parameters.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "Protocol/src/wsp_values.h"

namespace mmskit {

namespace {

// The row is the assigned number. Only what is packed from them below is in the library.
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

// The rows one after another, each with its NUL: addresses would take four times the space of the
// offsets, and one relocation each.
struct PackedTypes {
    static constexpr size_t types = std::size(well_known_types) + std::size(drm_types);
    static constexpr size_t total = [] {
        size_t sum = 0;
        for (const char* type : well_known_types)
            sum += __builtin_strlen(type) + 1;
        for (const char* type : drm_types)
            sum += __builtin_strlen(type) + 1;
        return sum;
    }();

    char texts[total] = {};
    uint16_t starts[types] = {};
    size_t row = 0, filled = 0;  // while it is packed

    constexpr PackedTypes() {
        for (const char* type : well_known_types)
            pack(type);
        for (const char* type : drm_types)
            pack(type);
    }

  private:
    constexpr void pack(const char* type) {
        starts[row++] = static_cast<uint16_t>(filled);
        for (; *type != '\0'; ++type)
            texts[filled++] = *type;
        ++filled;
    }
};
constexpr PackedTypes packed_types;
static_assert(packed_types.filled == PackedTypes::total);

const char* type_in_row(size_t row) {
    return packed_types.texts + packed_types.starts[row];
}

// The rows by the length of their texts, so that a type is compared with those of its length only.
constexpr size_t longest_type = 41;

struct TypesByLength {
    uint8_t first[longest_type + 2] = {};  // in `codes`, of each length
    uint8_t codes[std::size(well_known_types)] = {};

    constexpr TypesByLength() {
        uint8_t filled = 0;
        for (size_t length = 0; length <= longest_type; ++length) {
            first[length] = filled;
            for (size_t code = 0; code < std::size(well_known_types); ++code)
                if (__builtin_strlen(well_known_types[code]) == length)
                    codes[filled++] = static_cast<uint8_t>(code);
        }
        first[longest_type + 1] = filled;
    }
};
constexpr TypesByLength types_by_length;
static_assert(types_by_length.first[longest_type + 1] == std::size(well_known_types));

constexpr int32_t unknown_type = 255;
constexpr uint32_t type_buffer = 50;  // bytes; the longest row takes 42 with its NUL

// The row's text, or null for a code without one.
const char* well_known_type(uint8_t code) {
    constexpr size_t listed = std::size(well_known_types);
    if (code < listed) return type_in_row(code);
    if (code >= first_drm_type && code - first_drm_type < std::ssize(drm_types))
        return type_in_row(listed + code - first_drm_type);
    return nullptr;
}

// The media type in its short-integer or text form.
void read_media_type(BoundedReader& in, ContentType& type) {
    if (in.peek() < wsp::short_integer) {
        type.text = in.text();
        type.known = nullptr;
        return;
    }
    type.known = well_known_type(in.byte() & 0x7F);
}

// ---- Parameters of the general form (WAP-230 8.4.2.4) ---------------------------------------

enum class Step : uint8_t { next, stop };

Step read_charset(BoundedReader& in, ContentType& type, uint64_t field_end) {
    type.has_charset = true;
    const uint8_t first = in.peek();
    if (first >= wsp::short_integer) {
        type.charset = in.byte() & 0x7FU;
        return Step::next;
    }
    // Behind a quoted length the next parameter cannot be told. Where a cursor has no end such a
    // length, which reaches 32 KB far, leads no further behind the field than a short one would.
    if (first == wsp::length_quote) {
        const uint64_t reach = field_end + wsp::longest_short_length;
        type.charset = long_integer_at(in.is_bounded() ? in : in.cut_at(reach));
        return Step::stop;
    }
    type.charset = long_integer_at(in);
    // QUIRK charset_octet_above_31_is_none: it stands for no octets, so that the parameters behind
    // it are still read.
    in.skip(first <= wsp::longest_short_length ? uint64_t{1} + first : 1);
    return Step::next;
}

Step read_name(BoundedReader& in, ContentType& type, uint64_t) {
    type.name = quoted_text(in);
    return Step::next;
}

Step pass_text(BoundedReader& in, ContentType&, uint64_t) {
    in.text();
    return Step::next;
}

[[gnu::cold]] Step pass_text_or_short_integer(BoundedReader& in, ContentType& type,
                                              uint64_t field_end) {
    if (in.peek() < wsp::short_integer) return pass_text(in, type, field_end);
    in.skip(1);
    return Step::next;
}

struct Parameter {
    uint8_t code;
    Step (*read)(BoundedReader& in, ContentType& type, uint64_t field_end);
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
[[gnu::cold]] uint64_t fwd_size_with(const BoundedReader& in, const char* word) {
    const uint64_t end = fwd_name_size + std::strlen(word);
    if (word_at(in, fwd_name_size, word) && in.peek(end) == '\0') return end + 1;
    if (quote_at(in, fwd_name_size) && word_at(in, fwd_name_size + 1, word) &&
        quote_at(in, end + 1) && in.peek(end + 2) == '\0')
        return end + 3;
    return 0;
}

Step read_fwd(BoundedReader& in, ContentType& type) {
    type.has_fwd = true;
    const uint64_t no = fwd_size_with(in, "no");
    const uint64_t yes = fwd_size_with(in, "yes");
    if (no != 0 || yes != 0) type.fwd = yes != 0;
    type.fwd_bytes = in.take(no + yes != 0 ? no + yes : fwd_name_size);
    return Step::next;
}

Step read_parameter(BoundedReader& in, ContentType& type, uint64_t field_end) {
    const uint8_t code = in.peek();
    if (code < wsp::short_integer) return fwd_at(in) ? read_fwd(in, type) : Step::stop;
    for (const Parameter& parameter : parameters) {
        if (parameter.code != code) continue;
        in.skip(1);
        return parameter.read(in, type, field_end);
    }
    return Step::stop;
}

// The general form. The declared length decides where the parameters and
// the field end; a value that began before is read whole, as far as what encloses the field
// reaches, so that all the parts of a body cost no more than their headers. What is not there reads
// as zeros, and a zero is no parameter, so the loop ends with the input at the latest.
void read_general_form(BoundedReader& in, ContentType& type, uint64_t enclosed_by) {
    const uint32_t length = read_value_length(in);
    const uint64_t end = in.position() + length;
    BoundedReader values = in.cut_at(std::max(end, enclosed_by));
    in.skip(length);
    read_media_type(values, type);
    Step step = Step::next;
    while (step == Step::next && values.position() < end)
        step = read_parameter(values, type, end);
}

}  // namespace

ContentType content_type(BoundedReader& in, uint64_t enclosed_by) {
    ContentType type;
    if (in.peek() <= wsp::length_quote)
        read_general_form(in, type, enclosed_by);
    else
        read_media_type(in, type);
    return type;
}

bool ContentType::is(const char* wanted) const {
    const size_t size = std::strlen(wanted);
    if (known != nullptr) return std::strcmp(known, wanted) == 0;
    return text.data != nullptr && text.size == size && std::memcmp(text.data, wanted, size) == 0;
}

bool ContentType::copy_type(char*& to) const {
    if (known == nullptr) return text.data == nullptr || put_text(to, text);
    to = static_cast<char*>(allocate(type_buffer));
    if (to != nullptr) std::memcpy(to, known, std::strlen(known) + 1);
    return to != nullptr;
}

bool ContentType::copy_name(char*& to) const {
    return name.data == nullptr || put_text(to, name);
}

bool ContentType::copy_fwd(uint8_t*& to) const {
    char* copy = nullptr;
    if (fwd_bytes.data != nullptr && !put_text(copy, fwd_bytes)) return false;
    to = reinterpret_cast<uint8_t*>(copy);
    return true;
}

void ContentTypeFree::operator()(tMMS_ContentType* type) const {
    deallocate(type->pType);
    deallocate(type->pName);
    deallocate(type->pFwdParam);
    deallocate(type);
}

OwnedContentType read_content_type(BoundedReader& in) {
    OwnedContentType record(new_record<tMMS_ContentType>());
    if (!record) return record;
    const ContentType type = content_type(in, UINT64_MAX);
    if (!type.copy_type(record->pType) || !type.copy_name(record->pName) ||
        !type.copy_fwd(record->pFwdParam)) {
        record.reset();
        return record;
    }
    record->bHasCharset = type.has_charset ? 1 : 0;
    record->iCharset = type.charset;
    record->bHasFwd = type.has_fwd ? 1 : 0;
    record->bFwd = type.fwd ? 1 : 0;
    record->iFwdParamLen = static_cast<uint32_t>(type.fwd_bytes.size);
    return record;
}

}  // namespace mmskit

char* DecodeWellKnownContentType(uint8_t code) {
    mmskit::ContentType type;
    type.known = mmskit::well_known_type(code);
    char* copy = nullptr;
    return type.known != nullptr && type.copy_type(copy) ? copy : nullptr;
}

int32_t EncodeContentType(const char* type) {
    if (type == nullptr) return mmskit::unknown_type;
    const size_t length = std::strlen(type);
    if (length > mmskit::longest_type) return mmskit::unknown_type;
    const mmskit::TypesByLength& types = mmskit::types_by_length;
    for (size_t i = types.first[length]; i < types.first[length + 1]; ++i)
        if (std::memcmp(type, mmskit::type_in_row(types.codes[i]), length) == 0)
            return types.codes[i];
    return mmskit::unknown_type;
}
