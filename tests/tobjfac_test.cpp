// The object factory against a map of reference counts.

#include "movane/foundation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

int alive = 0;

struct Element : TObjEl {
    explicit Element(void* object) : TObjEl(object) { ++alive; }
    ~Element() override { --alive; }
    Element(const Element&)            = delete;
    Element& operator=(const Element&) = delete;
};

struct Factory : TObjFac {
    using TObjFac::GetRefc;
    using TObjFac::IncrRefc;
    TObjEl* TObjFacCreateEl(void* object) override { return new Element(object); }
};

std::vector<void*> scanned(TObjFac& factory) {
    std::vector<void*> objects;
    for (void* o = factory.ScanObject(1); o; o = factory.ScanObject(0)) objects.push_back(o);
    return objects;
}

TEST(TObjFac, CountsLikeAMap) {
    char objects[12];
    {
        Factory factory;
        EXPECT_EQ(factory.ErrNo(), 0);
        std::map<void*, int> references;
        std::vector<void*> order;
        std::mt19937 random(8);
        for (int i = 0; i < 4000; ++i) {
            void* const object = &objects[random() % sizeof objects];
            const bool known   = references.contains(object);
            bool gone          = false;
            switch (random() % 16) {
                case 0:
                    ASSERT_EQ(factory.RemoveFromFactory(object), nullptr);
                    gone = known;
                    break;
                case 1:
                case 2:
                case 3:
                case 4:
                case 5:
                case 6:
                case 7:
                    ASSERT_EQ(factory.DecrRefc(object), nullptr);
                    gone = known && --references[object] == 0;
                    break;
                default:
                    ASSERT_EQ(factory.IncrRefc(object), 0);
                    if (!known) order.push_back(object);
                    ++references[object];
            }
            if (gone) {
                references.erase(object);
                order.erase(std::find(order.begin(), order.end(), object));
            }
            ASSERT_EQ(factory.GetRefc(object),
                      references.contains(object) ? references[object] : 0);
            ASSERT_EQ(factory.GetNrObj(), static_cast<int>(references.size()));
            ASSERT_EQ(scanned(factory), order);
        }
        EXPECT_GT(alive, 0);
    }
    EXPECT_EQ(alive, 0);
}

TEST(TObjFac, ForwardsTheScan) {
    char objects[3];
    Factory factory;
    for (char& object : objects) factory.IncrRefc(&object);
    factory.ScanObject(1);
    auto* const first = static_cast<TElement*>(factory.GetCurrentScanObject());
    EXPECT_EQ(static_cast<TObjEl*>(first)->iPt(), &objects[0]);
    EXPECT_EQ(factory.SetCurrentScanObject(first->Next()), 0);
    EXPECT_EQ(factory.ScanObject(0), &objects[2]);
    EXPECT_EQ(factory.ScanReset(), 0);
    EXPECT_EQ(factory.ScanObject(0), &objects[0]);
}

TEST(TObjFac, LeavesAnElementWithoutReferencesAlone) {
    char object;
    Factory factory;
    factory.IncrRefc(&object);
    factory.ScanObject(1);
    auto* const element =
        static_cast<TObjEl*>(static_cast<TElement*>(factory.GetCurrentScanObject()));
    element->RefCmm();
    factory.RemoveFromFactory(&object);
    EXPECT_EQ(factory.GetNrObj(), 1);
    factory.DecrRefc(&object);
    EXPECT_EQ(factory.GetNrObj(), 0);
}

TEST(TObjFac, RegistersNothingWithoutAnElement) {
    struct Plain : TObjFac {
        using TObjFac::IncrRefc;
    } factory;
    char object;
    EXPECT_EQ(factory.IncrRefc(&object), 0);
    EXPECT_EQ(factory.GetNrObj(), 0);
    EXPECT_EQ(factory.ScanObject(1), nullptr);
}

TEST(TObjFac, MakesUpNames) {
    TObjFac factory;
    char name[16] = "unchanged";
    for (const int size : {9, 0, -1}) EXPECT_EQ(factory.MakeRandomName("abc", name, size), -1);
    EXPECT_STREQ(name, "unchanged");

    std::set<std::string> names;
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(factory.MakeRandomName("abc", name, 10), 0);
        const std::string made = name;
        ASSERT_EQ(made.size(), 9u);
        ASSERT_EQ(made.substr(0, 4), "abc0");
        ASSERT_EQ(made.find_first_not_of("0123456789", 3), std::string::npos);
        names.insert(made);
    }
    EXPECT_GT(names.size(), 150u);  // of 100000, by chance a few alike
    EXPECT_EQ(factory.MakeRandomName("", name, 7), 0);
    EXPECT_EQ(std::string(name).size(), 6u);
}

}  // namespace
