// mmskit preview: a message as a page that plays it in a browser, or a folder of messages as such
// pages with an index.
#include <algorithm>
#include <filesystem>
#include <set>
#include <unordered_map>

#include "commands/commands.h"
#include "ground/exit_status.h"
#include "ground/file_io.h"
#include "ground/file_walk.h"
#include "ground/safe_text.h"
#include "reading/open_message.h"
#include "reading/page.h"

namespace mmskit_tool {
namespace {

namespace fs = std::filesystem;

struct PreviewOptions {
    std::string input;
    std::string output;
};

std::span<const uint8_t> bytes_of(const std::string& text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

int preview_file(const PreviewOptions& options) {
    const auto message = open_message(options.input);
    const MessageFacts& facts = message->facts();
    OutputFile page(options.output);
    write_page(facts, page);
    page.publish();
    return exit_status(facts);
}

// The pages of a folder. One message is held at a time; what stays is its row of the index.
class FolderPreview {
  public:
    explicit FolderPreview(const PreviewOptions& options)
        : input_(options.input), output_(options.output) {
        make_output();
        find_files();
    }

    void write() {
        std::size_t shown = 0;
        Progress progress(false, files_.size());
        std::vector<Row> rows;
        for (const auto& file : files_) {
            const IndexRow row = page_of(file);
            shown += row.error.empty() ? 1 : 0;
            rows.push_back({row.date, render_index_row(row)});
            progress.step();
        }
        // Newest first, those without a date last; equal ones stay in the order of their names.
        std::stable_sort(rows.begin(), rows.end(),
                         [](const Row& a, const Row& b) { return a.date > b.date; });
        std::string list;
        for (const Row& row : rows)
            list += row.markup;
        const std::string index = (output_ / "index.html").string();
        const fs::path folder = fs::weakly_canonical(input_).filename();
        write_file(index, bytes_of(render_index(folder.string(), files_.size(), list)));
        write_output(visible(index) + "  " + std::to_string(shown) + " of " +
                     std::to_string(files_.size()) + " files\n");
    }

  private:
    struct Row {
        std::string date;  // ISO 8601, sorts as it is
        std::string markup;
    };

    // Pages of an earlier run are replaced, and nothing else: another folder is refused.
    void make_output() {
        std::error_code error;
        if (fs::exists(output_, error) && !fs::exists(output_ / "index.html", error) &&
            !fs::is_empty(output_, error)) {
            throw Failure(visible(output_.string()) +
                          ": holds other files; name an empty or a new folder");
        }
        fs::create_directories(output_ / "thumbs", error);
        if (error) throw Failure(visible(output_.string()) + ": " + error.message());
    }

    void find_files() {
        const auto options = fs::directory_options::skip_permission_denied;
        std::error_code error;
        fs::recursive_directory_iterator walk(input_, options, error);
        for (; !error && walk != fs::recursive_directory_iterator(); walk.increment(error)) {
            const fs::directory_entry& entry = *walk;
            std::error_code ignored;
            const bool hidden = entry.path().filename().string().starts_with('.');
            const bool folder = entry.is_directory(ignored);
            if (folder && (hidden || fs::equivalent(entry.path(), output_, ignored))) {
                walk.disable_recursion_pending();
            } else if (!hidden && entry.is_regular_file(ignored)) {
                files_.push_back(entry.path().lexically_relative(input_).string());
            }
        }
        if (error) throw Failure(visible(input_.string()) + ": " + error.message());
        std::sort(files_.begin(), files_.end());
    }

    IndexRow page_of(const std::string& file) {
        IndexRow row;
        try {
            const OpenMessage message(read_input((input_ / file).string()));
            row = index_row(message.facts());
            const std::string name = unused_name(file);
            row.page = name + ".html";
            row.thumb = write_thumb(name, thumbnail(message.facts()));
            OutputFile page((output_ / row.page).string());
            write_page(message.facts(), page);
            page.publish();
        } catch (const Flaw& flaw) {
            row.error = describe(flaw);
        }
        row.file = file;
        return row;
    }

    std::string write_thumb(const std::string& name, std::span<const uint8_t> picture) {
        const PictureType* type = picture_type(picture);
        if (type == nullptr) return "";
        std::string thumb = "thumbs/" + name + type->extension;
        write_file((output_ / thumb).string(), picture);
        return thumb;
    }

    // Made of the file's own name, without regard to case as some file systems have none.
    std::string unused_name(const std::string& file) {
        std::string name = safe_file_name(file);
        if (name.empty()) name = "message";
        const NumberedName parts = numbered_name(name);
        std::string tried = parts.stem + parts.extension;
        while (!names_.insert(lower(tried)).second)
            tried = parts.with(++numbers_[lower(parts.stem + parts.extension)]);
        return tried;
    }

    static std::string lower(std::string text) {
        for (char& c : text)
            c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
        return text;
    }

    fs::path input_, output_;
    std::vector<std::string> files_;        // relative to input_, sorted
    std::set<std::string> names_{"index"};  // in lower case
    std::unordered_map<std::string, uint32_t> numbers_;
};

int preview(const PreviewOptions& options) {
    std::error_code error;
    if (options.input == "-" || !fs::is_directory(options.input, error))
        return preview_file(options);
    FolderPreview(options).write();
    return exit_done;
}

void declare(Command& command, PreviewOptions& options) {
    command.further_codes(", 3 something of the message is missing");
    command.word("FILE", &options.input, "A message, or a folder of messages; - is standard input")
        .require();
    command
        .option("-o,--output", options.output, "FILE",
                "The page to write, or for a folder of messages the folder; - is standard output")
        .require();
}

}  // namespace

Command preview_command() {
    return Command::of("preview",
                       "Write a page that plays a message in a browser, or an index of many",
                       declare, preview);
}

}  // namespace mmskit_tool
