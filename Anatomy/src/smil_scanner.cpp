// The tags of a presentation; see smil_scanner.h.
#include "Anatomy/src/smil_scanner.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "Anatomy/src/letters.h"
#include "Anatomy/src/smil.h"

namespace mmskit_anatomy {
namespace {

constexpr std::size_t longest_entity = 12;    // characters between "&" and ";"
constexpr std::size_t most_attributes = 256;  // of one tag; a region has eight

// What a byte ends, a bit for each.
constexpr uint8_t ends_tag = 1, ends_name = 2, ends_bare_value = 4, ends_double = 8,
                  ends_single = 16;
constexpr auto class_of_byte = [] {
    std::array<uint8_t, 256> ends{};
    for (const char c : std::string_view(" \t\n\v\f\r>/"))
        ends[static_cast<uint8_t>(c)] = ends_tag | ends_name | ends_bare_value;
    ends['<'] = ends_tag | ends_name | ends_double | ends_single;
    ends['='] = ends_name;
    ends['"'] = ends_double;
    ends['\''] = ends_single;
    return ends;
}();

constexpr bool begins_name(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
           static_cast<unsigned char>(c) >= 0x80;
}

std::string_view without_prefix(std::string_view name) {
    const std::size_t colon = name.rfind(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

void append_utf8(std::string& out, uint32_t c) {
    const auto more = [&out](uint32_t bits) { out += static_cast<char>(0x80 | (bits & 0x3F)); };
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | c >> 6);
        more(c);
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | c >> 12);
        more(c >> 6);
        more(c);
    } else {
        out += static_cast<char>(0xF0 | c >> 18);
        more(c >> 12);
        more(c >> 6);
        more(c);
    }
}

std::optional<uint32_t> numeric_entity(std::string_view body) {
    const bool hex = body.size() > 1 && (body[1] == 'x' || body[1] == 'X');
    const std::string_view digits = body.substr(hex ? 2 : 1);
    if (digits.empty()) return std::nullopt;
    uint32_t value = 0;
    for (const char c : digits) {
        const char low = static_cast<char>(c | 0x20);
        const bool letter = hex && low >= 'a' && low <= 'f';
        if (!letter && (c < '0' || c > '9')) return std::nullopt;
        value = value * (hex ? 16 : 10) + static_cast<uint32_t>(letter ? low - 'a' + 10 : c - '0');
        if (value > 0x10FFFF) return std::nullopt;
    }
    const bool is_character = value != 0 && (value < 0xD800 || value > 0xDFFF);
    return is_character ? std::optional(value) : std::nullopt;
}

std::optional<uint32_t> entity(std::string_view body) {
    if (body.empty()) return std::nullopt;
    if (body[0] == '#') return numeric_entity(body);
    constexpr struct {
        std::string_view name;
        uint32_t value;
    } named[] = {{"amp", '&'},  {"lt", '<'},    {"gt", '>'},
                 {"quot", '"'}, {"apos", '\''}, {"nbsp", 0xA0}};
    for (const auto& row : named)
        if (body == row.name) return row.value;
    return std::nullopt;
}

// Named entities of XML and numeric ones; others stay as they are.
std::string without_entities(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == '&') {
            const std::string_view rest = text.substr(at + 1, longest_entity + 1);
            const std::size_t end = rest.find(';');
            const auto value =
                end == std::string_view::npos ? std::nullopt : entity(rest.substr(0, end));
            if (value) {
                append_utf8(out, *value);
                at += end + 2;
                continue;
            }
        }
        out += text[at++];
    }
    return out;
}

}  // namespace

// Where the next byte of that class stands; a "/" that is not before ">" ends a tag's name alone.
std::size_t SmilScanner::pass_until(uint8_t ends) const {
    const char* const text = text_.data();
    const std::size_t size = text_.size();
    for (std::size_t at = at_; at < size; ++at) {
        if ((class_of_byte[static_cast<uint8_t>(text[at])] & ends) == 0) continue;
        const bool may_go_on = text[at] == '/' && ends != ends_tag;
        if (!may_go_on || (at + 1 < size && text[at + 1] == '>')) return at;
    }
    return size;
}

void SmilScanner::skip_blanks() {
    while (at_ < text_.size() && is_blank(text_[at_]))
        ++at_;
}

