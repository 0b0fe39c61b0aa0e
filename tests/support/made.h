// What an encoder makes, as a string. An encoder that refuses must leave the length as it was.
#pragma once

#include <mmskit/pdu.h>

#include <string>

namespace testing_support {

template <auto encoder, typename... Arguments>
std::string made(Arguments... arguments) {
    uint32_t length = 77;
    uint8_t* pdu = encoder(arguments..., &length);
    if (pdu == nullptr) return "null " + std::to_string(length);
    std::string out(reinterpret_cast<char*>(pdu), length);
    fnMMS_FreeMadeMsgPduBuf(pdu);
    return out;
}

}  // namespace testing_support
