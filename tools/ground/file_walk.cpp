#include "ground/file_walk.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "ground/file_io.h"
#include "ground/safe_text.h"

namespace mmskit_tool {
namespace {

namespace fs = std::filesystem;

void walk_folder(const fs::path& folder, const std::function<void(const std::string&)>& each) {
    std::error_code error;
    std::vector<std::string> names;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        std::string name = it->path().filename().string();
        if (!name.starts_with('.')) names.push_back(std::move(name));
    }
    if (error) throw Failure(visible(folder.string()) + ": " + error.message());
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        const fs::path path = folder / name;
        const fs::file_status status = fs::symlink_status(path, error);
        if (fs::is_directory(status))
            walk_folder(path, each);
        else if (fs::is_regular_file(fs::status(path, error)))
            each(path.string());
    }
}

}  // namespace

void complain_of_failed(std::size_t failed, std::size_t files) {
    if (failed == 0) return;
    complain(std::to_string(failed) + " of " + std::to_string(files) +
             (files == 1 ? " file" : " files") + " could not be read as a message");
}

bool is_folder(const std::string& path) {
    std::error_code error;
    return path != "-" && fs::is_directory(path, error);
}

void for_each_file(const std::vector<std::string>& paths,
                   const std::function<void(const std::string&)>& each) {
    for (const std::string& path : paths) {
        if (is_folder(path))
            walk_folder(path, each);
        else
            each(path);
    }
}

Progress::Progress(bool rows_go_out, std::size_t total)
    : wanted_(isatty(STDERR_FILENO) != 0 && !(rows_go_out && isatty(STDOUT_FILENO) != 0)),
      total_(total),
      next_(Clock::now() + std::chrono::seconds(1)) {}

void Progress::step() {
    ++done_;
    if (!wanted_ || Clock::now() < next_) return;
    next_ = Clock::now() + std::chrono::milliseconds(200);
    shown_ = true;
    const std::string of_all = total_ != 0 ? " of " + std::to_string(total_) : std::string();
    (void)std::fprintf(stderr, "\r%zu%s files", done_, of_all.c_str());
}

void Progress::clear() {
    if (shown_) (void)std::fputs("\r\x1b[K", stderr);
    shown_ = false;
}

}  // namespace mmskit_tool
