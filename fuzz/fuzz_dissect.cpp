// Takes bytes apart as a PDU and as a body, whatever they look like. Oracle: every byte belongs to
// a leaf, every text is UTF-8, every index and limit holds.
#include <cstdio>
#include <cstdlib>

#include "tests/Anatomy/tree_checks.h"

namespace {

using namespace mmskit_anatomy;

void check(const Tree& tree, const Place& place) {
    const std::string problem =
        anatomy_checks::uncovered(tree, place) + anatomy_checks::unsound(tree);
    if (problem.empty()) return;
    (void)std::fprintf(stderr, "%s\n", problem.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Bytes bytes(data, size);
    const Place place{0, 0, static_cast<uint32_t>(size)};
    (void)looks_like_pdu(bytes);
    (void)looks_like_body(bytes);
    for (const auto dissect : {dissect_pdu, dissect_body}) {
        Tree tree(bytes);
        dissect(tree, place, 0);
        tree.finish();
        check(tree, place);
    }
    return 0;
}
