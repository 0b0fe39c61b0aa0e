// The model of the exact body splitter and of its content types; see exact_message.h.

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string>

#include "Anatomy/src/exact_message.h"
#include "Anatomy/src/exact_values.h"

namespace mmskit_anatomy {
namespace {

using mmskit::BoundedReader;

std::string_view quoted_text(BoundedReader& in) {
    return without_quote(view_of(in.text()));
}

void read_media_type(BoundedReader& in, ExactTexts& texts, ExactBodyPart& part) {
    part.type = in.peek() < 0x80 ? view_of(in.text()) : texts.types.spelled(in.byte());
}

bool word_at(const BoundedReader& in, uint64_t ahead, std::string_view lower) {
    for (std::size_t i = 0; i < lower.size(); ++i)
        if ((in.peek(ahead + i) | 0x20) != lower[i]) return false;
    return true;
}

bool quote_at(const BoundedReader& in, uint64_t ahead) {
    return in.peek(ahead) == '"' || in.peek(ahead) == '\0';
}

// The bytes of a forward-lock parameter whose value is `word`, bare or quoted.
uint64_t lock_size(const BoundedReader& in, std::string_view word) {
    const uint64_t end = 4 + word.size();
    if (word_at(in, 4, word) && in.peek(end) == '\0') return end + 1;
    if (quote_at(in, 4) && word_at(in, 5, word) && quote_at(in, end + 1) &&
        in.peek(end + 2) == '\0')
        return end + 3;
    return 0;
}

bool read_charset(BoundedReader& in, ExactBodyPart& part) {
    part.has_charset = true;
    const uint8_t first = in.peek();
    if (first >= 0x80) {
        part.charset = in.byte() & 0x7FU;
        return true;
    }
    part.charset = long_integer_at(in);
    if (first >= length_mark) return false;
    in.skip(uint64_t{1} + first);
    return true;
}

bool read_parameter(BoundedReader& in, ExactBodyPart& part, bool& named) {
    const uint8_t code = in.peek();
    if (code < 0x80) {
        if (!word_at(in, 0, "fwd") || (in.peek(3) != '\0' && in.peek(3) != '=')) return false;
        const uint64_t size = lock_size(in, "no") + lock_size(in, "yes");
        in.skip(size != 0 ? size : 4);
        return true;
    }
    switch (code) {
        case parameter_charset:
            in.skip(1);
            return read_charset(in, part);
        case parameter_name:
            in.skip(1);
            part.name = quoted_text(in);
            named = true;
            return true;
        case parameter_type:
            in.skip(1);
            if (in.peek() >= 0x80) {
                in.skip(1);
            } else {
                in.text();
            }
            return true;
        case parameter_start:
        case parameter_start_info:
            in.skip(1);
            in.text();
            return true;
        default:
            return false;
    }
}

// `named` says that a Name parameter was there, be it empty.
void read_content_type(BoundedReader& in, uint64_t enclosed_by, ExactTexts& texts,
                       ExactBodyPart& part, bool& named) {
    if (in.peek() > length_mark) return read_media_type(in, texts, part);
    const uint32_t length = read_length(in);
    const uint64_t end = in.position() + length;
    BoundedReader values = in.cut_at(std::max(end, enclosed_by));
    in.skip(length);
    read_media_type(values, texts, part);
    while (values.position() < end && read_parameter(values, part, named)) {
    }
}

// `located` says that a location was there, be it empty.
void read_part_headers(BoundedReader in, Arena& made, ExactBodyPart& part, bool& located) {
    std::string_view content_id;
    while (!in.at_end()) {
        switch (in.byte()) {
            case code_location:
                part.location = quoted_text(in);
                located = true;
                break;
            case code_content_id: {
                if (in.peek() == '"') in.skip(1);
                content_id = view_of(in.text());
                break;
            }
            case code_disposition:
            case code_disposition_later: {
                const uint32_t length = read_uintvar(in);
                in.skip(length);
                break;
            }
            default:
                in.skip(in.remaining());
        }
    }
    part.content_id = without_angles(content_id, made);
}

void give_names(ExactBodyPart& part, bool named, bool located, std::size_t kept, Arena& made) {
    if (located) return;
    if (named) {
        part.location = part.name;
    } else if (part.type == "text/plain") {
        part.location = part.name = generated_name(kept, made);
    }
}

// Content type and headers at the cursor; the cursor ends where the data begins.
void read_part(BoundedReader& in, uint32_t headers_length, std::size_t kept, ExactTexts& texts,
               ExactBodyPart& part) {
    const uint64_t start = in.position();
    bool named = false, located = false;
    read_content_type(in, start + headers_length, texts, part, named);
    const uint64_t type_length = in.position() - start;
    const BoundedReader headers =
        in.child(headers_length > type_length ? headers_length - type_length : 0);
    part.presentation = part.type == "application/smil";
    if (part.presentation) return;
    read_part_headers(headers, texts.made, part, located);
    give_names(part, named, located, kept, texts.made);
}

void read_parts(BoundedReader& in, Bytes body, std::size_t most_kept, ExactTexts& texts,
                ExactBody& out) {
    uint32_t left = read_uintvar(in);
    for (; left > 0 && !in.at_end() && out.parts.size() <= most_kept; --left) {
        const uint32_t headers_length = read_uintvar(in);
        const uint32_t data_length = read_uintvar(in);
        ExactBodyPart part;
        read_part(in, headers_length, out.parts.size(), texts, part);
        part.data = static_cast<uint32_t>(std::min<uint64_t>(in.position(), body.size()));
        part.size = static_cast<uint32_t>(in.take(data_length).size);
        if (part.presentation) {
            out.presentation = part;
        } else if (part.size != 0) {
            out.parts.push_back(part);
        }
    }
}

}  // namespace

std::string_view ExactBodyPart::shown_name() const {
    if (!location.empty()) return location;
    return name.empty() ? content_id : name;
}

std::string_view without_angles(std::string_view id, Arena& made) {
    const auto is_angle = [](char c) { return c == '<' || c == '>'; };
    while (!id.empty() && is_angle(id.front()))
        id.remove_prefix(1);
    while (!id.empty() && is_angle(id.back()))
        id.remove_suffix(1);
    if (std::none_of(id.begin(), id.end(), is_angle)) return id;
    std::string without(id);
    std::erase_if(without, is_angle);
    return made.keep_view(without);
}

std::string_view generated_name(std::size_t kept, Arena& made) {
    char text[40] = "MMS_Text00";
    char* end = text + std::strlen(text);
    end = std::to_chars(end, std::end(text), static_cast<int>(kept)).ptr;
    constexpr std::string_view extension = ".txt";
    end = std::copy(extension.begin(), extension.end(), end);
    return made.keep_view({text, static_cast<std::size_t>(end - text)});
}

ExactBody exact_body(Bytes body, std::size_t most_kept, ExactTexts& texts) {
    ExactBody out;
    BoundedReader in(body.data(), body.size());
    if (in.byte() != code_content_type) return out;
    out.taken = true;
    ExactBodyPart part;
    bool named = false;
    read_content_type(in, UINT64_MAX, texts, part, named);
    if (in.at_end()) return out;
    if (part.type != "text/plain") {
        out.parts.reserve(most_kept + 1);
        read_parts(in, body, most_kept, texts, out);
        return out;
    }
    part.data = static_cast<uint32_t>(in.position());
    part.size = static_cast<uint32_t>(in.remaining());
    if (!named) part.name = "MMS_Text0000.txt";
    part.location = part.name;
    out.parts.push_back(part);
    return out;
}

bool exact_part(Bytes headers, std::size_t kept, ExactTexts& texts, ExactBodyPart& part) {
    BoundedReader in(headers.data(), headers.size());
    read_part(in, static_cast<uint32_t>(headers.size()), kept, texts, part);
    return in.position() == headers.size();
}

}  // namespace mmskit_anatomy
