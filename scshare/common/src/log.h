// Log lines for the developer of a host: off until a sink is set, and then only formatted.
#pragma once

#pragma GCC visibility push(hidden)

namespace mmskit {

extern bool log_enabled;

// Formats and hands on one line. Call through log_line() so that an unset sink costs one test.
void write_log_line(const char* format, ...) __attribute__((format(printf, 1, 2)));

inline void log_line(const char* text) {
    if (log_enabled) [[unlikely]]
        write_log_line("%s", text);
}

template <typename... Args>
inline void log_line(const char* format, Args... args) {
    if (log_enabled) [[unlikely]]
        write_log_line(format, args...);
}

}  // namespace mmskit

#pragma GCC visibility pop
