// Inputs as people have them: what a message is wrapped in is recognised and undone, what was cut
// is told, and what is no message is called by its name.
#include <gtest/gtest.h>

#include "Anatomy/src/inputs.h"
#include "tests/Anatomy/taken.h"
#include "tests/Anatomy/tree_checks.h"
#include "tests/support/bytes.h"

using namespace mmskit_anatomy;
using testing_support::bytes, testing_support::dissected;

namespace {

// "kind, layers, flaws", the kind being what it looks like when it is no message.
std::string summary(const tMMS_Anatomy& anatomy) {
    std::string out = anatomy.iMessage != MMS_MESSAGE_NONE ? anatomy.pKind : anatomy.pLooksLike;
    for (uint32_t i = 1; i < anatomy.iLayers; ++i)
        out += std::string(" <") + anatomy.pLayers[i].pName;
    for (uint32_t i = 0; i < anatomy.iNotes; ++i)
        out += std::string(" !") + "-rlu"[anatomy.pNotes[i].iFlaw];
    return out;
}

// Every byte of every layer that was made belongs to a leaf.
std::string covered(const tMMS_Anatomy& anatomy) {
    const auto& tree = static_cast<const Tree&>(anatomy);
    for (uint32_t layer = 0; layer < tree.iLayers; ++layer) {
        const std::string gap =
            anatomy_checks::uncovered(tree, {layer, 0, tree.pLayers[layer].iLength});
        if (!gap.empty()) return "layer " + std::to_string(layer) + ": " + gap;
    }
    return anatomy_checks::unsound(tree);
}

// An m-acknowledge-ind.
const std::string pdu = bytes("8C 85 98 'T1' 00 8D 92 91 80");
const std::string hex_pdu = "8C859854 31008D92 9180";
const std::string push = bytes("01 06 03 BE AF 84") + pdu;
const std::string user_data = bytes("06 05 04 0B 84 23 F0") + push;

const struct {
    const char* rule;
    std::string input;
    const char* summary;
} cases[] = {
    {"pdu", pdu, "m-acknowledge-ind"},
    {"hex_in_words", hex_pdu, "m-acknowledge-ind <hexadecimal"},
    {"hex_as_c_source", "0x8C, 0x85, 0x98, 0x54, 0x31, 0x00, 0x8D, 0x92, 0x91, 0x80",
     "m-acknowledge-ind <hexadecimal"},
    {"hex_as_escapes", "\\x8C\\x85\\x98\\x54\\x31\\x00\\x8D\\x92\\x91\\x80",
     "m-acknowledge-ind <hexadecimal"},
    {"hex_with_half_a_byte", hex_pdu + "8", "m-acknowledge-ind <hexadecimal !l"},
    {"hex_in_a_log", "12:00:01 RX: 8C 85 98 54 31 00 8D 92\n12:00:02 RX: 91 80 84 A3 00 00 00 00\n",
     "m-acknowledge-ind <hexadecimal in a log !u"},
    {"hex_behind_a_label", "PDU=\"8C859854310 \"\nPDU=8C8598543100 8D929180\n",
     "m-acknowledge-ind <hexadecimal in a log"},
    {"hex_as_c_array",
     "unsigned char m[] = {\n 0x8c, 0x85, 0x98, 0x54, 0x31, 0x00, 0x8d,\n"
     " 0x92, 0x91, 0x80\n};\nunsigned int m_len = 10;\n",
     "m-acknowledge-ind <hexadecimal in a log"},
    {"log_without_a_message", "12:00:01 handle 00112233445566778899\n", "a text"},
    {"hexdump_c",
     "00000000  8c 85 98 54 31 00 8d 92  91 80                    |...T1.....|\n0000000a\n",
     "m-acknowledge-ind <hex dump"},
    {"od_x1", "0000000 8c 85 98 54 31 00 8d 92\n0000008 91 80\n", "m-acknowledge-ind <hex dump"},
    {"od_in_octal",
     "0000000 8c 85 98 54 31 00 8d 92 91 80 93 61 62 63 64 65\n0000020 66 67 00\n0000023\n",
     "m-acknowledge-ind <hex dump"},
    {"dump_with_a_row_missing",
     "0000: 8c85 9854  ...T\n0004: 3100 8d92  1...\n000c: 9180       ..\n",
     "m-acknowledge-ind <hex dump !l"},
    {"hex_of_hex", "3843383539383534333130303844393239313830",
     "m-acknowledge-ind <hexadecimal <hexadecimal"},
    {"push_with_wrong_length", bytes("01 06 04 BE AF 84") + pdu, "m-acknowledge-ind !r"},
    {"push_cut_in_headers", bytes("01 06 09 BE AF 84"), "a push without its document !l !l"},
    {"user_data_alone", user_data, "m-acknowledge-ind"},
    {"modem_log",
     "+CMT: ,33\r\n07911555010009F0440B915155010000F100041132114122310017" +
         std::string("0605040B8423F0010603BEAF848C85985431008D929180\r\n\r\nOK\r\n"),
     "m-acknowledge-ind <hexadecimal"},
    {"chunk_extension",
     "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\na;x=1\r\n" + pdu +
         "\r\n0\r\nTrailer: 1\r\n\r\n",
     "m-acknowledge-ind <chunks"},
    {"chunk_cut", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n20\r\n" + pdu,
     "m-acknowledge-ind <chunks !l"},
    {"chunks_already_joined", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + pdu,
     "m-acknowledge-ind"},
    {"http_body_shorter_than_it_says", "HTTP/1.1 200 OK\nContent-Length: 99\n\n" + pdu,
     "m-acknowledge-ind !l"},
    {"http_body_longer", "HTTP/1.1 200 OK\nContent-Length: 10\n\n" + pdu + "more",
     "m-acknowledge-ind !u"},
    {"http_zlib",
     "HTTP/1.1 200 OK\nContent-Encoding: deflate\n\n" +
         bytes("78 9C EB 69 9D 11 62 C8 D0 3B 69 62 03 00 17 ED 04 5F"),
     "m-acknowledge-ind <deflate"},
    {"no_message_in_http", "HTTP/1.1 302 Found\r\nLocation: http://x/\r\n\r\n",
     "an HTTP answer (HTTP/1.1 302 Found) without a body"},
    {"prose_of_base64_letters", "These are just some words without a mark", "a text"},
    {"html_in_base64", "PGh0bWw+PGJvZHk+Tm88L2JvZHk+PC9odG1sPg==", "a text"},
    {"smil_alone", "<?xml version='1.0'?><smil><body/></smil>",
     "a presentation (SMIL) without its message"},
    {"si_behind_a_comment", "<!-- x --><si><indication href='a'>b</indication></si>",
     "service indication"},
};

TEST(Inputs, are_recognised_and_unwrapped) {
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rule);
        const auto anatomy = dissected(c.input);
        EXPECT_EQ(summary(*anatomy), c.summary);
        EXPECT_EQ(covered(*anatomy), "");
    }
}

// Any cut is no crash, covers every byte and stays inside.
TEST(Inputs, every_cut_is_covered) {
    for (const auto& c : cases) {
        for (std::size_t size = 0; size < c.input.size(); ++size) {
            const std::string input = c.input.substr(0, size);
            const auto anatomy = dissected(input);
            ASSERT_EQ(covered(*anatomy), "") << c.rule << " cut to " << size;
        }
    }
}

TEST(Inputs, layers_and_decoded_bytes_are_bounded) {
    std::string wrapped = hex_pdu;
    for (int i = 0; i < 9; ++i) {
        std::string next;
        for (const char c : wrapped)
            next += testing_support::print("%02x", static_cast<unsigned char>(c));
        wrapped = next;
    }
    EXPECT_EQ(dissected(wrapped)->iLayers, most_layers);
    // 17 MB of zeros as a dump that repeats its one row.
    const auto large = dissected("00000000  00 00 00 00\n*\n01100000  00 00\n");
    uint64_t decoded = 0;
    for (uint32_t i = 1; i < large->iLayers; ++i)
        decoded += large->pLayers[i].iLength;
    EXPECT_LE(decoded, most_decoded);
}

}  // namespace
