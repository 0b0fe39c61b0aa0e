// The library's own numbers for its message records: the `kind` of fnMMS_AllocMessageMem and
// fnMMS_FreeMessageMem. They are not the message types of the wire.
#pragma once

#include <cstdint>

#pragma GCC visibility push(hidden)

namespace mmskit {

enum MessageKind : uint8_t {
    kind_send_req = 1,
    kind_send_conf = 2,
    kind_notification_ind = 3,
    kind_retrieve_conf = 4,
    kind_delivery_ind = 5,
    kind_notify_resp_ind = 6,
    kind_acknowledge_ind = 7,
    kind_read_rec_ind = 8,
    kind_read_orig_ind = 9,
    kind_forward_req = 10,
    kind_forward_conf = 11,
};

}  // namespace mmskit

#pragma GCC visibility pop
