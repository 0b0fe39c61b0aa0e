// What was tried with a message and what came of it, in a file beside it that people can read: a
// line an event, the last one tells where things stand. A line is on disk before record() returns,
// and counts only with its line end, so a program that is killed at any moment leaves either the
// state before or the one after. The journal is locked: a second program is refused.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace mmskit_transport {

using Facts = std::vector<std::pair<std::string, std::string>>;

struct Event {
    std::string when;   // UTC
    std::string state;  // one word
    Facts facts;
    [[nodiscard]] std::string fact(const std::string& name) const;  // empty without it
};

class Journal {
  public:
    // Opens, and makes it when it is missing. Throws a Failure when it cannot be written, when
    // another program has it open, and when the file is no journal.
    explicit Journal(std::string path);
    ~Journal();
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] const std::vector<Event>& events() const { return events_; }
    // The last event whose fact has that value; null without one.
    [[nodiscard]] const Event* last_with(const std::string& name, const std::string& value) const;

    void record(const std::string& state, const Facts& facts);

  private:
    void append(const std::string& text);

    std::string path_;
    int fd_ = -1;
    bool fresh_ = false;
    std::vector<Event> events_;
};

// Makes a folder, and those above it that are missing; when this returns, their names are on disk.
void make_folder_durably(const std::string& folder);

// Writes a new file of that content: when this returns, it is on disk whole and under its name. A
// program that is killed leaves no file of that name, or the whole one.
void store_durably(const std::string& file, const void* data, std::size_t size);

}  // namespace mmskit_transport
