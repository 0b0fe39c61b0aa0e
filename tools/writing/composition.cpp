// Drives the composer, whose calls act on a cursor, by slide numbers. What is handed to it is
// copied there, so the plan only lends its bytes.
#include "writing/composition.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <vector>

#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "writing/plan_values.h"

namespace mmskit_tool {
namespace {

constexpr int32_t default_duration = 12000;   // of the composer, in milliseconds
constexpr int32_t longest_duration = 120000;  // that it writes
constexpr std::size_t longest_name = 49;      // bytes of a part's name
constexpr std::size_t longest_type = 24;      // characters of a medium's content type

struct Words {
    int32_t code;
    const char* text;
};
constexpr Words slide_words[] = {
    {CPS_NO_MEMORY, "out of memory"},
    {CPS_MEDIUM_PRESENT, "there is one already"},
    {CPS_SLIDE_HAS_VIDEO, "the slide has a video, which leaves no room for it"},
    {CPS_SLIDE_HAS_IMAGE_OR_AUDIO, "the slide has an image or a sound, which leave no room for it"},
    {CPS_LIMIT_REACHED, "a message has at most 10 of them"},
    {CPS_NO_MEDIUM, "there is none"},
    {CPS_BAD_ARGUMENT, "the value is refused"},
    {CPS_BAD_INDEX, "there is none"},
};

void require(int32_t code, const std::string& what) {
    if (code == CPS_OK) return;
    const auto* row = std::find_if(std::begin(slide_words), std::end(slide_words),
                                   [&](const Words& each) { return each.code == code; });
    throw Failure(
        what + ": " +
        (row != std::end(slide_words) ? row->text : "refused with code " + std::to_string(code)));
}

// The composer's records have members that it could write to and does not.
char* lend(const std::string& text) {
    return const_cast<char*>(text.c_str());
}
uint8_t* lend(const std::vector<uint8_t>& data) {
    return const_cast<uint8_t*>(data.data());
}

template <typename Info>
Info medium_info(const PlannedMedium& medium, const std::string& name, int32_t duration) {
    Info info{};
    info.pData = lend(medium.data);
    info.pType = lend(medium.type);
    info.pName = lend(name);
    info.iBegin = medium.timing.begin;
    info.iEnd = medium.timing.end.value_or(duration);
    info.iSize = static_cast<uint32_t>(medium.data.size());
    return info;
}

void refuse_late_begin(const std::string& what, const PlannedTiming& timing, int32_t duration) {
    if (timing.begin >= duration) throw Failure(what + ": it begins when the slide is over");
}

// Of names that may be given: a longer one is no part's that is sent.
std::set<std::string> used_names() {
    std::set<std::string> names;
    const auto use = [&](bool present, const char* name) {
        if (present && name != nullptr && strnlen(name, longest_name + 1) <= longest_name)
            names.insert(name);
    };
    // The composer's own, for the texts.
    for (int32_t i = 0; i < CPS_MAX_SLIDES; ++i)
        names.insert("Text" + std::to_string(i) + ".txt");
    for (int32_t i = 0; i < tCPS_NewMessage.iTotalSlides; ++i) {
        const CPSSlideStruct& slide = *tCPS_NewMessage.slidestruct[i];
        use(slide.bImage != 0, slide.pImageName);
        use(slide.bAudio != 0, slide.pAudioName);
        use(slide.bVideo != 0, slide.pVideoName);
    }
    for (int32_t i = 0; i < tCPS_NewMessage.TotalAttachment; ++i)
        use(true, tCPS_NewMessage.attachment[i]->Name);
    return names;
}

}  // namespace

Composition::Composition() : blank_(true) {
    require(fnCPS_NewMms(), "the message");
}

Composition::Composition(std::span<const uint8_t> received_body) {
    const int32_t code =
        fnCPS_ReEditMms(received_body.data(), static_cast<int32_t>(received_body.size()));
    if (code == CPS_NO_MEMORY) throw Failure("out of memory");
    if (code != CPS_OK) throw Failure("the message cannot be taken apart");
    mend_received_names();
    collect_attachments();
}

Composition::~Composition() {
    fnCPS_Quit();
}

std::string Composition::here() const {
    return "slide " + std::to_string(fnCPS_GetCurSlideIndex() + 1);
}

void Composition::go_to(int32_t slide, const char* why) {
    if (slide < 1 || slide > fnCPS_GetTotalSlides())
        throw Failure(std::string(why) + ": there is no slide " + std::to_string(slide));
    while (fnCPS_GetCurSlideIndex() + 1 > slide && fnCPS_GoPreSlide() == CPS_OK) {
    }
    while (fnCPS_GetCurSlideIndex() + 1 < slide && fnCPS_GoNextSlide() == CPS_OK) {
    }
}

// Re-editing leaves gaps where it takes an attachment not over, and does not count what stands
// behind them. Adding all again closes the gaps.
void Composition::collect_attachments() {
    std::vector<PlannedAttachment> found;
    for (int32_t slot = 0; slot < CPS_MAX_ATTACHMENTS; ++slot) {
        CPSAttachmentInfo info{};
        if (fnCPS_GetAttachment(&info, slot) != CPS_OK || info.pData == nullptr) continue;
        const auto text = [](const char* s) { return std::string(s != nullptr ? s : ""); };
        found.push_back({text(info.pName), text(info.pType),
                         std::vector<uint8_t>(info.pData, info.pData + info.iSize)});
    }
    fnCPS_DeleteAllAttachments();
    for (const PlannedAttachment& attachment : found)
        add_attachment(attachment);
}

// Receivers find media by their names, so what is added gets one that is free, that stands in
// markup as it is, and that is carried whole: the part's name would be cut where the presentation's
// is not.
std::string Composition::free_name(const std::string& wanted, const std::string& what) const {
    const std::set<std::string> used = used_names();
    const std::string sound = is_part_name(wanted) ? wanted : part_name_of(wanted);
    std::string name = fitting_name(sound, longest_name, 1);
    const bool changed = name != wanted;
    for (uint32_t number = 2; used.contains(name); ++number)
        name = fitting_name(sound, longest_name, number);
    if (changed)
        warn(what + ": the name " + wanted + " is sent as " + name + ", for receivers to find it");
    return name;
}

// The name of a medium that the composer holds, as a block of the library's memory.
void Composition::mend_name(char*& name, const std::string& what) {
    if (name == nullptr || (std::strlen(name) <= longest_name && is_part_name(name))) return;
    char* copy = fnSC_MEMSTRCOPY(free_name(name, what).c_str());
    if (copy == nullptr) throw Failure("out of memory");
    fnSC_Free(&name);
    name = copy;
}

void Composition::mend_received_names() {
    for (int32_t i = 0; i < tCPS_NewMessage.iTotalSlides; ++i) {
        CPSSlideStruct& slide = *tCPS_NewMessage.slidestruct[i];
        const std::string what = "slide " + std::to_string(i + 1) + ": ";
        mend_name(slide.pImageName, what + "image");
        mend_name(slide.pAudioName, what + "audio");
        mend_name(slide.pVideoName, what + "video");
    }
}

void Composition::open_slide() {
    if (!blank_) {
        const int32_t total = fnCPS_GetTotalSlides();
        go_to(total, "slides");
        require(fnCPS_AddSlide(), "slide " + std::to_string(total + 1));
    }
    blank_ = false;
}

void Composition::add_slide(const PlannedSlide& slide) {
    open_slide();
    const int32_t duration = slide.duration.value_or(default_duration);
    require(fnCPS_SetCurSlideDuration(duration), here() + ": duration");
    if (duration > longest_duration) warn(here() + ": the duration is sent as 120 s");
    if (slide.background) fnCPS_SetCurBgColor(*slide.background);
    if (slide.foreground) fnCPS_SetCurForeColor(*slide.foreground);
    const auto add = [&](const char* kind, const auto& medium, auto info, auto call) {
        const std::string what = here() + ": " + kind;
        refuse_late_begin(what, medium.timing, duration);
        require(call(&info), what);
    };
    const auto add_medium = [&]<typename Info>(const char* kind, const auto& medium,
                                               int32_t (*call)(const Info*)) {
        if (!medium) return;
        const std::string name = free_name(medium->name, here() + ": " + kind);
        if (medium->type.size() > longest_type)
            warn(here() + ": " + kind + ": the type " + medium->type + " is cut at 24 characters");
        add(kind, *medium, medium_info<Info>(*medium, name, duration), call);
    };
    add_medium("image", slide.image, fnCPS_AddImage);
    add_medium("audio", slide.audio, fnCPS_AddAudio);
    add_medium("video", slide.video, fnCPS_AddVideo);
    if (!slide.text) return;
    CPSTextInfo text{};
    text.pText = lend(slide.text->text);
    text.iLength = static_cast<uint32_t>(slide.text->text.size());
    text.iBegin = slide.text->timing.begin;
    text.iEnd = std::min(slide.text->timing.end.value_or(duration), duration);
    add("text", *slide.text, text, fnCPS_AddText);
}

void Composition::add_attachment(const PlannedAttachment& attachment) {
    const std::string what = "attachment " + std::to_string(fnCPS_GetTotalAttachments() + 1);
    const std::string name = free_name(attachment.name, what);
    CPSAttachmentInfo info{};
    info.pData = lend(attachment.data);
    info.pName = lend(name);
    info.pType = lend(attachment.type);
    info.iSize = static_cast<uint32_t>(attachment.data.size());
    require(fnCPS_AddAttachment(&info), what);
}

void Composition::drop_text(int32_t slide) {
    go_to(slide, "--drop-text");
    require(fnCPS_DeleteCurText(), "--drop-text: the text of slide " + std::to_string(slide));
}

void Composition::drop_slide(int32_t slide) {
    go_to(slide, "--drop-slide");
    blank_ = fnCPS_GetTotalSlides() == 1;
    // The last slide is only emptied and would keep its colours, so a fresh one takes its place.
    if (blank_) require(fnCPS_AddSlide(), "--drop-slide");
    if (blank_) require(fnCPS_GoPreSlide(), "--drop-slide");
    require(fnCPS_DeleteCurSlide(), "--drop-slide");
}

void Composition::drop_attachment(int32_t attachment) {
    if (attachment < 1) throw Failure("--drop-attachment: they are counted from 1");
    require(fnCPS_DeleteAttachment(attachment - 1),
            "--drop-attachment: attachment " + std::to_string(attachment));
}

LibraryBytes Composition::body() const {
    LibraryBytes body;
    body.data.reset(fnCPS_GetMmsContentPdu(&body.size));
    if (body.data == nullptr) throw Failure("the message is incomplete or too large");
    return body;
}

}  // namespace mmskit_tool
