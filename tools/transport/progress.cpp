#include "transport/progress.h"

#include <unistd.h>

#include <cstdio>

namespace mmskit_transport {

Progress::Progress() : terminal_(::isatty(STDERR_FILENO) == 1) {}

void Progress::show(const char* what, uint64_t bytes, uint64_t total) {
    constexpr std::chrono::milliseconds pause(200);
    if (!terminal_ || bytes == 0) return;
    const Clock::time_point now = Clock::now();
    if (now - last_ < pause) return;
    last_ = now;
    shown_ = true;
    const double seconds = std::chrono::duration<double>(now - start_).count();
    const double kilobytes = static_cast<double>(bytes) / 1024;
    (void)std::fprintf(stderr, "\r%s %.0f", what, kilobytes);
    if (total != 0) (void)std::fprintf(stderr, " of %.0f", static_cast<double>(total) / 1024);
    (void)std::fprintf(stderr, " KB, %.1f KB/s\x1b[K", kilobytes / seconds);
}

void Progress::clear() {
    if (shown_) (void)std::fputs("\r\x1b[K", stderr);
    shown_ = false;
}

}  // namespace mmskit_transport
