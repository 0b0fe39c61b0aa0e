// A message file opened: taken apart by the tolerant reader, mended, and the mended message laid
// out by the library, so that the facts hold all that is there and say what is not.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <mmskit/anatomy.h>
#include <mmskit/mmskit.h>

#include "reading/facts.h"

namespace mmskit_tool {

// `exact`: what the exact decoders alone make of the bytes. `outline`: the kind, the headers and,
// in anatomy(), where the parts stand; nothing is mended or laid out. `verdict`: of an exact
// reading, only what went wrong.
enum class Reading { tolerant, exact, outline, verdict };

using AnatomyOwner = std::shared_ptr<tMMS_Anatomy>;

// Of the bytes, which are borrowed.
AnatomyOwner dissect(std::span<const uint8_t> bytes);

// "no message, but an HTML page"
std::string no_message(const tMMS_Anatomy& anatomy);

// The bytes of one file, decoded. Holds the library's one slide view: one at a time.
class OpenMessage {
  public:
    // Throws a Flaw when nothing of the bytes can be shown. They are taken apart, unless that was
    // done already: what is moved in stays where it is.
    explicit OpenMessage(std::vector<uint8_t> bytes, Reading reading = Reading::tolerant,
                         AnatomyOwner anatomy = nullptr);
    ~OpenMessage();
    OpenMessage(const OpenMessage&) = delete;
    OpenMessage& operator=(const OpenMessage&) = delete;

    [[nodiscard]] const MessageFacts& facts() const { return facts_; }
    // From its Content-Type header on, as the exact decoders read it; empty when there is none.
    [[nodiscard]] std::span<const uint8_t> body() const { return body_; }
    // Not of an exact reading.
    [[nodiscard]] const tMMS_Anatomy& anatomy() const { return *anatomy_; }

  private:
    struct MendedRelease {
        void operator()(tMMS_Mended* mended) const { fnMMS_FreeMended(mended); }
    };
    struct ViewRelease {
        void operator()(const tSMIL_View*) const { (void)fnPAR_SmilFree(); }
    };
    struct RecordRelease {
        void operator()(tMMS_RetrieveConf* record) const;
    };
    void open_outline();
    void open_tolerant();
    void open_push();
    void lay_out_mended();
    void open_exact();
    void open_exact_pdu();
    // Whether the body gives slides or attachments; they then are in the facts.
    bool lay_out(std::span<const uint8_t> body);
    bool lay_out_exact(std::span<const uint8_t> body);

    // Released in the opposite order: the view points into the bytes, the record or the mended
    // message, this into the anatomy, and that into the bytes.
    std::vector<uint8_t> bytes_;
    AnatomyOwner anatomy_;
    std::unique_ptr<tMMS_Mended, MendedRelease> mended_;
    std::unique_ptr<tMMS_RetrieveConf, RecordRelease> record_;
    std::unique_ptr<const tSMIL_View, ViewRelease> view_;
    std::span<const uint8_t> body_;
    const Reading reading_;
    std::string kind_;  // of an exact reading
    MessageFacts facts_;
};

// A file read and decoded; a Failure names the file.
std::unique_ptr<OpenMessage> open_message(const std::string& file,
                                          Reading reading = Reading::tolerant);

}  // namespace mmskit_tool
