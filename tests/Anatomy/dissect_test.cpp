// Headers and bodies taken apart: tables of wire bytes and what they say, and what holds for any
// bytes at all.
#include <gtest/gtest.h>

#include <algorithm>

#include "bench/worst/shapes.h"
#include "tests/Anatomy/tree_checks.h"
#include "tests/support/bytes.h"

using namespace mmskit_anatomy;
using testing_support::bytes, testing_support::print, testing_support::text;

namespace {

struct Taken {
    explicit Taken(std::string input, bool body = false)
        : wire(std::move(input)),
          tree({reinterpret_cast<const uint8_t*>(wire.data()), wire.size()}) {
        (body ? dissect_body : dissect_pdu)(tree, place(), 0);
        tree.finish();
    }
    [[nodiscard]] Place place() const { return {0, 0, static_cast<uint32_t>(wire.size())}; }
    [[nodiscard]] bool has(uint32_t flaw, std::string_view words = {}) const {
        return std::any_of(tree.note_list.begin(), tree.note_list.end(), [&](const tMMS_Note& n) {
            return n.iFlaw == flaw &&
                   std::string_view(n.pText).find(words) != std::string_view::npos;
        });
    }
    std::string wire;
    Tree tree;
};

// ---- Headers ----

constexpr uint32_t none = MMS_FLAW_NONE, repaired = MMS_FLAW_REPAIRED, lost = MMS_FLAW_LOST,
                   unknown = MMS_FLAW_UNKNOWN;

const struct {
    const char *rule, *wire;  // behind the message type
    const char* header;       // "form name: value = number in hexadecimal, inexact, flaw"
} header_cases[] = {
    {"text", "98 'T1' 00", "text X-Mms-Transaction-Id: T1"},
    {"text_cut", "98 'T1'", "text X-Mms-Transaction-Id: T1, inexact, lost"},
    {"code_alone", "98", "text X-Mms-Transaction-Id: , inexact, lost"},
    {"version", "8D 92", "version X-Mms-MMS-Version: 1.2 = 92"},
    {"version_major_alone", "8D 9F", "version X-Mms-MMS-Version: 1 = 9F"},
    {"date", "85 04 65 53 F1 00", "date Date: 1700000000"},
    {"date_of_five_octets", "85 05 00 65 53 F1 00", "date Date: 1700000000"},
    {"date_of_eight_octets", "85 08 01 00 00 00 00 00 00 00",
     "date Date: 72057594037927936, inexact"},
    {"date_cut", "85 04 65 53", "date Date: 25939, inexact, lost"},
    {"expiry_relative", "88 05 81 03 03 F4 80", "period X-Mms-Expiry: 259200"},
    {"expiry_absolute", "88 06 80 04 65 53 F1 00", "date X-Mms-Expiry: 1700000000"},
    {"expiry_length_too_small", "88 02 81 03 03 F4 80",
     "period X-Mms-Expiry: 259200, inexact, repaired"},
    {"deadline", "9D 04 81 02 0E 10", "period X-Mms-Reply-Charging-Deadline: 3600"},
    {"size", "8E 02 10 00", "number X-Mms-Message-Size: 4096"},
    {"short_number", "B3 8A", "number X-Mms-Limit: 10, inexact"},
    {"flag_yes", "86 80", "flag X-Mms-Delivery-Report: yes = 1"},
    {"flag_no", "BB 81", "flag X-Mms-DRM-Content: no"},
    {"flag_of_neither", "86 85", "token X-Mms-Delivery-Report: 0x85 = 85"},
    {"class", "8A 81", "token X-Mms-Message-Class: advertisement = 81"},
    {"class_of_its_own", "8A 'promo' 00", "text X-Mms-Message-Class: promo, inexact"},
    {"class_as_text", "8A 'Auto' 00", "token X-Mms-Message-Class: auto = 83, inexact"},
    {"token_without_a_name", "8F 99", "token X-Mms-Priority: 0x99 = 99"},
    {"response_1_0", "92 84", "token X-Mms-Response-Status: error-sending-address-unresolved = 84"},
    {"response_permanent", "92 E1",
     "token X-Mms-Response-Status: error-permanent-service-denied = E1"},
    {"retrieval_failed", "99 E2",
     "token X-Mms-Retrieve-Status: error-permanent-message-not-found = E2, lost"},
    {"state", "A3 82", "token X-Mms-MM-State: new = 82"},
    {"content_class", "BA 82", "token X-Mms-Content-Class: image-rich = 82"},
    {"attribute_is_a_field", "A8 96", "token X-Mms-Attributes: Subject = 96"},
    {"from_phone", "89 0E 80 '+1555/TYPE=PLMN' 00", "address From: +1555, inexact, repaired"},
    {"from_phone_true_length", "89 11 80 '+1555/TYPE=PLMN' 00", "address From: +1555"},
    {"from_insert", "89 01 81", "token From: insert-address = 81"},
    {"from_encoded", "89 0A 80 08 EA '+1555' 00 00", "address From: +1555, inexact, repaired"},
    {"from_without_length", "89 'a@b' 00", "address From: a@b, inexact, repaired"},
    {"from_without_token", "89 04 'a@b' 00", "address From: a@b, inexact, repaired"},
    {"to_mail", "97 'a/b@c' 00", "address To: a/b@c"},
    {"to_ipv6", "97 '2001:DB8::1/TYPE=IPv6' 00", "address To: 2001:DB8::1"},
    {"to_words", "97 '=?utf-8?Q?Zo=C3=AB?= <z@c>' 00", "address To: Zoë <z@c>, inexact, repaired"},
    {"subject_utf8", "96 05 EA 'abc' 00", "text Subject: abc"},
    {"subject_quoted", "96 05 EA 7F C3 BC 00", "text Subject: ü"},
    {"subject_latin1", "96 03 84 FC 00", "text Subject: ü, inexact, repaired"},
    {"subject_contradicted", "96 03 EA FC 00", "text Subject: ü, inexact, repaired"},
    {"subject_length_too_small", "96 02 EA 'abc' 00 8F 82", "text Subject: abc"},
    {"subject_length_too_large", "96 1E EA 'abc' 00 8F 82", "text Subject: abc"},
    {"subject_without_end", "96 04 EA 'abc' 8F 82", "text Subject: abc, inexact, repaired"},
    {"subject_ucs2", "96 08 02 03 E8 04 1F 04 40 00 8F 82", "text Subject: Пр, inexact, repaired"},
    {"subject_cut", "96 14 EA 'abc'", "text Subject: abc, inexact, lost"},
    {"flags", "A4 07 80 05 EA 'abc' 00", "text X-Mms-MM-Flags: add: abc"},
    {"totals", "AA 03 80 01 0C", "text X-Mms-Mbox-Totals: 12 messages = C"},
    {"sent_by", "A0 05 81 'a@b' 00", "address X-Mms-Previously-Sent-By: a@b"},
    {"sent_date", "A1 03 81 01 09", "date X-Mms-Previously-Sent-Date: 9"},
    {"code_of_no_version", "F0 80", "bytes : 80, inexact, unknown"},
    {"code_of_no_version_counted", "F1 03 'abc'", "bytes : 03616263, inexact, unknown"},
    {"textual", "'X-Foo' 00 'bar' 00", "text X-Foo: bar, inexact"},
    {"textual_subject", "'subject' 00 'Hi' 00", "text Subject: Hi, inexact"},
    {"textual_priority", "'x-mms-priority' 00 'High' 00",
     "token X-Mms-Priority: high = 82, inexact"},
    {"textual_cut", "'X-Foo' 00 'ba'", "text X-Foo: ba, inexact, lost"},
};

std::string header_line(const Tree& tree, std::size_t i) {
    constexpr const char* forms[] = {"",       "text", "address", "token",   "flag",
                                     "number", "date", "period",  "version", "bytes"};
    constexpr const char* flaws[] = {"", ", repaired", ", lost", ", unknown"};
    const tMMS_HeaderField& header = tree.pHeaders[i];
    std::string out = std::string(forms[header.iForm]) + " " + header.pName + ": " + header.pValue;
    if (header.iForm >= MMS_VALUE_NUMBER && header.iForm <= MMS_VALUE_PERIOD) {
        EXPECT_EQ(header.pValue, std::to_string(header.iNumber));
    } else if (header.iNumber != 0) {
        out += print(" = %X", static_cast<unsigned>(header.iNumber));
    }
    return out + (tree.header_details[i].exact ? "" : ", inexact") +
           flaws[tree.nodes[header.iNode].iFlaw];
}

TEST(DissectHeaders, each_form_is_read) {
    for (const auto& row : header_cases) {
        SCOPED_TRACE(row.rule);
        const Taken taken(bytes("8C 93") + bytes(row.wire));
        ASSERT_GE(taken.tree.iHeaders, 2U);
        EXPECT_EQ(header_line(taken.tree, 1), row.header);
        EXPECT_EQ(anatomy_checks::uncovered(taken.tree, taken.place()), "");
    }
}

const struct {
    const char *rule, *wire;
    const char* missing;  // null when nothing is lost
} whole_cases[] = {
    {"acknowledge", "8C 85 98 'T' 00", nullptr},
    {"acknowledge_without_id", "8C 85 8D 92", "X-Mms-Transaction-Id"},
    {"type_alone", "8C 85", "X-Mms-Transaction-Id"},
    {"type_not_first", "98 'T' 00 8C 85", nullptr},
    {"without_type", "98 'T' 00 8D 92", "X-Mms-Message-Type"},
    {"confirmation_without_status", "8C 81 98 'T' 00", "X-Mms-Response-Status"},
    {"retrieved_without_body", "8C 84 85 01 09", "Content-Type"},
    {"retrieved_with_status_ok_without_body", "8C 84 99 80 85 01 09", "Content-Type"},
    {"retrieval_failed", "8C 84 99 E0", "not retrieved"},
};

TEST(DissectHeaders, what_must_be_there_is_missed) {
    for (const auto& row : whole_cases) {
        SCOPED_TRACE(row.rule);
        const Taken taken(bytes(row.wire));
        EXPECT_EQ(taken.has(lost), row.missing != nullptr);
        EXPECT_TRUE(row.missing == nullptr || taken.has(lost, row.missing));
    }
}

// ---- Bodies ----

std::string part(const std::string& headers, const std::string& data, std::size_t claims) {
    return std::string(1, static_cast<char>(headers.size())) +
           std::string(1, static_cast<char>(claims)) + headers + data;
}
std::string part(const std::string& headers, const std::string& data) {
    return part(headers, data, data.size());
}
std::string multipart(const char* type, char count, const std::string& parts) {
    return bytes("84") + bytes(type) + count + parts;
}

const struct {
    const char *rule, *headers, *data;
    const char* part;  // "type name charset [what is handed out], inexact headers, inexact text"
} part_cases[] = {
    {"text_in_codes", "03 83 81 EA 8E 'a.txt' 00", "hi", "text/plain a.txt utf-8 [hi]"},
    {"type_as_text", "'text/plain' 00 8E 'a' 00", "hi", "text/plain a (null) [hi]"},
    {"type_in_capitals", "'Text/Plain' 00 8E 'a' 00", "hi",
     "text/plain a (null) [hi], inexact headers"},
    {"parameters_in_the_type", "'text/plain; charset=koi8-r; name=\"a;b\"' 00", "\xC4\xC1",
     "text/plain a;b koi8-r [да], inexact headers, inexact text"},
    {"charset_as_long_integer", "04 83 81 01 04", "\xFC", "text/plain (null) iso-8859-1 [ü]"},
    {"charset_as_text_name", "10 83 'charset' 00 'KOI8-R' 00", "\xC4\xC1",
     "text/plain (null) koi8-r [да], inexact headers, inexact text"},
    {"charset_without_a_name", "05 83 81 02 27 0F", "hi", "text/plain (null) 9999 [hi]"},
    {"latin1_is_exact", "03 83 81 84", "\xFC", "text/plain (null) iso-8859-1 [ü]"},
    {"windows_without_charset", "83", "5 \x80", "text/plain (null) (null) [5 €], inexact text"},
    {"name_85", "04 9E 85 'a' 00", "x", "image/jpeg a (null) [x]"},
    {"name_97", "04 9E 97 'a' 00", "x", "image/jpeg a (null) [x], inexact headers"},
    {"name_quoted", "05 9E 85 '\"a' 00", "x", "image/jpeg a (null) [x], inexact headers"},
    {"filename_98", "04 9E 98 'f' 00", "x", "image/jpeg f (null) [x], inexact headers"},
    {"location_before_name", "04 9E 85 'a' 00 8E 'l' 00", "x", "image/jpeg l (null) [x]"},
    {"empty_location", "9E 8E 00 C0 '\"<i>' 00", "x", "image/jpeg i (null) [x], inexact headers"},
    {"content_id", "9E C0 '\"<i>' 00", "x", "image/jpeg i (null) [x]"},
    {"location_behind_another_header", "9E B0 80 8E 'l' 00", "x",
     "image/jpeg l (null) [x], inexact headers"},
    {"disposition", "9E AE 04 81 98 'f' 00", "x", "image/jpeg f (null) [x], inexact headers"},
    {"disposition_before_location", "9E AE 01 81 8E 'l' 00", "x", "image/jpeg l (null) [x]"},
    {"disposition_as_text", "9E 'Content-Disposition' 00 'attachment; filename=\"f g\"' 00", "x",
     "image/jpeg f g (null) [x], inexact headers"},
    {"base64", "83 'Content-Transfer-Encoding' 00 'BASE64' 00",
     "aGk=", "text/plain (null) (null) [hi], inexact text"},
    {"quoted_printable", "83 'content-transfer-encoding' 00 'quoted-printable' 00", "=C3=BC",
     "text/plain (null) (null) [ü], inexact text"},
    {"declared_base64_and_binary", "9E 'Content-Transfer-Encoding' 00 'base64' 00",
     "\xFF\xD8\xFF\xE0 and so on", "image/jpeg (null) (null) [\xFF\xD8\xFF\xE0 and so on]"},
};

TEST(DissectBody, each_form_of_a_part_is_read) {
    for (const auto& row : part_cases) {
        SCOPED_TRACE(row.rule);
        const Taken taken(multipart("A3", 1, part(bytes(row.headers), row.data)), true);
        ASSERT_EQ(taken.tree.iParts, 1U);
        const tMMS_Part& found = taken.tree.pParts[0];
        const auto& detail = taken.tree.part_details[0];
        EXPECT_EQ(text(found.pType) + " " + text(found.pName) + " " + text(found.pCharset) + " [" +
                      std::string(reinterpret_cast<const char*>(found.pData), found.iDataLen) +
                      "]" + (detail.headers_exact ? "" : ", inexact headers") +
                      (detail.text_exact ? "" : ", inexact text"),
                  row.part);
        EXPECT_EQ(anatomy_checks::uncovered(taken.tree, taken.place()), "");
        EXPECT_FALSE(taken.has(lost));
    }
}

const std::string a_text = part(bytes("83 8E 'a' 00"), "first");
const std::string b_text = part(bytes("83 8E 'b' 00"), "second");
const std::string gif = bytes("'GIF89a' 01 00 01 00 00 00 00 3B");
// With an image that has a table of colours, and with a scan that has a stuffed octet and a
// restart.
const std::string gif_of_colours = bytes(
    "'GIF89a' 01 00 01 00 00 00 00 2C 00 00 00 00 01 00 01 00 80 000000 3B3B3B 02 02 4C 01 00 3B");
const std::string jpeg = bytes("FF D8 FF E0 00 04 FF D9 FF DA 00 02 01 FF 00 D9 FF D0 02 FF FF D9");

TEST(DissectBody, what_is_there_decides) {
    const std::string gif_headers = bytes("9D 8E 'x.gif' 00");
    const struct {
        const char* rule;
        std::string body;
        uint32_t parts, flaw;
        const char* says;
        bool body_exact;
    } cases[] = {
        {"whole", multipart("A3", 2, a_text + b_text), 2, none, "", true},
        {"count_too_large", multipart("A3", 5, a_text + b_text), 2, lost, "2 of 5 parts", false},
        {"count_too_small", multipart("A3", 1, a_text + b_text), 2, repaired, "2 parts", false},
        {"bytes_behind", multipart("A3", 1, a_text + std::string(4, '\0')), 1, unknown, "4 bytes",
         true},
        {"data_cut", multipart("A3", 1, part(bytes("83 8E 'a' 00"), "fir", 5)), 1, lost,
         "a: 3 of 5 bytes", true},
        {"data_swallows_the_next",
         multipart("A3", 2, part(gif_headers, gif, gif.size() + 3) + a_text), 2, lost,
         "x.gif: 14 of 17 bytes", true},
        {"data_too_short", multipart("A3", 2, part(gif_headers, gif, gif.size() - 3) + a_text), 2,
         repaired, "x.gif: 14 bytes", true},
        {"data_too_short_with_colours",
         multipart("A3", 2, part(gif_headers, gif_of_colours, 30) + a_text), 2, repaired,
         "x.gif: 35 bytes", true},
        {"data_too_short_with_a_scan", multipart("A3", 2, part(gif_headers, jpeg, 12) + a_text), 2,
         repaired, "x.gif: 22 bytes", true},
        {"nested", multipart("A3", 1, part(bytes("A3"), '\x02' + a_text + b_text)), 2, none, "",
         false},
        {"no_count", bytes("84 A3"), 0, lost, "the body is missing", false},
        {"part_ends_in_headers", multipart("A3", 2, a_text + b_text.substr(0, 4)), 1, lost,
         "in its headers", false},
        {"part_ends_in_lengths", multipart("A3", 2, a_text + b_text.substr(0, 1)), 1, lost,
         "in its lengths", false},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.rule);
        const Taken taken(row.body, true);
        EXPECT_EQ(taken.tree.iParts, row.parts);
        EXPECT_EQ(taken.tree.iNotes != 0, row.flaw != none);
        EXPECT_TRUE(row.flaw == none || taken.has(row.flaw, row.says));
        EXPECT_EQ(taken.tree.body_exact, row.body_exact);
        EXPECT_EQ(anatomy_checks::uncovered(taken.tree, taken.place()), "");
    }
}

