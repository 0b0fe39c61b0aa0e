// Message records: their layout, which hosts are compiled against, their defaults by kind, and
// that freeing one frees all that it owns.
#include <gtest/gtest.h>
#include <mmskit/pdu.h>
#include <mmskit/runtime.h>

#include <algorithm>
#include <cstddef>
#include <vector>

#include "tests/support/faults.h"

namespace {

using Offsets = std::initializer_list<size_t>;

// The binary interface on LP64: size, and the offset of every member in order. It never changes.
template <typename T>
constexpr bool laid_out(size_t size, Offsets actual, Offsets expected) {
    return sizeof(void*) != 8 || (sizeof(T) == size && std::ranges::equal(actual, expected));
}
// clang-format off
#define A(member) offsetof(R, member)
[[maybe_unused]] void binary_interface_is_kept() {
    { using R = tMMS_SendReq; static_assert(laid_out<R>(104, {A(bDeliveryReport), A(bReadReport),
      A(bSenderVisible), A(pTransactionId), A(From), A(pTo), A(pCc), A(pBcc), A(pSubject),
      A(pContent), A(bMessageClass), A(bPriority), A(iDate), A(bExpiryRelative), A(iExpiry),
      A(bDeliveryTimeRelative), A(iDeliveryTime), A(iContentLen)}, {0, 4, 8, 16, 24, 32, 40, 48,
      56, 64, 72, 73, 76, 80, 84, 88, 92, 96})); }
    { using R = tMMS_SendConf; static_assert(laid_out<R>(32, {A(bMessageType), A(bVersion),
      A(bResponseStatus), A(pTransactionId), A(pResponseText), A(pMessageId)}, {0, 1, 2, 8, 16,
      24})); }
    { using R = tMMS_NotificationInd; static_assert(laid_out<R>(48, {A(bMessageClass),
      A(bPriority), A(bExpiryToken), A(iMessageSize), A(iExpiry), A(pTransactionId), A(From),
      A(pSubject), A(pContentLocation)}, {0, 1, 2, 4, 8, 16, 24, 32, 40})); }
    { using R = tMMS_RetrieveConf; static_assert(laid_out<R>(80, {A(bDeliveryReport),
      A(bReadReport), A(bMessageClass), A(bPriority), A(iDate), A(iBodyLen), A(pBody),
      A(pTransactionId), A(pMessageId), A(From), A(pTo), A(pCc), A(pSubject)}, {0, 4, 8, 9, 12, 16,
      24, 32, 40, 48, 56, 64, 72})); }
    { using R = tMMS_DeliveryInd; static_assert(laid_out<R>(32, {A(bStatus), A(pMessageId), A(pTo),
      A(iDate)}, {0, 8, 16, 24})); }
    { using R = tMMS_NotifyRespInd; static_assert(laid_out<R>(16, {A(bMessageType), A(bVersion),
      A(bStatus), A(bReportAllowed), A(pTransactionId)}, {0, 1, 2, 3, 8})); }
    { using R = tMMS_AcknowledgeInd; static_assert(laid_out<R>(16, {A(bMessageType), A(bVersion),
      A(bReportAllowed), A(pTransactionId)}, {0, 1, 2, 8})); }
    { using R = tMMS_ReadRecInd; static_assert(laid_out<R>(32, {A(pMessageId), A(pTo),
      A(pReserved), A(bReadStatus), A(iDate)}, {0, 8, 16, 24, 28})); }
    { using R = tMMS_ReadOrigInd; static_assert(laid_out<R>(32, {A(pMessageId), A(From), A(pTo),
      A(iDate), A(bReadStatus)}, {0, 8, 16, 24, 28})); }
    { using R = tMMS_ForwardReq; static_assert(laid_out<R>(72, {A(bDeliveryReport), A(bReadReport),
      A(pTransactionId), A(pTo), A(pCc), A(pBcc), A(pContentLocation), A(iDate),
      A(bExpiryRelative), A(iExpiry), A(bDeliveryTimeRelative), A(iDeliveryTime)}, {0, 4, 8, 16,
      24, 32, 40, 48, 52, 56, 60, 64})); }
    { using R = tMMS_MediaData; static_assert(laid_out<R>(96, {A(pContentLocation), A(pContentId),
      A(pName), A(pData), A(iDataLen), A(iCharset), A(bHasCharset), A(bHasFwd), A(bFwd),
      A(pFwdParam), A(iFwdParamLen), A(pContentType), A(pNext), A(IsSmil), A(bDrmSeparate),
      A(iDrmInfo1), A(iDrmInfo2)}, {0, 8, 16, 24, 32, 36, 40, 41, 42, 48, 56, 64, 72, 80, 84, 88,
      92})); }
    { using R = tMMS_SmilPart; static_assert(laid_out<R>(24, {A(pContentType), A(pData),
      A(iDataLen)}, {0, 8, 16})); }
    { using R = tMMS_ContentUnion; static_assert(laid_out<R>(16, {A(pSmil), A(pMediaList)}, {0,
      8})); }
}
#undef A
// clang-format on

struct Kind {
    size_t size;
    std::vector<size_t> owned;                         // offsets as above
    std::vector<std::pair<size_t, uint8_t>> defaults;  // the bytes of a new record that are not 0
};
const Kind kinds[] = {
    {104, {16, 24, 32, 40, 48, 56, 64}, {{8, 1}, {73, 1}, {80, 1}, {88, 1}}},
    {32, {8, 16, 24}, {{0, 0x81}, {1, 0x92}}},
    {48, {16, 24, 32, 40}, {}},
    {80, {24, 32, 40, 48, 56, 64, 72}, {}},
    {32, {8, 16}, {}},
    {16, {8}, {{0, 0x83}, {1, 0x92}}},
    {16, {8}, {{0, 0x85}, {1, 0x92}}},
    {32, {0, 8, 16}, {}},
    {32, {0, 8, 16}, {}},
    {72, {8, 16, 24, 32, 40}, {{52, 1}, {60, 1}}},
    {32, {8, 16, 24}, {}},
};

TEST(Records, a_new_record_has_the_defaults_of_its_kind_and_is_freed_whole) {
    const testing_support::NoLeak check;
    uint8_t number = 0;
    for (const Kind& kind : kinds) {
        auto* record = static_cast<uint8_t*>(fnMMS_AllocMessageMem(++number));
        ASSERT_NE(record, nullptr);
        std::vector<uint8_t> expected(kind.size, 0);
        for (const auto& [offset, value] : kind.defaults)
            expected[offset] = value;
        EXPECT_EQ(std::vector<uint8_t>(record, record + kind.size), expected) << int{number};
        for (const size_t offset : kind.owned)
            *reinterpret_cast<void**>(record + offset) = fnSC_Malloc_Local(1);
        fnMMS_FreeMessageMem(record, number);
    }
    for (const uint8_t unknown : {uint8_t{0}, uint8_t{12}, uint8_t{0x84}}) {
        EXPECT_EQ(fnMMS_AllocMessageMem(unknown), nullptr);
        fnMMS_FreeMessageMem(&number, unknown);
    }
    fnMMS_FreeMessageMem(nullptr, 1);
}

}  // namespace
