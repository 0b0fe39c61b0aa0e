// Message bodies: splitting, each rule as bytes in and a content union out, also under damage and
// out of memory; the release of unions; writing, each rule as a union in and bytes out.
#include <gtest/gtest.h>
#include <mmskit/pdu.h>
#include <mmskit/runtime.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/faults.h"
#include "tests/support/made.h"

namespace {

using namespace testing_support;

std::string data_of(const uint8_t* data, uint32_t size) {
    return " [" + std::string(reinterpret_cast<const char*>(data), size) + "]\n";
}
std::string shown(const tMMS_MediaData& m) {
    std::string out;
    for (const char* word : {m.pContentType, m.pContentLocation, m.pContentId, m.pName})
        out += (out.empty() ? "" : " ") + (word != nullptr ? std::string(word) : "-");
    if (m.bHasCharset != 0) out += " charset " + std::to_string(m.iCharset);
    if (m.bHasFwd != 0)
        out += " fwd " + std::to_string(m.bFwd) + " " + hex(m.pFwdParam, m.iFwdParamLen);
    return out + data_of(m.pData, m.iDataLen);
}

// "smil [...]" and a line for every part, or why there is no union.
std::string split(const uint8_t* body, int32_t length) {
    tMMS_ContentUnion* content = fnMMS_GetMediaDataFromPdu(body, length);
    if (content == nullptr) {
        uint32_t offset = 0;
        const char* reason = fnMMS_GetLastError(&offset);
        return std::string(reason) + " at " + std::to_string(offset);
    }
    std::string out;
    if (const auto* smil = content->pSmil)
        out = text(smil->pContentType) + data_of(smil->pData, smil->iDataLen);
    for (const tMMS_MediaData* m = content->pMediaList; m != nullptr; m = m->pNext)
        out += shown(*m);
    fnMMS_FreeMediaData(content);
    return out;
}

TEST(Body, splitting_rules_and_each_body_damaged_and_out_of_memory) {
    const struct {
        const char *rule, *body, *expected;
    } cases[] = {
        {"part_text_name_and_last_smil_part_wins",
         "84 1F 1E B3 89 'application/smil' 00 8A '<AAAA>' 00 8B 'i' 00 05"
         "27 07 1D 'application/smil' 00 85 'mms.smil' 00 81 EA C0 22 '<AAAA>' 00 '<smil/>'"
         "22 01 17 9E 85 'a.jpg' 00 'fwd=\"yes\"' 00 81 03 01 00 00 C0 22 '<id>' 00 8E 'b' 00 'J'"
         "06 04 05 83 81 02 03 E8 'text' 01 06 83 'second'"
         "11 06 'application/smil' 00 'smil 2'",
         "application/smil [smil 2]\n"
         "image/jpeg b id a.jpg charset 65536 fwd 1 66 77 64 3D 22 79 65 73 22 00  [J]\n"
         "text/plain MMS_Text001.txt - MMS_Text001.txt charset 1000 [text]\n"
         "text/plain MMS_Text002.txt - MMS_Text002.txt [second]\n"},
        {"empty_message", "84 A3 00", ""},
        {"another_first_byte", "83 83 'x'", "body does not start with Content-Type at 0"},
        {"single_text_name", "84 83 'hello'",
         "text/plain MMS_Text0000.txt - MMS_Text0000.txt [hello]\n"},
        {"named_single_text", "84 04 83 85 'a' 00 'x'", "text/plain - - a [x]\n"},
        {"single_text_of_an_empty_name", "84 03 83 85 00 'x'", "text/plain - -  [x]\n"},
        {"part_headers_with_location_read_without_its_quote",
         "84 B3 01 17 01 9E AE 01 'z' C0 22 '<i>' 00 C5 01 'z' 8E 6F 00 8E 7F E9 00 B0 8E 00 'd'",
         "image/jpeg \xE9 i - [d]\n"},
        {"unknown_type_is_kept_without_one", "84 A3 01 01 01 BC 'd'", "- - - - [d]\n"},
        {"overrunning_data_is_cut", "84 A3 02 01 05 9E 'abc'", "image/jpeg - - - [abc]\n"},
        {"headers_shorter_than_the_type", "84 A3 01 01 01 'ab' 00 'd'", "ab - - - [d]\n"},
        {"largest_lengths", "84 A3 02 8F FF FF FF 7F 8F FF FF FF 7F 9E 'd' 01 01 9E 'e'", ""},
        {"count_is_only_a_limit", "84 A3 8F FF FF FF 7F 01 01 9E 'd'", "image/jpeg - - - [d]\n"},
    };
    for (const auto& c : cases) {
        const std::string body = bytes(c.body);
        SCOPED_TRACE(std::string(c.rule) + ": " + hex(body));
        const Guarded guarded(body);
        EXPECT_EQ(split(guarded.data(), guarded.length()), c.expected);
        damage_each_byte(body, split);
        fail_each_allocation([&] {
            const std::string got = split(guarded.data(), guarded.length());
            EXPECT_TRUE(got == c.expected || got.starts_with("out of memory at")) << got;
        });
    }
    EXPECT_EQ(split(nullptr, 3), "null input or length out of range at 0");
    EXPECT_EQ(split(Guarded("").data(), -1), "null input or length out of range at 0");
}

// The most parts are kept in linear time; what is behind them is cut, and told with its place.
TEST(Body, parts_end_at_their_limit) {
    constexpr int limit = 16384;
    for (const int count : {limit, limit + 1, 100000}) {
        const std::string start = bytes("84 A3") + uintvar(static_cast<uint64_t>(count));
        const std::string one = part("\x83", "x");
        const Guarded body(start + repeated(one, static_cast<size_t>(count)));
        const std::string out = split(body.data(), body.length());
        EXPECT_EQ(std::ranges::count(out, '\n'), limit);
        EXPECT_TRUE(out.ends_with("MMS_Text0016383.txt [x]\n"));
        uint32_t offset = 0;
        const std::string told = fnMMS_GetLastError(&offset);
        EXPECT_EQ(told, count > limit ? "more parts than a message may have" : "no error");
        EXPECT_EQ(offset, count > limit ? start.size() + limit * one.size() : 0);
    }
}

TEST(Body, a_built_union_is_freed_with_its_smil_and_plain_texts_only) {
    const NoLeak check;
    const Guarded body(bytes("84 B3 03 11 01 'application/smil' 00 'a' 01 01 83 'b' 01 01 82 'c'"));
    tMMS_ContentUnion* content = fnMMS_GetMediaDataFromPdu(body.data(), body.length());
    ASSERT_NE(content, nullptr);
    content->pSmil->pData = static_cast<uint8_t*>(fnSC_Malloc_Local(1));
    content->pMediaList->pData = static_cast<uint8_t*>(fnSC_Malloc_Local(1));
    fnMMS_FreeContentUnion(content);
    fnMMS_FreeContentUnion(nullptr);
    fnMMS_FreeMediaData(nullptr);
}

TEST(Body, empty_message_is_told_by_its_first_bytes) {
    EXPECT_EQ(fnMMS_EmptyMMS(nullptr), 1);
    EXPECT_EQ(fnMMS_EmptyMMS(Guarded(bytes("84 A3 00")).data()), 1);
    for (const char* other : {"84 A3 01", "84 A4", "83"})
        EXPECT_EQ(fnMMS_EmptyMMS(Guarded(bytes(other)).data()), 0) << other;
}

char* t(const char* text) {
    return const_cast<char*>(text);
}
// Of a null name the data is null too.
tMMS_MediaData media(const char* type, const char* name, uint32_t size = 1, uint32_t charset = 0) {
    auto* data = name != nullptr ? reinterpret_cast<uint8_t*>(t("d")) : nullptr;
    return {t(name), t("not"), t("sent"), data, size, charset, charset != 0, 1, 1, nullptr, 0,
            t(type), nullptr,  0,         0,    0,    0};
}
std::string written(std::vector<tMMS_MediaData> list, const char* smil_type = nullptr) {
    for (size_t i = 1; i < list.size(); i++)
        list[i - 1].pNext = &list[i];
    tMMS_SmilPart smil{t(smil_type), reinterpret_cast<uint8_t*>(t("S")), 1};
    const tMMS_ContentUnion content{smil_type != nullptr ? &smil : nullptr, list.data()};
    return made<fnMMS_MakeContentBodyPdu>(&content);
}

TEST(BodyWriter, encoding_rules) {
    const struct {
        const char* rule;
        std::string made;
        const char* expected;
    } cases[] = {
        {"one_name_for_three_headers", written({media("image/jpeg", "a.jpg")}, "application/smil"),
         "84 1B B3 89 'application/smil' 00 8A '<AAAA>' 00 02"
         "27 01 1D 'application/smil' 00 85 'mms.smil' 00 81 EA C0 22 '<AAAA>' 00 'S'"
         "1A 01 08 9E 85 'a.jpg' 00 C0 22 '<a.jpg>' 00 8E 'a.jpg' 00 'd'"},
        {"charset_above_127_is_a_counted_uintvar",
         written({media("x/y", "n", 1, 127), media("x/y", "n", 1, 128)}),
         "84 A3 02 13 01 09 'x/y' 00 85 'n' 00 81 FF C0 22 '<n>' 00 8E 'n' 00 'd'"
         "15 01 0B 'x/y' 00 85 'n' 00 81 02 81 00 C0 22 '<n>' 00 8E 'n' 00 'd'"},
        {"null_texts_are_empty_and_null_data_is_none", written({media(nullptr, nullptr, 9)}),
         "84 A3 01 0B 00 03 00 85 00 C0 22 '<>' 00 8E 00"},
        {"no_content", made<fnMMS_MakeContentBodyPdu>(nullptr), "84 A3 00"},
        {"result_over_32_bits", written({media("x/y", "n", UINT32_MAX)}), "'null 77'"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(hex(c.made), hex(bytes(c.expected))) << c.rule;
    EXPECT_EQ(fnMMS_MakeContentBodyPdu(nullptr, nullptr), nullptr);
}

}  // namespace
