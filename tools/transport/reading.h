// What the transport must know of a message, an answer or a notification. The only place here that
// looks into PDUs; it does so through the tolerant side of the library.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mmskit_transport {

// X-Mms-Message-Type (OMA-MMS-ENC 7.3.30).
enum class Type : uint8_t {
    none = 0,
    send_req = 0x80,
    send_conf = 0x81,
    notification_ind = 0x82,
    notifyresp_ind = 0x83,
    retrieve_conf = 0x84,
    acknowledge_ind = 0x85,
    read_rec_ind = 0x87,
    forward_req = 0x89,
    forward_conf = 0x8A
};

// Field codes (OMA-MMS-ENC 7.4), with the high bit.
enum class Code : uint8_t {
    bcc = 0x81,
    cc = 0x82,
    content_location = 0x83,
    content_type = 0x84,
    expiry = 0x88,
    from = 0x89,
    message_id = 0x8B,
    message_type = 0x8C,
    response_status = 0x92,
    response_text = 0x93,
    subject = 0x96,
    to = 0x97,
    transaction_id = 0x98,
    retrieve_status = 0x99,
    retrieve_text = 0x9A
};

struct Field {
    uint8_t code = 0;
    std::string text;       // UTF-8 where the message is right; may hold anything
    int64_t number = 0;     // of a token, a number or a time
    bool relative = false;  // a time from now on
};

class Message {
  public:
    // Reads anything; what is no message has the type none.
    explicit Message(std::span<const uint8_t> bytes);

    [[nodiscard]] Type type() const { return type_; }
    // The last field of that code; null without one.
    [[nodiscard]] const Field* find(Code code) const;
    [[nodiscard]] std::string text(Code code) const;  // empty without one
    // False when something that the message says it has is not there.
    [[nodiscard]] bool whole() const { return whole_; }
    [[nodiscard]] bool has_body() const { return find(Code::content_type) != nullptr; }
    // True when the bytes are the message itself: not a hex dump of it, a push, a captured answer.
    [[nodiscard]] bool bare() const { return bare_; }
    // "an HTML page"; empty for a message.
    [[nodiscard]] const std::string& looks_like() const { return looks_like_; }
    [[nodiscard]] const std::vector<std::string>& part_names() const { return part_names_; }

  private:
    Type type_ = Type::none;
    std::vector<Field> fields_;
    bool whole_ = true;
    bool bare_ = false;
    std::string looks_like_;
    std::vector<std::string> part_names_;
};

// "ok", "error-permanent-failure"; "0xNN" for one that the standard does not have.
std::string response_status_name(int64_t status);
std::string retrieve_status_name(int64_t status);
// "m-send-req"; "a message of type 0xNN".
std::string type_name(Type type);

// What a person can read of bytes that are no message: the first line of their text, without the
// tags of a page; at most 120 characters. Empty when there is no text.
std::string first_line(std::span<const uint8_t> bytes);

}  // namespace mmskit_transport
