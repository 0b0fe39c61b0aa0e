// Hexadecimal text and dumps, and compressed data.
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>

#include "Anatomy/src/decode.h"
#include "Anatomy/src/inputs.h"
#include "Anatomy/src/letters.h"

namespace mmskit_anatomy {
namespace {

bool is_separator(uint8_t c) {
    return std::isspace(c) != 0 || c == ',' || c == ':' || c == ';' || c == '-' || c == '{' ||
           c == '}' || c == '"';
}

}  // namespace

// Digits pair up within a run; a run of an odd number of digits is no bytes but at the very end.
HexText read_hex(Bytes text, std::size_t limit) {
    HexText out;
    int high = -1;
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const uint8_t c = text[i];
        const bool prefix = high < 0 && i + 1 < text.size() && (text[i + 1] | 0x20) == 'x' &&
                            (c == '0' || c == '\\');
        if (prefix) {
            ++i;
            continue;
        }
        const int value = hex_digit(static_cast<char>(c));
        if (value < 0) {
            if (!is_separator(c)) return {};
            if (high >= 0 && std::isspace(c) == 0) return {};
            if (high >= 0) break;  // a digit left over: only white space may follow
            continue;
        }
        if (high < 0) {
            high = value;
            continue;
        }
        if (out.bytes.size() < limit) out.bytes.push_back(static_cast<uint8_t>(high << 4 | value));
        high = -1;
        ++count;
    }
    out.half = high >= 0;
    out.valid = count > 0;
    if (out.half) {
        const auto last = std::find_if(text.rbegin(), text.rend(),
                                       [](uint8_t c) { return std::isspace(c) == 0; });
        // The digit left over must be the last character.
        if (last == text.rend() || hex_digit(static_cast<char>(*last)) < 0) out.valid = false;
        const auto before = last + 1;
        if (out.valid && before != text.rend() && std::isspace(*before) == 0 &&
            hex_digit(static_cast<char>(*before)) < 0 && (*before | 0x20) != 'x')
            out.valid = false;
    }
    return out;
}

// ---- Hexadecimal among other words --------------------------------------------------------------

namespace {

constexpr std::size_t fewest_log_bytes = 8;  // in a row; fewer may be words or times

bool is_hex_word(std::string_view word) {
    if (word.ends_with(',')) word.remove_suffix(1);
    if (word.starts_with("0x")) word.remove_prefix(2);
    return word.size() >= 2 && word.size() % 2 == 0 &&
           std::all_of(word.begin(), word.end(), [](char c) { return hex_digit(c) >= 0; });
}

// The words of bytes with which a line ends; the word that a label is glued to counts from behind
// its ":", "=" or quote on.
std::string_view hex_end(std::string_view line) {
    while (!line.empty() &&
           (std::isspace(static_cast<unsigned char>(line.back())) != 0 || line.back() == '"'))
        line.remove_suffix(1);
    std::size_t from = line.size();
    for (;;) {
        const std::size_t end = line.find_last_not_of(' ', from == 0 ? 0 : from - 1);
        if (from == 0 || end == std::string_view::npos) break;
        const std::size_t space = line.find_last_of(" \t", end);
        const std::size_t begin = space == std::string_view::npos ? 0 : space + 1;
        const std::string_view word = line.substr(begin, end + 1 - begin);
        if (!is_hex_word(word)) {
            const std::size_t label = word.find_last_of(":=\"<>[]");
            if (label != std::string_view::npos && is_hex_word(word.substr(label + 1)))
                from = begin + label + 1;
            break;
        }
        from = begin;
        if (begin == 0) break;
    }
    return line.substr(from);
}

}  // namespace

HexText read_hex_log(Bytes text, std::size_t limit) {
    std::string_view left = text_of(text);
    const std::size_t open = left.find('{');
    const std::size_t close = left.find('}', open == std::string_view::npos ? 0 : open);
    if (open != std::string_view::npos && close != std::string_view::npos)
        return read_hex(bytes_of(left.substr(open, close - open)), limit);
    HexText out;
    while (!left.empty()) {
        const std::size_t end = std::min(left.find('\n'), left.size());
        const std::string_view digits = hex_end(left.substr(0, end));
        left.remove_prefix(std::min(end + 1, left.size()));
        if (digits.size() < 2 * fewest_log_bytes) continue;
        const HexText line = read_hex(bytes_of(digits), limit);
        if (!line.valid) continue;
        const std::size_t room = limit - std::min(limit, out.bytes.size());
        out.bytes.insert(
            out.bytes.end(), line.bytes.begin(),
            line.bytes.begin() + static_cast<std::ptrdiff_t>(std::min(room, line.bytes.size())));
        out.valid = true;
    }
    return out;
}

