// Cuts a presentation into tags as XML does, and goes on where it is not well formed: any quotes or
// none, ">" inside a value, comments, CDATA, processing instructions, a document type with its
// internal subset, entities. Each byte is looked at a bounded number of times.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mmskit_anatomy {

// Blanks, tabs and what ends a line or a page.
constexpr bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

struct SmilAttribute {
    std::string_view name;  // as written, without a namespace's prefix
    std::string value;      // entities undone
};

struct SmilTag {
    std::string_view name;  // as written, without a namespace's prefix
    bool opens = false;     // <x> and <x/>
    bool closes = false;    // </x> and <x/>
    std::vector<SmilAttribute> attributes;

    // The first one of that name, ignoring case; null without one.
    [[nodiscard]] const std::string* value_of(std::string_view attribute) const;
};

class SmilScanner {
  public:
    explicit SmilScanner(std::string_view text) : text_(text) {}

    // The next tag; false at the end of the text.
    bool next(SmilTag& tag);

  private:
    void pass_markup();  // <! or <?
    bool pass_behind(std::string_view end, std::size_t from, bool& missing);
    void pass_document_type();
    void read_attributes(SmilTag& tag);
    std::string_view read_value();
    [[nodiscard]] char peek(std::size_t ahead = 0) const {
        return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
    }
    [[nodiscard]] bool at_tag_end() const { return peek() == '>' || at_ >= text_.size(); }
    void skip_blanks();

    std::string_view text_;
    std::size_t at_ = 0;
    // What was searched for once and is nowhere behind: never searched again.
    bool no_comment_end_ = false, no_data_end_ = false, no_instruction_end_ = false,
         document_type_seen_ = false;
};

// Named entities of XML and numeric ones; others stay as they are.
std::string without_entities(std::string_view text);

}  // namespace mmskit_anatomy
