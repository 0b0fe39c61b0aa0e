// The composer as a program of calls, and received bodies that are re-edited. Oracle: a call that
// fails changes nothing, sizes are the sums of their parts, and a message that was written,
// re-edited and written again stays as it is from then on.
#include <set>

#include "fuzz/harness.h"
#include "tests/Composer/composition.h"

namespace {

using namespace fuzz;
using testing_support::Medium;
using testing_support::written;

// What the composition holds and carries into a message.
struct State {
    std::string facts;
    uint32_t sum = 0;
    bool plain = true;  // every name tells its part, and every type is what the slide takes it for

    State() {
        facts = std::to_string(fnCPS_GetCurSlideIndex());
        for (int32_t i = 0; i < fnCPS_GetTotalSlides(); ++i) {
            const CPSSlideStruct& s = tCPS_SlideStruct[i];
            medium(s.pImageName, s.pImageType, s.iImageSize, "image/");
            medium(s.pAudioName, s.pAudioType, s.iAudioSize, "audio/");
            medium(s.pVideoName, s.pVideoType, s.iVideoSize, "video/");
            medium(nullptr, s.pText, s.iTextLen, "");
            for (const uint32_t number : {uint32_t(tCPS_NewMessage.iSlideDur[i]), s.bBgColor,
                                          s.bgColor, s.bForeColor, s.foreColor})
                facts += ' ' + std::to_string(number);
        }
        for (int32_t i = 0; i < CPS_MAX_ATTACHMENTS; ++i) {
            const CPSAttachment& a = tCPS_Attachment[i];
            const bool counted = i < fnCPS_GetTotalAttachments();
            plain = plain && counted == (a.Name != nullptr);  // QUIRK slot_advances_past_the_count
            if (counted) medium(a.Name, a.Type, int32_t(a.iSize), "application/x");
        }
        tell(std::string_view(facts));
    }

  private:
    std::set<std::string> names_;

    void medium(const char* name, const char* type, int32_t size, std::string_view family) {
        if (type == nullptr) return;
        sum += uint32_t(size);
        facts += std::string(";") + type + std::to_string(size);
        if (name == nullptr) return;
        facts += name;
        std::string letters;  // QUIRK digits_do_not_tell_parts_apart
        for (const char* c = name; *c != '\0'; ++c)
            letters += (*c | 0x20) >= 'a' && (*c | 0x20) <= 'z' ? char(*c | 0x20) : '\0';
        plain = plain && !letters.empty() && letters.size() < 50 && size > 0 &&
                letters.find('\0') == std::string::npos && names_.insert(letters).second &&
                std::string_view(type).starts_with(family) && std::strlen(type) < 25;
    }
};

std::string reedited(const std::string& body) {
    const int32_t result = testing_support::reedit(body);
    tell(uint64_t(result));
    if (result != CPS_OK) return "";
    const State state;
    hold(!state.plain || fnCPS_GetTotalSize() == state.sum, "the total of a re-edited message");
    return written();
}

// From the second time on it is the same.
void check_reediting(const std::string& body) {
    const std::string first = reedited(body), second = first.empty() ? "" : reedited(first);
    if (second.empty() || !State().plain) return;
    tell(std::string_view(second));
    hold(reedited(second) == second, "written, re-edited, written");
}

void run_reedit(Bytes input) {
    check_reediting(text_of(input));
}

int32_t add_medium(Input& input, uint32_t kind, uint32_t number) {
    constexpr const char* families[] = {"image/", "text/", "audio/", "video/", "application/x"};
    constexpr const char* types[] = {"jpeg", "amr", "3gpp", "x"};
    Medium medium{text_of(input.take(input.byte() % 16)),
                  std::string(families[kind]) + types[input.below(4)], ""};
    for (uint32_t n = number; n != 0; n /= 26)
        medium.name += char('a' + n % 26);
    medium.begin = int32_t(input.number());
    medium.end = int32_t(input.number());
    return kind == 4 ? attach(medium) : add(testing_support::Kind(kind), medium);
}

constexpr int32_t (*calls[])() = {fnCPS_DeleteCurImage, fnCPS_DeleteCurText,  fnCPS_DeleteCurAudio,
                                  fnCPS_DeleteCurVideo, fnCPS_AddSlide,       fnCPS_AddSlide,
                                  fnCPS_GoNextSlide,    fnCPS_DeleteCurSlide, fnCPS_GoPreSlide};

constexpr int32_t (*calls_with_a_number[])(int32_t) = {
    fnCPS_SetCurSlideDuration,
    fnCPS_DeleteAttachment,
    [](int32_t colour) -> int32_t { return fnCPS_SetCurBgColor(uint32_t(colour)), CPS_OK; },
    [](int32_t colour) -> int32_t { return fnCPS_SetCurForeColor(uint32_t(colour)), CPS_OK; },
    [](int32_t) -> int32_t { return fnCPS_DeleteAllAttachments(), CPS_OK; },
    [](int32_t) -> int32_t { return fnCPS_Empty(), CPS_OK; }};

int32_t call(Input& input, uint32_t which, uint32_t number) {
    if (which < std::size(calls)) return calls[which]();
    const auto value = static_cast<int32_t>(input.number());
    const size_t other = which - std::size(calls);
    return other < std::size(calls_with_a_number) ? calls_with_a_number[other](value)
                                                  : add_medium(input, which % 5, number);
}

void run_composer(Bytes bytes) {
    Input input{bytes};
    if (fnCPS_NewMms() != CPS_OK) return hold(false, "not opened");
    bool exact_total = true;
    for (uint32_t number = 1; !input.rest.empty(); ++number) {
        const State before;
        const uint32_t which = input.below(26);
        const bool last_slide = which == 7 && fnCPS_GetTotalSlides() == 1;
        const int32_t result = call(input, which, number);
        const State after;
        must(result == CPS_OK || before.facts == after.facts, "a call that failed changed it");
        // QUIRK only_slide_zeroes_the_total: until all is empty.
        exact_total = (exact_total && !last_slide) || (after.sum == 0 && fnCPS_GetTotalSize() == 0);
        must(!exact_total || fnCPS_GetTotalSize() == after.sum, "the total");
    }
    const std::string body = written();
    if (!body.empty()) check_reediting(body);
}

constexpr Target targets[] = {{"reedit", run_reedit}, {"composer", run_composer}};

}  // namespace

const std::span<const Target> fuzz::compose_targets = targets;