// ---- Dumps ------------------------------------------------------------------------------------

namespace {

struct Row {
    uint64_t offset = 0;
    std::string_view rest;  // behind the offset
    bool repeat = false;    // "*": the row before, again and again
};

bool read_row(std::string_view line, unsigned base, Row& row) {
    if (line == "*") {
        row.repeat = true;
        return true;
    }
    std::size_t n = 0;
    for (; n < line.size() && n < 16; ++n) {
        const int digit = hex_digit(line[n]);
        if (digit < 0) break;
        if (digit >= static_cast<int>(base)) return false;
        row.offset = row.offset * base + static_cast<unsigned>(digit);
    }
    if (n < 4) return false;
    if (n < line.size() && line[n] == ':') ++n;
    if (n < line.size() && line[n] != ' ' && line[n] != '\t') return false;
    row.rest = line.substr(n);
    return true;
}

constexpr std::size_t longest_row = 64;

// The bytes of a row, as many as stand before what is no pair of digits; `most` of them. `end` is
// where the reading ended.
std::size_t read_pairs(std::string_view text, std::size_t most, uint8_t* out, std::size_t& end) {
    std::size_t count = 0, i = 0;
    end = 0;
    while (count < most) {
        std::size_t gap = 0;
        while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) {
            ++i;
            ++gap;
        }
        if (count > 0 && gap > 3) break;
        if (i + 1 >= text.size()) break;
        const int high = hex_digit(text[i]);
        const int low = hex_digit(text[i + 1]);
        if (high < 0 || low < 0) break;
        out[count++] = static_cast<uint8_t>(high << 4 | low);
        i += 2;
        end = i;
    }
    return count;
}

class DumpReader {
  public:
    DumpReader(std::size_t limit, unsigned base) : limit_(limit), base_(base) {}

    bool line(std::string_view text) {
        if (text.ends_with('\r')) text.remove_suffix(1);
        if (text.empty()) return true;
        Row row;
        if (!read_row(text, base_, row)) return false;
        if (row.repeat) {
            repeating_ = true;
            return have_row_;
        }
        if (have_row_ && !finish_row(row.offset)) return false;
        held_ = row;
        if (!have_row_) from_zero_ = row.offset == 0;
        ++rows_;
        have_row_ = true;
        return true;
    }

    HexDump end() {
        if (!have_row_) return {};
        finish_last();
        out_.valid = !out_.bytes.empty();
        out_.certain = out_.valid && from_zero_ && !out_.gap && rows_ > 1;
        return std::move(out_);
    }

  private:
    // The next row's offset tells how many bytes the held row has.
    bool finish_row(uint64_t next) {
        if (next <= held_.offset) return false;
        const uint64_t width = next - held_.offset;
        uint8_t bytes[longest_row];
        std::size_t end = 0;
        const std::size_t most = repeating_ || width > longest_row
                                     ? (width_ != 0 ? width_ : 16)
                                     : static_cast<std::size_t>(width);
        const std::size_t count = read_pairs(held_.rest, most, bytes, end);
        if (count == 0) return false;
        if (column_ == 0) {
            column_ = end;
            width_ = count;
        }
        append(bytes, count);
        for (uint64_t at = count; repeating_ && at < width && out_.bytes.size() < limit_;
             at += count)
            append(bytes, static_cast<std::size_t>(std::min<uint64_t>(count, width - at)));
        if (!repeating_ && count != width) out_.gap = true;
        repeating_ = false;
        return true;
    }

    // The last row has characters from the same column on as the others.
    void finish_last() {
        uint8_t bytes[longest_row];
        std::size_t end = 0;
        std::string_view rest = held_.rest;
        if (column_ != 0) rest = rest.substr(0, column_);
        append(bytes, read_pairs(rest, width_ != 0 ? width_ : 16, bytes, end));
    }

    void append(const uint8_t* bytes, std::size_t count) {
        const std::size_t room = limit_ - std::min(limit_, out_.bytes.size());
        out_.bytes.insert(out_.bytes.end(), bytes, bytes + std::min(count, room));
    }

    std::size_t limit_;
    HexDump out_;
    Row held_;
    unsigned base_;
    std::size_t column_ = 0, width_ = 0, rows_ = 0;
    bool have_row_ = false, repeating_ = false, from_zero_ = false;
};

}  // namespace

namespace {

HexDump read_rows(std::string_view left, std::size_t limit, unsigned base) {
    DumpReader reader(limit, base);
    while (!left.empty()) {
        const std::size_t end = std::min(left.find('\n'), left.size());
        if (!reader.line(left.substr(0, end))) return {};
        left.remove_prefix(std::min(end + 1, left.size()));
    }
    return reader.end();
}

}  // namespace

