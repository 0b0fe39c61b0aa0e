// Files and standard output for the commands: whole reads, whole writes, and an output folder in
// which nothing is ever overwritten. Every failure is thrown as a Failure, which main() prints as
// one line and turns into exit code 1.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ground/out_of_memory.h"

namespace mmskit_tool {

// What went wrong, as one printable line without "mmskit: ".
class Failure : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The name of an input as messages give it: "-" is standard input.
std::string input_name(const std::string& file);

// A whole file, or standard input for "-". The library counts in int32: larger ones are refused.
std::vector<uint8_t> read_input(const std::string& file);

void write_output(std::string_view text);

// Writes and empties a text for standard output that has grown to a piece: however much is told, no
// more than that and what is added between two calls is held.
void write_grown_output(std::string& text);

// A file, or standard output for "-", written in pieces. An existing file is replaced, and only by
// a complete one: on a failure it stays as it was. A symbolic link stays and its file is replaced;
// one that leads nowhere is refused.
class OutputFile {
  public:
    explicit OutputFile(const std::string& file);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void write(std::string_view piece);
    // As write_grown_output().
    void write_grown(std::string& text);
    // The file is complete.
    void publish();

  private:
    static void remove_temporary(void* file);

    std::string name_;  // as messages give it
    int fd_;
    std::string target_, temporary_;  // empty where what is there is written to
    Temporary removed_{remove_temporary, this};
};

void write_file(const std::string& file, std::span<const uint8_t> data);

// All of it, over interrupted and short writes; false with errno set when it cannot be.
bool write_all(int fd, const void* data, std::size_t size);

// One line on standard error, if it was not told already; the work goes on.
void warn(const std::string& text);

// The same for what failed, where the work goes on with something else. The text is printable.
void complain(const std::string& text);

// A folder for extracted files, made when it is missing.
class OutputFolder {
  public:
    explicit OutputFolder(const std::string& path);
    ~OutputFolder();
    OutputFolder(const OutputFolder&) = delete;
    OutputFolder& operator=(const OutputFolder&) = delete;

    // Writes a new file called `safe_name`, or with a number before its extension when that name
    // is taken. The file appears under its name only when it is complete. Returns its path.
    std::string write_new(const std::string& safe_name, std::span<const uint8_t> data);

  private:
    std::string write_temporary(std::span<const uint8_t> data);
    bool publish(const std::string& temporary, const std::string& name);
    std::string publish_numbered(const std::string& temporary, const std::string& safe_name);

    std::string path_;
    int fd_;
    uint32_t temporaries_ = 0;
    // The next number to try for a stem and extension: many parts of one name cost linear time.
    std::unordered_map<std::string, uint32_t> next_number_;
    std::set<std::string> taken_;  // names that were found taken
};

}  // namespace mmskit_tool
