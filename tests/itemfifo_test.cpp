// The item FIFO against a queue of the standard library.

#include "movane/foundation.h"

#include "support/handle.h"
#include "support/messages.h"

#include <gtest/gtest.h>

#include <climits>
#include <queue>
#include <random>
#include <utility>

using namespace movane_tests;

TEST(ItemFifo, QueuesLikeAQueue) {
    for (const int partition : {0, 1, 3}) {
        const Handle fifo(itemfifo_new(sizeof(double), partition), itemfifo_kill);
        std::queue<double> model;
        std::mt19937 random(5);
        for (int i = 0; i < 3000; ++i) {
            // Bursts in and out, so that partitions come and go and the queue runs empty.
            if (random() % 4 < (i / 50 % 2 == 0 ? 3U : 1U)) {
                const double item = i;
                model.push(item);
                ASSERT_EQ(itemfifo_put(fifo, &item), 1);
            } else {
                double item = -1;
                ASSERT_EQ(itemfifo_get(fifo, &item), !model.empty());
                ASSERT_EQ(item, model.empty() ? -1 : model.front());
                if (!model.empty()) model.pop();
            }
            ASSERT_EQ(itemfifo_nr_items(fifo), static_cast<int>(model.size()));
        }
    }
}

TEST(ItemFifo, RefusesItemsThatCannotBe) {
    const MessageCapture posted;
    const std::pair<int, int> rows[] = {
        {0, 1}, {-1, 1}, {INT_MAX, 2}, {65536, 32768}, {INT_MAX / 10 + 1, 0}};
    for (const auto& [size, items] : rows)
        expect_failed(Handle(itemfifo_new(size, items), itemfifo_kill), nullptr,
                      "itemfifo_new: Unable to create new itemfifo");
}
