// Archives without memory: every call says so, leaves nothing behind and can be tried again.

#include "movane/services.h"

#include "support/allocation_failures.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using movane_tests::check_every_allocation_failure;
using movane_tests::exists;
using movane_tests::path_of;
using movane_tests::read_file;
using movane_tests::TemporaryDirectory;
using movane_tests::write_file;

constexpr int kWrite = FilePacker::mode_write, kRead = FilePacker::mode_read;

bool has_memory(int code) {
    EXPECT_TRUE(code == 0 || code == 6) << code;
    return code == 0;
}

TEST(ArchiveWithoutMemory, Writing) {
    const TemporaryDirectory sandbox;
    const std::string archive = sandbox / "archive", file = sandbox / "file";
    write_file(file, "abc");

    check_every_allocation_failure("FilePacker", "", [&] {
        return has_memory(FilePacker(archive.c_str(), kWrite, "").GetError(nullptr));
    });
    for (const bool is_from_file : {true, false}) {
        check_every_allocation_failure("add", "", [&] {
            FilePacker packer(archive.c_str(), kWrite, "");
            if (packer.GetError(nullptr)) return has_memory(packer.GetError(nullptr));
            // More names than the list holds at first.
            bool is_complete = true;
            for (int i = 0; i < 51 && is_complete; ++i) {
                const std::string name   = std::to_string(i);
                const std::string before = read_file(archive);
                is_complete =
                    has_memory(is_from_file ? packer.AddFile(file.c_str(), name.c_str())
                                            : packer.AddFileAsBuffer("abc", 3, name.c_str()));
                if (!is_complete) {
                    EXPECT_EQ(read_file(archive), before);
                }
            }
            return is_complete;
        });
    }
}

TEST(ArchiveWithoutMemory, Reading) {
    const TemporaryDirectory sandbox;
    const std::string archive = sandbox / "archive", directory = sandbox / "";
    {
        FilePacker packer(archive.c_str(), kWrite, "");
        packer.AddFileAsBuffer("abc", 3, "first");
        packer.AddFileAsBuffer("def", 3, "second");
    }
    char name[200];
    char* data = nullptr;
    long size  = 0;
    check_every_allocation_failure("UnpackFile", "", [&] {
        std::filesystem::remove(path_of(sandbox / "first"));
        FilePacker in(archive.c_str(), kRead, nullptr);
        const bool is_complete = has_memory(in.UnpackFile(directory.c_str(), name));
        EXPECT_EQ(exists(sandbox / "first"), is_complete);
        return is_complete;
    });
    check_every_allocation_failure("UnpackFileAsBuffer", "", [&] {
        FilePacker in(archive.c_str(), kRead, nullptr);
        const FilePacker copy(in);
        for (int i = 0; i < 2; ++i)
            if (!has_memory(in.UnpackFileAsBuffer(&data, &size, name))) return data != nullptr;
        return data != nullptr;
    });
    check_every_allocation_failure("ReadUpTo", "", [&] {
        FilePacker in(archive.c_str(), kRead, nullptr);
        return has_memory(in.ReadUpTo(nullptr, 0, "second"));
    });
}

TEST(ArchiveWithoutMemory, GoesOnBehindTheEntry) {
    const TemporaryDirectory sandbox;
    const std::string archive = sandbox / "archive", directory = sandbox / "";
    {
        FilePacker packer(archive.c_str(), kWrite, "");
        packer.AddFileAsBuffer("abc", 3, "first");
        packer.AddFileAsBuffer("def", 3, "second");
    }
    for (const bool is_to_file : {true, false}) {
        FilePacker in(archive.c_str(), kRead, nullptr);
        char name[200];
        char* data        = nullptr;
        long size         = 0;
        const auto unpack = [&] {
            return is_to_file ? in.UnpackFile(directory.c_str(), name)
                              : in.UnpackFileAsBuffer(&data, &size, name);
        };
        movane::testing::refuse_allocations_after(0, movane::testing::Shortage::lasting);
        const int refused = unpack();
        movane::testing::end_refusals();
        EXPECT_EQ(refused, 6);
        EXPECT_STREQ(name, "first");
        EXPECT_EQ(unpack(), 0);
        EXPECT_STREQ(name, "second");
    }
}

}  // namespace
