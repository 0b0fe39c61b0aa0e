// A push document as one line of facts, read by the XML parser behind Push/src/Push_XmlTree.h: once
// with RXP and once with expat, which are two programs' parts in one program here.
#pragma once

#include <string>

namespace fuzz {

std::string rxp_tree(const std::string& cleaned);
std::string expat_tree(const std::string& cleaned);

}  // namespace fuzz
