#include "transport/stop.h"

#include <time.h>

#include <algorithm>
#include <csignal>

namespace mmskit_transport {
namespace {

volatile std::sig_atomic_t stopped = 0;

void note_stop(int) {
    stopped = 1;
}

}  // namespace

void catch_stop_signals() {
    struct sigaction action {};
    action.sa_handler = note_stop;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    (void)sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        (void)sigaction(signal, &action, nullptr);
}

bool stop_wanted() {
    return stopped != 0;
}

bool wait_milliseconds(int64_t time) {
    constexpr int64_t slice = 100;  // a signal between the question and the sleep waits so long
    for (; time > 0 && !stop_wanted(); time -= slice) {
        const int64_t now = std::min(time, slice);
        timespec span{0, static_cast<long>(now * 1000000)};
        (void)nanosleep(&span, nullptr);
    }
    return !stop_wanted();
}

}  // namespace mmskit_transport
