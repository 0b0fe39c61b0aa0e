// Byte strings for tests: written as hex and text, printed as hex when a test fails.
#pragma once

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>
#include <string_view>

namespace testing_support {

// "8C 84 'text' 00": two hex digits a byte, text between single quotes, blanks ignored.
inline std::string bytes(std::string_view notation) {
    std::string out;
    int high = -1;
    bool quoted = false;
    for (const char c : notation) {
        if (c == '\'') {
            quoted = !quoted;
        } else if (quoted) {
            out += c;
        } else if (std::isxdigit(static_cast<unsigned char>(c)) != 0) {
            const int digit = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
            if (high < 0) {
                high = digit;
            } else {
                out += static_cast<char>(high * 16 + digit);
                high = -1;
            }
        }
    }
    return out;
}

inline std::string hex(std::string_view data) {
    std::string out;
    char pair[4];
    for (const char c : data) {
        std::snprintf(pair, sizeof pair, "%02X ", static_cast<unsigned char>(c));
        out += pair;
    }
    return out;
}
inline std::string hex(const void* data, size_t size) {
    return hex(std::string_view(static_cast<const char*>(data), size));
}

// The multi-octet integers of WSP, for building input (WAP-230 8.1.2).
inline std::string uintvar(uint64_t value) {
    std::string out(1, static_cast<char>(value & 0x7F));
    while ((value >>= 7) != 0)
        out.insert(out.begin(), static_cast<char>(0x80 | (value & 0x7F)));
    return out;
}

// A multipart entry: `headers` is everything from the content type on.
inline std::string part(std::string_view headers, std::string_view data) {
    return uintvar(headers.size()) + uintvar(data.size()) + std::string(headers) +
           std::string(data);
}

// A text made safe for printing a null pointer.
inline std::string text(const char* s) {
    return s != nullptr ? s : "(null)";
}

// What printf would print, to 200 bytes.
template <typename... Values>
std::string print(const char* format, Values... values) {
    char out[200];
    std::snprintf(out, sizeof out, format, values...);
    return out;
}

// What `call` makes of each input of the rows "input>output", as such rows to compare.
template <typename Call>
std::string rows_made(const std::string& rows, Call call) {
    std::string out, row;
    for (std::istringstream words(rows); words >> row; out += " ") {
        row.resize(row.find('>'));
        out += row + ">" + call(row.c_str());
    }
    return out;
}

inline std::string file_bytes(const std::string& path) {
    std::string out;
    if (std::FILE* f = std::fopen(path.c_str(), "rb")) {
        char block[4096];
        for (size_t n; (n = std::fread(block, 1, sizeof block, f)) != 0;)
            out.append(block, n);
        std::fclose(f);
    }
    return out;
}

inline std::string repeated(const std::string& piece, size_t count) {
    std::string out;
    while (count-- != 0)
        out += piece;
    return out;
}

}  // namespace testing_support
