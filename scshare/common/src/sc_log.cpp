// The log sink. State: one sink and its context; the library never writes to a stream itself.
#include "scshare/common/src/log.h"

#include <mmskit/runtime.h>

#include <cstdarg>
#include <cstdio>

#include "scshare/common/src/limits.h"

namespace mmskit {

bool log_enabled = false;

namespace {
struct {
    tSCLogSink sink;
    void* context;
} log_state;
}  // namespace

void write_log_line(const char* format, ...) {
    char line[limits::log_line];
    va_list args;
    va_start(args, format);
    std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    log_state.sink(line, log_state.context);
}

}  // namespace mmskit

extern "C" void fnSC_SetLogSink(tSCLogSink sink, void* context) {
    mmskit::log_state = {sink, context};
    mmskit::log_enabled = sink != nullptr;
}
