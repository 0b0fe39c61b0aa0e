// What the benchmarks read: messages and documents of the sizes that phones send.
#pragma once

#include <cstdint>
#include <string>

#include "tests/support/bytes.h"

namespace inputs {

using testing_support::bytes;
using testing_support::part;
using testing_support::uintvar;

inline const uint8_t* bytes_of(const std::string& s) {
    return reinterpret_cast<const uint8_t*>(s.data());
}
inline int32_t size_of(const std::string& s) {
    return static_cast<int32_t>(s.size());
}

// 200 bytes.
inline std::string notification() {
    return bytes(
        "8C 82 98 'T20110517102030-0042' 00 8D 92 89 17 80 '+4915550100234/TYPE=PLMN' 00"
        "96 1E EA 'A picture from the sea, sir' 00 8A 80 8E 03 01 8F 00 88 05 81 03 03 F4 80"
        "83 'http://mmsc.operator.example/mms/message/0123456789abcdef0123456789?id=42"
        "&user=234&part=1' 00");
}

inline std::string smil_slide(int number) {
    const std::string n = std::to_string(number);
    return "<par dur=\"8000ms\">\r\n<img src=\"sunset" + n +
           ".jpg\" region=\"Image\" begin=\"0ms\" end=\"8000ms\" />\r\n<audio src=\"surf" + n +
           ".mp3\" begin=\"500ms\" end=\"2500ms\" />\r\n<text src=\"Text" + n +
           ".txt\" region=\"Text\" begin=\"0ms\" end=\"8000ms\" >\r\n <param "
           "name=\"foreground-color\" value=\"#7a2e1d\" />\r\n </text>\r\n</par>\r\n";
}

// Three slides of a picture, a sound and a text each: 1.4 KB.
inline std::string smil(int slides) {
    std::string text =
        "<smil>\r\n<head>\r\n<meta name=\"title\" content=\"mms info\" />\r\n"
        "<meta name=\"author\" content=\"a phone\" />\r\n"
        "<layout>\r\n<root-layout width=\"176\" height=\"220\"/>\r\n"
        "<region id=\"Image\" width=\"160\" height=\"170\" left=\"0\" top=\"0\" fit=\"meet\" />\r\n"
        "<region id=\"Text\" width=\"160\" height=\"30\" left=\"0\" top=\"170\" fit=\"meet\" />\r\n"
        "</layout>\r\n</head>\r\n<body>\r\n";
    for (int i = 0; i < slides; ++i)
        text += smil_slide(i);
    return text + "</body>\r\n</smil>";
}

inline std::string named(const std::string& type, const std::string& name) {
    const std::string value = type + "\x85" + name + '\0';
    return uintvar(value.size()) + value + "\xC0\"<" + name + ">" + '\0' + "\x8E" + name + '\0';
}

// A body of the presentation and what its slides name.
inline std::string slides_body(int slides, size_t picture) {
    const std::string document = smil(slides);
    std::string parts =
        part(named("application/smil" + std::string(1, '\0'), "mms.smil"), document);
    for (int i = 0; i < slides; ++i) {
        const std::string n = std::to_string(i);
        parts += part(named("\x9E", "sunset" + n + ".jpg"), std::string(picture, 'j'));
        parts += part(named("audio/mpeg" + std::string(1, '\0'), "surf" + n + ".mp3"),
                      std::string(2000, 'm'));
        const std::string type = "\x83\x85Text" + n + ".txt" + '\0' + "\x81\xEA";
        parts += part(uintvar(type.size()) + type + "\x8EText" + n + ".txt" + '\0',
                      "Greetings from the beach! The sea is warm and so are we.");
    }
    return bytes("84 1B B3 89 'application/smil' 00 8A '<AAAA>' 00") +
           uintvar(static_cast<uint64_t>(3 * slides + 1)) + parts;
}

inline std::string retrieved(const std::string& body) {
    return bytes(
               "8C 84 98 'T20110517102030-0042' 00 8B 'message0042@mmsc.operator.example' 00 8D 92"
               "85 04 4D D2 4A 00 89 17 80 '+4915550100234/TYPE=PLMN' 00"
               "97 '+4915550100235/TYPE=PLMN' 00 96 0A EA 'The sea' 00 8A 80 8F 81 86 80 90 80") +
           body;
}

// 148 and 43 bytes.
inline std::string wbxml_si() {
    return bytes(
        "02 05 6A 00 45 C6 0D 03 'mail.operator.example/inbox/messages/0123456789/open' 00"
        "11 03 'indication-42@mail.operator.example' 00 07 0A C3 07 20 11 05 17 10 20 30"
        "10 C3 04 20 11 06 01 01 03 'You have 4 new e-mails' 00 01 01");
}
inline std::string wbxml_sl() {
    return bytes("02 06 6A 00 85 09 03 'operator.example/load/app?v=12345' 00 05 01");
}
inline std::string textual_si() {
    return "<?xml version=\"1.0\"?>\n<!DOCTYPE si PUBLIC \"-//WAPFORUM//DTD SI 1.0//EN\" "
           "\"http://www.wapforum.org/DTD/si.dtd\">\n<si><indication "
           "href=\"http://mail.operator.example/inbox/42\" si-id=\"42@mail.operator.example\" "
           "created=\"2011-05-17T10:20:30Z\" si-expires=\"2011-06-01T00:00:00Z\" "
           "action=\"signal-none\">You have 4 new e-mails</indication></si>";
}

}  // namespace inputs
