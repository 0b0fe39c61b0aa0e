// Each decoder of a PDU. Oracle: the record, written again from a table of its header fields, is
// decoded to the same; a refusal says why and where.
#include "fuzz/harness.h"
#include "tests/Anatomy/taken.h"

namespace {

using namespace fuzz;

struct Field {
    uint8_t code;
    size_t at, also = 0;
};
struct Kind {
    const char* name;
    std::span<const Field> fields;
};
using Request = tMMS_SendReq;
using Conf = tMMS_SendConf;
using Ind = tMMS_NotificationInd;
using Message = tMMS_RetrieveConf;
using Report = tMMS_DeliveryInd;
using Read = tMMS_ReadOrigInd;

constexpr Field send_request[] = {
    {0x98, offsetof(Request, pTransactionId)},
    {0x89, offsetof(Request, From)},
    {0x97, offsetof(Request, pTo)},
    {0x82, offsetof(Request, pCc)},
    {0x81, offsetof(Request, pBcc)},
    {0x96, offsetof(Request, pSubject)},
    {0x8F, offsetof(Request, bPriority)},
    {0x84, offsetof(Request, pContent), offsetof(Request, iContentLen)}};
constexpr Field conf[] = {
    {0x8C, offsetof(Conf, bMessageType)},    {0x8D, offsetof(Conf, bVersion)},
    {0x92, offsetof(Conf, bResponseStatus)}, {0x8B, offsetof(Conf, pMessageId)},
    {0x93, offsetof(Conf, pResponseText)},   {0x98, offsetof(Conf, pTransactionId)}};
constexpr Field notification[] = {{0x8F, offsetof(Ind, bPriority)},
                                  {0x88, offsetof(Ind, iExpiry), offsetof(Ind, bExpiryToken)},
                                  {0x8E, offsetof(Ind, iMessageSize)},
                                  {0x89, offsetof(Ind, From)},
                                  {0x96, offsetof(Ind, pSubject)},
                                  {0x98, offsetof(Ind, pTransactionId)},
                                  {0x83, offsetof(Ind, pContentLocation)}};
constexpr Field message[] = {{0x86, offsetof(Message, bDeliveryReport)},
                             {0x90, offsetof(Message, bReadReport)},
                             {0x8F, offsetof(Message, bPriority)},
                             {0x85, offsetof(Message, iDate)},
                             {0x89, offsetof(Message, From)},
                             {0x97, offsetof(Message, pTo)},
                             {0x82, offsetof(Message, pCc)},
                             {0x8B, offsetof(Message, pMessageId)},
                             {0x96, offsetof(Message, pSubject)},
                             {0x98, offsetof(Message, pTransactionId)},
                             {0x84, offsetof(Message, pBody), offsetof(Message, iBodyLen)}};
constexpr Field report[] = {{0x95, offsetof(Report, bStatus)},
                            {0x85, offsetof(Report, iDate)},
                            {0x8B, offsetof(Report, pMessageId)},
                            {0x97, offsetof(Report, pTo)}};
constexpr Field read_report[] = {{0x9B, offsetof(Read, bReadStatus)},
                                 {0x85, offsetof(Read, iDate)},
                                 {0x8B, offsetof(Read, pMessageId)},
                                 {0x89, offsetof(Read, From)},
                                 {0x97, offsetof(Read, pTo)}};
// QUIRK forward_status_is_in_the_message_type
constexpr Field forward[] = {{0x92, offsetof(Conf, bMessageType)},
                             {0x8D, offsetof(Conf, bVersion)},
                             {0x8B, offsetof(Conf, pMessageId)},
                             {0x93, offsetof(Conf, pResponseText)},
                             {0x98, offsetof(Conf, pTransactionId)}};

// In the order of testing_support::exact_decoders.
constexpr Kind kinds[] = {{"send_req", send_request},     {"send_conf", conf},
                          {"notification", notification}, {"retrieve", message},
                          {"delivery", report},           {"read_orig", read_report},
                          {"forward_conf", forward}};

template <typename T>
const T& member(const void* record, size_t at) {
    return *reinterpret_cast<const T*>(static_cast<const uint8_t*>(record) + at);
}

std::string long_integer(uint32_t value) {
    std::string out;
    for (; value != 0; value >>= 8)
        out.insert(out.begin(), static_cast<char>(value));
    return static_cast<char>(out.size()) + out;
}

// A text is quoted, so that a quote that it begins with stays.
std::string text_value(const char* text, uint8_t code) {
    std::string value = text;
    const bool phone = value.find('@') == std::string::npos;
    const bool list = code == 0x97 || code == 0x82 || code == 0x81;
    if ((list || code == 0x89) && phone)
        value += "/TYPE=PLMN";                     // QUIRK address_without_at_is_a_phone_number
    if (code != 0x93) value.insert(0, 1, '\x7F');  // QUIRK response_text_is_taken_as_it_stands
    if (code == 0x89) value.insert(0, "\x02\x80");
    if (code == 0x96 && value.size() % 2 == 0)
        value.insert(0, "\x05\xEA");  // QUIRK encoded_string_ends_at_first_nul: any length will do
    return value + '\0';
}

// Empty for what the record does not have.
std::string value_of(const void* record, const Field& field) {
    const auto byte_at = [&](size_t at) { return member<char>(record, at); };
    const auto number = [&](size_t at) { return member<uint32_t>(record, at); };
    if (std::strchr("\x8C\x8D\x8F\x92\x95\x9B", field.code)) return {byte_at(field.at)};
    if (field.code == 0x86 || field.code == 0x90) return {number(field.at) != 0 ? '\x80' : '\x81'};
    if (field.code == 0x85 || field.code == 0x8E) return long_integer(number(field.at));
    if (field.code == 0x88) {
        const std::string value = byte_at(field.also) + long_integer(number(field.at));
        return static_cast<char>(value.size()) + value;
    }
    const char* text = member<const char*>(record, field.at);
    if (text == nullptr) return {};
    return field.code == 0x84 ? std::string(text + 1, number(field.also) - 1)
                              : text_value(text, field.code);
}

struct FreeRecord {
    uint8_t kind;
    void operator()(void* record) const { fnMMS_FreeMessageMem(record, kind); }
};
using Record = std::unique_ptr<void, FreeRecord>;

template <size_t index>
Record decode(std::string_view pdu) {
    constexpr testing_support::ExactDecoder decoder = testing_support::exact_decoders[index];
    const Exact exact(pdu);
    Record record(decoder.decode(exact.data.get(), exact.length), FreeRecord{decoder.kind});
    uint32_t offset = 0;
    const std::string_view error = fnMMS_GetLastError(&offset);
    hold((error == "no error") == (record != nullptr), "the last error");
    hold(offset <= pdu.size(), "the place of the last error");
    tell(offset);
    tell(error);
    return record;
}

template <size_t index>
std::string written(const void* record) {
    std::string out{'\x8C', static_cast<char>(testing_support::exact_decoders[index].type)};
    for (const Field& field : kinds[index].fields) {
        const std::string value = value_of(record, field);
        if (!value.empty()) out += static_cast<char>(field.code) + value;
    }
    return out;
}

// The library's own encoder: what it wrote it reads, and writes alike.
void check_encoder(tMMS_SendReq& request) {
    // An empty transaction id is refused. QUIRK from_is_never_quoted,
    // encoded_string_length_is_one_octet, receiver_cut_at_60_is_not_terminated,
    // address_without_at_is_a_phone_number: what they do to a text is not undone.
    if (request.pTransactionId == nullptr || fnSC_STRLEN(request.pSubject) > 124 ||
        (request.pSubject != nullptr && std::strchr("\x7F", *request.pSubject)))
        return;
    for (const char* text :
         {request.pTransactionId, request.From, request.pTo, request.pCc, request.pBcc})
        if (text != nullptr && (std::strlen(text) >= 60 || std::strpbrk(text, "/ \x7F"))) return;
    std::string made[2];
    for (std::string& pdu : made) {
        uint32_t length = 0;
        const Owner<uint8_t, fnMMS_FreeMadeMsgPduBuf> block(
            fnMMS_MakeSendMessagePdu(&request, &length));
        if (block == nullptr) return hold(false, "not written");
        pdu = text_of({block.get(), length});
        const Record back = decode<0>(pdu);
        if (back == nullptr) return hold(false, "not read back");
        std::swap(request, *static_cast<tMMS_SendReq*>(back.get()));
        request.bMessageClass &= 0x7F;  // QUIRK class_and_priority_read_back_as_wire_octets
        request.bPriority &= 0x7F;
    }
    hold(made[0] == made[1], "written, read back, written");
}

template <size_t index>
void run_kind(Bytes input) {
    const Record record = decode<index>(text_of(input));
    if (record == nullptr) return;
    const std::string first = written<index>(record.get());
    tell(std::string_view(first));
    const Record again = decode<index>(first);
    hold(again != nullptr && written<index>(again.get()) == first, "decoded, written, decoded");
    if constexpr (index == 0) check_encoder(*static_cast<tMMS_SendReq*>(record.get()));
}

constexpr Target targets[] = {{kinds[0].name, run_kind<0>}, {kinds[1].name, run_kind<1>},
                              {kinds[2].name, run_kind<2>}, {kinds[3].name, run_kind<3>},
                              {kinds[4].name, run_kind<4>}, {kinds[5].name, run_kind<5>},
                              {kinds[6].name, run_kind<6>}};

}  // namespace

const std::span<const Target> fuzz::pdu_targets = targets;
