// Object lists against plain vectors, and who deletes what.

#include "movane/foundation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace {

int alive = 0;

// Content is the same when the key is.
struct Node : TObjEl {
    explicit Node(int the_key) : TObjEl(&key), key(the_key) { ++alive; }
    ~Node() override { --alive; }
    int IsSameContent(void* wanted) override { return *static_cast<int*>(wanted) == key ? 2 : -1; }
    int key;
};
using Nodes = std::vector<Node*>;

Node* node(void* element) { return static_cast<Node*>(static_cast<TElement*>(element)); }
int by_key(void* a, void* b) { return node(a)->key - node(b)->key; }
bool precedes(Node* a, Node* b) { return a->key < b->key; }

// The elements from the first to the last, after a look at every link and index.
Nodes contents(TList& list) {
    Nodes all;
    TElement* previous = nullptr;
    for (TElement* e = list.First(); e; e = e->Next()) {
        const int index = static_cast<int>(all.size());
        EXPECT_EQ(e->Previous(), previous);
        EXPECT_EQ(e->ListIndex(), index);
        EXPECT_EQ(list.Index(e), index);
        EXPECT_EQ(list.Get(index), e);
        all.push_back(node(e));
        previous = e;
    }
    EXPECT_EQ(list.Last(), previous);
    EXPECT_EQ(list.Count(), static_cast<int>(all.size()));
    EXPECT_EQ(list.Get(list.Count()), nullptr);
    return all;
}

// Behind all equals at the end of the list, else ahead of all at its start, else among them.
bool is_sorted_place(const Nodes& nodes, std::ptrdiff_t place, Node* added) {
    const auto [first, last] = std::equal_range(nodes.begin(), nodes.end(), added, precedes);
    if (last == nodes.end()) return place == std::ssize(nodes);
    if (first == nodes.begin()) return place == 0;
    return place >= first - nodes.begin() && place <= last - nodes.begin();
}

TEST(TList, AddsAndSubtractsLikeAVector) {
    for (const bool is_sorted : {false, true}) {
        TList list(is_sorted ? by_key : nullptr);
        Nodes model;
        std::mt19937 random(7);
        for (int i = 0; i < 1500; ++i) {
            auto place        = static_cast<std::ptrdiff_t>(random() % (model.size() + 1));
            Node* const there = place < std::ssize(model) ? model[place] : nullptr;
            if (there && random() % 5 < (model.size() > 40 ? 4 : 2)) {
                TElement* const next = there->Next();
                TElement* current    = random() % 2 ? there : model[random() % model.size()];
                list.SetCurrent(current);
                if (current == there) current = next ? next : there->Previous();
                ASSERT_EQ(list.Subtract(there), next);
                ASSERT_EQ(list.Current(), current);
                ASSERT_EQ(list.Index(there), -1);
                ASSERT_TRUE(!there->Next() && !there->Previous());
                model.erase(model.begin() + place);
                delete there;
            } else {
                auto* const added = new Node(static_cast<int>(random() % 25));
                ASSERT_EQ(is_sorted ? list.Add(added) : list.Add(there, added), added);
                if (is_sorted) place = list.Index(added);
                ASSERT_TRUE(!is_sorted || is_sorted_place(model, place, added)) << place;
                model.insert(model.begin() + place, added);
            }
            ASSERT_EQ(contents(list), model);
        }
    }
    EXPECT_EQ(alive, 0);
}

TEST(TList, SortsWhatIsOutOfOrder) {
    for (const bool is_sorted : {false, true}) {
        TList list(is_sorted ? by_key : nullptr);
        for (const int key : {3, 1, 4, 5, 9, 2, 6}) list.Add(list.First(), new Node(key));
        Nodes nodes = contents(list);
        list.SetCurrent(nodes[2]);
        list.Sort();
        EXPECT_EQ(list.Current(), nodes[2]);
        if (is_sorted) std::sort(nodes.begin(), nodes.end(), precedes);
        EXPECT_EQ(contents(list), nodes);
    }
}

TEST(TList, OwnsWhatItHolds) {
    TList list, other;
    Node alone(8);
    Node *const first = new Node(0), *const last = new Node(1), *const foreign = new Node(9);
    list + first + last;
    other + foreign;
    for (Node* const stranger : {foreign, &alone, static_cast<Node*>(nullptr)}) {
        EXPECT_EQ(list.Subtract(stranger), stranger);
        EXPECT_EQ(list.Index(stranger), -1);
    }
    EXPECT_EQ(list.Add(nullptr), nullptr);
    EXPECT_EQ(list.Add(first, nullptr), nullptr);
    EXPECT_EQ(contents(list), (Nodes{first, last}));
    EXPECT_EQ(contents(other), Nodes{foreign});

    int key = 1;
    EXPECT_EQ(list.Get(tObjListFindObj, &last->key), last);
    EXPECT_EQ(list.Get(tObjListFindObjSameContent, &key), last);
    EXPECT_EQ(list.Get(tObjListFindObj, &key), nullptr);
    last->key = key = 0;
    EXPECT_EQ(list.Get(tObjListFindObjSameContent, &key), first);
    list.SetCurrent(last);  // which is asked first
    EXPECT_EQ(list.Get(tObjListFindObjSameContent, &key), last);
    EXPECT_EQ(first->TObjEl::IsSameContent(&first->key), 1);
    EXPECT_EQ(first->TObjEl::IsSameContent(&key), 0);

    list.Destroy();
    EXPECT_EQ(list.Current(), nullptr);
    EXPECT_EQ(contents(list), Nodes{});
    EXPECT_EQ(alive, 2);
    list.Destroy();
    list.Sort();
}

TEST(TObjList, ScansOnWhenElementsGo) {
    for (int victim = 0; victim <= 5; ++victim) {
        TObjList list;
        TList& base = list;
        for (int key = 0; key < 5; ++key) list + new Node(key);
        std::vector<int> scanned;
        for (void* object = list.ScanObject(1); object; object = list.ScanObject(0)) {
            Node* const scan = node(list.GetCurrentScanObject());
            EXPECT_EQ(&scan->key, object);
            scanned.push_back(scan->key);
            if (scan->key != victim) continue;
            base - scan;  // reaches the override
            delete scan;
        }
        EXPECT_EQ(scanned, (std::vector<int>{0, 1, 2, 3, 4}));

        // At the end the scan stays on the last element and sees what is added.
        auto* const added = new Node(5);
        list + added;
        EXPECT_EQ(list.ScanObject(0), &added->key);
        list.SetCurrentScanObject(list.First());
        EXPECT_EQ(list.ScanObject(0), &node(list.Get(1))->key);
        list.ScanObjectReset();
        EXPECT_EQ(list.ScanObject(0), &node(list.First())->key);

        base.Destroy();
        EXPECT_EQ(list.GetCurrentScanObject(), nullptr);
        const std::unique_ptr<TList> owned(new TObjList);
        *owned + new Node(6);
    }
    EXPECT_EQ(alive, 0);
}

}  // namespace
