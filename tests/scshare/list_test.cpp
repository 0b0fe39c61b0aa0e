// The list: links stay consistent both ways after every operation, removal looks before it unlinks,
// sorting is stable and moves data only, and size does not hurt.
#include <gtest/gtest.h>
#include <mmskit/runtime.h>

#include <climits>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/faults.h"

namespace {

using namespace testing_support;

// A list of letters as a text. Walks it both ways.
std::string text_of(const tSCList& list) {
    std::string forward, backward;
    for (auto* n = fnSCList_BeginIter(&list); n != nullptr; n = fnSCList_NextIter(n))
        forward += *static_cast<char*>(fnSCList_GetData(n));
    for (auto* n = fnSCList_EndIter(&list); n != nullptr; n = fnSCList_PrevIter(n))
        backward.insert(0, 1, *static_cast<char*>(n->pData));
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(fnSCList_GetCount(&list), std::ssize(forward));
    return forward;
}

TEST(List, EachOperationKeepsTheLinks) {
    static std::string freed;
    const auto note = [](void* datum) { freed += **static_cast<char**>(datum); };
    const NoLeak check;
    char a[] = "abcd";
    tSCListNode stranger{};
    tSCList l{};
    const auto node = [&](int letter) { return fnSCList_Find(&l, a + letter); };
    const std::pair<std::function<void()>, const char*> steps[] = {
        {[&] { fnSCList_AddFront(&l, a + 3); }, "d"},
        {[&] { fnSCList_AddBefore(&l, l.pHead, a + 1); }, "bd"},
        {[&] { fnSCList_AddAfter(&l, l.pHead, a + 2); }, "bcd"},
        {[&] { fnSCList_AddFront(&l, a); }, "abcd"},
        {[&] { fnSCList_AddTail(&l, nullptr); }, "abcd"},
        {[&] { fnSCList_Remove(&l, &stranger); }, "abcd"},
        {[&] { fnSCList_Move(&l, node(2), node(2)); }, "abcd"},
        {[&] { fnSCList_Move(&l, node(2), node(0)); }, "cabd"},
        {[&] { fnSCList_Move(&l, node(2), nullptr); }, "abdc"},
        {[&] { fnSCList_Move(&l, node(2), nullptr); }, "abdc"},
        {[&] { fnSCList_Reverse(&l); }, "cdba"},
        {[&] { fnSCList_Remove(&l, node(2)); }, "dba"},
        {[&] { fnSCList_Remove(&l, node(1)); }, "da"},
        {[&] { fnSCList_Delete_ByNum(&l, 1, note); }, "d"},
        {[&] { fnSCList_Delete_ByNum(&l, 1, note); }, "d"},
        {[&] { fnSCList_Clear(&l, note); }, ""},
    };
    for (const auto& [step, after] : steps) {
        step();
        ASSERT_EQ(text_of(l), after);
    }
    EXPECT_EQ(std::exchange(freed, ""), "ad");
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
    for (const size_t size : {0UL, 1UL, 2UL, 7UL, 1000000UL}) {
        std::minstd_rand random;
        std::vector<int> items(size);
        std::vector<tSCListNode*> nodes;
        tSCList list = {};
        for (int& item : items) {
            item = static_cast<int>(random() % (size / 2 + 1));
            nodes.push_back(fnSCList_AddTail(&list, &item));
        }
        fnSCList_Sort(
            &list, [](void* a, void* b) { return *static_cast<int*>(a) - *static_cast<int*>(b); });
        // Equal items lie in the order of their addresses, and none comes twice.
        std::pair<int, int*> last{INT_MAX, nullptr};
        while (!nodes.empty()) {
            ASSERT_EQ(fnSCList_EndIter(&list), nodes.back());
            nodes.pop_back();
            auto* item = static_cast<int*>(fnSCList_RemoveTail(&list));
            ASSERT_LT(std::pair(*item, item), last) << size << ' ' << nodes.size();
            last = {*item, item};
        }
    }
}

}  // namespace