// od counts in octal unless it is told otherwise.
HexDump read_hex_dump(Bytes text, std::size_t limit) {
    HexDump dump = read_rows(text_of(text), limit, 16);
    if (dump.certain || !dump.gap) return dump;
    HexDump octal = read_rows(text_of(text), limit, 8);
    return octal.certain ? octal : dump;
}

// ---- Compression ------------------------------------------------------------------------------

namespace {

class Inflater {
  public:
    explicit Inflater(int window_bits) : ready_(inflateInit2(&stream_, window_bits) == Z_OK) {
        if (!ready_) throw std::bad_alloc();
    }
    ~Inflater() { (void)inflateEnd(&stream_); }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    // Appends to `out`; true when the stream came to its end. `used` counts its bytes.
    bool run(Bytes data, std::vector<uint8_t>& out, std::size_t limit, std::size_t& used) {
        std::array<uint8_t, 16384> block;
        stream_.next_in = const_cast<Bytef*>(data.data());
        stream_.avail_in = static_cast<uInt>(data.size());
        int state = Z_OK;
        while (state == Z_OK && out.size() < limit) {
            stream_.next_out = block.data();
            stream_.avail_out = static_cast<uInt>(std::min(block.size(), limit - out.size()));
            const uInt asked = stream_.avail_out;
            state = inflate(&stream_, Z_NO_FLUSH);
            if (state == Z_MEM_ERROR) throw std::bad_alloc();
            out.insert(out.end(), block.data(), block.data() + (asked - stream_.avail_out));
            if (state == Z_OK && stream_.avail_in == 0 && stream_.avail_out != 0) break;
        }
        used = data.size() - stream_.avail_in;
        return state == Z_STREAM_END;
    }

  private:
    z_stream stream_{};
    bool ready_;
};

// The length of a gzip member's header (RFC 1952 2.3); 0 when it is cut or no such header.
std::size_t gzip_header(Bytes data) {
    if (data.size() < 10 || data[0] != 0x1F || data[1] != 0x8B || data[2] != 8) return 0;
    const uint8_t flags = data[3];
    std::size_t at = 10;
    if ((flags & 4U) != 0) {
        if (at + 2 > data.size()) return 0;
        at += 2U + data[at] + 256U * data[at + 1];
    }
    for (const unsigned text : {8U, 16U}) {  // a name, a comment
        if ((flags & text) == 0) continue;
        while (at < data.size() && data[at] != 0)
            ++at;
        ++at;
    }
    if ((flags & 2U) != 0) at += 2;
    return at < data.size() ? at : 0;
}

uint32_t little_endian(Bytes four) {
    return four[0] | static_cast<uint32_t>(four[1]) << 8 | static_cast<uint32_t>(four[2]) << 16 |
           static_cast<uint32_t>(four[3]) << 24;
}

// Deflate never makes more of a byte; reserving that keeps a large result from being copied.
constexpr std::size_t most_inflation = 1032;

}  // namespace

// Only the compressed data itself can be missed: a trailer that was cut off costs nothing.
Decoded decode_gzip(Bytes data, std::size_t limit) {
    Decoded out;
    out.bytes.reserve(std::min(limit, data.size() * most_inflation));
    do {
        const Bytes left = data.subspan(out.used);
        const std::size_t header = gzip_header(left);
        if (header == 0) {
            out.whole = out.used != 0;  // what follows a member and is none is not ours
            return out;
        }
        const std::size_t before = out.bytes.size();
        std::size_t used = 0;
        out.whole = Inflater(-MAX_WBITS).run(left.subspan(header), out.bytes, limit, used);
        out.used += header + used;
        out.limited = !out.whole && out.bytes.size() >= limit;
        if (!out.whole) return out;
        const Bytes trailer = data.subspan(out.used);
        if (trailer.size() < 8) return out;
        const auto sum =
            crc32(0, out.bytes.data() + before, static_cast<uInt>(out.bytes.size() - before));
        out.whole = sum == little_endian(trailer.first(4));
        out.used += 8;
    } while (out.whole && out.used < data.size());
    return out;
}

Decoded decode_deflate(Bytes data, std::size_t limit) {
    Decoded out;
    out.bytes.reserve(std::min(limit, data.size() * most_inflation));
    const bool zlib =
        data.size() > 2 && (data[0] & 0x0FU) == 8 && (data[0] * 256U + data[1]) % 31 == 0;
    const std::size_t header = zlib ? 2 : 0;
    out.whole = Inflater(-MAX_WBITS).run(data.subspan(header), out.bytes, limit, out.used);
    out.used += header;
    out.limited = !out.whole && out.bytes.size() >= limit;
    return out;
}

}  // namespace mmskit_anatomy
