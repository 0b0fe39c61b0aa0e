// Whether a file is a store of settings, so that nothing else is ever written over as one.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace mmskit_tool {

// What keeps the bytes from being a store that can be saved again without a loss.
struct NoStore {
    std::string what;  // "it is no store but a picture (image/jpeg)"
    bool damaged;      // the store's first entries are whole and can be shown
};

// Nothing for a store, which no bytes at all are too.
std::optional<NoStore> why_no_store(std::span<const uint8_t> bytes);

}  // namespace mmskit_tool
