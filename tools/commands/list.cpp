// mmskit list: one line for each message of files and folders.
#include "reading/list.h"

#include <algorithm>

#include "commands/commands.h"
#include "ground/exit_status.h"
#include "ground/file_io.h"
#include "ground/file_walk.h"
#include "reading/open_message.h"

namespace mmskit_tool {
namespace {

struct ListOptions {
    std::vector<std::string> files;
    std::string order = "file";
};

struct Listed {
    ListRow row;
    int status;
};

Listed read_row(const std::string& file) {
    try {
        const OpenMessage message(read_input(file));
        return {list_row(message.facts(), input_name(file)), exit_status(message.facts())};
    } catch (const Flaw& flaw) {
        return {list_row(describe(flaw), input_name(file)), exit_failed};
    } catch (const Failure& failure) {
        return {list_row(failure.what(), input_name(file)), exit_failed};
    }
}

// Rows that are to be sorted are held as the lines that they become.
struct Line {
    int64_t seconds;
    std::string text;
};

int list(const ListOptions& options) {
    const bool by_date = options.order == "date";
    Progress progress(!by_date);
    std::vector<Line> lines;
    int worst = exit_done;
    std::size_t files = 0;
    std::size_t failed = 0;
    write_output(list_line(list_head()));
    for_each_file(options.files, [&](const std::string& file) {
        const Listed listed = read_row(file);
        worst = worse_status(worst, listed.status);
        ++files;
        failed += listed.status == exit_failed ? 1 : 0;
        if (by_date)
            lines.push_back({listed.row.seconds, list_line(listed.row)});
        else
            write_output(list_line(listed.row));
        progress.step();
    });
    progress.clear();
    std::stable_sort(lines.begin(), lines.end(),
                     [](const Line& a, const Line& b) { return a.seconds < b.seconds; });
    for (const Line& line : lines)
        write_output(line.text);
    complain_of_failed(failed, files);
    return worst;
}

void declare(Command& command, ListOptions& options) {
    command
        .word("FILE", &options.files,
              "Messages, or folders whose files are read with those of the folders in them")
        .require();
    command
        .option("--sort", options.order, "ORDER",
                "By the names of the files, or by the messages' dates; file when not given")
        .among({"file", "date"});
}

}  // namespace

Command list_command() {
    return Command::of("list", "Show one line for each message", declare, list);
}

}  // namespace mmskit_tool
