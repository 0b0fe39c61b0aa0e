// Getting a message: the GET, repeated where that may help, and what its answer is.
#pragma once

#include <string>
#include <vector>

#include "transport/outcome.h"
#include "transport/reading.h"
#include "transport/source.h"

namespace mmskit_transport {

struct Retrieval {
    bool message = false;  // a retrieved message with its id and without an error
    std::string problem;   // why not, as one line; of a message: what is doubtful in it, or empty
    std::vector<uint8_t> answer;
    std::string transaction_id;  // of the message: it asks for an acknowledgement
};

// Tried at most four times, and no further time when the message has expired: with 2, 4 and 8 s
// between them after what may pass, and once more after "not found".
Retrieval retrieve(const Http& http, const Source& source, const Patience& patience);

}  // namespace mmskit_transport
