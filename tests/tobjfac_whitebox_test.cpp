// Object lists and factories without memory.

#include "movane/foundation.h"

#include "support/allocation_failures.h"

#include <gtest/gtest.h>

namespace {

using movane::testing::Shortage;
using movane_tests::check_every_allocation_failure;
using movane_tests::MessageCapture;

struct Factory : TObjFac {
    using TObjFac::GetRefc;
    using TObjFac::IncrRefc;
    TObjEl* TObjFacCreateEl(void* object) override { return new TObjEl(object); }
};

TEST(ObjectListsWithoutMemory, NewGivesNull) {
    const auto check = [](const char* what, auto make) {
        check_every_allocation_failure(what, "", [&] {
            auto* const made = make();
            EXPECT_EQ(MessageCapture::take(), "");
            const bool succeeded = made != nullptr;
            delete made;
            return succeeded;
        });
    };
    check("TList", [] { return new TList; });
    check("TObjList", [] { return new TObjList; });
    check("TObjEl", [] { return new TObjEl(nullptr); });
    check("TCriticSect", [] { return new TCriticSect("lock", 1); });
}

TEST(ObjectListsWithoutMemory, AFactoryStaysUsable) {
    char object, name[8];
    check_every_allocation_failure("TObjFac", "", [&] {
        auto* const factory = new Factory;
        if (!factory) return false;
        const bool has_list = factory->ErrNo() == 0;
        EXPECT_EQ(factory->IncrRefc(&object), 0);
        const bool is_registered = factory->GetNrObj() == 1;
        EXPECT_EQ(factory->GetRefc(&object), is_registered);
        EXPECT_EQ(factory->ScanObject(1), is_registered ? &object : nullptr);
        EXPECT_EQ(factory->GetCurrentScanObject() != nullptr, is_registered);
        EXPECT_EQ(factory->SetCurrentScanObject(nullptr), 0);
        EXPECT_EQ(factory->ScanReset(), 0);
        const bool has_names = factory->MakeRandomName("", name, sizeof name) == 0;
        EXPECT_EQ(MessageCapture::take(), has_names ? "" : "Random_new : allocation failed");
        if (!has_list) {
            EXPECT_EQ(factory->ErrNo(), 1);
            EXPECT_FALSE(is_registered);
        }
        factory->RemoveFromFactory(&object);
        factory->DecrRefc(&object);
        EXPECT_EQ(factory->GetNrObj(), 0);
        delete factory;
        return has_list && is_registered && has_names;
    });
}

}  // namespace
