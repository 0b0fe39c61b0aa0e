// A plan and a body written as the PDU that carries them (OMA-MMS-ENC): the send request of a
// phone, the retrieved message that a message centre makes of it, the request to forward a message
// that still lies there.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "writing/composition.h"
#include "writing/message_plan.h"

namespace mmskit_tool {

// "T" and 16 hexadecimal digits of the message, the time and a counter: new at every call, so that
// a message centre takes no message for a repetition of another.
std::string default_transaction_id(const MessagePlan& plan, std::span<const uint8_t> content);

// Throws a Failure without a recipient. Takes the body.
LibraryBytes send_request(const MessagePlan& plan, LibraryBytes body);

LibraryBytes forward_request(const MessagePlan& plan, const std::string& location);

std::vector<uint8_t> retrieved_message(const MessagePlan& plan, std::span<const uint8_t> body);

}  // namespace mmskit_tool
