// mmskit explain: what each byte of a message is, what is wrong with it, and where the exact
// decoder stopped.
#include "reading/explain.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include "commands/commands.h"
#include "ground/exit_status.h"
#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "reading/open_message.h"
#include "reading/render.h"

namespace mmskit_tool {
namespace {

struct ExplainOptions {
    std::string file;
    bool json = false;
    std::optional<std::string> at;
};

// 70 or 0x46
uint32_t parse_byte(const std::string& word) {
    const bool hex = word.starts_with("0x") || word.starts_with("0X");
    const char* const end = word.data() + word.size();
    uint32_t byte = 0;
    const auto [stop, error] =
        std::from_chars(word.data() + (hex ? 2 : 0), end, byte, hex ? 16 : 10);
    if (error != std::errc() || stop != end)
        throw WrongUsage("--at: \"" + word + "\" is no number of a byte");
    return byte;
}

// Nothing when the exact decoders take the message whole, or have nothing to do with its kind.
std::optional<Flaw> exact_refusal(const AnatomyOwner& anatomy) {
    if (anatomy->iMessage != MMS_MESSAGE_PDU && anatomy->iMessage != MMS_MESSAGE_BODY)
        return std::nullopt;
    const uint8_t* begin = anatomy->pLayers[anatomy->iMessageLayer].pData + anatomy->iMessageOffset;
    try {
        const OpenMessage exact({begin, begin + anatomy->iMessageLength}, Reading::verdict,
                                anatomy);
        return exact.facts().body_flaw;
    } catch (const Flaw& flaw) {
        if (!flaw.offset) return std::nullopt;
        return flaw;
    }
}

// What is lost already needs no mending to be told.
bool anything_lost(const tMMS_Anatomy& anatomy) {
    return std::any_of(anatomy.pNotes, anatomy.pNotes + anatomy.iNotes,
                       [](const tMMS_Note& note) { return note.iFlaw == MMS_FLAW_LOST; });
}

bool colour_wanted() {
    const char* const refused = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) != 0 && (refused == nullptr || refused[0] == '\0');
}

int explain(const ExplainOptions& options) {
    ExplainStyle style;
    if (options.at) style.at = parse_byte(*options.at);
    std::vector<uint8_t> bytes = read_input(options.file);
    AnatomyOwner anatomy = dissect(bytes);
    const std::string name = visible(input_name(options.file));
    if (style.at && *style.at >= bytes.size())
        throw Failure(name + ": it has " + size_text(bytes.size()) + ", the first is byte 0");
    if (options.json) {
        explain_json(*anatomy, style.at);
    } else {
        style.colour = colour_wanted();
        if (!style.at) style.refusal = exact_refusal(anatomy);
        explain_text(*anatomy, style);
    }
    if (anatomy->iMessage == MMS_MESSAGE_NONE) throw Failure(name + ": " + no_message(*anatomy));
    if (anatomy->iMessage < MMS_MESSAGE_SI && anything_lost(*anatomy)) return exit_lost;
    try {
        const OpenMessage message(std::move(bytes), Reading::tolerant, std::move(anatomy));
        return exit_status(message.facts());
    } catch (const Flaw& flaw) {  // a push document that does not decode
        throw Failure(name + ": " + describe(flaw));
    }
}

void declare(Command& command, ExplainOptions& options) {
    command.word("FILE", &options.file, "A message, bare or wrapped; - is standard input")
        .require();
    command.flag("--json", options.json, "Print JSON; docs/json.md lists its keys");
    command.option("--at", options.at, "BYTE", "Tell only what this byte of the file belongs to");
}

}  // namespace

Command explain_command() {
    return Command::of("explain", "Tell what each byte of a message is, and what is wrong with it",
                       declare, explain);
}

}  // namespace mmskit_tool
