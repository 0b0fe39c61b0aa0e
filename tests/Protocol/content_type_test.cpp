// Content types: the well-known table both ways and the Content-type field in its three forms.
#include <gtest/gtest.h>

#include <tuple>
#include <utility>

#include "Protocol/src/wsp_values.h"
#include "tests/support/faults.h"

using namespace mmskit;
using namespace testing_support;

namespace {

// Every field of the record that a parameter can set, as one comparable line.
std::string parameters_of(const tMMS_ContentType& type) {
    std::string out;
    if (type.pName != nullptr) out += std::string("name=") + type.pName + ' ';
    if (type.bHasCharset != 0) out += "charset=" + std::to_string(type.iCharset) + ' ';
    if (type.bHasFwd != 0) out += type.bFwd != 0 ? "fwd=1 " : "fwd=0 ";
    return out + hex(type.pFwdParam, type.iFwdParamLen);
}

TEST(ContentType, well_known_types_keep_their_spelling) {
    int known = 0;
    for (int code = 0; code < 256; code++) {
        const OwnedText type(DecodeWellKnownContentType(static_cast<uint8_t>(code)));
        known += type ? 1 : 0;
        // drm_types_are_decoded_only
        EXPECT_EQ(EncodeContentType(type.get()), code < 53 ? code : 255);
    }
    EXPECT_EQ(known, 57);
    const std::pair<uint8_t, const char*> rows[] = {{18, "application/x-www-form-rulencoded"},
                                                    {52, "application/vnd.wap.sia"},
                                                    {72, "application/vnd.oma.drm.message"},
                                                    {80, nullptr}};
    for (const auto& [code, type] : rows)
        EXPECT_EQ(text(OwnedText(DecodeWellKnownContentType(code)).get()), text(type));
    EXPECT_EQ(EncodeContentType("Text/plain"), 255);
    EXPECT_EQ(EncodeContentType(nullptr), 255);
}

TEST(ContentType, fields_and_their_whole_length) {
    const std::tuple<const char*, const char*, const char*, std::string, uint32_t> cases[] = {
        {"short integer", "83", "text/plain", "", 1},
        {"code without entry", "BC", nullptr, "", 1},
        {"Type code, Start-info", "09 83 89 83 8B 'a' 00 85 'n' 00", "text/plain", "name=n ", 10},
        {"two octets", "07 83 81 02 03 E8 85 'n'", "text/plain", "name=n charset=1000 ", 8},
        {"quoted length", "1F 08 83 81 03 01 00 00 85 00", "text/plain", "name= charset=65536 ",
         10},
        {"charset that cannot be passed", "05 83 81 20 85 00", "text/plain", "charset=0 ", 6},
        {"the last name is kept", "08 'a' 00 85 7F C3 00 85 00", "a", "name= ", 9},
        {"an unknown parameter ends", "05 83 86 85 'n' 00", "text/plain", "", 6},
        {"fwd no", "08 83 'fwd' 00 'No' 00", "text/plain", "fwd=0 66 77 64 00 4E 6F 00 ", 9},
        {"fwd quoted yes", "0D 83 'FwD=\"yeS\"' 00 81 EA", "text/plain",
         "charset=106 fwd=1 " + hex(bytes("'FwD=\"yeS\"' 00")), 14},
        {"fwd of no known value", "07 83 'fwd=ok'", "text/plain", "fwd=0 66 77 64 3D ", 8},
        {"a type longer than the field", "02 'abcd' 00 85 'n' 00", "ab", "", 3},
        {"a name longer than the field", "03 83 85 'abc' 00", "text/plain", "name=a ", 4},
    };
    for (const auto& [rule, notation, media_type, parameters, size] : cases) {
        SCOPED_TRACE(rule);
        const Guarded wire(bytes(notation));
        const uint8_t* at = wire.data();
        uint32_t length = 0;
        const OwnedContentType type(GetContentType(&at, &length));
        ASSERT_TRUE(type);
        EXPECT_EQ(text(type->pType), text(media_type));
        EXPECT_EQ(parameters_of(*type), parameters);
        EXPECT_EQ(length, size);
        EXPECT_EQ(at, wire.data() + (wire.data()[0] > 0x1F ? size : 0));
    }
}

const char* const damaged[] = {"15 'a/b' 00 85 7F 'n' 00 81 02 03 E8 'fwd=\"no\"' 00",
                               "1F 0E B3 89 'a/b' 00 8A 'c' 00 8B 'd' 00 81 EA", "'a/b' 00"};

TEST(ContentType, nothing_is_read_past_the_input) {
    for (const char* wire : damaged)
        damage_each_byte(bytes(wire), [](const uint8_t* data, int32_t length) {
            BoundedReader in(data, static_cast<size_t>(length));
            const OwnedContentType type = read_content_type(in);
            ASSERT_TRUE(type);
            EXPECT_GE(in.position(), 1U);
            EXPECT_LE(type->iFwdParamLen, static_cast<uint32_t>(length));
        });
    const Guarded huge(bytes("1F 8F FF FF FF 7F 83 00"));
    uint32_t length = 0;
    EXPECT_TRUE(OwnedContentType(ParseContentTypeWithParam(huge.data(), &length)));
    EXPECT_EQ(length, UINT32_MAX);
}

TEST(ContentType, without_memory_there_is_no_record) {
    for (const char* wire : damaged)
        fail_each_allocation([input = bytes(wire)] {
            const auto* at = reinterpret_cast<const uint8_t*>(input.data());
            uint32_t length = 7;
            const OwnedContentType type(GetContentType(&at, &length));
            EXPECT_EQ(length == 7, !type);
            EXPECT_TRUE(!type || type->pType != nullptr);
        });
}

}  // namespace
