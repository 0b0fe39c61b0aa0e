// What each operation of the library costs in instructions, releasing included: run it under
// callgrind through `./run bench --instructions`. An operation is a row of the tables at the end;
// .ci/check_instructions holds the counts against bench/instructions.txt.
#include "bench/instructions.h"

#include <mmskit/mmskit.h>
#include <sys/stat.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Parser/src/smil_internal.h"
#include "bench/inputs.h"

namespace instructions {

void count(const char* name, Operation work, const char* less) {
    for (int warm_up = 0; warm_up < 3; ++warm_up)
        work();
    const std::string label = less == nullptr ? name : std::string(name) + " " + less;
    CALLGRIND_ZERO_STATS;
    work();
    CALLGRIND_DUMP_STATS_AT(label.c_str());
}

}  // namespace instructions

namespace {

using inputs::bytes_of;
using inputs::size_of;
using instructions::count;

[[noreturn]] void give_up(const char* what) {
    std::fprintf(stderr, "instructions: %s failed\n", what);
    std::exit(1);
}
void must(bool done, const char* what) {
    if (!done) give_up(what);
}

void nothing() {}

// ---- Receiving --------------------------------------------------------------------------------

const std::string notification_pdu = inputs::notification();
const std::string three_slides = inputs::slides_body(3, 1000);
const std::string four_parts = inputs::slides_body(1, 98000);
const std::string message_102k = inputs::retrieved(four_parts);

void copy_of_body() {
    void* copy = std::malloc(four_parts.size());
    std::memcpy(copy, four_parts.data(), four_parts.size());
    // The copy must be made.
    asm volatile("" : : "r"(copy) : "memory");
    std::free(copy);
}

void notification() {
    tMMS_NotificationInd* record =
        fnMMS_ParseNotificationInd(bytes_of(notification_pdu), size_of(notification_pdu));
    must(record != nullptr && record->pContentLocation != nullptr, "notification");
    fnMMS_FreeMessageMem(record, MMS_KIND_NOTIFICATION_IND);
}

tMMS_RetrieveConf* parse_102k() {
    tMMS_RetrieveConf* record =
        fnMMS_ParseRetrieveConf(bytes_of(message_102k), size_of(message_102k));
    must(record != nullptr && record->iBodyLen == four_parts.size(), "retrieved message");
    return record;
}

void split(const uint8_t* body, int32_t size) {
    tMMS_ContentUnion* content = fnMMS_GetMediaDataFromPdu(body, size);
    must(content != nullptr && content->pSmil != nullptr && content->pMediaList != nullptr, "body");
    fnMMS_FreeMediaData(content);
}

void body_of_4_parts() {
    split(bytes_of(four_parts), size_of(four_parts));
}

void retrieved() {
    tMMS_RetrieveConf* record = parse_102k();
    split(record->pBody, static_cast<int32_t>(record->iBodyLen));
    fnMMS_FreeMessageMem(record, MMS_KIND_RETRIEVE_CONF);
}

int walk() {
    int shown = 0;
    fnPAR_InitCurPar();
    for (int more = fnPAR_IsParEmpty() == 0; more != 0; more = fnPAR_ProceedNextPar()) {
        tPAR_Text text{};
        tPAR_Image image{};
        tPAR_Audio audio{};
        shown += fnPAR_GetCurParDur() != 0;
        shown +=
            fnPAR_GetCurParText(&text) + fnPAR_GetCurParImg(&image) + fnPAR_GetCurParAudio(&audio);
    }
    tPAR_Attachment attachment;
    for (int32_t i = 0; fnPAR_GetAttachment(&attachment, i) != 0; ++i)
        ++shown;
    return shown;
}

void show(const uint8_t* body, int32_t size, int expected) {
    must(fnPAR_SmilParserEntry(body, size) != 0 && walk() == expected, "slides");
    fnPAR_SmilFree();
}

void full_slides() {
    show(bytes_of(three_slides), size_of(three_slides), 3 * 4);
}

void receive() {
    tMMS_RetrieveConf* record = parse_102k();
    show(record->pBody, static_cast<int32_t>(record->iBodyLen), 4);
    fnMMS_FreeMessageMem(record, MMS_KIND_RETRIEVE_CONF);
}

// The document alone, over parts that were split before.
tMMS_ContentUnion* prepared = nullptr;

void smil_to_slides() {
    using mmskit::parser_state;
    parser_state.tpSMIL_Union = prepared;
    parser_state.tpSMIL_Element = prepared->pMediaList;
    parser_state.copies.left = parser_state.references.left = 1U << 20;
    SmilInitInput(reinterpret_cast<const char*>(prepared->pSmil->pData),
                  static_cast<int32_t>(prepared->pSmil->iDataLen));
    must(SmilParseSmil() != 0 && tSMIL_ViewStruct.ParList != nullptr, "document");
    SmilParserClean();
    SmilParserInit();
    mmskit::reset_parser_state();
}

void push_si() {
    static const std::string si = inputs::wbxml_si();
    tPush_SiContent* record = fnMMSPush_DecodeSic(bytes_of(si), static_cast<uint32_t>(si.size()));
    must(record != nullptr && record->pNotifyText != nullptr, "SI");
    fnMMSPush_FreeSic(record);
}

void push_sl() {
    static const std::string sl = inputs::wbxml_sl();
    tPush_SlContent* record = fnMMSPush_DecodeSlc(bytes_of(sl), static_cast<uint32_t>(sl.size()));
    must(record != nullptr && record->pHref != nullptr, "SL");
    fnMMSPush_FreeSlc(record);
}

void textual_si() {
    std::string text = inputs::textual_si();
    tPush_SiContent* record =
        fnMMSPush_DecodeXmlSic(text.data(), static_cast<uint32_t>(text.size()));
    must(record != nullptr && record->pNotifyText != nullptr, "textual SI");
    fnMMSPush_FreeSic(record);
}
// What the row above does before the decoder.
void text_of_si() {
    const std::string text = inputs::textual_si();
    must(!text.empty(), "text");
}

// ---- Sending ----------------------------------------------------------------------------------

constexpr uint32_t megabyte = 1U << 20;
uint8_t* medium_bytes() {
    static auto* bytes = static_cast<uint8_t*>(std::calloc(1, megabyte));
    return bytes;
}

char jpeg[] = "image/jpeg";
char picture_name[] = "sunset.jpg";

uint8_t* encode_body(tMMS_ContentUnion* content, uint32_t& size) {
    uint8_t* body = fnMMS_MakeContentBodyPdu(content, &size);
    must(body != nullptr, "encoding a body");
    return body;
}

void body_of_1_mb() {
    tMMS_MediaData part{};
    part.pContentLocation = picture_name;
    part.pContentType = jpeg;
    part.pData = medium_bytes();
    part.iDataLen = megabyte;
    tMMS_ContentUnion content{nullptr, &part};
    uint32_t size = 0;
    uint8_t* body = encode_body(&content, size);
    fnSC_Free(&body);
}
void memcpy_of_1_mb() {
    void* copy = std::malloc(megabyte);
    std::memcpy(copy, medium_bytes(), megabyte);
    asm volatile("" : : "r"(copy) : "memory");
    std::free(copy);
}

// The body of 4 parts (98 KB), and a request around it; two copies of the body are part of it.
void send_request_and_body() {
    uint32_t size = 0;
    uint8_t* body = encode_body(prepared, size);
    auto* request = static_cast<tMMS_SendReq*>(fnMMS_AllocMessageMem(MMS_KIND_SEND_REQ));
    must(request != nullptr, "record");
    request->pTransactionId = fnSC_STRDUP("T20110517102030-0042");
    request->pTo = fnSC_STRDUP("+4915550100234;zoe@mail.example");
    request->pSubject = fnSC_STRDUP("The sea");
    request->pContent = body;
    request->iContentLen = size;
    uint8_t* pdu = fnMMS_MakeSendMessagePdu(request, &size);
    must(pdu != nullptr, "send request");
    fnMMS_FreeMadeMsgPduBuf(pdu);
    fnMMS_FreeMessageMem(request, MMS_KIND_SEND_REQ);
}

void compose() {
    char type[] = "audio/mpeg";
    char text[] = "Greetings from the beach! The sea is warm and so are we.";
    must(fnCPS_NewMms() == CPS_OK, "composer");
    for (int slide = 0; slide < 3; ++slide) {
        if (slide != 0) must(fnCPS_AddSlide() == CPS_OK, "slide");
        char image_name[] = "sunset0.jpg";
        char audio_name[] = "surf0.mp3";
        image_name[6] = audio_name[4] = static_cast<char>('0' + slide);
        const CPSMediaInfo image{medium_bytes(), jpeg, image_name, 0, 8000, 1000, {}};
        const CPSAudioInfo audio{medium_bytes(), type, audio_name, 500, 2500, 2000};
        const CPSTextInfo words{text, 0, 8000, sizeof text - 1, {}};
        must(fnCPS_AddImage(&image) == CPS_OK && fnCPS_AddAudio(&audio) == CPS_OK &&
                 fnCPS_AddText(&words) == CPS_OK,
             "media");
    }
    uint32_t size = 0;
    uint8_t* body = fnCPS_GetMmsContentPdu(&size);
    must(body != nullptr, "composing");
    fnSC_Free(&body);
    fnCPS_Quit();
}

void edit_and_encode() {
    must(fnCPS_ReEditMms(bytes_of(three_slides), size_of(three_slides)) == CPS_OK, "re-editing");
    uint32_t size = 0;
    uint8_t* body = fnCPS_GetMmsContentPdu(&size);
    must(body != nullptr, "encoding");
    fnSC_Free(&body);
    fnCPS_Quit();
}

// ---- Character sets, 64 KB of input each ------------------------------------------------------

constexpr size_t units = 32768;
constexpr int32_t latin1_set = 4;
constexpr int32_t utf16_set = 1015;

// ASCII with one `other` in every `one_in`.
std::u16string utf16_text(size_t one_in, char16_t other) {
    std::u16string text(1, u'\xFEFF');
    for (size_t i = 1; i < units; ++i)
        text += i % one_in == one_in - 1 ? other : static_cast<char16_t>('a' + i % 26);
    return text;
}

void to_utf8(int32_t set, const void* text, size_t size) {
    auto length = static_cast<uint32_t>(size);
    char* converted = fnCharSet_DecodeString2Local(set, static_cast<const uint8_t*>(text), &length);
    must(converted != nullptr, "conversion");
    fnCharSet_CharSetFreeStringBuf(converted);
}

void utf16_ascii() {
    static const std::u16string text = utf16_text(units + 1, u'x');
    to_utf8(utf16_set, text.data(), text.size() * 2);
}
void utf16_mixed() {
    static const std::u16string text = utf16_text(4, u'ü');
    to_utf8(utf16_set, text.data(), text.size() * 2);
}
void utf16_chinese() {
    static const std::u16string text = utf16_text(1, u'海');
    to_utf8(utf16_set, text.data(), text.size() * 2);
}
void latin1_ascii() {
    static const std::string text(2 * units, 'a');
    to_utf8(latin1_set, text.data(), text.size());
}
void latin1_mixed() {
    static const std::string text = testing_support::repeated("abc\xFC", units / 2);
    to_utf8(latin1_set, text.data(), text.size());
}

// The same texts in other forms: ASCII with one letter of two bytes in every `one_in`.
void utf8_to_ucs2(const std::string& text) {
    static std::u16string room(2 * units + 1, u'\0');
    const int32_t count =
        UTF8toUCS2(bytes_of(text), size_of(text), reinterpret_cast<uint16_t*>(room.data()));
    must(count > 0, "UTF-8 to UCS-2");
}
void utf8_ascii() {
    static const std::string text(2 * units, 'a');
    utf8_to_ucs2(text);
}
void utf8_mixed() {
    static const std::string text = testing_support::repeated("abc\xC3\xBC", 2 * units / 5);
    utf8_to_ucs2(text);
}
void ucs4_mixed() {
    static const std::u32string text = [] {
        std::u32string made;
        for (size_t i = 0; i < units / 2; ++i)
            made += i % 4 == 3 ? U'\xFC' : U'a';
        return made;
    }();
    static std::string room(6 * text.size() + 1, '\0');
    const int32_t size =
        UCS4toUTF8(reinterpret_cast<const uint32_t*>(text.data()),
                   static_cast<int32_t>(text.size()), reinterpret_cast<uint8_t*>(room.data()));
    must(size > 0, "UCS-4 to UTF-8");
}
void utf16_mixed_to_ucs4() {
    static const std::u16string text = utf16_text(4, u'ü');
    static std::u32string room(text.size() + 1, U'\0');
    const int32_t count = UTF16toUCS4(reinterpret_cast<const uint8_t*>(text.data()),
                                      static_cast<int32_t>(text.size() * 2),
                                      reinterpret_cast<uint32_t*>(room.data()));
    must(count > 0, "UTF-16 to UCS-4");
}

struct Row {
    const char* name;
    instructions::Operation work;
    const char* less = nullptr;
};
constexpr Row rows[] = {
    {"nothing", nothing},
    {"copy-of-body", copy_of_body},
    {"notification", notification},
    {"retrieved-102k-less-copy", retrieved, "copy-of-body"},
    {"body-of-4-parts", body_of_4_parts},
    {"smil-to-slides", smil_to_slides},
    {"three-full-slides", full_slides},
    {"receive-102k-less-copy", receive, "copy-of-body"},
    {"push-si", push_si},
    {"push-sl", push_sl},
    {"text-of-si", text_of_si},
    {"textual-si", textual_si, "text-of-si"},
    {"memcpy-of-1-mb", memcpy_of_1_mb},
    {"body-of-1-mb", body_of_1_mb},
    {"send-request-and-body", send_request_and_body},
    {"compose-3-slides", compose},
    {"edit-and-encode", edit_and_encode},
    {"utf16-ascii-to-utf8", utf16_ascii},
    {"utf16-mixed-to-utf8", utf16_mixed},
    {"utf16-chinese-to-utf8", utf16_chinese},
    {"latin1-ascii-to-utf8", latin1_ascii},
    {"latin1-mixed-to-utf8", latin1_mixed},
    {"utf8-ascii-to-ucs2", utf8_ascii},
    {"utf8-mixed-to-ucs2", utf8_mixed},
    {"ucs4-mixed-to-utf8", ucs4_mixed},
    {"utf16-mixed-to-ucs4", utf16_mixed_to_ucs4},
};

}  // namespace

// Textual push and stores go through files below the current folder, so this is run in one of its
// own. With an argument growth is counted.
int main(int argc, char**) {
    mkdir("umb", 0700);
    mkdir("umb/tmp", 0700);
    if (argc > 1) {
        count("nothing", nothing);
        instructions::count_growth();
        return 0;
    }
    prepared = fnMMS_GetMediaDataFromPdu(bytes_of(three_slides), size_of(three_slides));
    must(prepared != nullptr, "body");
    for (const Row& row : rows)
        count(row.name, row.work, row.less);
    instructions::count_peers();
    fnMMS_FreeMediaData(prepared);
    return 0;
}
