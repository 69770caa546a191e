// The item FIFO against a queue of the standard library.

#include "movane/foundation.h"

#include "support/messages.h"

#include <gtest/gtest.h>

#include <climits>
#include <queue>
#include <random>

namespace {

using movane_tests::message_of;

TEST(ItemFifo, QueuesLikeAQueue) {
    for (const int partition : {0, 1, 3}) {
        movane_itemfifo* fifo = itemfifo_new(sizeof(double), partition);
        std::queue<double> model;
        std::mt19937 random(5);
        for (int i = 0; i < 3000; ++i) {
            // Bursts in and out, so that partitions come and go and the queue runs empty.
            const bool puts = random() % 4 < (i / 50 % 2 == 0 ? 3u : 1u);
            if (puts) {
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
        EXPECT_EQ(itemfifo_kill(fifo), 0);
    }
}

TEST(ItemFifo, RefusesItemsThatCannotBe) {
    const struct {
        int size, items;
    } rows[] = {{0, 1}, {-1, 1}, {INT_MIN, 0}, {INT_MAX, 2}, {65536, 32768}, {INT_MAX / 10 + 1, 0}};
    for (const auto& row : rows)
        EXPECT_EQ(message_of([&] { EXPECT_EQ(itemfifo_new(row.size, row.items), nullptr); }),
                  "itemfifo_new: Unable to create new itemfifo");
    EXPECT_EQ(itemfifo_kill(nullptr), 0);
}

}  // namespace
