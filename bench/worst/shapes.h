// The worst messages that are known: deep, wide, long, many, self-similar, each at any size.
#pragma once

#include <string>
#include <vector>

namespace worst {

struct Shape {
    const char* name;
    std::string (*make)(size_t size);
};

// Retrieved messages, and bodies when the two octets `8C 84` and the headers before 84 are left.
extern const std::vector<Shape> messages;
extern const std::vector<Shape> wbxml_pushes;
extern const std::vector<Shape> xml_pushes;
extern const std::vector<Shape> stores;        // INI files
extern const std::vector<Shape> descriptions;  // JSON for compose
// Where the body of a message of the list above begins.
size_t body_start(const std::string& message);

}  // namespace worst
