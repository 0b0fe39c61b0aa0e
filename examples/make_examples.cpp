// Writes the example messages: m-retrieve-conf PDUs (OMA-MMS-ENC) with the media of media/ in
// them. It uses nothing of the library, so that the library's decoders are shown messages that
// its own encoders had no part in.
//
//   make_examples MEDIA-DIR OUTPUT-DIR [SEED-DIR]
//
// SEED-DIR gets the bodies, the SMIL texts and the texts one by one, to start the fuzz targets.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;
using Bytes = std::string;

std::string media_dir;

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "make_examples: %s\n", what.c_str());
    std::exit(1);
}

Bytes media(const char* name) {
    std::ifstream file(media_dir + "/" + name, std::ios::binary);
    Bytes bytes{std::istreambuf_iterator<char>(file), {}};
    if (bytes.empty()) fail("cannot read " + media_dir + "/" + name);
    return bytes;
}

void save(const std::string& path, const Bytes& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    if (!file.flush()) fail("cannot write " + path);
}

// ---- Values (WAP-230 8.4.2) ---------------------------------------------------------------

Bytes octet(unsigned value) {
    return Bytes(1, static_cast<char>(value));
}
Bytes short_integer(unsigned value) {
    return octet(0x80 | value);
}
Bytes text(const Bytes& value) {
    return value + '\0';
}

Bytes uintvar(size_t value) {
    Bytes out = octet(value & 0x7F);
    while ((value >>= 7) != 0)
        out.insert(0, octet(0x80 | (value & 0x7F)));
    return out;
}

Bytes with_length(const Bytes& value) {
    return (value.size() < 31 ? octet(static_cast<unsigned>(value.size()))
                              : octet(31) + uintvar(value.size())) +
           value;
}

Bytes long_integer(unsigned value, unsigned octets) {
    Bytes out = octet(octets);
    while (octets-- > 0)
        out += octet(value >> (8 * octets) & 0xFF);
    return out;
}

// A text with its charset; the quote keeps a first byte above 0x7F from being a token.
Bytes encoded_text(const Bytes& utf8) {
    const bool quoted = static_cast<unsigned char>(utf8[0]) >= 0x80;
    return with_length(short_integer(106) + (quoted ? "\x7F"s : ""s) + text(utf8));
}

// ---- Parts --------------------------------------------------------------------------------

enum MediaType : unsigned { plain = 3, vcard = 7, jpeg = 30, png = 32, mixed = 35, related = 51 };
enum Charset : unsigned { latin1 = 4, utf8 = 106, ucs2 = 1000, utf16 = 1015 };

struct Part {
    Bytes headers;  // content type first
    Bytes data;
};

Bytes text_type(Charset charset, const Bytes& name) {
    const Bytes value = charset < 128 ? short_integer(charset) : long_integer(charset, 2);
    return with_length(short_integer(plain) + "\x81" + value +
                       (name.empty() ? Bytes() : "\x85" + text(name)));
}

Bytes location(const Bytes& name) {
    return "\x8E" + text(name);
}

Part text_part(const Bytes& name, Charset charset, const Bytes& bytes) {
    return {text_type(charset, name) + location(name), bytes};
}
Part smil_part(const Bytes& document) {
    return {text("application/smil") + "\xC0" + text("\"<smil>") + location("slides.smil"),
            document};
}

Bytes multipart(const Bytes& type, const std::vector<Part>& parts) {
    Bytes out = type + uintvar(parts.size());
    for (const Part& part : parts)
        out += uintvar(part.headers.size()) + uintvar(part.data.size()) + part.headers + part.data;
    return out;
}

const Bytes mixed_type = short_integer(mixed);
const Bytes related_type = with_length(short_integer(related) + "\x89" + text("application/smil") +
                                       "\x8A" + text("<smil>"));

// ---- Messages -----------------------------------------------------------------------------

Bytes message(const Bytes& id, const Bytes& subject, const Bytes& more_headers, const Bytes& body) {
    const unsigned date = 1'753'981'200;  // 31 July 2025, 17:00 UTC
    return "\x8C\x84\x98" + text("T-" + id) + "\x8D\x92\x8B" + text(id + "@mmsc.example") + "\x85" +
           long_integer(date, 4) + "\x89" + with_length("\x80" + text("+15550100/TYPE=PLMN")) +
           "\x97" + text("+15550123/TYPE=PLMN") + "\x96" + encoded_text(subject) + more_headers +
           "\x8A\x80" + "\x84" + body;
}

