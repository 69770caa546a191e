// The object factory against a map of reference counts.

#include "movane/foundation.h"

#include <gtest/gtest.h>

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
};

struct Factory : TObjFac {
    using TObjFac::GetRefc;
    using TObjFac::IncrRefc;
    TObjEl* TObjFacCreateEl(void* object) override { return new Element(object); }
};

TObjEl* scanned_element(TObjFac& factory) {
    return static_cast<TObjEl*>(static_cast<TElement*>(factory.GetCurrentScanObject()));
}

TEST(TObjFac, CountsLikeAMap) {
    char objects[12];
    {
        Factory factory;
        std::map<void*, int> references;
        std::vector<void*> order, scanned;
        std::mt19937 random(8);
        for (int i = 0; i < 4000; ++i) {
            void* const object = &objects[random() % sizeof objects];
            const bool known   = references.contains(object);
            const auto action  = random() % 16;
            if (action > 7) {
                ASSERT_EQ(factory.IncrRefc(object), 0);
                if (references[object]++ == 0) order.push_back(object);
            } else {
                ASSERT_EQ(action ? factory.DecrRefc(object) : factory.RemoveFromFactory(object),
                          nullptr);
                if (known && (--references[object] == 0 || action == 0)) {
                    references.erase(object);
                    std::erase(order, object);
                }
            }
            ASSERT_EQ(factory.GetRefc(object),
                      references.contains(object) ? references[object] : 0);
            ASSERT_EQ(factory.GetNrObj(), static_cast<int>(order.size()));
            scanned.clear();
            for (void* o = factory.ScanObject(1); o; o = factory.ScanObject(0)) {
                scanned.push_back(o);
                ASSERT_EQ(scanned_element(factory)->iPt(), o);
            }
            ASSERT_EQ(scanned, order);
        }
        EXPECT_EQ(factory.ErrNo(), 0);
        EXPECT_GT(alive, 1);
        EXPECT_EQ(factory.SetCurrentScanObject(scanned_element(factory)->Previous()), 0);
        EXPECT_EQ(factory.ScanObject(0), order.back());
        EXPECT_EQ(factory.ScanReset(), 0);
        EXPECT_EQ(factory.ScanObject(0), order.front());
    }
    EXPECT_EQ(alive, 0);
}

TEST(TObjFac, LeavesAnElementWithoutReferencesAlone) {
    Factory factory;
    factory.IncrRefc(&factory);
    factory.ScanObject(1);
    scanned_element(factory)->RefCmm();
    factory.RemoveFromFactory(&factory);
    EXPECT_EQ(factory.GetNrObj(), 1);
    factory.DecrRefc(&factory);
    EXPECT_EQ(factory.GetNrObj(), 0);
}

TEST(TObjFac, MakesNamesButNoElements) {
    struct : TObjFac {
        using TObjFac::IncrRefc;
    } factory;
    EXPECT_EQ(factory.IncrRefc(&factory), 0);
    EXPECT_EQ(factory.GetNrObj(), 0);
    char name[16] = "unchanged";
    for (const int size : {9, 0, -1}) EXPECT_EQ(factory.MakeRandomName("abc", name, size), -1);
    EXPECT_STREQ(name, "unchanged");
    std::set<std::string> names;
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(factory.MakeRandomName("abc", name, 10), 0);
        ASSERT_EQ(std::string(name).substr(0, 4), "abc0");
        ASSERT_EQ(std::string(name).find_first_not_of("0123456789", 3), std::string::npos);
        ASSERT_EQ(names.insert(name).first->size(), 9U);
    }
    EXPECT_GT(names.size(), 150U);  // of 100000, by chance a few alike
}

}  // namespace
