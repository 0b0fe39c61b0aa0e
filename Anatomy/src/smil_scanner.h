// Cuts a presentation into tags as XML does, and goes on where it is not well formed: any quotes or
// none, ">" inside a value, comments, CDATA, processing instructions, a document type with its
// internal subset, entities. Each byte is looked at a bounded number of times.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "Anatomy/src/tree.h"

namespace mmskit_anatomy {

// Blanks, tabs and what ends a line or a page.
constexpr bool is_blank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

struct SmilAttribute {
    std::string_view name;   // as written, without a namespace's prefix
    std::string_view value;  // entities undone
};

struct SmilTag {
    std::string_view name;  // as written, without a namespace's prefix
    bool opens = false;     // <x> and <x/>
    bool closes = false;    // </x> and <x/>
    std::vector<SmilAttribute> attributes;
};

class SmilScanner {
  public:
    // `undone` keeps the values that do not stand in the text as they are.
    SmilScanner(std::string_view text, Arena& undone) : text_(text), undone_(undone) {}

    // The next tag; false at the end of the text.
    bool next(SmilTag& tag);

  private:
    void pass_markup();  // <! or <?
    bool pass_behind(std::string_view end, std::size_t from, bool& missing);
    void pass_document_type();
    void read_attributes(SmilTag& tag);
    std::string_view read_value();
    [[nodiscard]] std::size_t pass_until(uint8_t ends) const;
    [[nodiscard]] char peek(std::size_t ahead = 0) const {
        return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0';
    }
    [[nodiscard]] bool at_tag_end() const { return peek() == '>' || at_ >= text_.size(); }
    void skip_blanks();

    std::string_view text_;
    Arena& undone_;
    std::size_t at_ = 0;
    // What was searched for once and is nowhere behind: never searched again.
    bool no_comment_end_ = false, no_data_end_ = false, no_instruction_end_ = false,
         document_type_seen_ = false;
};

}  // namespace mmskit_anatomy
