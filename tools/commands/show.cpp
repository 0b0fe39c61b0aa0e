// mmskit show: what message files say, as text or JSON.
#include <memory>

#include "commands/commands.h"
#include "ground/exit_status.h"
#include "ground/file_io.h"
#include "ground/file_walk.h"
#include "ground/safe_text.h"
#include "reading/open_message.h"
#include "reading/push_facts.h"
#include "reading/render.h"

namespace mmskit_tool {
namespace {

struct ShowOptions {
    std::vector<std::string> files;
    bool json = false, json_lines = false, smil = false, exact = false;
    std::string push_kind;  // si or sl; empty: what the bytes say

    [[nodiscard]] Reading reading() const { return exact ? Reading::exact : Reading::tolerant; }
};

void print(const MessageFacts& facts, const ShowOptions& options) {
    if (options.json) return write_output(render_json(facts, JsonTarget::output));
    return options.smil ? print_presentation(facts) : print_text(facts);
}

int show_push(const std::string& file, const ShowOptions& options) {
    MessageFacts facts;
    try {
        collect_push(
            read_input(file),
            options.push_kind == "si" ? PushKind::service_indication : PushKind::service_loading,
            facts);
    } catch (const Flaw& flaw) {
        throw Failure(visible(input_name(file)) + ": " + describe(flaw));
    }
    print(facts, options);
    return 0;
}

int show_file(const std::string& file, const ShowOptions& options) {
    if (!options.push_kind.empty()) return show_push(file, options);
    const auto message = open_message(file, options.reading());
    const MessageFacts& facts = message->facts();
    print(facts, options);
    // The headers are worth showing when the body is damaged; the failure is still told.
    if (facts.body_flaw)
        throw Failure(visible(input_name(file)) + ": " + describe(*facts.body_flaw));
    return exit_status(facts);
}

// Of a message that is to be a line; without one why not.
std::unique_ptr<OpenMessage> open_line(const std::string& file, const ShowOptions& options,
                                       Flaw& why_not) {
    try {
        return std::make_unique<OpenMessage>(read_input(file), options.reading());
    } catch (const Flaw& flaw) {
        why_not = flaw;
    } catch (const Failure& failure) {
        why_not.reason = failure.what();
    }
    return nullptr;
}

// One message a line; what cannot be read is a line too.
int show_line(const std::string& file, const ShowOptions& options) {
    Flaw why_not;
    const auto message = open_line(file, options, why_not);
    JsonWriter json(JsonTarget::one_line_output);
    json.object().key("file").text(file);
    if (message == nullptr)
        put_error(json, why_not);
    else
        put_message(json, message->facts());
    write_output(json.end().document());
    if (message == nullptr || message->facts().body_flaw) return exit_failed;
    return exit_status(message->facts());
}

int show_lines(const ShowOptions& options) {
    Progress progress(true);
    int worst = 0;
    std::size_t files = 0;
    std::size_t failed = 0;
    for_each_file(options.files, [&](const std::string& file) {
        const int status = show_line(file, options);
        worst = worse_status(worst, status);
        ++files;
        failed += status == exit_failed ? 1 : 0;
        progress.step();
    });
    progress.clear();
    complain_of_failed(failed, files);
    return worst;
}

// Each below its name; one that cannot be shown does not keep the others back.
int show_several(const ShowOptions& options) {
    int worst = 0;
    bool first = true;
    for_each_file(options.files, [&](const std::string& file) {
        write_output((first ? "" : "\n") + visible(input_name(file)) + ":\n");
        first = false;
        int status = exit_failed;
        try {
            status = show_file(file, options);
        } catch (const Failure& failure) {
            complain(failure.what());
        }
        worst = worse_status(worst, status);
    });
    return worst;
}

int show(const ShowOptions& options) {
    if (options.json_lines) return show_lines(options);
    if (options.files.size() == 1 && !is_folder(options.files[0]))
        return show_file(options.files[0], options);
    if (options.json)
        throw WrongUsage("--json is one document for one FILE; --json-lines takes several");
    return show_several(options);
}

void declare(Command& command, ShowOptions& options) {
    command
        .word("FILE", &options.files,
              "Messages of any kind, bare or wrapped (push, SMS, HTTP, hex, base64, gzip), or "
              "folders of them; - is standard input")
        .require();
    command.flag("--json", options.json, "Print JSON; docs/json.md lists its keys");
    command.flag("--json-lines", options.json_lines, "Print JSON, one line for each message");
    command.flag("--smil", options.smil, "Print the text of the presentation alone");
    command.flag("--exact", options.exact,
                 "Show what the exact decoders alone read, without mending");
    command
        .option("--as", options.push_kind, "KIND",
                "Read it as a push document, where the file does not say it")
        .among({"si", "sl"});
    command.exclude("--json", {"--json-lines", "--smil"});
    command.exclude("--json-lines", {"--smil", "--as"});
    command.exclude("--as", {"--exact", "--smil"});
    command.exclude("--smil", {"--exact"});
}

}  // namespace

Command show_command() {
    return Command::of("show", "Show what a message says: headers, slides and attachments", declare,
                       show);
}

}  // namespace mmskit_tool
