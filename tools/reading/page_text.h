// The forms in which text and bytes stand in a page: escaped, as data URLs, and as the hashes by
// which a content-security policy knows the page's own script and style.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mmskit_tool {

// Text between tags and in a quoted attribute. Bytes that are not UTF-8 and control characters
// that HTML does not know come out as visible() shows them; line feeds and tabs stay.
std::string html_text(std::string_view text);

// The same for what is one line (names, header values): also characters that turn the direction.
std::string html_line(std::string_view text);

// The longest beginning of at most that many bytes that ends between characters.
std::size_t whole_characters(std::string_view text, std::size_t most);

void append_base64(std::string& out, std::span<const uint8_t> data);

// 'sha256-...' with its quotes, as a policy names an inline script or style of exactly this text.
std::string policy_hash(std::string_view text);

// Goes through a template once: what stands between its {{name}}s goes to `text`, each name to
// `field`. What a value holds is not looked at again.
using TextTaker = std::function<void(std::string_view)>;
void fill(std::string_view page, const TextTaker& text, const TextTaker& field);

// The template with its names replaced.
using TemplateValues = std::vector<std::pair<std::string_view, std::string>>;
std::string filled(std::string_view page, const TemplateValues& values);

}  // namespace mmskit_tool