std::vector<Part> postcard_parts() {
    return {
        smil_part(R"(<smil>
<head>
<layout>
<root-layout width="160" height="200" background-color="#FFF4E0" />
<region id="Image" left="0" top="0" width="160" height="120" fit="meet" />
<region id="Text" left="8" top="124" width="144" height="72" fit="scroll" />
</layout>
</head>
<body>
<par dur="8s">
<img src="sunset.jpg" region="Image" />
<text src="greeting.txt" region="Text"><param name="foreground-color" value="#7A2E1D" /></text>
<audio src="cid:surf" begin="500ms" end="2500ms" />
</par>
<par dur="6s">
<param name="background-color" value="AQUA" />
<img src="boat.png" region="Image" />
<text src="boat.txt" region="Text" begin="1s" end="6s" />
</par>
<par dur="5000ms">
<param name="background-color" value="NAVY" />
<text src="goodbye.txt" region="Text"><param name="foreground-color" value="YELLOW" /></text>
</par>
</body>
</smil>
)"),
        {short_integer(jpeg) + location("sunset.jpg"), media("sunset.jpg")},
        text_part("greeting.txt", utf8,
                  "Greetings from the beach! The sea is warm ☀ and so are we."),
        {text("audio/mpeg") + "\xC0" + text("\"<surf>") + location("surf.mp3"), media("surf.mp3")},
        {short_integer(png) + location("boat.png"), media("boat.png")},
        text_part("boat.txt", utf8,
                  "This is the boat of the Müllers.\nTomorrow we sail to São Jorge."),
        text_part("goodbye.txt", utf8, "See you on Sunday – Zoë & Björn 🏖"),
        {with_length(short_integer(vcard) + "\x85" + text("zoe.vcf")) + location("zoe.vcf"),
         "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Zoë Example\r\nTEL:+15550100\r\nEND:VCARD\r\n"},
    };
}

std::vector<Part> script_texts() {
    return {
        text_part("latin1.txt", latin1,
                  "Gr\xFC\xDF"
                  "e, \xE0 bient\xF4t, ma\xF1"
                  "ana"),
        text_part("utf16.txt", utf16,  // "Hej €5 😀", little-endian behind its mark
                  "\xFF\xFEH\0e\0j\0 \0\xAC\x20"s
                  "5\0 \0\x3D\xD8\x00\xDE"s),
        text_part("ucs2.txt", ucs2, "\xFE\xFF\x67\x71\x4E\xAC\x30\x78"),  // 東京へ, big-endian
        text_part("greek.txt", utf8, "Καλημέρα από τη θάλασσα"),
        text_part("cyrillic.txt", utf8, "Привет с моря"),
        text_part("japanese.txt", utf8, "海からこんにちは"),
        text_part("arabic.txt", utf8, "مرحبا من البحر"),
        text_part("emoji.txt", utf8, "🐚🌊⛵"),
    };
}

std::vector<Part> script_parts() {
    std::vector<Part> parts = script_texts();
    Bytes document =
        "<smil><head><layout><root-layout width=\"160\" height=\"40\" />\n"
        "<region id=\"Text\" left=\"0\" top=\"0\" width=\"160\" height=\"40\" />\n"
        "</layout></head><body>\n";
    for (const char* name :
         {"latin1", "utf16", "ucs2", "greek", "cyrillic", "japanese", "arabic", "emoji"})
        document += "<par dur=\"3s\"><text src=\""s + name + ".txt\" region=\"Text\" /></par>\n";
    parts.insert(parts.begin(), smil_part(document + "</body></smil>\n"));
    return parts;
}

std::vector<Part> no_smil_parts() {
    return {{text_type(utf8, ""), "No slides were laid out for this one."},
            {with_length(short_integer(png) + "\x85" + text("boat.png")), media("boat.png")}};
}

struct Example {
    const char* name;
    const char* subject;
    Bytes more_headers;  // Priority, Delivery-Report, Read-Report, Cc
    Bytes body;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) fail("usage: make_examples MEDIA-DIR OUTPUT-DIR [SEED-DIR]");
    media_dir = argv[1];
    const Example examples[] = {
        {"postcard", "Grüße vom Strand 🌅",
         "\x8F\x82\x86\x80\x90\x80\x82" + text("zoe@mail.example"),
         multipart(related_type, postcard_parts())},
        {"scripts", "Καλημέρα, こんにちは", "\x8F\x81", multipart(related_type, script_parts())},
        {"no-smil", "Two parts, no slides", "\x8F\x80", multipart(mixed_type, no_smil_parts())},
        {"single-text", "One text", "", text_type(utf8, "") + "Just this line – nothing else."},
    };
    for (const auto& [name, subject, more_headers, body] : examples) {
        save(argv[2] + "/"s + name + ".mms", message(name, subject, more_headers, body));
        if (argc > 3) save(argv[3] + "/body-"s + name, "\x84" + body);
    }
    if (argc > 3) {
        save(argv[3] + "/smil-postcard"s, postcard_parts()[0].data);
        int number = 0;
        for (const Part& part : script_texts())
            save(argv[3] + "/text-"s + std::to_string(++number), part.data);
    }
    return 0;
}
