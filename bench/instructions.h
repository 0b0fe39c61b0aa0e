// Named operations whose instructions are counted under callgrind: each runs three times to warm up
// and once to be counted, between two requests to the tool, so that start-up is never in a count.
#pragma once

namespace instructions {

// Runs `work` and has its count written under `name`; `less` names an operation whose count is
// taken off, null for none.
using Operation = void (*)();
void count(const char* name, Operation work, const char* less = nullptr);

// Operations at several sizes, named SHAPE/SIZE, in place of all others.
void count_growth();

// What other libraries need for the same work, where they were there when this was built.
void count_peers();

}  // namespace instructions
