// What an input may be wrapped in, each with the walker that takes the wrapping off and hands what
// is inside back to dissect_at(). Recognising looks at syntax only and costs linear time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Anatomy/src/cursor.h"

namespace mmskit_anatomy {

enum class Input {
    none,
    gzip,
    http,
    pdu,
    body,
    push,
    si,
    si_xml,
    sl,
    sl_xml,
    sms,        // one TPDU
    user_data,  // user data with its header, port-addressed
    sms_lines,  // TPDUs as hexadecimal text, one a line
    hex,
    hex_dump,
    hex_log,
    base64
};

Input recognise(Bytes bytes);

// Recognises what stands at `place` and takes it apart. False when it is nothing known; one node of
// data then covers it, and tree.pLooksLike says what it looks like.
bool dissect_at(Tree& tree, const Place& place, uint32_t depth);
// The same for what is known already.
bool dissect_as(Tree& tree, Input input, const Place& place, uint32_t depth);

// "an HTML page", "a JPEG picture" ...
std::string looks_like(Bytes bytes);

// ---- Wrappers ---------------------------------------------------------------------------------

bool is_http(Bytes bytes);
bool dissect_http(Tree& tree, const Place& place, uint32_t depth);

bool is_push(Bytes bytes);
bool dissect_push(Tree& tree, const Place& place, uint32_t depth);

bool is_sms(Bytes bytes);
bool is_user_data(Bytes bytes);
bool is_sms_lines(Bytes text);
bool dissect_sms(Tree& tree, const Place& place, uint32_t depth);
bool dissect_user_data(Tree& tree, const Place& place, uint32_t depth);
bool dissect_sms_lines(Tree& tree, const Place& place, uint32_t depth);

// Hexadecimal digits with white space, commas, colons, "0x" or "\x" between them.
struct HexText {
    std::vector<uint8_t> bytes;
    bool half = false;   // a digit is left over at the end
    bool valid = false;  // nothing but hexadecimal text, and at least one byte of it
};
HexText read_hex(Bytes text, std::size_t limit);
// Hexadecimal at the ends of lines of a log, or between the braces of a C array.
HexText read_hex_log(Bytes text, std::size_t limit);
// Rows of an offset, bytes and (maybe) characters, as xxd, hexdump and od print them.
struct HexDump {
    std::vector<uint8_t> bytes;
    bool valid = false;
    bool gap = false;      // rows are missing
    bool certain = false;  // several rows, and each offset is what the rows before it ask for
};
HexDump read_hex_dump(Bytes text, std::size_t limit);

}  // namespace mmskit_anatomy
