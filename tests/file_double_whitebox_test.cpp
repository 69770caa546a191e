// Record files without memory, and databases of several record files.

#include "movane/services.h"

#include "Engine/rdb.h"
#include "support/allocation_failures.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

namespace {

using namespace movane_tests;

TEST(FileDoubleWithoutMemory, ReportsAndLeavesNothing) {
    const TemporaryDirectory directory;
    const std::string path = directory / "r", name(200, 'n');
    write_file(path, std::string(100, '\n') + "[ink]\nx");
    for (const int create : {0, 1}) {
        check_every_allocation_failure("file_double", "", [&] {
            file_double* file         = file_double_new(path.c_str(), 1, create);
            const std::string message = MessageCapture::take();
            const bool is_known       = message == "file_double_new: Not enough resources" ||
                                  message == "file_double_new: Unable to open record file";
            EXPECT_EQ(is_known, !file) << message;
            if (!file) return false;

            // An item that needs a larger text: what was there stays.
            double value        = 1;
            const bool is_added = file_double_add_item(file, name.c_str(), &value) == 0;
            EXPECT_EQ(MessageCapture::take(),
                      is_added ? "" : "file_double_add_item: Not enough resources");
            int state          = 0;
            const char* listed = file_double_list(file, &state, &value);
            EXPECT_EQ(listed ? listed : "", is_added ? name : "");
            file_double_kill(file);
            return is_added;
        });
    }
}

TEST(RecordDatabase, HoldsSeveralFiles) {
    const TemporaryDirectory directory;
    const std::string a = directory / "a", b = directory / "b", none = directory / "none/c";
    rdb* database     = rdb_open();
    rdb_rfile* first  = rdb_create_rfile(database, a.c_str());
    rdb_rfile* second = rdb_create_rfile(database, b.c_str());
    EXPECT_EQ(rdb_add_item(first, "t", "n", "v"), -1);
    EXPECT_EQ(rdb_add_topic(first, "t") + rdb_add_topic(second, "u"), 0);
    EXPECT_EQ(rdb_search(first, "u"), 0);
    EXPECT_EQ(rdb_add_item(first, "T", "n", "v"), 0);
    EXPECT_EQ(rdb_push_rfile(database, a.c_str()), nullptr);
    EXPECT_EQ(rdb_create_rfile(database, std::string(256, 'a').c_str()), nullptr);

    // One that cannot be written keeps none of the others back.
    rdb_create_rfile(database, none.c_str());
    EXPECT_EQ(rdb_flush(database), -1);
    EXPECT_EQ(read_file(a) + read_file(b), "[t]\nn = v\n[u]\n");
    rdb_close(database);
    rdb_close(nullptr);
}

}  // namespace