bool SmilScanner::next(SmilTag& tag) {
    for (;;) {
        at_ = std::min(text_.find('<', at_), text_.size());
        if (at_ == text_.size()) return false;
        ++at_;
        if (peek() == '!' || peek() == '?') {
            pass_markup();
            continue;
        }
        tag.attributes.clear();  // its memory serves every tag
        skip_blanks();
        const bool closing = peek() == '/';
        if (closing) ++at_;
        skip_blanks();
        if (!begins_name(peek())) continue;
        const std::size_t begin = at_;
        at_ = pass_until(ends_tag);
        tag.name = without_prefix(text_.substr(begin, at_ - begin));
        tag.opens = !closing;
        tag.closes = closing;
        read_attributes(tag);
        return true;
    }
}

// Moves behind `end`; false when it does not follow.
bool SmilScanner::pass_behind(std::string_view end, std::size_t from, bool& missing) {
    const std::size_t found = missing ? std::string_view::npos : text_.find(end, from);
    missing = found == std::string_view::npos;
    if (!missing) at_ = found + end.size();
    return !missing;
}

void SmilScanner::pass_markup() {
    const std::string_view rest = text_.substr(at_);
    // One without its end is passed over alone: what follows is read.
    if (rest.starts_with("!--")) return (void)pass_behind("-->", at_ + 3, no_comment_end_);
    if (rest.starts_with("![CDATA[")) return (void)pass_behind("]]>", at_ + 8, no_data_end_);
    if (rest[0] == '?' && pass_behind("?>", at_ + 1, no_instruction_end_)) return;
    if (same_word(rest.substr(0, 8), "!doctype") && !document_type_seen_) {
        document_type_seen_ = true;
        pass_document_type();
        return;
    }
    at_ = std::min(text_.find('>', at_), text_.size());
}

// To the ">" that is neither in quotes nor in the internal subset; to the first one where there is
// none such.
void SmilScanner::pass_document_type() {
    const std::size_t begin = at_;
    char quote = '\0';
    int depth = 0;
    for (; at_ < text_.size(); ++at_) {
        const char c = text_[at_];
        if (quote != '\0') {
            if (c == quote) quote = '\0';
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '[' || c == ']') {
            depth += c == '[' ? 1 : -1;
        } else if (c == '>' && depth <= 0) {
            return;
        }
    }
    at_ = std::min(text_.find('>', begin), text_.size());
}

// Behind the tag's name, to its ">", or to a "<" that begins the next tag where that is missing.
void SmilScanner::read_attributes(SmilTag& tag) {
    for (;;) {
        skip_blanks();
        if (at_tag_end() || peek() == '<') return;
        if (peek() == '/') {
            ++at_;
            if (peek() == '>') tag.closes = true;
            continue;
        }
        const std::size_t begin = at_;
        at_ = pass_until(ends_name);
        const std::string_view name = text_.substr(begin, at_ - begin);
        skip_blanks();
        if (peek() != '=') {
            if (name.empty()) ++at_;  // a stray quote or sign
            continue;
        }
        ++at_;
        skip_blanks();
        const std::string_view value = read_value();
        if (name.empty() || tag.attributes.size() >= most_attributes) continue;
        const bool plain = value.find('&') == std::string_view::npos;
        tag.attributes.push_back(
            {without_prefix(name), plain ? value : undone_.keep_view(without_entities(value))});
    }
}

// A "<" cannot stand in a value: a quote that is not closed before it was forgotten, and the value
// ends at ">".
std::string_view SmilScanner::read_value() {
    const char quote = peek();
    if (quote == '"' || quote == '\'') {
        const std::size_t begin = ++at_;
        const std::size_t end = pass_until(quote == '"' ? ends_double : ends_single);
        if (end < text_.size() && text_[end] == quote) {
            at_ = end + 1;
            return text_.substr(begin, end - begin);
        }
        const std::string_view open = text_.substr(begin, end - begin);
        const std::string_view value = open.substr(0, open.find('>'));
        at_ = begin + value.size();
        return value.ends_with('/') ? value.substr(0, value.size() - 1) : value;
    }
    const std::size_t begin = at_;
    at_ = pass_until(ends_bare_value);
    return text_.substr(begin, at_ - begin);
}

}  // namespace mmskit_anatomy
