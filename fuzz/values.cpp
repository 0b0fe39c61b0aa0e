// WSP values, content types, character sets and dates: what is written is read back, and two ways
// to the same result agree.
#include <algorithm>
#include <vector>

#include "fuzz/harness.h"

namespace {

using namespace fuzz;

// A text written by `encode` and read by `decode`; empty when it cannot be.
template <auto encode, auto decode>
std::string there_and_back(const std::string& text) {
    std::vector<uint8_t> room(text.size() + 20);
    uint8_t* end = room.data();
    encode(&end, text.c_str());
    const Exact exact(Bytes(room.data(), end));
    const uint8_t* at = exact.data.get();
    uint16_t length = 0;
    const Block<char> back(decode(&at, &length));
    if (back == nullptr) return {};
    hold(at == exact.data.get() + exact.length, "where a text ends");
    tell(length);
    return back.get();
}

void run_wsp(Bytes bytes) {
    Input input{bytes};
    const auto value = static_cast<int32_t>(input.number() & 0x7FFFFFFF);
    uint8_t room[8] = {};
    const uint8_t* at = room;
    int32_t size = CompactUintvar(room, value);
    hold(OctetsToUintvar(&at) == uint32_t(value) && at == room + size, "a uintvar");
    at = room;
    size = EncodeValueLength(room, value);
    hold(GetLengthValue(&at) == uint32_t(value) && at == room + size, "a value-length");
    uint8_t* end = room + 1;
    *room = static_cast<uint8_t>(GetLongIntLength(value));
    LongInt2Octets(&end, value);
    hold(OctetsToLongInt(room) == uint32_t(value) && end == room + 1 + *room, "a long integer");

    const std::string text = input.text();
    const bool quote = text.starts_with('\x7F');
    const bool phone = text.find('@') == std::string::npos;
    hold(there_and_back<EncodeString, DecodeString>(text) == text, "a text");
    hold(there_and_back<EncodeTextString, MyDecodeTextString>(text) == text || quote,
         "a quoted text");
    hold(there_and_back<EncodeAddressString, DecodeAddressString>(text) == text || quote ||
             (phone && text.find('/') != std::string::npos),
         "an address");
    // QUIRK encoded_string_length_is_one_octet: a longer text may not be read.
    if (text.size() <= 124)
        hold(there_and_back<EncodeEncodedString, DecodeEncodedString>(text) == text || quote,
             "an encoded string");

    // What came from elsewhere, with the end that a value needs.
    const Exact rest(text_of(input.rest) + std::string(8, '\0'));
    for (const auto decode :
         {DecodeString, MyDecodeTextString, DecodeEncodedString, DecodeAddressString}) {
        at = rest.data.get();
        tell(Block<char>(decode(&at, nullptr)).get());
        hold(at > rest.data.get() && at <= rest.data.get() + rest.length, "the cursor");
    }
}

struct FreeType {
    void operator()(tMMS_ContentType* type) const {
        fnSC_Free(&type->pType);
        fnSC_Free(&type->pName);
        fnSC_Free(&type->pFwdParam);
        fnSC_Free(&type);
    }
};
using Type = std::unique_ptr<tMMS_ContentType, FreeType>;

std::string uintvar(uint32_t value) {
    uint8_t room[8];
    return text_of({room, size_t(CompactUintvar(room, int32_t(value)))});
}

// The general form; the type must not be null.
std::string written(const tMMS_ContentType& type) {
    const int32_t code = EncodeContentType(type.pType);
    std::string out = code < 0x80 ? std::string(1, static_cast<char>(0x80 | code))
                                  : std::string(type.pType) + '\0';
    if (type.bHasCharset != 0) {
        std::string octets;
        for (uint32_t left = type.iCharset; left != 0; left >>= 8)
            octets.insert(octets.begin(), static_cast<char>(left));
        out += '\x81';
        out += static_cast<char>(octets.size()) + octets;
    }
    if (type.pName != nullptr) out += std::string("\x85\x7F") + type.pName + '\0';
    if (type.bHasFwd != 0) out += text_of({type.pFwdParam, type.iFwdParamLen});
    return '\x1F' + uintvar(static_cast<uint32_t>(out.size())) + out;
}

Type decode_type(const std::string& field, uint32_t& length) {
    const Exact exact(field + std::string(64, '\0'));
    const uint8_t* at = exact.data.get();
    const bool general = *at <= 31;
    if (GetLengthValue(&at) > field.size()) return {};  // a field must be there
    at = exact.data.get();
    Type type(GetContentType(&at, &length));
    if (type == nullptr) return type;
    hold(at == exact.data.get() + (general ? 0 : length), "the cursor");
    tell(length);
    tell(uint64_t{type->iCharset} << 1U | type->bHasCharset);
    tell(type->pType);
    tell(type->pName);
    tell(type->pFwdParam, type->iFwdParamLen);
    return type;
}

void run_content_type(Bytes input) {
    uint32_t length = 0;
    const Type type = decode_type(text_of(input), length);
    if (type == nullptr || type->pType == nullptr) return;
    const std::string first = written(*type);
    const Type again = decode_type(first, length);
    hold(length == first.size(), "the length of a field");
    hold(again != nullptr && again->pType != nullptr && written(*again) == first,
         "decoded, written, decoded");
    hold(again == nullptr || again->bFwd == type->bFwd || type->iFwdParamLen <= 4, "fwd");
}

std::string local(int32_t charset, const Exact& text) {
    auto length = static_cast<uint32_t>(text.length);
    const Owner<char, fnCharSet_CharSetFreeStringBuf> made(
        fnCharSet_DecodeString2Local(charset, text.data.get(), &length));
    if (made == nullptr) return {};
    hold(length == std::strlen(made.get()), "the length of a converted text");
    tell(made.get());
    return made.get();
}

template <auto convert, typename In>
std::string utf8(const In* from, size_t count, size_t most) {
    const auto out = std::make_unique<uint8_t[]>(most * count + 1);
    const int32_t size = convert(from, int32_t(count), out.get());
    const std::string made = text_of({out.get(), size_t(size)});
    tell(made);
    return made;
}

void run_charset(Bytes input) {
    const Exact text(input);
    for (const int32_t charset : {3, 4, 17, 106, 1000})
        local(charset, text);
    const auto points = std::make_unique<uint32_t[]>(input.size() / 2 + 1);
    const int32_t count = UTF16toUCS4(text.data.get(), text.length, points.get());
    hold(local(1015, text) == utf8<UCS4toUTF8>(points.get(), size_t(count), 6).c_str(), "UTF-16");

    const auto units = std::make_unique<uint16_t[]>(input.size() + 1);
    const auto size = static_cast<size_t>(UTF8toUCS2(text.data.get(), text.length, units.get()));
    hold(size <= input.size(), "more units than bytes");
    const std::string first = utf8<UCS2toUTF8>(units.get(), size, 3);
    const auto again = std::make_unique<uint16_t[]>(first.size() + 1);
    const auto same = static_cast<size_t>(UTF8toUCS2(reinterpret_cast<const uint8_t*>(first.data()),
                                                     int32_t(first.size()), again.get()));
    hold(std::equal(units.get(), units.get() + size, again.get(), again.get() + same),
         "UCS-2, to UTF-8 and back");
}

void run_dates(Bytes bytes) {
    Input input{bytes};
    const uint32_t seconds = input.number(), more = input.number();
    tSCFS_DateTime date{};
    GETJULIANDATE(seconds, &date);
    if (date.iMonth != 0 && date.iYear < 2100) {
        // QUIRK julian_scale_is_one_day_ahead, and the years 3 and 0 modulo 4 a day behind.
        const uint32_t ahead = date.iYear % 4 == 1 || date.iYear % 4 == 2 ? 86400 : 0;
        hold(JULIANTOSECONDS(&date) == seconds + ahead, "there and back");
        char out[40];
        hold(date_to_httpDate(seconds, out) == int32_t(std::strlen(out)), "the length of a date");
        hold(uint32_t(parse_date_str(out)) == JULIANTOSECONDS(&date) / 86400 * 86400, "its text");
        const uint32_t before = JULIANTOSECONDS(&date);
        fnSCFS_TimeAdd(&date, more);
        hold(JULIANTOSECONDS(&date) == before + more, "a sum");
    }
    tell(&date, sizeof date);
    tell(uint32_t(parse_date_str(text_of(input.rest).c_str())));
}

constexpr Target targets[] = {{"wsp", run_wsp},
                              {"content_type", run_content_type},
                              {"charset", run_charset},
                              {"dates", run_dates}};

}  // namespace

const std::span<const Target> fuzz::value_targets = targets;
