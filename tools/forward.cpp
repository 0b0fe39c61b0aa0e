// mmskit forward: a received message edited and sent on, or the request to forward one that still
// lies at the message centre.
#include <algorithm>
#include <functional>
#include <memory>

#include "commands.h"
#include "compose_options.h"
#include "composition.h"
#include "facts.h"
#include "message_encoder.h"
#include "safe_text.h"

namespace mmskit_tool {
namespace {

struct ForwardOptions {
    std::string file;
    std::string location;
    std::string output;
    std::vector<int32_t> drop_slides, drop_texts, drop_attachments;
    Description description{Where{"--", true}};
};

// What is needed of a received message after its slide view is gone.
struct Received {
    std::vector<uint8_t> body;
    std::string subject;
    std::size_t attachments = 0;
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
    if (facts.body_flaw) throw Failure(name + ": " + describe(*facts.body_flaw));
    const std::span<const uint8_t> body = message->body();
    if (body.empty()) throw Failure(name + ": the message has no body");
    warn_of_losses(facts);
    Received received{{body.begin(), body.end()}, {}, facts.attachments.size()};
    for (const HeaderFact& header : facts.headers) {
        if (std::string_view(header.json_key) == "subject")
            received.subject = std::get<std::string>(header.value);
    }
    return received;
}

// A received subject may hold what no composed one may.
std::string forwarded_subject(const std::string& subject) {
    if (subject.empty()) return "Fwd";
    std::string line = "Fwd: " + subject;
    for (char& c : line) {
        if ((c >= 0 && c < ' ') || c == '\x7F') c = ' ';
    }
    return line;
}

// From the highest number down, so that no number moves before its turn.
void drop_each(std::vector<int32_t> numbers, const std::function<void(int32_t)>& drop) {
    std::sort(numbers.begin(), numbers.end(), std::greater<>());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    for (const int32_t number : numbers)
        drop(number);
}

void forward_message(const ForwardOptions& options) {
    MessagePlan plan = make_plan(options.description);
    const Received received = receive(options.file);
    if (!plan.subject) plan.subject = forwarded_subject(received.subject);
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
}

void forward(const ForwardOptions& options) {
    if (options.location.empty()) return forward_message(options);
    const MessagePlan plan = make_plan(options.description);
    std::string location;
    try {
        location = parse_token(options.location);
    } catch (const Failure& failure) {
        throw Failure(std::string("--by-location: ") + failure.what());
    }
    write_file(options.output, forward_request(plan, location).bytes());
}

}  // namespace

void add_forward_command(CLI::App& app, Run& run) {
    const auto options = std::make_shared<ForwardOptions>();
    CLI::App* command = app.add_subcommand("forward", "Edit a received message and send it on");
    CLI::App* source = command->add_option_group("source");
    source->add_option("FILE", options->file,
                       "A retrieved message or a message body; - is standard input");
    CLI::Option* location =
        source
            ->add_option("--by-location", options->location,
                         "Ask the message centre to forward the message that lies at the URI")
            ->type_name("URI");
    source->require_option(1);
    command->add_option("-o,--output", options->output, "The file to write; - is standard output")
        ->required()
        ->type_name("FILE");
    const auto add_drop = [&](const char* name, std::vector<int32_t>& numbers, const char* help) {
        command->add_option(name, numbers, help)
            ->type_name("N")
            ->allow_extra_args(false)
            ->excludes(location);
    };
    add_drop("--drop-slide", options->drop_slides, "Leave slide N out; numbers are the message's");
    add_drop("--drop-text", options->drop_texts, "Leave the text of slide N out");
    add_drop("--drop-attachment", options->drop_attachments, "Leave attachment N out");
    for (CLI::Option* option : add_part_options(*command, options->description, "--add-slide"))
        option->excludes(location);
    for (CLI::Option* option :
         add_message_options(*command, options->description, {"message_id"})) {
        for (const char* name : {"--from", "--subject", "--class", "--priority", "--hide-sender"}) {
            // The request to forward has no such headers.
            if (option->check_name(name)) option->excludes(location);
        }
    }
    command->callback([options, &run] { run = [options] { forward(*options); }; });
}

}  // namespace mmskit_tool
