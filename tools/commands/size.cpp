// mmskit size: what makes a message large, its largest part first.
#include <algorithm>
#include <array>
#include <cstdio>

#include "commands/commands.h"
#include "ground/file_io.h"
#include "ground/safe_text.h"
#include "reading/open_message.h"

namespace mmskit_tool {
namespace {

struct SizeOptions {
    std::string file;
};

struct Row {
    std::size_t bytes;
    std::string name, type;
};

// As they stand in the message, encoded or not.
std::vector<Row> rows_of(const tMMS_Anatomy& anatomy) {
    std::vector<Row> rows;
    for (uint32_t i = 0; i < anatomy.iParts; ++i) {
        const tMMS_Part& part = anatomy.pParts[i];
        const char* name = part.pName != nullptr ? part.pName : "(without a name)";
        rows.push_back({part.iLength, part.bPresentation != 0 ? "presentation" : name, part.pType});
    }
    return rows;
}

void size(const SizeOptions& options) {
    const auto message = open_message(options.file, Reading::outline);
    const std::size_t whole = message->facts().size;
    std::vector<Row> rows = rows_of(message->anatomy());
    std::size_t parts = 0;
    for (const Row& row : rows)
        parts += row.bytes;
    rows.push_back({whole - std::min(parts, whole), "headers of the message and its parts", ""});
    std::stable_sort(rows.begin(), rows.end(),
                     [](const Row& one, const Row& other) { return one.bytes > other.bytes; });
    std::string out = std::to_string(whole) + " bytes\n\n";
    for (const Row& row : rows) {
        std::array<char, 64> numbers{};
        (void)std::snprintf(numbers.data(), numbers.size(), "%10zu  %3zu%%  ", row.bytes,
                            (row.bytes * 100 + whole / 2) / std::max<std::size_t>(whole, 1));
        out += numbers.data() + visible(row.name);
        out += row.type.empty() ? "\n" : "  " + visible(row.type) + '\n';
    }
    write_output(out);
}

void declare(Command& command, SizeOptions& options) {
    command.word("FILE", &options.file, "A message or a message body; - is standard input")
        .require();
}

}  // namespace

Command size_command() {
    return Command::of("size", "Tell what makes a message large", declare, size);
}

}  // namespace mmskit_tool
