// RFC 2047 encoded words. Words that follow one another have the white space between them dropped;
// those of one character set are joined before they are converted, because senders split them
// inside a character. What is not right in every respect stays as it is.
#include <optional>

#include "Anatomy/src/charset.h"
#include "Anatomy/src/decode.h"

namespace mmskit_anatomy {
namespace {

struct Word {
    uint32_t charset = 0;
    std::vector<uint8_t> bytes;
    std::size_t size = 0;  // as it stands
};

Bytes as_bytes(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// Between the words: white space, or nothing.
std::size_t leading_blanks(std::string_view text) {
    const std::size_t end = text.find_first_not_of(" \t\r\n");
    return end == std::string_view::npos ? text.size() : end;
}

std::optional<std::vector<uint8_t>> undone(char encoding, std::string_view text) {
    if (encoding == 'b' || encoding == 'B') {
        Decoded decoded = decode_base64(as_bytes(text), text.size());
        if (!decoded.whole) return std::nullopt;
        return std::move(decoded.bytes);
    }
    if (encoding != 'q' && encoding != 'Q') return std::nullopt;
    std::vector<uint8_t> out;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '=') {
            out.push_back(text[at] == '_' ? uint8_t{' '} : static_cast<uint8_t>(text[at]));
            continue;
        }
        const Decoded octet = decode_quoted_printable(as_bytes(text.substr(at, 3)), 1);
        if (octet.used != 3 || octet.bytes.size() != 1) return std::nullopt;
        out.push_back(octet.bytes[0]);
        at += 2;
    }
    return out;
}

// The word that begins at the start of `text`: "=?charset[*language]?encoding?text?=".
std::optional<Word> word_at(std::string_view text) {
    constexpr std::size_t longest_charset = 60;
    if (!text.starts_with("=?")) return std::nullopt;
    const std::string_view head = text.substr(2, longest_charset);
    const std::size_t name_end = head.find('?');
    if (name_end == std::string_view::npos) return std::nullopt;
    const std::string_view name = head.substr(0, name_end);
    const std::size_t encoding = 2 + name_end + 1;
    if (encoding + 1 >= text.size() || text[encoding + 1] != '?') return std::nullopt;
    const std::size_t begin = encoding + 2;
    const std::size_t end = text.find('?', begin);
    if (end == std::string_view::npos || end + 1 >= text.size() || text[end + 1] != '=')
        return std::nullopt;
    if (std::string_view("bBqQ").find(text[encoding]) == std::string_view::npos)
        return std::nullopt;
    const uint32_t charset = charset_number(name.substr(0, name.find('*')));
    if (charset == 0) return std::nullopt;
    auto bytes = undone(text[encoding], text.substr(begin, end - begin));
    if (!bytes) return std::nullopt;
    return Word{charset, std::move(*bytes), end + 2};
}

}  // namespace

bool decode_words(std::string& text) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || text.find("=?", sign) == std::string::npos) return false;
    std::string out;
    std::string_view rest = text;
    bool found = false;
    while (!rest.empty()) {
        std::optional<Word> word = word_at(rest);
        if (!word) {
            const std::size_t next = rest.find("=?", 1);
            const std::size_t size = std::min(next, rest.size());
            out += rest.substr(0, size);
            rest.remove_prefix(size);
            continue;
        }
        found = true;
        std::vector<uint8_t> run;  // of words in one character set
        while (word) {
            run.insert(run.end(), word->bytes.begin(), word->bytes.end());
            rest.remove_prefix(word->size);
            const std::size_t gap = leading_blanks(rest);
            std::optional<Word> next = word_at(rest.substr(gap));
            if (next) rest.remove_prefix(gap);
            if (!next || next->charset != word->charset) {
                out += to_utf8(run, word->charset).utf8;
                run.clear();
            }
            word = std::move(next);
        }
    }
    if (found) text = std::move(out);
    return found;
}

}  // namespace mmskit_anatomy
