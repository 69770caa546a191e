// Archives without memory: every call says so, leaves nothing behind and can be tried again.

#include "movane/services.h"

#include "support/allocation_failures.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

namespace {

using namespace movane_tests;

constexpr int kWrite = FilePacker::mode_write, kRead = FilePacker::mode_read;

bool has_memory(int code) {
    EXPECT_TRUE(code == 0 || code == 6) << code;
    return code == 0;
}

struct ArchiveWithoutMemory : ::testing::Test {
    const TemporaryDirectory sandbox;
    const std::string archive = sandbox / "archive", file = sandbox / "file", out = sandbox / "";
    char name[200] = "";
    char* data     = nullptr;
    long size      = 0;
};

TEST_F(ArchiveWithoutMemory, Writing) {
    write_file(file, "abc");
    for (const bool is_from_file : {true, false}) {
        check_every_allocation_failure("add", "", [&] {
            FilePacker packer(archive.c_str(), kWrite, "");
            bool is_complete = has_memory(packer.GetError(nullptr));
            // More names than the list holds at first.
            for (int i = 0; i < 51 && is_complete; ++i) {
                const std::string entry = std::to_string(i), before = read_file(archive);
                is_complete =
                    has_memory(is_from_file ? packer.AddFile(file.c_str(), entry.c_str())
                                            : packer.AddFileAsBuffer("abc", 3, entry.c_str()));
                EXPECT_EQ(read_file(archive) != before, is_complete);
            }
            return is_complete;
        });
    }
}

TEST_F(ArchiveWithoutMemory, Reading) {
    FilePacker(archive.c_str(), kWrite, "").AddFileAsBuffer("abc", 3, "first");
    check_every_allocation_failure("UnpackFile", "", [&] {
        std::filesystem::remove(path_of(out + "first"));
        FilePacker in(archive.c_str(), kRead, nullptr);
        const bool is_complete = has_memory(in.UnpackFile(out.c_str(), name));
        EXPECT_EQ(exists(out + "first"), is_complete);
        EXPECT_EQ(in.UnpackFile(out.c_str(), name), 9);  // goes on behind the entry
        return is_complete;
    });
    check_every_allocation_failure("UnpackFileAsBuffer", "", [&] {
        FilePacker in(archive.c_str(), kRead, nullptr);
        FilePacker copy(in);
        const bool is_complete = has_memory(copy.UnpackFileAsBuffer(&data, &size, name));
        EXPECT_EQ(data != nullptr, is_complete);
        EXPECT_EQ(in.UnpackFileAsBuffer(&data, &size, name), 9);
        return is_complete;
    });
    check_every_allocation_failure("ReadUpTo", "", [&] {
        return has_memory(FilePacker(archive.c_str(), kRead, nullptr).ReadUpTo(nullptr, 0, "abc"));
    });
}

}  // namespace
