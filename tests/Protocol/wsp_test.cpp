// WSP primitive values and content types through the named routines: each rule as a call and bytes,
// and what there is without memory.
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

#include "Protocol/src/wsp_values.h"
#include "tests/support/faults.h"

using namespace mmskit;
using namespace testing_support;

namespace {

const std::string x60(60, 'x');

// The routines that return what they wrote, and those that move a cursor.
template <int32_t (*write)(uint8_t*, int32_t), int32_t value>
void counted(uint8_t** at, const char*) {
    *at += write(*at, value);
}
void long_integer(uint8_t** at, const char*) {
    LongInt2Octets(at, 0x10203);
}
void address(uint8_t** at, const char* text) {
    EXPECT_EQ(EncodeAddressString(at, text), std::strchr(text, '@') == nullptr);
}
void receivers(uint8_t** at, const char* list) {
    EncodeMultiRcver(at, list, 0x97);
}

TEST(Wsp, writing) {
    using Writer = void (*)(uint8_t**, const char*);
    const std::tuple<const char*, Writer, std::string, std::string> cases[] = {
        {"five groups", counted<CompactUintvar, INT32_MAX>, "", "87 FF FF FF 7F"},
        {"negative_uintvar_is_one_octet", counted<CompactUintvar, -2>, "", "7E"},
        {"quoted length", counted<EncodeValueLength, 200>, "", "1F 81 48"},
        {"negative length", counted<EncodeValueLength, -1>, "", "FF"},
        {"first octet first", long_integer, "", "01 02 03"},
        {"quoted", EncodeTextString, "\xC3", "7F C3 00"},
        {"quote counts", EncodeEncodedString, "\xC3\xA9", "05 EA 7F C3 A9 00"},
        {"encoded_string_length_is_one_octet", EncodeEncodedString, std::string(300, 's'),
         "1F 2E EA '" + std::string(300, 's') + "' 00"},
        {"address_without_at_is_a_phone_number", address, "1/TYPE=PLMN",
         "'1/TYPE=PLMN/TYPE=PLMN' 00"},
        {"empty_receiver_ends_the_list", receivers, "a@;;b@", "97 'a@' 00"},
        {"60 leave an empty one", receivers, x60 + ";1", "97 '" + x60 + "/TYPE=PLMN' 00"},
        {"120 leave one too", receivers, x60 + x60 + ";1",
         "97 '" + x60 + "/TYPE=PLMN' 00 97 '" + x60 + "/TYPE=PLMN' 00"},
        {"blanks count", receivers, std::string(30, ' ') + std::string(30, 'y') + ";1",
         "97 '" + std::string(30, 'y') + "/TYPE=PLMN' 00"},
        {"61 go on", receivers, x60 + "@", "97 '" + x60 + "/TYPE=PLMN' 00 97 '@' 00"},
    };
    for (const auto& [rule, write, text, wire] : cases) {
        uint8_t room[400];
        uint8_t* at = room;
        write(&at, text.c_str());
        EXPECT_EQ(hex(room, static_cast<size_t>(at - room)), hex(bytes(wire))) << rule;
    }
}

TEST(Wsp, receiver_cut_at_60_is_not_terminated) {
    const std::string list = x60 + "y";
    const char* at = list.c_str();
    std::string out(61, '!');
    EXPECT_EQ(GetOneReceiverValue(&at, out.data()), 1);
    EXPECT_EQ(out + at, x60 + "!y");
}

// What is read: a number, or a text and its reported length.
template <uint32_t (*read)(const uint8_t**)>
std::string number(const uint8_t** at) {
    return std::to_string(read(at));
}
template <char* (*read)(const uint8_t**, uint16_t*)>
std::string words(const uint8_t** at) {
    uint16_t length = 999;
    const OwnedText result(read(at, &length));
    return text(result.get()) + " " + std::to_string(length);
}
std::string long_at(const uint8_t** at) {
    return std::to_string(OctetsToLongInt(*at));
}

TEST(Wsp, reading) {
    using Reader = std::string (*)(const uint8_t**);
    const std::string a65539(65539, 'a');
    const std::tuple<const char*, Reader, std::string, std::string, int> cases[] = {
        {"low 32 bits", number<OctetsToUintvar>, "FF FF FF FF FF FF 00", "4294967168", 7},
        {"no length", number<GetLengthValue>, "20", "0", 0},
        {"low octets", long_at, "06 09 09 01 02 03 04", "16909060", 0},
        {"long_integer_count_is_signed_16_bit", long_at, "1F 84 80 01 07", "7", 0},
        {"negative count", long_at, "1F 82 80 00 07", "0", 0},
        {"quote kept", words<DecodeString>, "7F 'ab' 00", "\177ab 3", 4},
        {"length wraps", words<DecodeString>, "'" + a65539 + "' 00", a65539 + " 3", 65540},
        {"reported_length_counts_the_quote", words<MyDecodeTextString>, "7F C3 00", "\xC3 2", 3},
        {"UTF-8", words<DecodeEncodedString>, "1F 2A EA 7F C3 A9 00", "\xC3\xA9 6", 7},
        {"encoded_string_ends_at_first_nul", words<DecodeEncodedString>, "02 EA 'a' 00", "a 3", 4},
        {"empty UTF-8", words<DecodeEncodedString>, "02 EA 00", "(null) 2", 3},
        {"address counts its NUL", words<DecodeAddressString>, "7F 'a/b@c' 00", "a/b@c 7", 7},
    };
    for (const auto& [rule, read, notation, expected, moved] : cases) {
        const Guarded wire(bytes(notation));
        const uint8_t* at = wire.data();
        EXPECT_EQ(read(&at), expected) << rule;
        EXPECT_EQ(at, wire.data() + moved) << rule;
    }
}

TEST(Wsp, without_memory_a_text_is_null_and_the_cursor_stays) {
    const Guarded wire(bytes("05 EA 'abc' 00"));
    for (const auto read : {DecodeString, MyDecodeTextString, DecodeAddressString})
        fail_each_allocation([&] {
            const uint8_t* at = wire.data();
            const OwnedText result(read(&at, nullptr));
            EXPECT_EQ(at, wire.data() + (result ? wire.size() : 0));
        });
    fail_each_allocation([] {
        const std::string field = bytes("0C 'a/b' 00 85 'n' 00 'fwd=' 00");
        const auto* at = reinterpret_cast<const uint8_t*>(field.data());
        uint32_t length = 7;
        const OwnedContentType type(GetContentType(&at, &length));
        EXPECT_EQ(length, type ? field.size() : 7);
    });
}

// Every field of the record as one comparable line.
std::string shown(const tMMS_ContentType& type) {
    std::string out = text(type.pType) + ' ';
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
    const OwnedText form(DecodeWellKnownContentType(18)), drm(DecodeWellKnownContentType(72));
    EXPECT_STREQ(form.get(), "application/x-www-form-rulencoded");
    EXPECT_STREQ(drm.get(), "application/vnd.oma.drm.message");
    const int32_t unknown = EncodeContentType("Text/plain");
    EXPECT_EQ(unknown, 255) << "not -1";
    EXPECT_EQ(EncodeContentType(nullptr), 255);
    static_assert(std::is_same_v<decltype(EncodeContentType("")), int32_t>);
}

TEST(ContentType, fields_and_their_whole_length) {
    const std::string thirty = repeated("07", 30);
    const std::tuple<const char*, std::string, const char*, uint32_t> cases[] = {
        {"short integer", "83", "text/plain ", 1},
        {"Type code, Start-info", "09 83 89 83 8B 'a' 00 85 'n' 00", "text/plain name=n ", 10},
        {"charset that cannot be passed", "05 83 81 1F 02 03 E8", "text/plain charset=1000 ", 6},
        {"a quoted charset length leads 30 octets on", "05 83 81 1F 9F 00 " + thirty,
         "text/plain charset=0 ", 6},
        {"charset_octet_above_31_is_none", "07 83 81 20 85 'nm' 00",
         "text/plain name=nm charset=0 ", 8},
        {"and so is 127", "06 83 81 7F 85 'n' 00", "text/plain name=n charset=0 ", 7},
        {"the last name is kept", "08 'a' 00 85 7F C3 00 85 00", "a name= ", 9},
        {"an unknown parameter ends", "05 83 86 85 'n' 00", "text/plain ", 6},
        {"fwd no", "08 83 'fwd' 00 'No' 00", "text/plain fwd=0 66 77 64 00 4E 6F 00 ", 9},
        {"fwd of no known value", "07 83 'fwd=ok'", "text/plain fwd=0 66 77 64 3D ", 8},
        {"a name longer than the field", "03 83 85 'abc' 00", "text/plain name=abc ", 4},
        {"a type longer than the field", "00 9E 85 'a' 00", "image/jpeg ", 1},
    };
    for (const auto& [rule, notation, expected, size] : cases) {
        SCOPED_TRACE(rule);
        const Guarded wire(bytes(notation));
        const uint8_t* at = wire.data();
        uint32_t length = 0;
        const OwnedContentType type(GetContentType(&at, &length));
        ASSERT_TRUE(type);
        EXPECT_EQ(shown(*type), expected);
        EXPECT_EQ(length, size);
        EXPECT_EQ(at, wire.data() + (wire.data()[0] > 0x1F ? size : 0));
    }
    const Guarded huge(bytes("1F 8F FF FF FF 7F 83 00"));
    uint32_t length = 0;
    EXPECT_TRUE(OwnedContentType(ParseContentTypeWithParam(huge.data(), &length)));
    EXPECT_EQ(length, UINT32_MAX);
    EXPECT_TRUE(OwnedContentType(ParseContentTypeWithParam(huge.data(), nullptr)));
}

}  // namespace
