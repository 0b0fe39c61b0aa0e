// The files that a command is given, folders walked, and how far the walk is.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace mmskit_tool {

// Calls `each` for every file, and for every file in a folder and the folders below it, by name.
// Of folders hidden files are left out and links to folders not followed. Holds the names of one
// folder a level at a time. A folder that cannot be read throws a Failure.
void for_each_file(const std::vector<std::string>& paths,
                   const std::function<void(const std::string&)>& each);

// One line on standard error when any of the files could not be read.
void complain_of_failed(std::size_t failed, std::size_t files);

bool is_folder(const std::string& path);

// A line on a terminal that says how many are done, from a second on, and of how many where `total`
// is not 0. It stays out of the way of rows that go to the same terminal.
class Progress {
  public:
    explicit Progress(bool rows_go_out, std::size_t total = 0);
    ~Progress() { clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void step();
    void clear();

  private:
    using Clock = std::chrono::steady_clock;
    bool wanted_;
    bool shown_ = false;
    std::size_t done_ = 0, total_;
    Clock::time_point next_;
};

}  // namespace mmskit_tool
