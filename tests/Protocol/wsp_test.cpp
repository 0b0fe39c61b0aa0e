// WSP primitive values through the named routines, and the bounds and the failures of the reader
// and the writer beneath them.
#include <gtest/gtest.h>

#include <tuple>

#include "Protocol/src/wsp_values.h"
#include "tests/support/faults.h"

using namespace mmskit;
using namespace testing_support;

namespace {

const std::string x60(60, 'x');
const std::string x300 = x60 + x60 + x60 + x60 + x60;

int32_t long_integer(uint8_t* out, int32_t value) {
    LongInt2Octets(&out, value);
    return GetLongIntLength(value);
}

TEST(WspWriting, numbers) {
    using Writer = int32_t (*)(uint8_t*, int32_t);
    const std::tuple<const char*, Writer, int32_t, const char*> cases[] = {
        {"one group", CompactUintvar, 127, "7F"},
        {"two groups", CompactUintvar, 128, "81 00"},
        {"five groups", CompactUintvar, INT32_MAX, "87 FF FF FF 7F"},
        {"negative_uintvar_is_one_octet", CompactUintvar, -2, "7E"},
        {"quoted uintvar", EncodeValueLength, 200, "1F 81 48"},
        {"negative length", EncodeValueLength, -1, "FF"},
        {"no octets below 1", long_integer, -5, ""},
    };
    for (const auto& [rule, write, value, wire] : cases) {
        uint8_t room[8];
        const int32_t size = write(room, value);
        EXPECT_EQ(hex(room, static_cast<size_t>(size)), hex(bytes(wire))) << rule;
    }
}

void address(uint8_t** at, const char* text) {
    EXPECT_EQ(EncodeAddressString(at, text), std::strchr(text, '@') == nullptr);
}
void receivers(uint8_t** at, const char* list) {
    EncodeMultiRcver(at, list, 0x97);
}

TEST(WspWriting, texts) {
    using Writer = void (*)(uint8_t**, const char*);
    const std::tuple<const char*, Writer, std::string, std::string> cases[] = {
        {"quoted", EncodeTextString, "\xC3", "7F C3 00"},
        {"quote counts", EncodeEncodedString, "\xC3\xA9", "05 EA 7F C3 A9 00"},
        {"encoded_string_length_is_one_octet", EncodeEncodedString, x300,
         "1F 2E EA '" + x300 + "' 00"},
        {"address_without_at_is_a_phone_number", address, "1/TYPE=PLMN",
         "'1/TYPE=PLMN/TYPE=PLMN' 00"},
        {"empty_receiver_ends_the_list", receivers, "a@;;b@", "97 'a@' 00"},
        {"60 leave an empty one", receivers, x60 + ";1", "97 '" + x60 + "/TYPE=PLMN' 00"},
        {"61 go on", receivers, x60 + "@", "97 '" + x60 + "/TYPE=PLMN' 00 97 '@' 00"},
    };
    for (const auto& [rule, write, text, wire] : cases) {
        uint8_t room[400];
        uint8_t* at = room;
        write(&at, text.c_str());
        EXPECT_EQ(hex(room, static_cast<size_t>(at - room)), hex(bytes(wire))) << rule;
    }
}

TEST(WspWriting, receiver_cut_at_60_is_not_terminated) {
    const std::string list = x60 + "y";
    const char* at = list.c_str();
    std::string out(61, '!');
    EXPECT_EQ(GetOneReceiverValue(&at, out.data()), 1);
    EXPECT_EQ(out + at, x60 + "!y");
}

TEST(WspReading, texts) {
    using Reader = char* (*)(const uint8_t**, uint16_t*);
    const std::tuple<const char*, Reader, std::string, std::string, int> cases[] = {
        {"quote kept", DecodeString, "7F 'ab' 00", bytes("7F 'ab'"), 3},
        {"16-bit length wraps", DecodeString, "'" + std::string(65539, 'a') + "' 00",
         std::string(65539, 'a'), 3},
        {"reported_length_counts_the_quote", MyDecodeTextString, "7F C3 00", "\xC3", 2},
        {"UTF-8", DecodeEncodedString, "1F 2A EA 7F C3 A9 00", "\xC3\xA9", 6},
        {"encoded_string_ends_at_first_nul", DecodeEncodedString, "02 EA 'abc' 00", "abc", 5},
        {"empty US-ASCII", DecodeEncodedString, "02 83 00", "", 2},
        {"empty UTF-8", DecodeEncodedString, "02 EA 00", "(null)", 2},
        {"UCS-2", DecodeEncodedString, "06 02 03 E8 'a' 00", "(null)", 5},
        {"cut length", DecodeEncodedString, "1F 85 00", "(null)", 2},
        {"e-mail", DecodeAddressString, "7F 'a/b@c' 00", "a/b@c", 7},
    };
    for (const auto& [rule, read, notation, expected, size] : cases) {
        const Guarded wire(bytes(notation));
        const uint8_t* at = wire.data();
        uint16_t length = 999;
        const OwnedText result(read(&at, &length));
        EXPECT_EQ(text(result.get()), expected) << rule;
        EXPECT_EQ(length, size) << rule;
        EXPECT_EQ(at, wire.data() + wire.size()) << rule;
    }
}

TEST(WspReading, numbers) {
    const auto long_at = [](const uint8_t** at) { return OctetsToLongInt(*at); };
    using Reader = uint32_t (*)(const uint8_t**);
    const std::tuple<const char*, Reader, const char*, uint32_t, int> cases[] = {
        {"low 32 bits", OctetsToUintvar, "FF FF FF FF FF FF 00", 0xFFFFFF80, 7},
        {"no length", GetLengthValue, "20", 0, 0},
        {"low octets", long_at, "06 09 09 01 02 03 04", 0x01020304, 0},
        {"long_integer_count_is_signed_16_bit", long_at, "1F 84 80 01 07", 7, 0},
        {"negative count", long_at, "1F 82 80 00 07", 0, 0},
    };
    for (const auto& [rule, read, notation, value, moved] : cases) {
        const Guarded wire(bytes(notation));
        const uint8_t* at = wire.data();
        EXPECT_EQ(read(&at), value) << rule;
        EXPECT_EQ(at, wire.data() + moved) << rule;
    }
}

constexpr bool (*text_readers[])(BoundedReader&, OwnedText&) = {read_text, read_quoted_text,
                                                                read_encoded_string, read_address};

TEST(WspReading, zero_bytes_follow_the_input) {
    for (const char* wire : {"1F 83 EA 7F 'abc/d' 00", "05 83 7F 'ab@c'"})
        damage_each_byte(bytes(wire), [](const uint8_t* data, int32_t length) {
            for (const auto read : text_readers) {
                BoundedReader in(data, static_cast<size_t>(length));
                OwnedText result;
                EXPECT_TRUE(read(in, result));
                EXPECT_GE(in.position(), 1U);
            }
            EXPECT_EQ(long_integer_at({data, length != 0}), 0U);
        });
    const Guarded wire(bytes("81 'ab'"));
    BoundedReader number(wire.data(), 1), rest(wire.data() + 1, 2);
    EXPECT_EQ(read_uintvar(number), 128U);
    EXPECT_EQ(rest.child(9).size(), 2U);
    rest.skip(UINT64_MAX);
    EXPECT_TRUE(rest.past_end() && rest.byte() == 0 && rest.take(3).size == 0);
}

TEST(WspFailure, without_memory_a_text_is_null_and_the_cursor_stays) {
    const Guarded wire(bytes("05 EA 'abc' 00"));
    for (const auto read : {DecodeString, MyDecodeTextString})
        fail_each_allocation([&] {
            const uint8_t* at = wire.data();
            const OwnedText result(read(&at, nullptr));
            EXPECT_EQ(at, wire.data() + (result ? wire.size() : 0));
        });
    for (const auto read : text_readers)
        fail_each_allocation([&] {
            BoundedReader in(wire.data(), wire.size());
            OwnedText result;
            const bool done = read(in, result);
            EXPECT_EQ(done, static_cast<bool>(result));
        });
}

TEST(WspFailure, a_writer_that_ran_out_stays_failed) {
    fail_each_allocation([] {
        PduWriter out, measured = PduWriter::measuring();
        for (PduWriter* writer : {&out, &out, &out, &measured})
            writer->bytes(x60.data(), 60);
        uint32_t length = 7;
        const bool failed = out.failed();
        const OwnedBytes result(out.release(&length));
        EXPECT_EQ(failed, !result);
        EXPECT_EQ(length, failed ? 7U : 3 * measured.size());
    });
}

}  // namespace
