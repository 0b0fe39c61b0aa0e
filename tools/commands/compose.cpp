// mmskit compose: a message from the command line or from a JSON file, as the send request of a
// phone, as a bare body, or as a message centre would deliver it.
#include <algorithm>
#include <span>

#include "commands/commands.h"
#include "commands/compose_options.h"
#include "writing/composition.h"
#include "writing/message_encoder.h"
#include "writing/shrink.h"

namespace mmskit_tool {
namespace {

struct ComposeOptions {
    std::optional<std::string> file;  // JSON; without it the options describe the message
    std::string output;
    bool body_only = false;
    bool retrieved = false;
    std::optional<std::string> max_size, min_side;
    bool keep_metadata = false;
    MessageOptions message;
};

Description describe(const ComposeOptions& options) {
    Description given = describe_options(options.message);
    if (!options.file) return given;
    Description document = describe_json(*options.file);
    // The one option that may stand beside a document.
    const std::string* cut = given.fields.find("cut_subject");
    if (cut != nullptr && document.fields.find("cut_subject") == nullptr)
        add_field(document, "cut_subject", *cut);
    return document;
}

LibraryBytes body_of(const MessagePlan& plan) {
    Composition composition;
    for (const PlannedSlide& slide : plan.slides)
        composition.add_slide(slide);
    for (const PlannedAttachment& attachment : plan.attachments)
        composition.add_attachment(attachment);
    return composition.body();
}

// Gives the whole file that is written to `use`.
template <typename Use>
void encode(const MessagePlan& plan, const ComposeOptions& options, Use use) {
    LibraryBytes body = body_of(plan);
    if (options.body_only) return use(body.bytes());
    if (options.retrieved)
        return use(std::span<const uint8_t>(retrieved_message(plan, body.bytes())));
    use(send_request(plan, std::move(body)).bytes());
}

// What a word of the command line says; a wrong one is wrong usage.
template <typename Parse>
auto option_value(const char* option, const std::string& word, Parse parse) {
    try {
        return parse(word);
    } catch (const Failure& failure) {
        throw WrongUsage(std::string(option) + ": " + failure.what());
    }
}

void fit(MessagePlan& plan, const ComposeOptions& options) {
    constexpr uint64_t most_pixels = 65500;  // a side of a JPEG
    ShrinkLimits limits;
    limits.message = option_value("--max-size", *options.max_size, parse_size);
    limits.keep_metadata = options.keep_metadata;
    if (options.min_side) {
        const uint64_t side = option_value("--min-side", *options.min_side, parse_size);
        limits.smallest_side = static_cast<uint32_t>(std::min(side, most_pixels));
    }
    shrink_to_fit(plan, limits, [&options](const MessagePlan& candidate) {
        uint64_t size = 0;
        encode(candidate, options,
               [&size](std::span<const uint8_t> message) { size = message.size(); });
        return size;
    });
}

void compose(const ComposeOptions& options) {
    MessagePlan plan = make_plan(describe(options));
    if (options.max_size) fit(plan, options);
    encode(plan, options,
           [&options](std::span<const uint8_t> message) { write_file(options.output, message); });
}

void declare(Command& command, ComposeOptions& options) {
    command.word("FILE", &options.file,
                 "A JSON file that describes the message (docs/compose.md); - is standard input. "
                 "Without it the options do");
    command.option("-o,--output", options.output, "FILE", "The file to write; - is standard output")
        .require();
    command.flag("--body-only", options.body_only, "Write the body without headers");
    command.flag("--retrieved", options.retrieved,
                 "Write the message as a message centre delivers it");
    command.exclude("--retrieved", {"--body-only"});
    command.option("--max-size", options.max_size, "SIZE",
                   "Shrink pictures until the message has no more bytes than that, such as 300K");
    command.option("--min-side", options.min_side, "PIXELS",
                   "With --max-size: no side of a picture becomes shorter; 640 without the option");
    command.flag("--keep-metadata", options.keep_metadata,
                 "With --max-size: pictures that are shrunk keep camera, date and place");
    command.need("--min-side", {"--max-size"});
    command.need("--keep-metadata", {"--max-size"});
    Command::Names described = add_message_options(command, options.message, {});
    std::erase(described, "--cut-subject");  // it describes nothing: it lets the message go out
    command.exclude("FILE", described);
    command.exclude("FILE", add_part_options(command, options.message, "--slide"));
}

}  // namespace

Command compose_command() {
    return Command::of("compose", "Write a message: slides and attachments", declare, compose);
}

}  // namespace mmskit_tool
