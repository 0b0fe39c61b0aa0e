// mmskit show: what a message file says, as text or JSON.
#include <memory>

#include "commands.h"
#include "file_io.h"
#include "render.h"
#include "safe_text.h"

namespace mmskit_tool {
namespace {

struct ShowOptions {
    std::string file;
    bool json = false;
};

void show(const ShowOptions& options) {
    const auto message = open_message(options.file);
    const MessageFacts& facts = message->facts();
    write_output(options.json ? render_json(facts) : render_text(facts));
    // The headers are worth showing when the body is damaged; the failure is still told.
    if (facts.body_flaw) {
        throw Failure(visible(input_name(options.file)) + ": " + describe(*facts.body_flaw));
    }
}

}  // namespace

void add_show_command(CLI::App& app, Run& run) {
    const auto options = std::make_shared<ShowOptions>();
    CLI::App* command =
        app.add_subcommand("show", "Show what a message says: headers, slides and attachments");
    command
        ->add_option("FILE", options->file,
                     "A retrieved message or a message body; - is standard input")
        ->required();
    command->add_flag("--json", options->json, "Print JSON; docs/json.md lists its keys");
    command->callback([options, &run] { run = [options] { show(*options); }; });
}

}  // namespace mmskit_tool
