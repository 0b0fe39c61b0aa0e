// Splitting message bodies: each rule as bytes in and a content union out, the release of unions,
// and whole bodies under damage, out of memory and in number.
#include <gtest/gtest.h>
#include <mmskit/pdu.h>
#include <mmskit/runtime.h>

#include <algorithm>
#include <string>

#include "tests/support/faults.h"

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

struct Case {
    const char *rule, *body, *expected;
};
const Case cases[] = {
    {"empty_message", "84 A3 00", ""},
    {"another_first_byte", "83 83 'x'", "body does not start with Content-Type at 0"},
    {"single_text_name", "84 83 'hello'",
     "text/plain MMS_Text0000.txt - MMS_Text0000.txt [hello]\n"},
    {"single_text_takes_its_name_as_location", "84 08 83 85 'a.t' 00 81 EA 'x'",
     "text/plain a.t - a.t charset 106 [x]\n"},
    {"part_text_name", "84 A3 04 01 01 83 'a' 01 01 9E 'b' 01 00 83 01 01 83 'c'",
     "text/plain MMS_Text000.txt - MMS_Text000.txt [a]\n"
     "image/jpeg - - - [b]\n"
     "text/plain MMS_Text002.txt - MMS_Text002.txt [c]\n"},
    {"part_headers_with_location_read_without_its_quote",
     "84 B3 01 1D 01 9E AE 02 'zz' C0 22 '<im>g' 00 C5 01 'z' 8E 'old' 00 8E 7F E9 00 B0 8E 'b' "
     "00 'd'",
     "image/jpeg \xE9 img - [d]\n"},
    {"fwd_parameter_is_kept", "84 A3 01 09 01 08 9E 'fwd' 00 'no' 00 'd'",
     "image/jpeg - - - fwd 0 66 77 64 00 6E 6F 00  [d]\n"},
    {"unknown_type_is_kept_without_one", "84 A3 01 01 01 BC 'd'", "- - - - [d]\n"},
    {"last_smil_part_wins",
     "84 B3 03 11 01 'application/smil' 00 'a' 01 01 9E 'x' 11 02 'application/smil' 00 'bc'",
     "application/smil [bc]\nimage/jpeg - - - [x]\n"},
    {"overrunning_data_is_cut_and_last", "84 A3 02 01 05 9E 'abc'", "image/jpeg - - - [abc]\n"},
    {"headers_shorter_than_the_type_leave_none", "84 A3 02 01 01 'ab' 00 'd' 01 01 9E 'e'",
     "ab - - - [d]\nimage/jpeg - - - [e]\n"},
    {"largest_lengths_do_not_wrap", "84 A3 02 8F FF FF FF 7F 8F FF FF FF 7F 9E 'd' 01 01 9E 'e'",
     ""},
    {"declared_count_is_only_a_limit", "84 A3 8F FF FF FF 7F 01 01 9E 'd'",
     "image/jpeg - - - [d]\n"},
};

TEST(Body, splitting_rules) {
    for (const Case& c : cases) {
        const std::string body = bytes(c.body);
        SCOPED_TRACE(std::string(c.rule) + ": " + hex(body));
        const NoLeak check;
        const Guarded guarded(body);
        EXPECT_EQ(split(guarded.data(), guarded.length()), c.expected);
    }
    EXPECT_EQ(split(nullptr, 3), "null input or length out of range at 0");
    EXPECT_EQ(split(Guarded("").data(), -1), "null input or length out of range at 0");
}

const std::string whole_body =
    bytes("84 1B B3 89 'application/smil' 00 8A '<AAAA>' 00 05") +
    part(bytes("1D 'application/smil' 00 85 'mms.smil' 00 81 EA C0 22 '<AAAA>' 00"), "<smil/>") +
    part(bytes("11 9E 85 'a.jpg' 00 'fwd' 00 'yes' 00 C0 22 '<a.jpg>' 00 8E 'a.jpg' 00"), "JPEG") +
    part(bytes("04 83 81 02 03 E8"), "text") + part(bytes("83"), "second") +
    part(bytes("'application/smil' 00"), "<smil>2</smil>");

TEST(Body, damaged_bodies_are_read_within_bounds_and_out_of_memory_is_no_union) {
    damage_each_byte(whole_body, split);
    const Guarded body(whole_body);
    const std::string expected = split(body.data(), body.length());
    fail_each_allocation([&] {
        const std::string got = split(body.data(), body.length());
        EXPECT_TRUE(got == expected || got.starts_with("out of memory at")) << got;
    });
}

TEST(Body, parts_are_appended_in_linear_time) {
    constexpr int count = 100000;
    std::string body = bytes("84 A3") + uintvar(count);
    for (int i = 0; i < count; ++i)
        body += part("\x83", "x");
    const Guarded guarded(body);
    const std::string out = split(guarded.data(), guarded.length());
    EXPECT_EQ(std::ranges::count(out, '\n'), count);
    EXPECT_TRUE(out.ends_with("MMS_Text0099999.txt [x]\n"));
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

}  // namespace
