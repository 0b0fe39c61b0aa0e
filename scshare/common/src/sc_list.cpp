// The doubly linked list of data pointers that record lists, INI entries and timers are kept in.
// The list owns its nodes and never the data. Removal finds a node by walking from the head, so a
// node of another list is never unlinked by its own links. Relies on the allocation door only.
#include <mmskit/runtime.h>

#include <utility>

#include "scshare/common/src/list_node.h"
#include "scshare/common/src/owned.h"

namespace mmskit {
namespace {

using Node = tSCListNode;

// Puts a node between two neighbours; a missing neighbour makes it the head or the tail.
void link_between(tSCList& list, Node* before, Node* node, Node* after) {
    node->pPrev = before;
    node->pNext = after;
    (before != nullptr ? before->pNext : list.pHead) = node;
    (after != nullptr ? after->pPrev : list.pTail) = node;
}

Node* insert(tSCList& list, Node* before, void* data, Node* after) {
    auto* node = new_record<Node>();
    if (node == nullptr) return nullptr;
    node->pData = data;
    link_between(list, before, node, after);
    ++list.iCount;
    return node;
}

// Takes a node out whose predecessor is known (null: the node is the head).
void unlink_after(tSCList& list, Node* before, const Node* node) {
    Node* after = node->pNext;
    (before != nullptr ? before->pNext : list.pHead) = after;
    if (after != nullptr) after->pPrev = before;
    if (node == list.pTail) list.pTail = before;
}

void drop_after(tSCList& list, Node* before, Node* node) {
    unlink_after(list, before, node);
    --list.iCount;
    deallocate(node);
}

// The node whose next link is `next`, by walking from the head; null when there is none.
Node* predecessor(const tSCList& list, const Node* next) {
    Node* at = list.pHead;
    while (at != nullptr && at->pNext != next)
        at = at->pNext;
    return at;
}

// The next datum of a list that is being emptied, which from now on is not marked; null when it is
// empty.
void* take_front(tSCList* list) {
    if (list != nullptr) list->uReserved = 0;
    void* data = nullptr;
    while (data == nullptr && fnSCList_IsEmpty(list) == 0)
        data = fnSCList_RemoveFront(list);
    return data;
}

// ---- Sorting ------------------------------------------------------------------------------------
// Data moves and nodes stay, without memory: the next links are sorted as a chain while the
// previous links keep the places; then each node's next link names the place of its datum, the
// data are swapped home, and the next links are restored from the previous ones.

Node* merge(Node* a, Node* b, tSCListCompareFunc compare) {
    Node* head = nullptr;
    Node** end = &head;
    while (a != nullptr && b != nullptr) {
        Node*& lower = compare(a->pData, b->pData) > 0 ? b : a;
        *end = lower;
        end = &lower->pNext;
        lower = *end;
    }
    *end = a != nullptr ? a : b;
    return head;
}

// runs[i] holds a sorted chain of 2^i nodes; a higher one holds earlier nodes, which keeps equal
// data in their order. No memory has nodes for more than these.
Node* sorted_chain(Node* rest, tSCListCompareFunc compare) {
    Node* runs[8 * sizeof(Node*)] = {};
    while (rest != nullptr) {
        Node* run = std::exchange(rest, rest->pNext);
        run->pNext = nullptr;
        int i = 0;
        for (; runs[i] != nullptr; ++i)
            run = merge(std::exchange(runs[i], nullptr), run, compare);
        runs[i] = run;
    }
    Node* all = nullptr;
    for (Node* run : runs)
        all = merge(run, all, compare);
    return all;
}

Node* reversed_chain(Node* chain) {
    Node* reversed = nullptr;
    while (chain != nullptr) {
        Node* next = std::exchange(chain->pNext, reversed);
        reversed = std::exchange(chain, next);
    }
    return reversed;
}

void send_data_home(Node* tail) {
    for (Node* node = tail; node != nullptr; node = node->pPrev) {
        while (node->pNext != node) {
            Node* home = node->pNext;
            fnSCList_Swap(node, home);
            node->pNext = std::exchange(home->pNext, home);
        }
    }
}

void sort(tSCList& list, tSCListCompareFunc compare) {
    Node* tail = nullptr;
    for (Node* node = list.pHead; node != nullptr; node = node->pNext)
        node->pPrev = std::exchange(tail, node);

    Node* highest = reversed_chain(sorted_chain(list.pHead, compare));
    for (Node* place = tail; place != nullptr; place = place->pPrev)
        highest = std::exchange(highest->pNext, place);
    send_data_home(tail);

    Node* after = nullptr;
    for (Node* node = tail; node != nullptr; node = node->pPrev)
        node->pNext = std::exchange(after, node);
}

}  // namespace
void append_node(tSCList& list, tSCList& from) {
    link_between(list, list.pTail, std::exchange(from, {}).pHead, nullptr);
    ++list.iCount;
}

}  // namespace mmskit

