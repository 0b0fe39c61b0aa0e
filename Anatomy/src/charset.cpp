// Which character set a text is in, and the text in UTF-8; see charset.h.
#include "Anatomy/src/charset.h"

#include "Anatomy/src/cursor.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "Anatomy/src/charset_table.h"
#include "Anatomy/src/converters.h"
#include "Anatomy/src/letters.h"
#include "Anatomy/src/utf16.h"

namespace mmskit_anatomy {
namespace {

constexpr uint32_t mib_windows_1252 = 2252, mib_shift_jis = 17;
constexpr std::string_view replacement_utf8 = "\xEF\xBF\xBD";

// Windows-1252 from 0x80 to 0x9F; the five octets without a character stay controls.
constexpr std::array<uint16_t, 32> windows_1252{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

std::string from_single_octets(Bytes bytes, bool windows) {
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 4);
    for (const uint8_t octet : bytes) {
        const bool special = windows && octet >= 0x80 && octet < 0xA0;
        put_utf8(out, special ? windows_1252[octet - 0x80U] : octet);
    }
    return out;
}

// Bytes of the text up to the first that is no part of a valid sequence (RFC 3629).
std::size_t valid_size(std::string_view text) {
    std::size_t at = 0;
    const auto octet = [&](std::size_t i) {
        return i < text.size() ? static_cast<uint8_t>(text[i]) : 0U;
    };
    for (;;) {
        while (at + sizeof(uint64_t) <= text.size() &&
               (octets_at(text, at) & 0x8080808080808080) == 0)
            at += sizeof(uint64_t);
        while (at < text.size() && static_cast<uint8_t>(text[at]) < 0x80)
            ++at;
        if (at == text.size()) return at;
        const uint32_t lead = octet(at);
        const uint32_t more = lead < 0xC2   ? 0
                              : lead < 0xE0 ? 1
                              : lead < 0xF0 ? 2
                              : lead < 0xF5 ? 3
                                            : 0;
        const uint32_t second = octet(at + 1);
        const uint32_t least = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        const uint32_t most = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        if (more == 0 || second < least || second > most) return at;
        for (uint32_t i = 2; i <= more; ++i)
            if ((octet(at + i) & 0xC0U) != 0x80) return at;
        at += more + 1;
    }
}

// The rest after the valid part is the beginning of a character, and the part before it has others
// of more than one octet, so that UTF-8 is meant and its end is cut.
bool cut_utf8(std::string_view text, std::size_t valid) {
    const std::string_view rest = text.substr(valid);
    if (rest.empty() || rest.size() > 3) return false;
    const auto lead = static_cast<uint8_t>(rest[0]);
    const std::size_t whole = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead >= 0xF5 || rest.size() >= whole) return false;
    const auto many = [](char c) { return static_cast<uint8_t>(c) >= 0x80; };
    return std::all_of(rest.begin() + 1, rest.end(),
                       [](char c) { return (static_cast<uint8_t>(c) & 0xC0U) == 0x80; }) &&
           std::any_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(valid), many);
}

class Converter {
  public:
    explicit Converter(std::string_view name) : handle_(converter("UTF-8", name)) {}
    [[nodiscard]] bool usable() const { return handle_ != no_converter; }

    enum class End : uint8_t { whole, cut, invalid };
    // `replacing` puts U+FFFD for each octet that has no character.
    End convert(Bytes bytes, std::string& out, bool replacing) {
        (void)iconv(handle_, nullptr, nullptr, nullptr, nullptr);
        auto* from = const_cast<char*>(reinterpret_cast<const char*>(bytes.data()));
        std::size_t left = bytes.size();
        End end = End::whole;
        while (step(&from, &left, out)) {
            if (errno == E2BIG) continue;
            if (errno == EINVAL) return end == End::invalid ? end : End::cut;
            end = End::invalid;
            // The C library refuses a last character of ISO-2022-CN-EXT that it has taken already.
            if (!replacing || left == 0) return end;
            out += replacement_utf8;
            ++from;
            --left;
        }
        return end;
    }

  private:
    // One call, and the shift back at the end; true when there is more to do.
    bool step(char** from, std::size_t* left, std::string& out) {
        std::array<char, 1024> piece;
        char* to = piece.data();
        std::size_t room = piece.size();
        const std::size_t done = iconv(handle_, from, left, &to, &room);
        const int reason = errno;
        out.append(piece.data(), piece.size() - room);
        errno = reason;
        return done == static_cast<std::size_t>(-1);
    }
    iconv_t handle_;
};

