// Messages as rows of a table, one line each.
#pragma once

#include <cstdint>
#include <string>

#include "reading/facts.h"

namespace mmskit_tool {

struct ListRow {
    std::string kind, date, from, subject, slides, parts, size, notes, file;
    int64_t seconds = 0;  // the date to sort by; 0 for none
};

ListRow list_head();
ListRow list_row(const MessageFacts& facts, const std::string& file);
// Of a file that cannot be read.
ListRow list_row(const std::string& why_not, const std::string& file);

// One line for a terminal. Columns but the last have a fixed width, so that rows can be written as
// they come; what is too long is cut.
std::string list_line(const ListRow& row);

}  // namespace mmskit_tool
