// Anatomies and their owners; and the exact decoders, asked whether they take a mended message
// whole.
#pragma once

#include <mmskit/anatomy.h>
#include <mmskit/mmskit.h>

#include <cstdint>
#include <memory>
#include <string>

namespace testing_support {

template <auto release>
struct Release {
    void operator()(auto* made) const { release(made); }
};
using OwnedAnatomy = std::unique_ptr<tMMS_Anatomy, Release<fnMMS_FreeAnatomy>>;
using OwnedMended = std::unique_ptr<tMMS_Mended, Release<fnMMS_FreeMended>>;

inline OwnedAnatomy dissected(const std::string& input) {
    return OwnedAnatomy(fnMMS_Dissect(reinterpret_cast<const uint8_t*>(input.data()),
                                      static_cast<uint32_t>(input.size())));
}

struct ExactDecoder {
    uint32_t type;
    uint8_t kind;
    void* (*decode)(const uint8_t*, int32_t);
};

template <auto decode>
void* decode_as(const uint8_t* pdu, int32_t length) {
    return decode(pdu, length);
}

inline constexpr ExactDecoder exact_decoders[] = {
    {0x80, 1, decode_as<fnMMS_ParseSendContent>},     {0x81, 2, decode_as<fnMMS_ParseSendConf>},
    {0x82, 3, decode_as<fnMMS_ParseNotificationInd>}, {0x84, 4, decode_as<fnMMS_ParseRetrieveConf>},
    {0x86, 5, decode_as<fnMMS_ParseDeliveryInd>},     {0x88, 9, decode_as<fnMMS_ParseReadOrigInd>},
    {0x8A, 11, decode_as<fnMMS_ParseForwardConf>},
};

// The parts that the slide view has: each once on slides, or as an attachment.
inline bool view_is_whole(const tMMS_Mended& mended) {
    const auto length = static_cast<int32_t>(mended.iLength - mended.iBody);
    if (length == 0) return true;
    const bool shown = fnPAR_SmilParserEntry(mended.pData + mended.iBody, length) != 0;
    fnPAR_SmilFree();
    return shown;
}

inline bool is_taken(const tMMS_Anatomy& anatomy, const tMMS_Mended& mended) {
    if (anatomy.iMessage == MMS_MESSAGE_PDU)
        for (const ExactDecoder& decoder : exact_decoders) {
            if (decoder.type != anatomy.iMessageType) continue;
            void* const record = decoder.decode(mended.pData, static_cast<int32_t>(mended.iLength));
            if (record == nullptr) return false;
            fnMMS_FreeMessageMem(record, decoder.kind);
        }
    const bool message =
        anatomy.iMessage == MMS_MESSAGE_PDU || anatomy.iMessage == MMS_MESSAGE_BODY;
    return !message || view_is_whole(mended);
}

}  // namespace testing_support
