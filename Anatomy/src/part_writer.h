// A body's content types and part headers as they are written for the exact decoders.
#pragma once

#include <string>
#include <string_view>

#include "Anatomy/src/bytes_writer.h"
#include "Anatomy/src/mend.h"

namespace mmskit_anatomy {

class PartWriter {
  public:
    explicit PartWriter(MediaTypes& types) : types_(types) {}

    // The type in the exact library's own spelling.
    [[nodiscard]] std::string_view spelled(std::string_view type) const;
    // The body's Content-Type header. `start` is a Content-ID, empty without a presentation.
    [[nodiscard]] std::string body_type(bool related, std::string_view start) const;
    // Content type and headers of a part.
    [[nodiscard]] std::string headers(const ExactBodyPart& part) const;

  private:
    void write_type(BytesWriter& out, std::string_view type) const;

    MediaTypes& types_;
};

}  // namespace mmskit_anatomy
