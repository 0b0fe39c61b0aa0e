// Encoding message bodies: each rule as a union in and bytes out, and memory running out.
#include <gtest/gtest.h>
#include <mmskit/pdu.h>

#include <vector>

#include "tests/support/faults.h"
#include "tests/support/made.h"

namespace {

using namespace testing_support;

char* t(const char* text) {
    return const_cast<char*>(text);
}
tMMS_MediaData media(const char* type, const char* name, const char* data, uint32_t length,
                     uint8_t has_charset = 0, uint32_t charset = 0) {
    uint8_t* at = reinterpret_cast<uint8_t*>(t(data));
    return {t(name), t("not"), t("sent"), at,      length, charset, has_charset, 1, 1,
            nullptr, 0,        t(type),   nullptr, 0,      0,       0,           0};
}
std::string body(const char* smil_type, uint32_t smil_length, std::vector<tMMS_MediaData> list) {
    for (size_t i = 1; i < list.size(); i++)
        list[i - 1].pNext = &list[i];
    tMMS_SmilPart smil{t(smil_type), reinterpret_cast<uint8_t*>(t("S")), smil_length};
    const tMMS_ContentUnion content{smil_type != nullptr ? &smil : nullptr, list.data()};
    return made<fnMMS_MakeContentBodyPdu>(&content);
}

const std::string t_headers = "C0 22 '<t>' 00 8E 't' 00 'T'";
const std::string related =
    "84 1B B3 89 'application/smil' 00 8A '<AAAA>' 00 02"
    "27 01 1D 'application/smil' 00 85 'mms.smil' 00 81 EA C0 22 '<AAAA>' 00 'S'";

TEST(BodyWriter, encoding_rules) {
    const auto text = [](uint8_t has_charset, uint32_t charset) {
        return media("text/plain", "t", "T", 1, has_charset, charset);
    };
    const std::string kilo(1000, 'j'), n(200, 'n');
    const struct {
        const char* rule;
        std::string made, expected;
    } cases[] = {
        {"no_media", body("application/smil", 1, {}), "84 A3 00"},
        {"one_name_for_three_headers",
         body("application/smil", 1, {media("image/jpeg", "a.jpg", kilo.c_str(), 1000)}),
         related + "1A 87 68 08 9E 85 'a.jpg' 00 C0 22 '<a.jpg>' 00 8E 'a.jpg' 00 '" + kilo + "'"},
        {"charset_above_127_is_a_counted_uintvar",
         body(nullptr, 0, {text(2, 106), text(1, 127), text(1, 1000)}),
         "84 A3 03 0E 01 04 83 85 't' 00" + t_headers + "10 01 06 83 85 't' 00 81 FF" + t_headers +
             "12 01 08 83 85 't' 00 81 02 87 68" + t_headers},
        {"names_of_any_length", body(nullptr, 0, {media("x/y", n.c_str(), "", 0)}),
         "84 A3 01 84 68 00 1F 81 4E 'x/y' 00 85 '" + n + "' 00 C0 22 '<" + n + ">' 00 8E '" + n +
             "' 00"},
        {"null_texts_are_empty_and_null_data_is_none",
         body(nullptr, 0, {media(nullptr, nullptr, nullptr, 9)}),
         "84 A3 01 0B 00 03 00 85 00 C0 22 '<>' 00 8E 00"},
        {"result_over_32_bits", body("a/b", UINT32_MAX, {text(0, 0)}), "'null 77'"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(hex(c.made), hex(bytes(c.expected))) << c.rule;
    EXPECT_EQ(fnMMS_MakeContentBodyPdu(nullptr, nullptr), nullptr);
}

TEST(BodyWriter, one_allocation_and_null_without_it) {
    fail_each_allocation([] {
        const std::string got = body(nullptr, 0, {media("x/y", "n", "d", 1)});
        EXPECT_EQ(mmskit::counted_allocations(), 1U);
        EXPECT_TRUE(got == "null 77" || got.size() == 23) << got;
        mmskit::fail_allocation(got == "null 77" ? 1 : 0, false);
        EXPECT_EQ(body(nullptr, 0, {}), got == "null 77" ? "null 0" : bytes("84 A3 00"));
    });
}

}  // namespace
