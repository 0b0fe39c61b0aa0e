// The thread's open iconv handles; see converters.h.
#include "Anatomy/src/converters.h"

#include <cerrno>
#include <iterator>
#include <new>
#include <string>

namespace mmskit_anatomy {
namespace {

struct Opened {
    std::string_view to, from;
    iconv_t handle;
};

// Nothing to destroy: registering a destructor for a thread takes memory, and glibc ends the
// process when there is none. The tables have fewer pairs of names than this.
struct Cache {
    Opened list[128];
    std::size_t size;
};

constinit thread_local Cache cache{};

void close_last() {
    const Opened& last = cache.list[--cache.size];
    if (last.handle != no_converter) (void)iconv_close(last.handle);
}

}  // namespace

iconv_t converter(const char* to, std::string_view from) {
    for (std::size_t i = 0; i < cache.size; ++i) {
        const Opened& opened = cache.list[i];
        if (opened.to != to || opened.from != from) continue;
        if (opened.handle != no_converter)
            (void)iconv(opened.handle, nullptr, nullptr, nullptr, nullptr);
        return opened.handle;
    }
    const std::string name(from);
    const iconv_t handle = iconv_open(to, name.c_str());
    if (handle == no_converter && errno == ENOMEM) throw std::bad_alloc();
    if (cache.size == std::size(cache.list)) close_last();
    cache.list[cache.size++] = {to, from, handle};
    return handle;
}

ConvertersOpen::~ConvertersOpen() {
    while (cache.size != 0)
        close_last();
}

}  // namespace mmskit_anatomy
