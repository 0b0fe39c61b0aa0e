// Bodies, presentations and the slide view. Oracle: a body written from its parts has the same
// parts; every part of a message is on a slide or an attachment; a view shows the same whatever was
// shown before it.
#include <sstream>
#include <vector>

#include "fuzz/harness.h"
#include "tests/support/bytes.h"

namespace {

using namespace fuzz;
using testing_support::bytes;
using Content = Owner<tMMS_ContentUnion, fnMMS_FreeMediaData>;

Content decode(const Exact& body) {
    Content content(fnMMS_GetMediaDataFromPdu(body.data.get(), body.length));
    tell(fnMMS_GetLastError(nullptr));
    if (content == nullptr) return content;
    uint64_t sum = 0;
    if (content->pSmil != nullptr) {
        tell(content->pSmil->pData, content->pSmil->iDataLen);
        sum += content->pSmil->iDataLen;
    }
    const uint8_t* end = body.data.get();
    for (const tMMS_MediaData* part = content->pMediaList; part != nullptr; part = part->pNext) {
        for (const char* text :
             {part->pContentLocation, part->pContentId, part->pName, part->pContentType})
            tell(text);
        tell(part->pData, part->iDataLen);
        tell(part->pFwdParam, part->iFwdParamLen);
        hold(part->pData >= end, "parts overlap");
        end = part->pData + part->iDataLen;
        sum += part->iDataLen;
    }
    hold(end <= body.data.get() + body.length, "a part beyond the body");
    hold(sum <= uint64_t(body.length) || content->pSmil != nullptr, "more than there is");
    return content;
}

std::string_view or_empty(const char* text) {
    return text == nullptr ? "" : text;
}

// The encoder's names are not quoted: a quote at the front of one is lost.
bool same_part(const tMMS_MediaData& a, const tMMS_MediaData& b) {
    const std::string_view name = or_empty(a.pContentLocation);
    return or_empty(a.pContentType) == or_empty(b.pContentType) && a.iDataLen == b.iDataLen &&
           std::memcmp(a.pData, b.pData, a.iDataLen) == 0 &&
           (name == or_empty(b.pContentLocation) || name.starts_with('\x7F')) &&
           // QUIRK charset_above_127_is_a_counted_uintvar
           (a.bHasCharset != 1 || a.iCharset == b.iCharset || a.iCharset > 127);
}

void run_body(Bytes input) {
    const Exact body(input);
    walk_body(body.data.get(), body.length);
    const Content content = decode(body);
    if (content == nullptr || content->pMediaList == nullptr) return;
    uint32_t length = 0;
    const Block<uint8_t> made(fnMMS_MakeContentBodyPdu(content.get(), &length));
    hold(made != nullptr, "not written");
    if (made == nullptr) return;
    const Exact written(Bytes(made.get(), length));
    const Content again = decode(written);
    hold(again != nullptr, "not read back");
    if (again == nullptr) return;
    hold((again->pSmil == nullptr) == (content->pSmil == nullptr), "the presentation");
    const tMMS_MediaData* b = again->pMediaList;
    for (const tMMS_MediaData* a = content->pMediaList; a != nullptr && b != nullptr;
         a = a->pNext, b = b->pNext) {
        hold(same_part(*a, *b), "a part, decoded, written, decoded");
        hold((a->pNext == nullptr) == (b->pNext == nullptr), "the number of parts");
    }
}

// A text is copied: where it stood cannot be told. Nor what a further `src` of an element named,
// as the first that names a part is shown.
void check_all_shown(const Exact& body) {
    if (fnMMS_GetLastError(nullptr) != std::string_view("no error")) return;
    const Content content = decode(body);
    if (content == nullptr) return;
    std::vector<const uint8_t*> shown;
    const auto show = [&shown](const auto* list) {
        for (; list != nullptr; list = list->Next)
            shown.push_back(list->Data);
    };
    int32_t missing = 0, references = 0;
    for (const tSMIL_Par* par = tSMIL_ViewStruct.ParList; par != nullptr; par = par->Next) {
        show(par->Img), show(par->Audio), show(par->Video);
        for (const tSMIL_Text* text = par->Text; text != nullptr; text = text->Next)
            --missing;
    }
    const auto elements = int32_t(shown.size());
    show(tSMIL_ViewStruct.AttachmentList);
    for (const tMMS_MediaData* part = content->pMediaList; part != nullptr; part = part->pNext)
        missing += std::none_of(shown.begin(), shown.end(), [part](const uint8_t* data) {
            return data >= part->pData && data <= part->pData + part->iDataLen;
        });
    for (uint32_t i = 0; content->pSmil != nullptr && i + 3 <= content->pSmil->iDataLen; ++i)
        references +=
            fnSCRTL_strnicmp(reinterpret_cast<char*>(content->pSmil->pData) + i, "src", 3) == 0;
    hold(missing <= std::max(references - elements, 0),
         "a part is neither on a slide nor an attachment");
}

const std::vector<std::string> snippets = [] {
    std::istringstream list(
        "<smil>|</smil>|<head>|</head>|<layout>|</layout>|<body>|</body>|<par|</par>|<seq>|<img|"
        "<audio|<video|<text|<ref|<region|<root-layout|<param|<meta|</text>|/>|>|<| "
        "src=\"sunset.jpg\"|"
        " src=\"cid:surf\"| src=\"greeting.txt\"| src=\"clip\"| src='x'| src=\"\"| dur=\"5s\"|"
        " begin=\"1s\"| end=\"500ms\"| region=\"Image\"| id=\"Image\"| left=\"10%\"| top=\"-1\"|"
        " width=\"160\"| height='99999999999'| fit=\"meet\"| background-color=\"#FF0000\"|"
        " name=\"foreground-color\"| value=\"navy\"|<!--|-->|\"|'|=| |\r\n|&amp;|"
        "<?xml version=\"1.0\"?>| xml:lang=\"en\"");
    std::vector<std::string> made;
    for (std::string each; std::getline(list, each, '|');)
        made.push_back(each);
    return made;
}();

// An even first byte: snippets, one a byte. Else the text as it is.
std::string presentation(Input input) {
    if (input.byte() % 2 != 0) return text_of(input.rest);
    std::string text;
    while (!input.rest.empty())
        text += snippets[input.below(uint32_t(snippets.size()))];
    return text;
}

// A presentation in a body that is otherwise well-formed: one part of each kind, under the names
// that the snippets use, and one of them without a name.
void run_smil(Bytes input) {
    using testing_support::part;
    static const std::string others = part(bytes("9E 8E 'sunset.jpg' 00"), "JPEG") +
                                      part(bytes("03 83 81 EA 8E 'greeting.txt' 00"), "Grüße") +
                                      part(bytes("'audio/mpeg' 00 C0 '\"<surf>' 00"), "MP3") +
                                      part(bytes("'video/3gpp' 00 8E 'clip' 00"), "3GP") +
                                      part("\xC8", "Content-Type: image/gif\r\n\r\nGIF");
    const Exact body("\x84\xA3\x06" +
                     part(std::string("application/smil\0", 17), presentation({input})) + others);
    show_body(body.data.get(), body.length);
    check_all_shown(body);
}

// Two messages, one after the other: the second is shown as if it came alone.
void run_slides(Bytes bytes) {
    Input input{bytes};
    const size_t size = input.byte() | size_t{input.byte()} << 8U;
    const Exact first(input.take(size)), second(input.rest);
    uint64_t shown[2];
    for (uint64_t& each : shown) {
        if (&each == shown) show_body(first.data.get(), first.length);
        if (second.length == 0) return;
        seen = 0;
        show_body(second.data.get(), second.length);
        each = seen;
        check_all_shown(second);
        if (&each == shown) fnPAR_SmilFree();
    }
    hold(shown[0] == shown[1], "the message before shows");
}

constexpr Target targets[] = {{"body", run_body}, {"smil", run_smil}, {"slides", run_slides}};

}  // namespace

const std::span<const Target> fuzz::message_targets = targets;
