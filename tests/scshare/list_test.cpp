// The list: links stay consistent both ways after every operation, removal looks before it unlinks,
// sorting is stable and moves data only, and size does not hurt.
#include <gtest/gtest.h>
#include <mmskit/runtime.h>

#include <algorithm>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/faults.h"

namespace {

using namespace testing_support;

char alphabet[] = "abcdefghijklmnopqrstuvwxyz";

// A list of letters, borrowed from the alphabet. text() walks it both ways.
struct Letters : tSCList {
    explicit Letters(const std::string& letters) : tSCList{} {
        for (const char c : letters)
            fnSCList_AddTail(this, letter(c));
    }
    static char* letter(char c) { return &alphabet[c - 'a']; }
    tSCListNode* node(char c) const { return fnSCList_Find(this, letter(c)); }
    std::string text() const {
        std::string forward, backward;
        for (auto* n = fnSCList_BeginIter(this); n != nullptr; n = fnSCList_NextIter(n))
            forward += *static_cast<char*>(fnSCList_GetData(n));
        for (auto* n = fnSCList_EndIter(this); n != nullptr; n = fnSCList_PrevIter(n))
            backward.insert(0, 1, *static_cast<char*>(n->pData));
        EXPECT_EQ(forward, backward);
        EXPECT_EQ(static_cast<size_t>(fnSCList_GetCount(this)), forward.size());
        return forward;
    }
};

std::string freed;
void note(void* datum) {
    freed += **static_cast<char**>(datum);
}

using L = Letters;

TEST(List, EachOperationKeepsTheLinks) {
    Letters other("x");
    using Operation = void (*)(L&, tSCListNode * stranger);
    const std::tuple<const char*, Operation, const char*, std::string> cases[] = {
        {"add", [](L& l, auto*) { fnSCList_AddFront(&l, alphabet); }, "", "a"},
        {"add", [](L& l, auto*) { fnSCList_AddBefore(&l, l.pHead, alphabet); }, "b", "ab"},
        {"add", [](L& l, auto*) { fnSCList_AddAfter(&l, l.pHead, alphabet); }, "bc", "bac"},
        {"null_data_is_refused", [](L& l, auto*) { fnSCList_AddTail(&l, nullptr); }, "a", "a"},
        {"remove", [](L& l, auto*) { fnSCList_Remove(&l, l.node('a')); }, "abc", "bc"},
        {"remove", [](L& l, auto*) { fnSCList_Remove(&l, l.node('b')); }, "abc", "ac"},
        {"stranger_stays", [](L& l, auto* stranger) { fnSCList_Remove(&l, stranger); }, "ab", "ab"},
        {"move", [](L& l, auto*) { fnSCList_Move(&l, l.node('c'), l.node('a')); }, "abc", "cab"},
        {"move", [](L& l, auto*) { fnSCList_Move(&l, l.node('a'), nullptr); }, "abc", "bca"},
        {"move", [](L& l, auto*) { fnSCList_Move(&l, l.node('b'), nullptr); }, "ab", "ab"},
        {"reverse", [](L& l, auto*) { fnSCList_Reverse(&l); }, "abc", "cba"},
        {"delete", [](L& l, auto*) { fnSCList_Delete_ByNum(&l, 1, note); }, "abc", "ac"},
    };
    freed.clear();
    for (const auto& [rule, operation, before, after] : cases) {
        SCOPED_TRACE(testing::Message() << rule << ' ' << before << " -> " << after);
        const NoLeak check;
        Letters list(before);
        operation(list, other.pHead);
        EXPECT_EQ(list.text(), after);
        freed += '|';
        fnSCList_Clear(&list, note);
        EXPECT_TRUE(freed.ends_with('|' + after));
    }
    EXPECT_NE(freed.find("b|ac"), std::string::npos);
    fnSCList_Clear(&other, nullptr);
}

TEST(List, free_takes_one_node) {
    const NoLeak check;
    tSCList list = {};
    fnSCList_Free(&list);
    fnSCList_AddTail(&list, fnSC_STRDUP("one"));
    fnSCList_Free(&list);
    EXPECT_TRUE(list.pTail == nullptr && list.iCount == 0);
}

TEST(List, SortIsStableAndMovesDataOnly) {
    static uint64_t comparisons;
    const auto compare = [](void* a, void* b) {
        ++comparisons;
        return *static_cast<int*>(a) - *static_cast<int*>(b);
    };
    for (const size_t size : {0UL, 1UL, 2UL, 7UL, 1000UL, 1000000UL}) {
        std::minstd_rand random;
        std::vector<int> items(size);
        std::vector<void*> wanted;
        std::vector<tSCListNode*> nodes;
        tSCList list = {};
        for (int& item : items) {
            item = static_cast<int>(random() % (size / 2 + 1));
            wanted.push_back(&item);
            nodes.push_back(fnSCList_AddTail(&list, &item));
        }
        std::stable_sort(wanted.begin(), wanted.end(),
                         [compare](void* a, void* b) { return compare(a, b) < 0; });
        comparisons = 0;
        fnSCList_Sort(&list, compare);
        EXPECT_LE(comparisons, 20 * size);
        for (size_t i = size; i-- > 0;) {
            ASSERT_EQ(fnSCList_EndIter(&list), nodes[i]);
            ASSERT_EQ(fnSCList_RemoveTail(&list), wanted[i]) << size << ' ' << i;
        }
    }
}

}  // namespace
