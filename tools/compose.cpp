// mmskit compose: a message from the command line or from a JSON file, as the send request of a
// phone, as a bare body, or as a message centre would deliver it.
#include <memory>

#include "commands.h"
#include "compose_options.h"
#include "composition.h"
#include "message_encoder.h"

namespace mmskit_tool {
namespace {

struct ComposeOptions {
    std::string file;  // JSON; empty when the options describe the message
    std::string output;
    bool body_only = false;
    bool retrieved = false;
    Description description{Where{"--", true}};
};

void compose(const ComposeOptions& options) {
    const MessagePlan plan =
        make_plan(options.file.empty() ? options.description : describe_json(options.file));
    Composition composition;
    for (const PlannedSlide& slide : plan.slides)
        composition.add_slide(slide);
    for (const PlannedAttachment& attachment : plan.attachments)
        composition.add_attachment(attachment);
    LibraryBytes body = composition.body();
    if (options.body_only) return write_file(options.output, body.bytes());
    if (options.retrieved) return write_file(options.output, retrieved_message(plan, body.bytes()));
    write_file(options.output, send_request(plan, std::move(body)).bytes());
}

}  // namespace

void add_compose_command(CLI::App& app, Run& run) {
    const auto options = std::make_shared<ComposeOptions>();
    CLI::App* command = app.add_subcommand("compose", "Write a message: slides and attachments");
    CLI::Option* file =
        command->add_option("FILE", options->file,
                            "A JSON file that describes the message (docs/compose.md); - is "
                            "standard input. Without it the options do");
    command->add_option("-o,--output", options->output, "The file to write; - is standard output")
        ->required()
        ->type_name("FILE");
    CLI::Option* body_only =
        command->add_flag("--body-only", options->body_only, "Write the body without headers");
    command
        ->add_flag("--retrieved", options->retrieved,
                   "Write the message as a message centre delivers it")
        ->excludes(body_only);
    for (CLI::Option* option : add_message_options(*command, options->description, {}))
        option->excludes(file);
    for (CLI::Option* option : add_part_options(*command, options->description, "--slide"))
        option->excludes(file);
    command->callback([options, &run] { run = [options] { compose(*options); }; });
}

}  // namespace mmskit_tool
