// The command's option parser and its JSON input. Oracle: a line is taken, or refused in one that
// begins with the command's name; a description becomes a message that tells what was described.
#include <array>

#include "fuzz/harness.h"
#include "ground/command_line.h"
#include "writing/composition.h"
#include "writing/message_encoder.h"

namespace {

using namespace fuzz;
using namespace mmskit_tool;

struct Options {  // one of each kind
    bool flag = false, other = false;
    std::string file, kind, second;
    std::optional<std::string> maybe;
    std::vector<std::string> list;
    std::vector<int32_t> numbers;
    std::vector<Group> slides, parts;
};

void declare(Command& command, Options& options) {
    command.word("FILE", &options.file, "a word").require();
    command.word("SECOND", &options.second, "another");
    command.flag("-f,--flag", options.flag, "a flag");
    command.flag("--other", options.other, "another flag");
    command.option("-k,--kind", options.kind, "KIND", "one of two").among({"si", "sl"});
    command.option("-o,--maybe", options.maybe, "TEXT", "a text");
    command.option("--list", options.list, "TEXT", "texts");
    command.option("--numbers", options.numbers, "N", "numbers");
    command.groups("--slide", options.slides, false, "KEY=VALUE", "slides");
    command.groups("--part", options.parts, true, "FILE", "parts");
    command.exclude("--flag", {"--other", "SECOND"});
    command.need("--list", {"--maybe"});
}

int show(const Options& options) {
    hold(!options.file.empty(), "the word that is required");
    hold(!options.flag || !options.other, "what cannot both be given");
    hold(options.list.empty() || options.maybe, "what needs another");
    for (const std::string* text : {&options.file, &options.kind, &options.second})
        tell(std::string_view(*text));
    tell(options.maybe ? options.maybe->c_str() : nullptr);
    for (const int32_t number : options.numbers)
        tell(uint64_t(number));
    for (const auto* groups : {&options.slides, &options.parts})
        for (const Group& group : *groups)
            for (const std::string& word : group)
                tell(std::string_view(word));
    return options.flag ? 1 : 0;
}

void run_options(Bytes bytes) {
    constexpr const char* known[] = {
        "one",       "two",  "FILE",         "--flag",      "-f",     "--other",   "--kind",
        "-k",        "si",   "--maybe",      "-o",          "--list", "--numbers", "7",
        "--slide",   "a=b",  "--part",       "--help",      "-h",     "--",        "-",
        "--kind=sl", "-ksl", "--numbers=-1", "--slide=c=d", "-fo",    "--fl",      ""};
    Input input{bytes};
    std::vector<std::string> words{"mmskit"};
    while (!input.rest.empty() && words.size() < 100) {
        const uint8_t which = input.byte();
        words.push_back(which < 0xC0 ? known[which % std::size(known)] : input.text());
    }
    std::vector<char*> line;
    for (std::string& word : words)
        line.push_back(word.data());
    line.push_back(nullptr);
    try {
        Command mmskit("mmskit", "Two commands of the same options.");
        mmskit.add(Command::of("one", "the first", declare, show));
        mmskit.add(Command::of("two", "the second", declare, show));
        const Asked asked = mmskit.parse(int(words.size()), line.data());
        hold((asked.command == nullptr) != asked.help.empty(), "help or a command");
        tell(asked.help.c_str());
        if (asked.command != nullptr) tell(uint64_t(asked.command->run()));
    } catch (const WrongUsage& wrong) {
        tell(wrong.what());
        hold(std::string_view(wrong.what()).starts_with("mmskit"), "who complains");
    }
}

// Only files of the folder are read.
bool stays_inside(const Description& description) {
    for (const auto* items : {&description.slides, &description.attachments})
        for (const Items& each : *items)
            for (const char* key : {"text_file", "image", "audio", "video", "file"}) {
                const std::string* name = each.find(key);
                if (name != nullptr && (*name == "-" || name->find('/') != std::string::npos))
                    return false;
            }
    return true;
}

void check_message(const MessagePlan& plan) {
    size_t slides = 0;
    LibraryBytes body;
    {
        Composition composition;
        for (const PlannedSlide& slide : plan.slides) {
            composition.add_slide(slide);
            slides += slide.text || slide.image || slide.audio || slide.video ? 1 : 0;
        }
        for (const PlannedAttachment& attachment : plan.attachments)
            composition.add_attachment(attachment);
        body = composition.body();
    }
    fnPAR_SmilParserEntry(body.data.get(), int32_t(body.size));
    tell(body.data.get(), body.size);
    size_t shown = 0;
    for (const tSMIL_Par* par = tSMIL_ViewStruct.ParList; par != nullptr; par = par->Next)
        ++shown;
    hold(shown == slides, "another number of slides");
    hold(size_t(fnPAR_GetTotalAttachments()) == plan.attachments.size(), "the attachments");
    const LibraryBytes pdu = send_request(plan, std::move(body));
    const tMMS_SendReq* request = fnMMS_ParseSendContent(pdu.data.get(), int32_t(pdu.size));
    const Owner<const tMMS_SendReq,
                [](const tMMS_SendReq* record) {
                    fnMMS_FreeMessageMem(const_cast<tMMS_SendReq*>(record), MMS_KIND_SEND_REQ);
                }>
        owner(request);
    if (request == nullptr) return;  // QUIRK reading_back_fails_on_a_date
    hold(plan.to == (request->pTo == nullptr ? "" : request->pTo), "the recipients");
    hold(plan.subject.value_or("") == (request->pSubject == nullptr ? "" : request->pSubject),
         "the subject");
}

void run_json(Bytes input) {
    static const bool made = [] {
        for (const char* name : {"a.jpg", "b.amr", "c.3gp", "d.txt"})
            put_file(name, Exact::bytes_of("any bytes"));
        return true;
    }();
    (void)made;
    const std::string path = put_file("m.json", input);
    try {
        const Description description = describe_json(path);
        if (!stays_inside(description)) return;
        const MessagePlan plan = make_plan(description);
        tell(std::string_view(plan.to));
        tell(std::string_view(plan.subject.value_or("none")));
        check_message(plan);
    } catch (const Failure& failure) {
        hold(*failure.what() != '\0', "a failure without a word");
    }
}

constexpr fuzz::Target targets[] = {{"options", run_options, true}, {"json", run_json}};

}  // namespace

const std::span<const fuzz::Target> fuzz::command_targets = targets;