// iconv follows JIS X 0201, where these two places hold other signs; senders mean ASCII.
void restore_ascii(std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        if (text.compare(at, 2, "\xC2\xA5") == 0) {
            out.push_back('\\');
            at += 2;
        } else if (text.compare(at, 3, "\xE2\x80\xBE") == 0) {
            out.push_back('~');
            at += 3;
        } else {
            out.push_back(text[at++]);
        }
    }
    text = std::move(out);
}

// Sets that mark what is not ASCII by escapes: their bytes are ASCII too, and prove nothing.
bool escaped(uint32_t mib) {
    constexpr uint32_t sets[] = {16, 37, 39, 40, 104, 105, 1012, 2260};
    return std::find(std::begin(sets), std::end(sets), mib) != std::end(sets);
}

void from_wide(Bytes bytes, uint32_t mib, Text& text) {
    const ByteOrder order = mib == mib_utf_16be || mib == 1018   ? ByteOrder::big
                            : mib == mib_utf_16le || mib == 1019 ? ByteOrder::little
                                                                 : ByteOrder::unknown;
    const bool four = mib == 1001 || mib >= 1017;
    text.damaged =
        four ? !from_utf32(bytes, order, text.utf8) : !from_utf16(bytes, order, text.utf8);
}

// RFC 1843 and what else has no iconv of its own is not converted. True when the bytes are text in
// that set, an end that is cut included.
bool from_iconv(Bytes bytes, const CharsetRow& row, Text& text) {
    std::string_view names = row.iconv;
    while (!names.empty()) {
        const std::size_t size = std::min(names.find(' '), names.size());
        Converter from(names.substr(0, size));
        names.remove_prefix(std::min(size + 1, names.size()));
        if (!from.usable()) continue;
        std::string out;
        Converter::End end = from.convert(bytes, out, false);
        const bool last = names.empty();
        if (end == Converter::End::invalid && last && escaped(row.mib)) {
            out.clear();
            (void)from.convert(bytes, out, true);
            text.damaged = true;
            end = Converter::End::whole;
        }
        // A cut needs characters before it: one octet at the end alone proves nothing.
        const bool proved = std::any_of(out.begin(), out.end(),
                                        [](char c) { return static_cast<uint8_t>(c) >= 0x80; });
        if (end == Converter::End::invalid || (end == Converter::End::cut && !proved)) continue;
        text.damaged = text.damaged || end == Converter::End::cut;
        if (row.mib == mib_shift_jis) restore_ascii(out);
        text.utf8 = std::move(out);
        return true;
    }
    return false;
}

// As declared; false when the bytes are no text in that set.
bool from_declared(Bytes bytes, uint32_t mib, Text& text) {
    if (is_wide(mib)) {
        from_wide(bytes, mib, text);
        return true;
    }
    if (mib == mib_iso_8859_1 || mib == mib_windows_1252) {
        text.utf8 = from_single_octets(bytes, mib == mib_windows_1252);
        return true;
    }
    if (mib == mib_us_ascii || mib == mib_utf_8) {
        const std::string_view raw = text_of(bytes);
        const std::size_t valid = valid_size(raw);
        const bool ascii =
            std::none_of(bytes.begin(), bytes.end(), [](uint8_t c) { return c >= 0x80; });
        text.damaged = mib == mib_utf_8 && cut_utf8(raw, valid);
        if (mib == mib_us_ascii ? !ascii : valid != raw.size() && !text.damaged) return false;
        text.utf8 = raw.substr(0, valid);
        return true;
    }
    const CharsetRow* const row = charset_row(mib);
    return row != nullptr && !row->iconv.empty() && from_iconv(bytes, *row, text);
}

void guess(Bytes bytes, Text& text) {
    const std::string_view raw = text_of(bytes);
    const std::size_t valid = valid_size(raw);
    text.damaged = cut_utf8(raw, valid);
    const bool utf8 = valid == raw.size() || text.damaged;
    text.used = utf8 ? utf8_name : "windows-1252";
    text.utf8 = utf8 ? std::string(raw.substr(0, valid)) : from_single_octets(bytes, true);
}

}  // namespace

bool valid_utf8(std::string_view text) {
    return valid_size(text) == text.size();
}

Text to_utf8(Bytes bytes, uint32_t declared, std::string_view name) {
    Text text;
    const uint32_t mib = declared != 0 ? declared : charset_number(name);
    if (mib != 0 && from_declared(bytes, mib, text)) {
        text.used = charset_name(mib);
    } else {
        text = Text();
        text.as_declared = false;
        guess(bytes, text);
    }
    // All marks: what is written without them begins with none when it is read again.
    std::size_t marks = 0;
    while (text.utf8.compare(marks, utf8_mark.size(), utf8_mark) == 0)
        marks += utf8_mark.size();
    text.utf8.erase(0, marks);
    return text;
}

}  // namespace mmskit_anatomy
