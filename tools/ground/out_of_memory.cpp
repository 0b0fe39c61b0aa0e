#include "ground/out_of_memory.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

namespace mmskit_tool {

Temporary* Temporary::innermost_ = nullptr;

Temporary::Temporary(void (*remove)(void*), void* what)
    : remove_(remove), what_(what), outer_(innermost_) {
    innermost_ = this;
}

Temporary::~Temporary() {
    innermost_ = outer_;
}

void Temporary::remove_all() {
    for (; innermost_ != nullptr; innermost_ = innermost_->outer_)
        innermost_->remove_(innermost_->what_);
}

void end_out_of_memory() {
    constexpr char line[] = "mmskit: out of memory\n";
    Temporary::remove_all();
    const ssize_t ignored = ::write(STDERR_FILENO, line, sizeof line - 1);
    (void)ignored;
    ::_exit(exit_without_memory);
}

void end_well_without_memory() {
    std::set_terminate([] {
        try {
            if (const std::exception_ptr thrown = std::current_exception())
                std::rethrow_exception(thrown);
        } catch (const std::bad_alloc&) {
            end_out_of_memory();
        } catch (...) {  // NOLINT(bugprone-empty-catch): a fault of the program, as before
        }
        std::abort();
    });
}

}  // namespace mmskit_tool
