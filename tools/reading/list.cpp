#include "reading/list.h"

#include <algorithm>
#include <array>

#include "ground/safe_text.h"
#include "reading/render.h"

namespace mmskit_tool {
namespace {

// Characters of two columns on a terminal, and of none (Unicode TR11 and combining marks): the
// blocks that names and subjects are written in.
constexpr CharacterRange wide[] = {{0x1100, 0x115F},   {0x2E80, 0xA4CF},  {0xAC00, 0xD7A3},
                                   {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},  {0xFF00, 0xFF60},
                                   {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD}};
constexpr CharacterRange narrow[] = {{0x300, 0x36F}, {0x200B, 0x200F}, {0xFE00, 0xFE0F}};

// The next character of a text that is UTF-8, and its bytes.
std::pair<uint32_t, std::size_t> next_character(std::string_view text) {
    const auto first = static_cast<uint8_t>(text[0]);
    const std::size_t bytes = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    uint32_t character = bytes == 1 ? first : first & (0xFFU >> (bytes + 1));
    for (std::size_t i = 1; i < std::min(bytes, text.size()); ++i)
        character = character << 6U | (static_cast<uint8_t>(text[i]) & 0x3FU);
    return {character, std::min(bytes, text.size())};
}

// The text in exactly `width` columns, its end replaced by a sign where it is cut.
std::string in_columns(const std::string& text, std::size_t width) {
    std::string out;
    std::size_t used = 0;
    std::size_t fits = 0;  // bytes of the text before its last column
    std::size_t fits_columns = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const auto [character, bytes] = next_character(rest);
        const std::size_t columns = in_any(character, narrow) ? 0 : in_any(character, wide) ? 2 : 1;
        if (used + columns > width) {
            out.resize(fits);
            return out + "…" + std::string(width - fits_columns - 1, ' ');
        }
        out += rest.substr(0, bytes);
        rest.remove_prefix(bytes);
        used += columns;
        if (used < width) {
            fits = out.size();
            fits_columns = used;
        }
    }
    return out + std::string(width - used, ' ');
}

std::string right(const std::string& text, std::size_t width) {
    return text.size() >= width ? text : std::string(width - text.size(), ' ') + text;
}

std::string minutes(Date date) {
    std::string text = iso_date(date);
    if (const std::size_t t = text.find('T'); t != std::string::npos) text[t] = ' ';
    constexpr std::size_t to_the_minute = sizeof "2025-07-31 17:00" - 1;
    return text.substr(0, to_the_minute);
}

std::string count_or_nothing(std::size_t count) {
    return count != 0 ? std::to_string(count) : "";
}

std::string notes_of(const MessageFacts& facts) {
    if (anything_lost(facts)) return "lost";
    return count_or_nothing(facts.notes.size());
}

}  // namespace

ListRow list_head() {
    return {"KIND", "DATE", "FROM", "SUBJECT", "SLIDES", "PARTS", "SIZE", "NOTES", "FILE"};
}

ListRow list_row(const MessageFacts& facts, const std::string& file) {
    ListRow row;
    row.kind = facts.kind;
    const HeaderFact* date = find_header(facts, "date");
    if (const auto* value = date != nullptr ? std::get_if<Date>(&date->value) : nullptr) {
        row.date = minutes(*value);
        row.seconds = value->seconds;
    }
    row.from = header_string(facts, "from");
    row.subject = header_string(facts, "subject");
    if (row.subject.empty()) row.subject = header_string(facts, "text");  // of an indication
    row.slides = count_or_nothing(facts.slides.size());
    row.parts = count_or_nothing(facts.parts.size());
    row.size = std::to_string(facts.size);
    row.notes = notes_of(facts);
    row.file = file;
    return row;
}

ListRow list_row(const std::string& why_not, const std::string& file) {
    ListRow row;
    row.kind = "-";
    row.subject = why_not;
    row.file = file;
    return row;
}

std::string list_line(const ListRow& row) {
    const std::string gap = "  ";
    return in_columns(visible(row.kind), 18) + gap + in_columns(row.date, 16) + gap +
           in_columns(visible(row.from), 20) + gap + in_columns(visible(row.subject), 32) + gap +
           right(row.slides, 6) + gap + right(row.parts, 5) + gap + right(row.size, 8) + gap +
           right(row.notes, 5) + gap + visible(row.file) + '\n';
}

}  // namespace mmskit_tool
