// Shared by the fuzz targets, which are one program: FUZZ_TARGET names the one that runs. Two
// bytes in front of each input choose whether an allocation fails, and which. A target is run as it
// is, in half of the inputs with that allocation failing, and as it is again: it must tell the same
// both times, and each time leave the ledger of blocks as it was.
#pragma once

#include <mmskit/mmskit.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "fuzz/walk.h"

namespace fuzz {

using Bytes = std::span<const uint8_t>;

struct Target {
    const char* name;
    void (*run)(Bytes);
    bool uses_new = false;
};
extern const std::span<const Target> pdu_targets, value_targets, message_targets, compose_targets,
    push_targets, storage_targets, tolerant_targets, command_targets;

// Ends the program with `what` unless it holds. With an allocation failing it does nothing.
void hold(bool fact, const char* what);
void must(bool fact, const char* what);  // with one failing, too

// What a host would see: read whole, so that a sanitizer sees a wrong pointer or length, and
// compared between the runs of one input.
inline void tell(const void* data, size_t size) {
    touch(static_cast<const uint8_t*>(data), static_cast<int32_t>(size));
}
inline void tell(uint64_t number) {
    touch(number);
}
inline void tell(const char* text) {
    touch(text);
}
inline void tell(std::string_view text) {
    touch(text.size());
    tell(text.data(), text.size());
}

// A folder for files, gone at the end; with umb/tmp below it, where XML text passes through.
const std::string& folder();
// Writes a file there; gives its path.
std::string put_file(const char* name, Bytes bytes);
// Sets the target; false when there is none of that name. `with_new`: where it uses `new`, that
// fails too. libFuzzer's own copies of the standard library's templates, made without exceptions,
// would lose blocks then.
bool choose(const char* name, bool with_new);
void run(Bytes input, unsigned choice, uint64_t most);

template <auto release>
struct Release {
    template <typename T>
    void operator()(T* block) const {
        release(block);
    }
};
template <typename T, auto release>
using Owner = std::unique_ptr<T, Release<release>>;
inline void free_block(void* block) {
    fnSC_Free(&block);
}
template <typename T>
using Block = Owner<T, free_block>;

// The bytes in a block of exactly their size: what is read beside it is an error.
struct Exact {
    explicit Exact(Bytes from) : data(new uint8_t[from.size()]), length(int32_t(from.size())) {
        if (length > 0) std::memcpy(data.get(), from.data(), from.size());
    }
    explicit Exact(std::string_view from) : Exact(bytes_of(from)) {}
    static Bytes bytes_of(std::string_view text) {
        return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
    }
    std::unique_ptr<uint8_t[]> data;
    int32_t length;
};

inline std::string text_of(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Takes decisions and texts from the bytes; zeros follow their end.
struct Input {
    Bytes rest;
    uint32_t below(uint32_t limit) { return byte() % limit; }
    uint8_t byte() {
        const uint8_t first = rest.empty() ? 0 : rest[0];
        rest = rest.subspan(rest.empty() ? 0 : 1);
        return first;
    }
    uint32_t number() {
        uint32_t value = 0;
        for (int i = byte() % 5; i > 0; --i)
            value = value << 8 | byte();
        return value;
    }
    Bytes take(size_t most) {
        const Bytes taken = rest.first(std::min<size_t>(most, rest.size()));
        rest = rest.subspan(taken.size());
        return taken;
    }
    // Without zeros inside.
    std::string text() { return text_of(take(byte())).c_str(); }
};

}  // namespace fuzz
