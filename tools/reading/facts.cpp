#include "reading/facts.h"

#include <algorithm>
#include <array>

#include "ground/exit_status.h"

namespace mmskit_tool {

const char* media_kind_name(MediaKind kind) {
    constexpr std::array names{"image", "audio", "video"};
    return names[static_cast<std::size_t>(kind)];
}

const char* note_kind_name(NoteKind kind) {
    constexpr std::array names{"repaired", "lost", "unknown"};
    return names[static_cast<std::size_t>(kind)];
}

bool anything_lost(const MessageFacts& facts) {
    return std::any_of(facts.notes.begin(), facts.notes.end(),
                       [](const NoteFact& note) { return note.kind == NoteKind::lost; });
}

const HeaderFact* find_header(const MessageFacts& facts, std::string_view json_key) {
    const auto found = std::find_if(facts.headers.begin(), facts.headers.end(),
                                    [&](const auto& fact) { return fact.json_key == json_key; });
    return found != facts.headers.end() ? &*found : nullptr;
}

std::string header_string(const MessageFacts& facts, std::string_view json_key) {
    const HeaderFact* fact = find_header(facts, json_key);
    const auto* text = fact != nullptr ? std::get_if<std::string>(&fact->value) : nullptr;
    return text != nullptr ? *text : std::string();
}

int exit_status(const MessageFacts& facts) {
    return anything_lost(facts) ? exit_lost : exit_done;
}

std::string describe(const Flaw& flaw) {
    return flaw.offset ? flaw.reason + ", at byte " + std::to_string(*flaw.offset) : flaw.reason;
}

}  // namespace mmskit_tool
