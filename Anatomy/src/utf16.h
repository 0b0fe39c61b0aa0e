// Texts in units of two or four octets (RFC 2781 and its neighbours) as UTF-8.
#pragma once

#include <string>

#include "Anatomy/src/tree.h"

namespace mmskit_anatomy {

enum class ByteOrder : uint8_t { unknown, big, little };

void put_utf8(std::string& out, uint32_t code_point);

// A mark decides the order, else `order`; where that is unknown the more plausible one, big when
// nothing speaks against it. False when a unit was replaced by U+FFFD or the end is cut.
bool from_utf16(Bytes bytes, ByteOrder order, std::string& out);
bool from_utf32(Bytes bytes, ByteOrder order, std::string& out);

}  // namespace mmskit_anatomy