extern "C" {

void fnSCList_Init(tSCList* list) {
    if (list != nullptr) *list = {};
}

int32_t fnSCList_IsEmpty(const tSCList* list) {
    return list == nullptr || list->pHead == nullptr;
}

int32_t fnSCList_GetCount(const tSCList* list) {
    return list != nullptr ? list->iCount : -1;
}

tSCListNode* fnSCList_BeginIter(const tSCList* list) {
    return list != nullptr ? list->pHead : nullptr;
}

tSCListNode* fnSCList_EndIter(const tSCList* list) {
    return list != nullptr ? list->pTail : nullptr;
}

tSCListNode* fnSCList_NextIter(const tSCListNode* node) {
    return node != nullptr ? node->pNext : nullptr;
}

tSCListNode* fnSCList_PrevIter(const tSCListNode* node) {
    return node != nullptr ? node->pPrev : nullptr;
}

int32_t fnSCList_IsValid(const tSCListNode* node) {
    return node != nullptr;
}

void* fnSCList_GetData(const tSCListNode* node) {
    return node != nullptr ? node->pData : nullptr;
}

tSCListNode* fnSCList_AddTail(tSCList* list, void* data) {
    if (list == nullptr || data == nullptr) return nullptr;
    return mmskit::insert(*list, list->pHead != nullptr ? list->pTail : nullptr, data, nullptr);
}

tSCListNode* fnSCList_AddFront(tSCList* list, void* data) {
    if (list == nullptr || data == nullptr) return nullptr;
    return mmskit::insert(*list, nullptr, data, list->pHead);
}

tSCListNode* fnSCList_AddBefore(tSCList* list, tSCListNode* node, void* data) {
    if (list == nullptr || node == nullptr || data == nullptr) return nullptr;
    return mmskit::insert(*list, node->pPrev, data, node);
}

tSCListNode* fnSCList_AddAfter(tSCList* list, tSCListNode* node, void* data) {
    if (list == nullptr || node == nullptr || data == nullptr) return nullptr;
    return mmskit::insert(*list, node, data, node->pNext);
}

void fnSCList_Remove(tSCList* list, tSCListNode* node) {
    if (list == nullptr || node == nullptr) return;
    if (node == list->pHead) {
        mmskit::drop_after(*list, nullptr, node);
    } else if (tSCListNode* before = mmskit::predecessor(*list, node)) {
        mmskit::drop_after(*list, before, node);
    }
}

void* fnSCList_RemoveFront(tSCList* list) {
    if (fnSCList_IsEmpty(list) != 0) return nullptr;
    void* data = list->pHead->pData;
    mmskit::drop_after(*list, nullptr, list->pHead);
    return data;
}

void* fnSCList_RemoveTail(tSCList* list) {
    if (fnSCList_IsEmpty(list) != 0 || list->pTail == nullptr) return nullptr;
    tSCListNode* tail = list->pTail;
    void* data = tail->pData;
    // A link that is confirmed from the other side spares the walk.
    if (tail->pPrev != nullptr && tail->pPrev->pNext == tail) {
        mmskit::drop_after(*list, tail->pPrev, tail);
    } else {
        fnSCList_Remove(list, tail);
    }
    return data;
}

void fnSCList_Clear(tSCList* list, tSCListFreeFunc free) {
    while (void* data = mmskit::take_front(list))
        if (free != nullptr) free(&data);
}

void fnSCList_Clear_ByType(tSCList* list, tSCListFreeTypeFunc free, uint32_t word) {
    while (void* data = mmskit::take_front(list))
        if (free != nullptr) free(&data, word);
}

int32_t fnSCList_Delete_ByNum(tSCList* list, int32_t index, tSCListFreeFunc free) {
    tSCListNode* node = fnSCList_Find_ByNum(list, index);
    if (node == nullptr) return 0;
    void* data = node->pData;
    if (free != nullptr) free(&data);
    fnSCList_Remove(list, node);
    return 1;
}

tSCListNode* fnSCList_Find(const tSCList* list, void* data) {
    if (data == nullptr) return nullptr;
    tSCListNode* node = fnSCList_BeginIter(list);
    while (node != nullptr && node->pData != data)
        node = node->pNext;
    return node;
}

tSCListNode* fnSCList_CompareFind(const tSCList* list, void* key, tSCListCompareFunc compare) {
    if (key == nullptr || compare == nullptr) return nullptr;
    tSCListNode* node = fnSCList_BeginIter(list);
    while (node != nullptr && compare(key, node->pData) != 0)
        node = node->pNext;
    return node;
}

tSCListNode* fnSCList_Find_ByNum(const tSCList* list, int32_t index) {
    if (list == nullptr || index < 0 || index >= list->iCount) return nullptr;
    tSCListNode* node = list->pHead;
    while (node != nullptr && index-- > 0)
        node = node->pNext;
    return node;
}

void fnSCList_Swap(tSCListNode* a, tSCListNode* b) {
    if (a != nullptr && b != nullptr) std::swap(a->pData, b->pData);
}

void fnSCList_Move(tSCList* list, tSCListNode* node, tSCListNode* before) {
    if (list == nullptr || node == nullptr || list->iCount < 2) return;
    if (node == before || node->pNext == before) return;
    mmskit::unlink_after(*list, node->pPrev, node);
    mmskit::link_between(*list, before != nullptr ? before->pPrev : list->pTail, node, before);
}

tSCList* fnSCList_Reverse(tSCList* list) {
    if (list == nullptr) return nullptr;
    for (tSCListNode* node = list->pHead; node != nullptr; node = node->pPrev)
        std::swap(node->pPrev, node->pNext);
    std::swap(list->pHead, list->pTail);
    return list;
}

tSCList* fnSCList_Sort(tSCList* list, tSCListCompareFunc compare) {
    if (list == nullptr || compare == nullptr) return nullptr;
    mmskit::sort(*list, compare);
    return list;
}

void fnSCList_Free(tSCList* list) {
    if (list != nullptr) list->uReserved = 0;
    if (fnSCList_IsEmpty(list) != 0) return;
    // QUIRK free_takes_one_node: frees the head and what its words name, so it suits a list of at
    // most one node whose datum is a block of this library. The header is left empty, or its tail
    // would name the freed node.
    fnSC_Free(&list->pHead->pData);
    fnSC_Free(&list->pHead->pPrev);
    fnSC_Free(&list->pHead);
    list->pTail = nullptr;
    list->iCount = 0;
}

}  // extern "C"
