// mmskit show: what a message file says, as text or JSON.
#include <memory>

#include "commands.h"
#include "file_io.h"
#include "push_facts.h"
#include "render.h"
#include "safe_text.h"

namespace mmskit_tool {
namespace {

struct ShowOptions {
    std::string file;
    bool json = false;
    std::string push_kind;  // si or sl; empty: what the bytes say
};

void write_facts(const MessageFacts& facts, const ShowOptions& options) {
    write_output(options.json ? render_json(facts) : render_text(facts));
}

void show_push(const ShowOptions& options) {
    MessageFacts facts;
    try {
        collect_push(
            read_input(options.file),
            options.push_kind == "si" ? PushKind::service_indication : PushKind::service_loading,
            facts);
    } catch (const Flaw& flaw) {
        throw Failure(visible(input_name(options.file)) + ": " + describe(flaw));
    }
    write_facts(facts, options);
}

void show(const ShowOptions& options) {
    if (!options.push_kind.empty()) return show_push(options);
    const auto message = open_message(options.file);
    const MessageFacts& facts = message->facts();
    write_facts(facts, options);
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
        ->add_option(
            "FILE", options->file,
            "A message of any kind, a message body, or a push document (SI, SL); - is standard "
            "input")
        ->required();
    command->add_flag("--json", options->json, "Print JSON; docs/json.md lists its keys");
    command
        ->add_option("--as", options->push_kind,
                     "Read it as a push document: si or sl, where the file does not say it")
        ->check(CLI::IsMember({"si", "sl"}));
    command->callback([options, &run] { run = [options] { show(*options); }; });
}

}  // namespace mmskit_tool
