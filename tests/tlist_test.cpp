// Object lists against plain vectors, and who deletes what.

#include "movane/foundation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <random>
#include <vector>

namespace {

int alive = 0;

// Elements with a serial number, so that a test sees which of two equal keys it got.
struct Node : TElement {
    Node(int the_key, int the_serial) : key(the_key), serial(the_serial) { ++alive; }
    ~Node() override { --alive; }
    Node(const Node&)            = delete;
    Node& operator=(const Node&) = delete;

    int key, serial;
};

Node* node(void* element) { return static_cast<Node*>(static_cast<TElement*>(element)); }
int by_key(void* a, void* b) { return node(a)->key - node(b)->key; }
int has_key(void* element, void* key) { return node(element)->key - *static_cast<int*>(key); }

using Nodes = std::vector<Node*>;

// The elements from the first to the last, after a look at every link and accessor.
Nodes contents(TList& list) {
    Nodes all;
    TElement* previous = nullptr;
    for (TElement* e = list.First(); e; e = e->Next()) {
        const int index = static_cast<int>(all.size());
        EXPECT_EQ(e->Previous(), previous);
        EXPECT_EQ(e->ListIndex(), index);
        EXPECT_EQ(list.Index(e), index);
        EXPECT_EQ(list.Get(index), e);
        EXPECT_EQ(list.GetNext(previous), e);
        all.push_back(node(e));
        previous = e;
    }
    EXPECT_EQ(list.Last(), previous);
    EXPECT_EQ(list.Count(), static_cast<int>(all.size()));
    EXPECT_EQ(list.Get(list.Count()), nullptr);
    EXPECT_EQ(list.Get(-5), list.First());
    return all;
}

std::vector<int> serials(TList& list) {
    std::vector<int> all;
    for (const Node* n : contents(list)) all.push_back(n->serial);
    return all;
}

// Where a sorted list puts an element, on indices.
Nodes::difference_type sorted_place(const Nodes& nodes, Node* added) {
    const auto size = std::ssize(nodes);
    const auto at   = [&](auto i) { return by_key(nodes[static_cast<std::size_t>(i)], added); };
    if (size == 0 || at(size - 1) <= 0) return size;
    if (at(0) >= 0) return 0;
    auto low = size - size, high = size - 1;
    for (;;) {
        const auto middle = (low + high) / 2;
        const int order   = at(middle);
        if (order == 0 || (order < 0 && middle == low)) return middle + 1;
        (order > 0 ? high : low) = middle;
    }
}

TEST(TList, AddsAndSubtractsLikeAVector) {
    for (const bool sorted : {false, true}) {
        const auto list = std::make_unique<TList>(sorted ? by_key : nullptr);
        Nodes model;
        std::mt19937 random(7);
        for (int serial = 0; serial < 1500; ++serial) {
            auto* const added = new Node(static_cast<int>(random() % 25), serial);
            const auto place  = model.empty() ? 0 : random() % model.size();
            switch (random() % (model.size() > 40 ? 2 : 5)) {
                case 0:
                case 1: {
                    delete added;
                    if (model.empty()) break;
                    Node* const victim = model[place];
                    list->SetCurrent(model[random() % model.size()]);
                    TElement* current = list->Current();
                    TElement* next    = victim->Next();
                    if (current == victim) current = next ? next : victim->Previous();
                    ASSERT_EQ(list->Subtract(victim), next);
                    ASSERT_EQ(list->Current(), current);
                    ASSERT_EQ(victim->Next(), nullptr);
                    ASSERT_EQ(victim->Previous(), nullptr);
                    ASSERT_EQ(victim->ListIndex(), 0);
                    ASSERT_EQ(list->Index(victim), -1);
                    model.erase(std::find(model.begin(), model.end(), victim));
                    delete victim;
                    break;
                }
                case 2:
                    if (sorted || model.empty()) {
                        ASSERT_EQ(list->Add(nullptr, added), added);
                        model.push_back(added);
                    } else {
                        ASSERT_EQ(list->Add(model[place], added), added);
                        model.insert(model.begin() + static_cast<std::ptrdiff_t>(place), added);
                    }
                    if (!sorted) break;
                    // An element out of order: sorting puts each in its place, one by one.
                    list->Sort();
                    {
                        Nodes resorted;
                        for (Node* n : model)
                            resorted.insert(resorted.begin() + sorted_place(resorted, n), n);
                        model = resorted;
                    }
                    break;
                default:
                    ASSERT_EQ(list->Add(added), added);
                    model.insert(sorted ? model.begin() + sorted_place(model, added) : model.end(),
                                 added);
            }
            ASSERT_EQ(contents(*list), model);
            ASSERT_EQ(alive, static_cast<int>(model.size()));
        }
        if (!sorted) {
            list->Sort();  // does nothing without a comparison
            EXPECT_EQ(contents(*list), model);
        }
    }
    EXPECT_EQ(alive, 0);
}

TEST(TList, PutsEqualsAheadOfTheFirstAndBehindTheLast) {
    TList list(by_key);
    list + new Node(3, 0) + new Node(1, 1) + new Node(2, 2) + new Node(1, 3);
    EXPECT_EQ(serials(list), (std::vector<int>{3, 1, 2, 0}));
    list + new Node(3, 4);
    EXPECT_EQ(serials(list), (std::vector<int>{3, 1, 2, 0, 4}));
}

TEST(TList, OwnsWhatItHolds) {
    TList list, other;
    for (int i = 0; i < 4; ++i) list.Add(new Node(i, i));
    Node* const foreign = new Node(9, 9);
    Node alone(8, 8);
    other.Add(foreign);

    EXPECT_EQ(list.Subtract(foreign), foreign);
    EXPECT_EQ(list.Subtract(&alone), &alone);
    EXPECT_EQ(list.Subtract(nullptr), nullptr);
    EXPECT_EQ(list.Add(nullptr), nullptr);
    EXPECT_EQ(list.Add(list.First(), nullptr), nullptr);
    EXPECT_EQ(list.Index(foreign), -1);
    EXPECT_EQ(list.Index(nullptr), -1);
    EXPECT_EQ(serials(list), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(contents(other), Nodes{foreign});

    list.SetCurrent(list.First());
    list.Destroy();
    EXPECT_EQ(list.Current(), nullptr);
    EXPECT_EQ(contents(list), Nodes{});
    EXPECT_EQ(alive, 2);
    list.Destroy();
    list.Sort();
}

TEST(TList, AsksTheCurrentElementFirst) {
    TList list;
    for (int i = 0; i < 6; ++i) list.Add(new Node(i % 3, i));
    int key = 1;
    EXPECT_EQ(node(list.Get(has_key, &key))->serial, 1);
    list.SetCurrent(list.Get(4));
    EXPECT_EQ(node(list.Get(has_key, &key))->serial, 4);
    key = 2;
    EXPECT_EQ(node(list.Get(has_key, &key))->serial, 2);
    key = 3;
    EXPECT_EQ(list.Get(has_key, &key), nullptr);
}

TEST(TList, CopiesFieldsNotElements) {
    TList list(by_key);
    list + new Node(2, 0) + new Node(1, 1);
    const Node& first = *node(list.First());
    struct Bare : TElement {
    } element;
    element.TElement::operator=(first);
    EXPECT_EQ(element.Next(), list.Last());

    auto* const copy = new TList(list);
    EXPECT_EQ(contents(*copy), contents(list));
    *copy = list;
    copy->Add(new Node(0, 2));  // sorts as the original does
    EXPECT_EQ(serials(*copy), (std::vector<int>{2, 1, 0}));
    list = *copy;
    EXPECT_EQ(serials(list), (std::vector<int>{2, 1, 0}));
    TList::operator delete(copy);  // its memory alone: `list` owns the elements
}

// --- elements with objects
// ------------------------------------------------------------------------

// Content is the same when the text begins alike.
struct TextEl : TObjEl {
    explicit TextEl(char* text) : TObjEl(text) { ++alive; }
    ~TextEl() override { --alive; }
    TextEl(const TextEl&)            = delete;
    TextEl& operator=(const TextEl&) = delete;
    int IsSameContent(void* p) override {
        return *static_cast<char*>(iPt()) == *static_cast<char*>(p) ? 2 : -1;
    }
};

TEST(TObjEl, CountsReferencesToItsObject) {
    int object = 0;
    TObjEl element(&object);
    EXPECT_EQ(element.iPt(), &object);
    EXPECT_EQ(element.RefC(), 1);
    element.RefCpp();
    EXPECT_EQ(element.RefC(), 2);
    EXPECT_EQ(element.NoRefs(), 0);
    element.RefCmm(), element.RefCmm();
    EXPECT_EQ(element.NoRefs(), 1);
    element.RefCmm();
    EXPECT_EQ(element.RefC(), -1);
    EXPECT_EQ(element.NoRefs(), 1);
    EXPECT_EQ(element.ErrNo(), 0);
    EXPECT_EQ(element.IsSameContent(&object), 1);
    EXPECT_EQ(element.IsSameContent(nullptr), 0);
}

TEST(TObjList, FindsObjectsAndContents) {
    char texts[][3] = {"a1", "b1", "b2"}, wanted[] = "bx";
    TObjList list;
    for (char* text : texts) list + new TextEl(text);
    EXPECT_EQ(list.Get(tObjListFindObj, texts[2]), list.Last());
    EXPECT_EQ(list.Get(tObjListFindObj, wanted), nullptr);
    EXPECT_EQ(list.Get(tObjListFindObjSameContent, wanted), list.Get(1));
    list.SetCurrent(list.Last());
    EXPECT_EQ(list.Get(tObjListFindObjSameContent, wanted), list.Last());
    EXPECT_EQ(list.ErrNo(), 0);
}

TEST(TObjList, ScansOnWhenElementsGo) {
    char texts[] = "abcde";
    for (int victim = 0; victim < 5; ++victim) {
        TObjList list;
        TList& base = list;
        for (int i = 0; i < 5; ++i) list.Add(new TextEl(&texts[i]));
        std::string scanned;
        for (void* object = list.ScanObject(1); object; object = list.ScanObject(0)) {
            scanned += *static_cast<char*>(object);
            TElement* const scan = static_cast<TElement*>(list.GetCurrentScanObject());
            EXPECT_EQ(static_cast<TObjEl*>(scan)->iPt(), object);
            if (object != &texts[victim]) continue;
            base - scan;  // reaches the override
            EXPECT_EQ(list.Index(scan), -1);
            delete scan;
        }
        EXPECT_EQ(scanned, "abcde");

        // At the end the scan stays on the last element and sees what is added.
        EXPECT_EQ(list.ScanObject(0), nullptr);
        list.Add(new TextEl(&texts[0]));
        EXPECT_EQ(list.ScanObject(0), &texts[0]);

        EXPECT_EQ(list.SetCurrentScanObject(list.Get(1)), 0);
        EXPECT_EQ(list.ScanObject(0), static_cast<TObjEl*>(list.Get(2))->iPt());
        EXPECT_EQ(list.ScanObjectReset(), 0);
        EXPECT_EQ(list.GetCurrentScanObject(), nullptr);
        EXPECT_EQ(list.ScanObject(0), static_cast<TObjEl*>(list.First())->iPt());
        EXPECT_EQ(list.Subtract(nullptr), nullptr);

        list.SetCurrentScanObject(list.Last());
        base.Destroy();
        EXPECT_EQ(alive, 0);
        EXPECT_EQ(list.GetCurrentScanObject(), nullptr);
        EXPECT_EQ(list.ScanObject(0), nullptr);
        list.Add(new TextEl(&texts[1]));
        EXPECT_EQ(list.ScanObject(0), &texts[1]);
        const std::unique_ptr<TList> owned(new TObjList);
        owned->Add(new TextEl(&texts[2]));
    }
    EXPECT_EQ(alive, 0);
}

}  // namespace
