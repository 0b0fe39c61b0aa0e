// What is to be fetched: where it lies, until when, and by which name it is known again.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace mmskit_transport {

struct Source {
    std::string url;
    std::string transaction_id;      // of the notification; empty when a URL was given
    std::string name;                // of its files, safe in any folder; one per transaction id
    std::optional<int64_t> expires;  // seconds since 1970-01-01 UTC

    [[nodiscard]] bool notified() const { return !transaction_id.empty(); }
    [[nodiscard]] bool expired() const;
};

// `word` is an http or https URL, or a file with a notification; "-" is standard input. Throws a
// Failure for a file that is none.
Source source_of(const std::string& word);

}  // namespace mmskit_transport