TEST(DissectBody, the_richest_alternative_that_can_be_shown_is_kept) {
    const std::string html = part(bytes("82"), "<b>rich</b>");
    const std::string smil = part(bytes("'application/smil' 00"), "<smil/>");
    const std::string related = part(bytes("B3"), '\x02' + smil + a_text);
    const struct {
        const char* rule;
        std::string parts;
        char count;
        const char* left_out;  // a digit for each part
    } cases[] = {
        {"plain_before_html", a_text + html, 2, "01"},
        {"plain_behind_html", html + a_text, 2, "10"},
        {"related_with_presentation", a_text + related, 2, "100"},
        {"related_first", related + a_text, 2, "001"},
        {"picture", a_text + part(bytes("9D"), gif), 2, "10"},
        {"only_html", html, 1, "0"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.rule);
        const Taken taken(multipart("A6", row.count, row.parts), true);
        std::string left_out;
        for (const tMMS_Part& found : taken.tree.part_list)
            left_out += found.bAlternative != 0 ? '1' : '0';
        EXPECT_EQ(left_out, row.left_out);
    }
}

TEST(DissectBody, start_names_the_presentation) {
    const auto smil = [](const char* id) {
        return part(bytes("'application/smil' 00 C0") + '"' + '<' + id + '>' + '\0', "<smil/>");
    };
    const std::string both = smil("one") + smil("two") + a_text;
    for (const auto& [start, first] : {std::pair{"<one>", 1}, {"two", 0}, {"none", 1}}) {
        SCOPED_TRACE(start);
        const std::string type = bytes("B3 8A") + start + '\0';
        const Taken taken(bytes("84") + static_cast<char>(type.size()) + type + '\3' + both, true);
        ASSERT_EQ(taken.tree.iParts, 3U);
        EXPECT_EQ(taken.tree.pParts[0].bPresentation, first);
        EXPECT_EQ(taken.tree.pParts[1].bPresentation, 1 - first);
    }
}

// ---- Any bytes ----

void expect_sound(const std::string& input, const std::string& trace) {
    for (const bool body : {false, true}) {
        const Taken taken(input, body);
        ASSERT_EQ(anatomy_checks::uncovered(taken.tree, taken.place()), "") << trace;
        ASSERT_EQ(anatomy_checks::unsound(taken.tree), "") << trace;
    }
}

TEST(Dissect, long_values_are_cut_between_characters) {
    const std::string letters = testing_support::repeated("ü", 700);
    for (const char* before : {"", "x"}) {
        const std::string type = before + letters + '\0';
        expect_sound("\x84" + type + letters, before);
        expect_sound(bytes("8C 84") + before + letters + '\0' + letters + '\0', before);
        expect_sound(bytes("8C 84 96") + type, before);
    }
}

// Those that mmskit-worst measures in time.
TEST(Dissect, hostile_shapes_stay_within_the_limits) {
    for (const worst::Shape& shape : worst::messages)
        expect_sound(shape.make(200'000), shape.name);
}

}  // namespace
