// A message as one HTML page that plays its slides, loads nothing and runs nothing but its own
// script; and the index of a folder of such pages. docs/preview.md says what the pages promise.
#pragma once

#include <string>
#include <string_view>

#include "ground/file_io.h"
#include "reading/facts.h"
#include "reading/page_media.h"

namespace mmskit_tool {

// The whole page, in pieces. Its size is linear in the message's: a part that several slides show
// stands in it once.
void write_page(const MessageFacts& facts, OutputFile& file);

// What the index shows of one message, in its own words; empty where the message says nothing.
struct IndexRow {
    std::string page;   // the page's file name
    std::string thumb;  // the picture's path beside the index; empty: the text stands for it
    std::string file, subject, from, to, date, kind, text;
    std::string background, colour;  // #rrggbb
    bool lost = false;               // something of the message is missing
    std::string error;               // why the file has no page
};
IndexRow index_row(const MessageFacts& facts);

// The picture that stands for the message: the first one of its slides, else of its attachments,
// that any browser shows. Empty when there is none.
std::span<const uint8_t> thumbnail(const MessageFacts& facts);

// The index is put together from its rows' markup, so that no message is held while it is made.
std::string render_index_row(const IndexRow& row);
std::string render_index(std::string_view folder, std::size_t count, const std::string& rows);

}  // namespace mmskit_tool
