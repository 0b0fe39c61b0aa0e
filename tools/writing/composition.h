// The library's one composition, opened for a new message or on a received one and closed with
// this object. Numbers of slides and attachments count from 1 and are those of the moment. Every
// refusal of the composer is thrown as a Failure that names the slide or the attachment.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include <mmskit/mmskit.h>

#include "writing/message_plan.h"

namespace mmskit_tool {

// A block of the library's memory.
struct LibraryBytes {
    struct Free {
        void operator()(uint8_t* block) const { fnSC_Free(&block); }
    };
    std::unique_ptr<uint8_t[], Free> data;
    uint32_t size = 0;
    [[nodiscard]] std::span<const uint8_t> bytes() const { return {data.get(), size}; }
};

class Composition {
  public:
    // One empty slide, which the first slide that is added fills.
    Composition();
    // The slides and attachments of a received body.
    explicit Composition(std::span<const uint8_t> received_body);
    ~Composition();
    Composition(const Composition&) = delete;
    Composition& operator=(const Composition&) = delete;

    void add_slide(const PlannedSlide& slide);
    void add_attachment(const PlannedAttachment& attachment);
    void drop_text(int32_t slide);
    void drop_slide(int32_t slide);
    void drop_attachment(int32_t attachment);

    // The encoded body, from its Content-Type header on.
    [[nodiscard]] LibraryBytes body() const;

  private:
    void go_to(int32_t slide, const char* why);
    void open_slide();
    void collect_attachments();
    void mend_received_names();
    void mend_name(char*& name, const std::string& what);
    [[nodiscard]] std::string free_name(const std::string& wanted, const std::string& what) const;
    [[nodiscard]] std::string here() const;

    // The composition's one slide is an empty one that nobody asked for.
    bool blank_ = false;
};

}  // namespace mmskit_tool
