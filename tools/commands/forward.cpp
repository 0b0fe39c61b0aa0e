// mmskit forward: a received message edited and sent on, or the request to forward one that still
// lies at the message centre.
#include <algorithm>
#include <functional>

#include "commands/commands.h"
#include "commands/compose_options.h"
#include "ground/safe_text.h"
#include "reading/open_message.h"
#include "writing/composition.h"
#include "writing/message_encoder.h"

namespace mmskit_tool {
namespace {

struct ForwardOptions {
    std::optional<std::string> file, location;  // one of them is given
    std::string output;
    std::vector<int32_t> drop_slides, drop_texts, drop_attachments;
    MessageOptions message;
};

// What is needed of a received message after its slide view is gone.
struct Received {
    std::vector<uint8_t> body;
    std::string subject;
    std::size_t attachments = 0;
    int status = 0;  // of the command: whether it was all there
};

// A slide that is composed has one element of a kind, and no picture beside a video.
void warn_of_losses(const MessageFacts& facts) {
    const auto slides = static_cast<std::size_t>(CPS_MAX_SLIDES);
    if (facts.slides.size() > slides)
        warn("the message has " + std::to_string(facts.slides.size()) +
             " slides: those from the eleventh on are left out");
    for (std::size_t i = 0; i < std::min(facts.slides.size(), slides); ++i) {
        const SlideFact& slide = facts.slides[i];
        std::size_t dropped = slide.further_media.size() + slide.further_texts.size();
        const bool video = std::any_of(slide.media.begin(), slide.media.end(),
                                       [](const auto& m) { return m.kind == MediaKind::video; });
        if (video) dropped += slide.media.size() - 1;
        if (dropped > 0)
            warn("slide " + std::to_string(i + 1) + ": " + std::to_string(dropped) +
                 " further media are left out");
        for (const MediaFact& medium : slide.media) {
            if (medium.drm_class != 0)
                warn("slide " + std::to_string(i + 1) + ": " + media_kind_name(medium.kind) +
                     " is protected; forwarding it may not be allowed");
        }
    }
}

Received receive(const std::string& file) {
    const auto message = open_message(file);
    const MessageFacts& facts = message->facts();
    const std::string name = visible(input_name(file));
    const std::span<const uint8_t> body = message->body();
    if (body.empty()) throw Failure(name + ": the message has no body");
    warn_of_losses(facts);
    for (const NoteFact& note : facts.notes) {
        if (note.kind == NoteKind::lost) warn(name + ": " + note.text);
    }
    return {{body.begin(), body.end()},
            header_string(facts, "subject"),
            facts.attachments.size(),
            exit_status(facts)};
}

// A received subject may hold what no composed one may.
std::string one_line(std::string subject) {
    for (char& c : subject) {
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') c = ' ';
    }
    return subject;
}

// What is added is the first to go when the subject is to be cut.
std::string forwarded_subject(const std::string& received, bool cut) {
    if (received.empty()) return "Fwd";
    const std::string subject = one_line(received);
    if (!cut || subject_fits("Fwd: " + subject))
        return fitting_subject("Fwd: " + subject, cut, "--cut-subject");
    warn("the subject is sent without \"Fwd: \"");
    return fitting_subject(subject, cut, "--cut-subject");
}

// From the highest number down, so that no number moves before its turn.
void drop_each(std::vector<int32_t> numbers, const std::function<void(int32_t)>& drop) {
    std::sort(numbers.begin(), numbers.end(), std::greater<>());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    for (const int32_t number : numbers)
        drop(number);
}

int forward_message(const ForwardOptions& options) {
    MessagePlan plan = make_plan(describe_options(options.message));
    const Received received = receive(*options.file);
    if (!plan.subject) plan.subject = forwarded_subject(received.subject, plan.cut_subject);
    Composition composition(received.body);
    const auto kept = static_cast<std::size_t>(fnCPS_GetTotalAttachments());
    if (kept < received.attachments)
        warn(std::to_string(received.attachments - kept) + " attachments are left out");
    drop_each(options.drop_texts, [&](int32_t n) { composition.drop_text(n); });
    drop_each(options.drop_slides, [&](int32_t n) { composition.drop_slide(n); });
    drop_each(options.drop_attachments, [&](int32_t n) { composition.drop_attachment(n); });
    for (const PlannedSlide& slide : plan.slides)
        composition.add_slide(slide);
    for (const PlannedAttachment& attachment : plan.attachments)
        composition.add_attachment(attachment);
    write_file(options.output, send_request(plan, composition.body()).bytes());
    return received.status;
}

int forward(const ForwardOptions& options) {
    if (!options.location) return forward_message(options);
    const MessagePlan plan = make_plan(describe_options(options.message));
    std::string location;
    try {
        location = parse_token(*options.location);
    } catch (const Failure& failure) {
        throw Failure(std::string("--by-location: ") + failure.what());
    }
    write_file(options.output, forward_request(plan, location).bytes());
    return 0;
}

void declare(Command& command, ForwardOptions& options) {
    command.word("FILE", &options.file,
                 "A message with a body, bare or wrapped; - is standard input");
    command.option("--by-location", options.location, "URI",
                   "Ask the message centre to forward the message that lies at the URI");
    command.need_one_of({"FILE", "--by-location"});
    command.option("-o,--output", options.output, "FILE", "The file to write; - is standard output")
        .require();
    command.option("--drop-slide", options.drop_slides, "N",
                   "Leave slide N out; numbers are the message's");
    command.option("--drop-text", options.drop_texts, "N", "Leave the text of slide N out");
    command.option("--drop-attachment", options.drop_attachments, "N", "Leave attachment N out");
    command.exclude("--by-location", {"--drop-slide", "--drop-text", "--drop-attachment"});
    command.exclude("--by-location", add_part_options(command, options.message, "--add-slide"));
    (void)add_message_options(command, options.message, {"message_id"});
    // The request to forward has no such headers.
    command.exclude("--by-location", {"--from", "--subject", "--cut-subject", "--class",
                                      "--priority", "--hide-sender"});
}

}  // namespace

Command forward_command() {
    return Command::of("forward", "Edit a received message and send it on", declare, forward);
}

}  // namespace mmskit_tool
