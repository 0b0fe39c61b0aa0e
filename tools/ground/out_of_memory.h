// The end of the command when memory is out where nobody can be told: inside a parser that does not
// check its own, or in a destructor. One line, exit code 1, and what is temporary removed.
#pragma once

namespace mmskit_tool {

inline constexpr int exit_without_memory = 1;

// Prints the line that main() prints for std::bad_alloc and ends the process.
[[noreturn]] void end_out_of_memory();

// For as long as it lives end_out_of_memory() calls `remove` with `what` first. It may not
// allocate.
class Temporary {
  public:
    Temporary(void (*remove)(void*), void* what);
    ~Temporary();
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;
    static void remove_all();

  private:
    void (*remove_)(void*);
    void* what_;
    Temporary* outer_;
    static Temporary* innermost_;
};

// Makes an exception that leaves a destructor for want of memory end that way too.
void end_well_without_memory();

}  // namespace mmskit_tool
