// Service Indication and Service Loading in WBXML: every token and count rule by hand-made bytes,
// and damage. Documents of an independent encoder are in tests/posix, where their text decodes too.
#include <gtest/gtest.h>

#include <span>
#include <string>

#include "Push/src/push_internal.h"
#include "tests/support/faults.h"
#include "tests/support/push_facts.h"

using namespace testing_support;

namespace {

struct Case {
    const char *rule, *document, *facts;  // the document in the notation of bytes()
};

void expect_all(const char* header, std::string (*decode)(const std::string&),
                std::span<const Case> cases) {
    for (const Case& c : cases)
        EXPECT_EQ(decode(bytes(header) + bytes(c.document)), c.facts) << c.rule;
}

TEST(PushWbxml, si_content_rules) {
    const Case cases[] = {
        {"inline strings are joined", "04 00 45 03 'hi' 00 03 'ho' 00 01", "text=hiho 4"},
        {"table_reference_is_ordinal, the second is ignored",
         "04 05 'a' 00 'bc' 00 45 83 01 83 00 07 07 01", "text=bc 4"},
        {"a suffix joins two strings", "04 00 45 03 'hi' 00 85 03 'x' 00 01 07 07",
         "text=hi.com/x 4"},
        {"suffix_alone_is_left", "04 00 45 03 'hi' 00 85 01", "null"},
        {"no reference after a string", "04 05 'a' 00 'bc' 00 45 03 'hi' 00 83 01", "text=hi 4"},
        {"the table is searched within the count", "04 05 'a' 00 'bc' 00 45 83 01 07 07 07",
         "text=b 4"},
        {"indication_opens_no_level", "04 00 45 C6 01 03 'hi' 00 01 FF FF", "text=hi 4"},
        {"any root tag, one without content", "04 00 3F FF", "4"},
        {"last_octet_integer", "83 6A 00 45 01", "106"},
        {"utf8_table_is_its_first_string", "6A 03 'a' 00 45 83 00 01", "text=a 106"},
        {"indication without attributes", "04 00 45 46 01 01", "null"},
        {"nothing behind the table", "04 01 00", "null"},
        {"a table longer than the document", "04 7F 00 45", "null"},
    };
    expect_all("02 05", decode_si, cases);
}

TEST(PushWbxml, si_attribute_rules) {
    const Case cases[] = {
        {"a suffix joins two strings", "0D 03 'abc' 00 85 03 'x' 00 01 01",
         "href=http://www.abc.com/x 4"},
        {"suffix_alone_is_left", "0B 03 'abc' 00 85 01 01 07 07 07", "null"},
        {"however few bytes are left", "0B 03 'abc' 00 85 01", "null"},
        {"as the last byte", "0B 03 'abc' 00 88", "null"},
        {"in an id", "11 03 'i' 00 86 03 00 01", "null"},
        {"an empty string counts as none", "0B 03 'abc' 00 85 03 00 01 01 07", "null"},
        {"later values win", "0B 03 'a' 00 0B 03 'b' 00 11 03 'i' 00 11 03 'j' 00 01 01",
         "href=b id=j 4"},
        {"an href without a string is its token only", "0C 06 01 01", "action=6 4"},
        {"si_id_without_inline_string_ends", "0B 03 'a' 00 11 83 00 FF FF", "href=a 4"},
        {"https_counts_its_string_only", "0E 03 'h' 00 01 03 't' 00 01", "href=https://h text=t 4"},
        // By its own count two bytes more are there; zeros stand for them and are no token.
        {"https_counts_its_string_only and is cut", "0E 03 'h' 00", "null"},
        {"dates of every length", "0A C3 04 20 11 05 17 10 C3 01 20 01 01",
         "created=2011-5-17/0:0:0/0 expires=2000-0-0/0:0:0/0 4"},
        {"created without opaque", "0A 03 'x' 00 01 01", "null"},
        {"below the attribute starts", "04 01 01", "null"},
        {"above the attribute starts", "12 01 01", "null"},
    };
    expect_all("02 05 04 00 45 C6", decode_si, cases);
}

TEST(PushWbxml, sl_rules) {
    const Case cases[] = {
        {"no action is execute-low", "04 00 85 0B 03 'h' 00 01", "href=https://h action=5 4"},
        {"sl_attributes_anywhere", "04 00 C5 01 07 01", "action=7 4"},
        {"cut off in the list, an href without a string", "04 00 85 08 06", "action=6 4"},
        {"the declared table length, in UTF-8 too", "6A 03 'abc' 85 01", "action=5 106"},
        {"suffix_alone_is_left", "04 00 85 09 03 'h' 00 87 01", "null"},
        {"as the last byte", "04 00 85 08 03 'h' 00 85", "null"},
        {"a suffix joins two strings", "04 00 85 08 03 'h' 00 87 03 'x' 00 01 01",
         "href=h.net/x action=5 4"},
        {"a string is no attribute", "04 00 85 03 'h' 00 01", "null"},
        {"above the attribute starts", "04 00 85 0D 01", "null"},
    };
    expect_all("02 06", decode_sl, cases);
}

TEST(PushWbxml, named_readers_move_their_cursor) {
    const std::string input = bytes("81 82 05 20 11 05 17 10 'abc' 00 87 03 'd' 00 FF 'e'");
    const auto* at = reinterpret_cast<const uint8_t*>(input.data());
    EXPECT_EQ(PushOctets2Uintvar(&at), 5U);
    tSCFS_DateTime date = {1, 1, 1, 1, 1, 1, 9};
    ParseTime(&at, 5, &date);
    EXPECT_EQ(facts(date), "2011-5-17/10:0:0/9");
    uint32_t length = 0;
    const mmskit::OwnedText address(MMS_GetStringFromPdu(&at, &length));
    EXPECT_EQ(address.get() + std::to_string(length), "abc.net/d10");
    ParseTime(&at, 1, nullptr);
    EXPECT_EQ(*at, 'e');
    const auto* table = reinterpret_cast<const uint8_t*>("ab\0cd\0");
    const mmskit::OwnedText second(MMS_GetStringFromStrTable(table, 1, 4));
    EXPECT_STREQ(second.get(), "c") << "within the limit";
    const mmskit::OwnedText none(MMS_GetStringFromStrTable(nullptr, 0, 4));
    EXPECT_STREQ(none.get(), "");
}

TEST(PushWbxml, survives_damage_and_lack_of_memory) {
    const auto decode_both = [](const uint8_t* data, int32_t length) {
        decode_si(std::string(data, data + length));
        decode_sl(std::string(data, data + length));
    };
    for (const std::string& document :
         {bytes("02 05 6A 03 'a' 00 45 C6 0D 03 'abc' 00 85 03 'x' 00 11 03 'i' 00 0A C3 04 20 11 "
                "05 17 01 83 00 03 'hi' 00 03 'ho' 00 01 01"),
          bytes("02 06 6A 00 85 0A 03 'abc' 00 86 03 'x' 00 07 01")}) {
        damage_each_byte(document, decode_both);
        const Guarded guarded(document);
        fail_each_allocation([&] { decode_both(guarded.data(), guarded.length()); });
    }
}

}  // namespace
