// Service Indication and Service Loading in WBXML: documents of an independent encoder, every token
// and count rule by hand-made bytes, and damage.
#include <gtest/gtest.h>

#include <string>

#include "Push/src/push_internal.h"
#include "tests/support/bytes.h"
#include "tests/support/faults.h"
#include "tests/support/push_facts.h"

using namespace testing_support;

namespace {

struct Case {
    const char* rule;
    const char* document;  // notation of bytes()
    const char* facts;
};

template <size_t count>
void expect_all(const Case (&cases)[count], const char* header,
                std::string (*decode)(const void*, size_t)) {
    for (const Case& c : cases) {
        const std::string document = bytes(header) + bytes(c.document);
        const Guarded guarded(document);
        EXPECT_EQ(decode(guarded.data(), guarded.size()), c.facts)
            << c.rule << ": " << hex(document);
    }
}

TEST(PushWbxml, documents_of_an_independent_encoder) {
    if (encode_independently("sl-plain").empty())
        GTEST_SKIP() << "xml2wbxml (Debian: libwbxml2-utils) is not installed";
    const struct {
        const char* name;
        const char* facts;
    } cases[] = {
        {"si-none",
         "href=urn:news:4 id=4@news.example text=Four new headlines action=5 "
         "created=2011-5-17/10:20:30/0 expires=2012-6-18/11:21:31/0 106"},
        {"si-low",
         "href=http://mail.com/inbox?a=1&b=2 id=low@mail.example text=Grüße & Küsse "
         "action=6 created=1999-6-25/15:23:15/0 expires=1999-6-30/0:0:0/0 106"},
        {"si-medium",
         "href=http://www.uni.edu/timetable id=m text=Room changed action=7 "
         "created=2020-2-29/23:59:59/0 expires=2020-3-1/0:0:0/0 106"},
        {"si-high",
         "href=https://bank.net/account id=h text=Please confirm action=8 "
         "created=2024-12-31/1:2:3/0 expires=2025-1-1/0:0:0/0 106"},
        {"si-delete",
         "href=https://www.aid.org/appeal id=d text=Withdrawn action=9 "
         "created=2005-10-9/8:7:6/0 expires=2006-11-10/9:8:7/0 106"},
        {"sl-plain", "href=urn:x action=5 106"},
        // suffix_counts_two_more: the count runs out before the action (6, 7) behind the address.
        {"sl-http", "href=http://a.com/b action=5 106"},
        {"sl-http-www", "href=http://www.c.edu/d action=5 106"},
        {"sl-https", "href=https://e.net/f action=5 106"},
        {"sl-https-www", "href=https://www.g.org/h action=5 106"},
    };
    for (const auto& c : cases) {
        const std::string document = encode_independently(c.name);
        const auto decode = c.name[1] == 'i' ? decode_si : decode_sl;
        EXPECT_EQ(decode(document.data(), document.size()), c.facts) << hex(document);
    }
}

TEST(PushWbxml, si_content_rules) {
    const Case cases[] = {
        {"inline strings are joined", "04 00 45 03 'hi' 00 03 'ho' 00 01", "text=hiho 4"},
        {"table_reference_is_ordinal, the second is ignored",
         "04 05 'a' 00 'bc' 00 45 83 01 83 00 07 07 01", "text=bc 4"},
        {"no reference after a string", "04 05 'a' 00 'bc' 00 45 03 'hi' 00 83 01", "text=hi 4"},
        {"the table is searched within the count", "04 05 'a' 00 'bc' 00 45 83 01 07 07 07",
         "text=b 4"},
        {"indication_opens_no_level", "04 00 45 C6 01 03 'hi' 00 01 FF FF", "text=hi 4"},
        {"any root tag, one without content", "04 00 3F FF", "4"},
        {"last_octet_integer", "83 6A 00 45 01", "106"},
        {"utf8_table_is_its_first_string", "6A 03 'a' 00 45 83 00 01", "text=a 106"},
        {"indication without attributes", "04 00 45 46 01 01", "null"},
        {"indication without content", "04 00 45 86 01 01", "null"},
        {"nothing behind the public identifier", "", "null"},
        {"nothing behind the charset", "04", "null"},
        {"nothing behind the table", "04 01 00", "null"},
        {"a table longer than the document", "04 7F 00 45", "null"},
    };
    expect_all(cases, "02 05", decode_si);
    EXPECT_EQ(decode_si(nullptr, 0), "null");
}

TEST(PushWbxml, si_attribute_rules) {
    const Case cases[] = {
        {"a suffix joins two strings", "0D 03 'abc' 00 85 03 'x' 00 01 01",
         "href=http://www.abc.com/x 4"},
        {"suffix_alone_is_left", "0B 03 'abc' 00 85 01 01 07 07 07", "null"},
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
        {"a date that is cut off", "0A C3 07 20", "created=2000-0-0/0:0:0/0 4"},
        {"created without opaque", "0A 03 'x' 00 01 01", "null"},
        {"cut off in the list", "06", "action=6 4"},
        {"below the attribute starts", "04 01 01", "null"},
        {"above the attribute starts", "12 01 01", "null"},
    };
    expect_all(cases, "02 05 04 00 45 C6", decode_si);
}

TEST(PushWbxml, sl_rules) {
    const Case cases[] = {
        {"execute-high", "04 00 85 06 01", "action=6 4"},
        {"no action is execute-low", "04 00 85 0B 03 'h' 00 01", "href=https://h action=5 4"},
        {"cache", "04 00 85 09 03 'h' 00 07 01", "href=http://h action=7 4"},
        {"https_counts_its_string_only and is cut", "04 00 85 0B 03 'h' 00", "null"},
        {"sl_attributes_anywhere", "04 00 C5 01 07 01", "action=7 4"},
        {"cut off in the list, an href without a string", "04 00 85 08 06", "action=6 4"},
        {"the declared table length, in UTF-8 too", "6A 03 'abc' 85 01", "action=5 106"},
        {"a string is no attribute", "04 00 85 03 'h' 00 01", "null"},
        {"suffix_alone_is_left", "04 00 85 08 03 'h' 00 88 06 01 00 00 00", "null"},
        {"above the attribute starts", "04 00 85 0D 01", "null"},
    };
    expect_all(cases, "02 06", decode_sl);
}

TEST(PushWbxml, named_readers_move_their_cursor) {
    const std::string input = bytes("81 82 05 20 11 05 17 10 'abc' 00 87 03 'd' 00 FF 'e' 00 FF");
    const auto* at = reinterpret_cast<const uint8_t*>(input.data());
    EXPECT_EQ(PushOctets2Uintvar(&at), 5U);
    tSCFS_DateTime date = {1, 1, 1, 1, 1, 1, 9};
    ParseTime(&at, 5, &date);
    EXPECT_EQ(facts(date), "2011-5-17/10:0:0/9");
    uint32_t length = 0;
    OwnedSi si(mmskit::new_record<tPush_SiContent>(), fnMMSPush_FreeSic);
    si->pHref = MMS_GetStringFromPdu(&at, &length);
    EXPECT_EQ(std::string(si->pHref), "abc.net/d");
    EXPECT_EQ(length, 3U + 1 + 6);
    ParseTime(&at, 1, nullptr);
    si->pSiId = MMS_GetStringFromPdu(&at, &length);
    EXPECT_EQ(si->pSiId + std::to_string(length), "e2");
    EXPECT_EQ(*at, 0xFF);
    const auto* table = reinterpret_cast<const uint8_t*>("ab\0cd\0");
    si->pNotifyText = MMS_GetStringFromStrTable(table, 1, 4);
    EXPECT_EQ(std::string(si->pNotifyText), "c") << "within the limit";
}

TEST(PushWbxml, survives_damage_and_lack_of_memory) {
    fnSCFS_printLog_param("here before the blocks are counted", 0);
    const std::string si = bytes(
        "02 05 6A 03 'a' 00 45 C6 0D 03 'abc' 00 85 03 'x' 00 11 03 'i' 00 0A C3 04 20 11 05 "
        "17 01 83 00 03 'hi' 00 03 'ho' 00 01 01");
    const std::string sl = bytes("02 06 6A 00 85 0A 03 'abc' 00 86 03 'x' 00 07 01");
    const auto decode_both = [](const uint8_t* data, int32_t length) {
        decode_si(data, static_cast<size_t>(length));
        decode_sl(data, static_cast<size_t>(length));
    };
    damage_each_byte(si, decode_both);
    damage_each_byte(sl, decode_both);
    fnSCFS_printLog_param(nullptr, 0);
    const uint64_t before = mmskit::live_allocations();
    fail_each_allocation([&si, &sl] {
        decode_si(si.data(), si.size());
        decode_sl(sl.data(), sl.size());
        fnSCFS_printLog_param(nullptr, 0);
    });
    EXPECT_EQ(mmskit::live_allocations(), before);
}

TEST(PushWbxml, many_strings_cost_linear_time) {
    std::string document = bytes("02 05 04 00 45");
    constexpr size_t count = 400'000;
    for (size_t i = 0; i < count; ++i)
        document += bytes("03 'a' 00");
    const OwnedSi si(fnMMSPush_DecodeSic(reinterpret_cast<const uint8_t*>(document.data()),
                                         static_cast<uint32_t>(document.size())),
                     fnMMSPush_FreeSic);
    ASSERT_TRUE(si);
    EXPECT_EQ(std::string(si->pNotifyText), std::string(count, 'a'));
}

}  // namespace
