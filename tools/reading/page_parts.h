// What the message's page and the index share.
#pragma once

#include <string>
#include <string_view>

#include "reading/facts.h"

namespace mmskit_tool {

// The embedded files, which the build makes from tools/reading/player.* and index.*.
extern const std::string_view player_html, player_css, player_js, index_html, index_js;

// The policy of a page with this script and the common style. `images` are the sources that
// pictures may come from beside data URLs.
std::string page_policy(std::string_view script, std::string_view images);

// The header's value as a person reads it; empty when the message does not have it.
std::string header_text(const MessageFacts& facts, std::string_view name);
std::string value_text(const HeaderFact& header);

// "Delivery report": the kind of message in a person's words.
std::string kind_name(const MessageFacts& facts);

// "2.5 KB"
std::string short_size(std::size_t bytes);

}  // namespace mmskit_tool
