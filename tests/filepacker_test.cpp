// Archives: the format to the byte, random archives against a model, and hostile ones.

#include "movane/services.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using movane_tests::exists;
using movane_tests::path_of;
using movane_tests::read_file;
using movane_tests::TemporaryDirectory;
using movane_tests::write_file;

constexpr int kWrite = FilePacker::mode_write, kRead = FilePacker::mode_read;

struct Entry {
    std::string name, data;
    bool operator==(const Entry&) const = default;
};

std::string bytes_of(std::int64_t size) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(size >> shift & 0xff);
    return bytes;
}

std::string entry_bytes(const std::string& name, const std::string& data) {
    return name + '\0' + bytes_of(static_cast<std::int64_t>(data.size())) + data;
}

std::string archive_bytes(const std::string& description, const std::vector<Entry>& entries = {}) {
    std::string bytes = std::string("QZFP\0ver1.0\0", 12) + std::string(128, '\0') + description;
    bytes += '\0';
    for (const Entry& entry : entries) bytes += entry_bytes(entry.name, entry.data);
    return bytes;
}

std::string error_of(FilePacker& packer) {
    char text[128];
    std::fill(std::begin(text), std::end(text), '#');
    packer.GetError(text);
    return text;
}

std::string error_text(int code, const std::string& text) {
    return ("FilePacker error " + std::to_string(code) + ": ") + text;
}

std::string description_of(FilePacker& packer) {
    char text[200];
    EXPECT_EQ(packer.GetDescription(text), 0);
    return text;
}

int add(FilePacker& packer, const std::string& name, const std::string& data) {
    return packer.AddFileAsBuffer(data.data(), static_cast<long>(data.size()), name.c_str());
}

/// Every file below a directory, as "/" paths, with its content.
std::map<std::string, std::string> files_below(const std::string& directory) {
    std::map<std::string, std::string> files;
    const auto root = path_of(directory);
    for (const auto& found : std::filesystem::recursive_directory_iterator(root)) {
        const auto name = found.path().lexically_relative(root).generic_u8string();
        const auto path = found.path().generic_u8string();
        const std::string key(name.begin(), name.end());
        files[key] = found.is_regular_file() ? read_file({path.begin(), path.end()}) : "";
    }
    return files;
}

class Archive : public ::testing::Test {
protected:
    Archive() { std::filesystem::create_directories(path_of(out)); }

    std::vector<Entry> read_as_buffers() {
        FilePacker in(archive.c_str(), kRead, nullptr);
        std::vector<Entry> entries;
        char* data = nullptr;
        long size  = 0;
        char name[200];
        while (in.UnpackFileAsBuffer(&data, &size, name) == 0) {
            EXPECT_EQ(data[size], '\0');
            entries.push_back({name, std::string(data, static_cast<std::size_t>(size))});
        }
        EXPECT_EQ(data, nullptr);
        return entries;
    }

    const TemporaryDirectory sandbox;
    const std::string archive = sandbox / "Archiv-\u6f22.qz", out = sandbox / "a/b/out";
};

// --- writing -----------------------------------------------------------------------------------

TEST_F(Archive, HasTheDocumentedBytes) {
    const std::string file = sandbox / "a/file.txt", empty = sandbox / "empty";
    write_file(file, "abc");
    write_file(empty, "");
    std::string native = file;
    std::replace(native.begin(), native.end(), '/', '\\');
    {
        FilePacker packer(archive.c_str(), kWrite, "xyz");
        EXPECT_EQ(read_file(archive), archive_bytes("xyz"));
        EXPECT_EQ(read_file(archive).size(), 144u);
        EXPECT_EQ(packer.AddFile(native.c_str(), nullptr), 0);
        EXPECT_EQ(packer.AddFile(empty.c_str(), "d\\e/f"), 0);
        EXPECT_EQ(add(packer, "g\\h", std::string("\0\1\xff", 3)), 0);
        // Complete at every entry, while it is still open.
        EXPECT_EQ(read_file(archive),
                  archive_bytes(
                      "xyz", {{file, "abc"}, {"d/e/f", ""}, {"g/h", std::string("\0\1\xff", 3)}}));
        EXPECT_EQ(error_of(packer), error_text(0, "No error"));
        EXPECT_EQ(description_of(packer), "xyz");
    }
    EXPECT_EQ(FilePacker(archive.c_str(), kWrite, nullptr).GetError(nullptr), 0);
    EXPECT_EQ(read_file(archive), archive_bytes(""));
    FilePacker(archive.c_str(), kWrite, std::string(300, 'd').c_str());
    EXPECT_EQ(read_file(archive), archive_bytes(std::string(199, 'd')));
}

TEST_F(Archive, AddsANameOnce) {
    write_file(sandbox / "file", "abc");
    const std::string file = sandbox / "file";
    FilePacker packer(archive.c_str(), kWrite, "");
    // Of a file the name given is remembered, of a block the name stored.
    EXPECT_EQ(packer.AddFile(file.c_str(), "f\\1"), 0);
    EXPECT_EQ(packer.AddFile(file.c_str(), "f\\1"), 0);
    EXPECT_EQ(packer.AddFile(file.c_str(), "f/1"), 0);
    EXPECT_EQ(packer.AddFile((sandbox / "missing").c_str(), "f/1"), 0);
    EXPECT_EQ(packer.AddFile(file.c_str(), nullptr), 0);
    EXPECT_EQ(packer.AddFile(file.c_str(), nullptr), 0);
    EXPECT_EQ(add(packer, "b\\1", "x"), 0);
    EXPECT_EQ(add(packer, "b/1", "x"), 0);
    EXPECT_EQ(add(packer, "b\\1", "y"), 0);
    EXPECT_EQ(add(packer, "B/1", "z"), 0);
    EXPECT_EQ(read_as_buffers(), (std::vector<Entry>{{"f/1", "abc"},
                                                     {"f/1", "abc"},
                                                     {file, "abc"},
                                                     {"b/1", "x"},
                                                     {"b/1", "y"},
                                                     {"B/1", "z"}}));
}

TEST_F(Archive, WritesNothingForWhatNobodyCouldRead) {
    const std::string file = sandbox / "file", huge = sandbox / "huge";
    write_file(file, "abc");
    write_file(huge, "");
    std::filesystem::resize_file(path_of(huge), std::uintmax_t{1} << 31);
    FilePacker packer(archive.c_str(), kWrite, "");
    const std::string long_name(200, 'n'), full_name(199, 'n');
    const std::string cannot_write = "Cannot write output file: " + archive;

    const auto expect = [&](int result, int code, const std::string& text) {
        EXPECT_EQ(result, code);
        EXPECT_EQ(error_of(packer), error_text(code, text.substr(0, 99)));
        EXPECT_EQ(read_file(archive), archive_bytes(""));
    };
    expect(packer.AddFile(file.c_str(), ""), 7, cannot_write);
    expect(packer.AddFile(file.c_str(), long_name.c_str()), 7, cannot_write);
    expect(packer.AddFile(long_name.c_str(), nullptr), 7, cannot_write);
    expect(packer.AddFile(nullptr, nullptr), 7, cannot_write);
    expect(packer.AddFileAsBuffer("x", 1, nullptr), 7, cannot_write);
    expect(packer.AddFileAsBuffer("x", 1, ""), 7, cannot_write);
    expect(packer.AddFileAsBuffer("x", 1, long_name.c_str()), 7, cannot_write);
    expect(packer.AddFileAsBuffer("x", -1, "x"), 7, cannot_write);
    expect(packer.AddFile(nullptr, "x"), 2, "Cannot open file: ");
    expect(packer.AddFile((sandbox / "none").c_str(), "x"), 2,
           "Cannot open file: " + sandbox / "none");
    expect(packer.AddFile(huge.c_str(), "x"), 8, "Cannot read from file: " + huge);
    EXPECT_EQ(packer.AddFile(file.c_str(), full_name.c_str()), 0);
    EXPECT_EQ(read_file(archive), archive_bytes("", {{full_name, "abc"}}));
}

TEST_F(Archive, ReportsAFullDisk) {
    if (!std::filesystem::is_character_file("/dev/full")) GTEST_SKIP() << "has no full device";
    FilePacker full("/dev/full", kWrite, "");
    EXPECT_EQ(error_of(full), error_text(7, "Cannot write output file: /dev/full"));
    EXPECT_EQ(add(full, "x", "y"), 1);

    write_file(archive, archive_bytes("", {{"full", "abc"}}));
    FilePacker in(archive.c_str(), kRead, nullptr);
    EXPECT_EQ(in.Unpack("/dev"), 7);
    EXPECT_EQ(error_of(in), error_text(7, "Cannot write output file: /dev\\full"));
}

// --- state ---------------------------------------------------------------------------------------

TEST_F(Archive, TellsWhatCannotBeOpened) {
    const auto expect = [](const std::string& path, int mode, int code, std::string text) {
        FilePacker packer(path.c_str(), mode, "d");
        EXPECT_EQ(error_of(packer), error_text(code, text.substr(0, 99)));
        // Without an archive every call fails and touches nothing.
        char* data = nullptr;
        long size  = 1;
        char name[200];
        EXPECT_EQ(packer.AddFile("x", "x"), 1);
        EXPECT_EQ(packer.AddFileAsBuffer("x", 1, "x"), 1);
        EXPECT_EQ(packer.Unpack("x"), 1);
        EXPECT_EQ(packer.UnpackFile("x", name), 1);
        EXPECT_EQ(packer.UnpackFileAsBuffer(&data, &size, name), 1);
        EXPECT_EQ(size, 0);
        EXPECT_EQ(error_of(packer), error_text(1, "Invalid mode supplied"));
        EXPECT_EQ(packer.ReadString(name), 4);
        EXPECT_EQ(packer.WriteString("x"), 4);
        EXPECT_EQ(packer.ReadBinaryData(name, 1), 4);
        EXPECT_EQ(packer.WriteBinaryData("x", 1), 4);
        EXPECT_EQ(packer.ReadUpTo(name, 1, "x"), 4);
        EXPECT_EQ(error_of(packer), error_text(4, ("Archive not opened: " + path).substr(0, 99)));
    };
    const std::string missing = sandbox / "none/archive", no_archive = sandbox / "text",
                      long_path = sandbox / std::string(600, 'p');
    write_file(no_archive, "QZFP is not enough, it must end there" + std::string(200, '\0'));
    write_file(archive, archive_bytes(""));
    expect(archive, 2, 1, "Invalid mode supplied");
    expect(archive, -1, 1, "Invalid mode supplied");
    expect(missing, kRead, 2, "Cannot open file: " + missing);
    expect(missing, kWrite, 3, "Cannot create archive: " + missing);
    expect(long_path, kWrite, 3, "Cannot create archive: " + long_path);
    expect("", kRead, 2, "Cannot open file: ");
    expect(out, kRead, 2, "Cannot open file: " + out);
    expect(no_archive, kRead, 5, "Not a FilePacker archive: " + no_archive);

    FilePacker reader(archive.c_str(), kRead, nullptr), nameless(nullptr, kRead, nullptr);
    EXPECT_EQ(reader.AddFile("x", "x"), 1);
    EXPECT_EQ(error_of(reader), error_text(1, "Invalid mode supplied"));
    EXPECT_EQ(error_of(nameless), error_text(2, "Cannot open file: "));
    FilePacker writer(archive.c_str(), kWrite, "");
    EXPECT_EQ(writer.Unpack(out.c_str()), 1);
}

TEST_F(Archive, CopiesShareWhatIsOpen) {
    char* data = nullptr;
    long size  = 0;
    char name[200];
    {
        FilePacker other((sandbox / "other").c_str(), kWrite, "other");
        {
            FilePacker packer(archive.c_str(), kWrite, "shared");
            EXPECT_EQ(add(packer, "a", "1"), 0);
            FilePacker copy(packer), third(copy);
            other  = third;
            other  = *&other;
            packer = copy;
            EXPECT_EQ(add(copy, "a", "2"), 0);
            EXPECT_EQ(add(other, "b", "3"), 0);
            EXPECT_EQ(third.AddFile("", ""), 7);
            EXPECT_EQ(other.GetError(nullptr), 0);
        }
        EXPECT_EQ(add(other, "b", "4"), 0);
        EXPECT_EQ(add(other, "c", "5"), 0);
        EXPECT_EQ(description_of(other), "shared");
    }
    EXPECT_EQ(read_file(sandbox / "other"), archive_bytes("other"));
    EXPECT_EQ(read_file(archive), archive_bytes("shared", {{"a", "1"}, {"b", "3"}, {"c", "5"}}));

    FilePacker last("", kRead, nullptr);
    {
        FilePacker in(archive.c_str(), kRead, nullptr);
        last = in;
        EXPECT_EQ(in.UnpackFileAsBuffer(&data, &size, name), 0);
        EXPECT_EQ(last.UnpackFileAsBuffer(&data, &size, name), 0);
        EXPECT_STREQ(name, "b");
        EXPECT_EQ(in.UnpackFileAsBuffer(&data, &size, name), 0);
    }
    EXPECT_EQ(std::string(data, 2), std::string("5\0", 2));
    EXPECT_EQ(last.UnpackFileAsBuffer(&data, &size, name), 9);
    EXPECT_EQ(error_of(last), error_text(9, "Undocumented error"));
}

// --- reading -------------------------------------------------------------------------------------

TEST_F(Archive, ReadsDescriptionsOfEveryLength) {
    for (const std::size_t length : {0, 3, 199, 200, 5000}) {
        const std::string text(length, 'd');
        write_file(archive, archive_bytes(text, {{"e", "data"}}));
        FilePacker in(archive.c_str(), kRead, "replaced");
        EXPECT_EQ(description_of(in), text.substr(0, 199));
        for (int round = 0; round < 2; ++round) EXPECT_EQ(in.Unpack(out.c_str()), 0);
        EXPECT_EQ(read_file(out + "/e"), "data");
        EXPECT_EQ(error_of(in), error_text(0, "No error"));
    }
}

TEST_F(Archive, MatchesAModel) {
    std::mt19937 random(1);
    const auto number = [&](std::size_t n) { return random() % n; };
    for (int round = 0; round < 8; ++round) {
        std::vector<Entry> entries;
        std::set<std::string> names;
        {
            FilePacker packer(archive.c_str(), kWrite, "model");
            for (std::size_t i = number(90); i > 0; --i) {
                std::string data(number(5) == 0 ? number(150000) : number(50), '\0');
                for (char& c : data) c = static_cast<char>(random());
                const Entry entry = {"n\u00fc" + std::to_string(number(80)), data};
                if (number(2) == 0) {
                    write_file(sandbox / "source", data);
                    EXPECT_EQ(packer.AddFile((sandbox / "source").c_str(), entry.name.c_str()), 0);
                } else {
                    EXPECT_EQ(add(packer, entry.name, data), 0);
                }
                if (names.insert(entry.name).second) entries.push_back(entry);
            }
        }
        ASSERT_EQ(read_file(archive), archive_bytes("model", entries));

        // One by one, to a file or into memory; then all.
        FilePacker in(archive.c_str(), kRead, nullptr);
        char name[200];
        for (const Entry& entry : entries) {
            if (number(2) == 0) {
                EXPECT_EQ(in.UnpackFile(out.c_str(), name), 0);
                EXPECT_EQ(read_file(out + "/" + entry.name), entry.data);
            } else {
                char* data = nullptr;
                long size  = 0;
                EXPECT_EQ(in.UnpackFileAsBuffer(&data, &size, name), 0);
                EXPECT_EQ(std::string(data, static_cast<std::size_t>(size)), entry.data);
            }
            EXPECT_EQ(name, entry.name);
        }
        EXPECT_EQ(in.UnpackFile(out.c_str(), name), 9);
        std::filesystem::remove_all(path_of(out));
        std::filesystem::create_directory(path_of(out));
        EXPECT_EQ(in.Unpack(out.c_str()), 0);
        std::map<std::string, std::string> expected;
        for (const Entry& entry : entries) expected[entry.name] = entry.data;
        EXPECT_EQ(files_below(out), expected);
    }
}

TEST_F(Archive, EndMarkStopsMemoryReadsOnly) {
    write_file(archive, archive_bytes("", {{"@end.txt", "x"}}));
    FilePacker in(archive.c_str(), kRead, nullptr);
    char name[200] = "untouched";
    char* data     = nullptr;
    long size      = 0;
    EXPECT_EQ(in.UnpackFileAsBuffer(&data, &size, name), 9);
    EXPECT_EQ(data, nullptr);
    EXPECT_STREQ(name, "untouched");
    EXPECT_EQ(in.GetError(nullptr), 0);
    EXPECT_EQ(in.Unpack(out.c_str()), 0);
    EXPECT_EQ(read_file(out + "/@end.txt"), "x");
}

// --- raw access ----------------------------------------------------------------------------------

TEST_F(Archive, RawAccess) {
    const std::string text(150, 't'), longer(200, 'l');
    {
        FilePacker packer(archive.c_str(), kWrite, "");
        EXPECT_EQ(packer.WriteString(text.c_str()), 0);
        EXPECT_EQ(packer.WriteBinaryData("\1\0\2", 3), 0);
        EXPECT_EQ(packer.WriteString("some <END>"), 0);
        EXPECT_EQ(packer.WriteString("more <<END>"), 0);
        EXPECT_EQ(packer.WriteString("12345678"), 0);
        EXPECT_EQ(packer.WriteString(longer.c_str()), 0);
        EXPECT_EQ(packer.WriteString("last"), 0);
        EXPECT_EQ(packer.WriteBinaryData("tail", 4), 0);
        char read[200];
        EXPECT_EQ(packer.ReadString(read), 5);
    }
    FilePacker in(archive.c_str(), kRead, nullptr);
    const std::string not_an_archive = error_text(5, "Not a FilePacker archive: " + archive);
    char read[200];
    std::fill(std::begin(read), std::end(read), '#');
    EXPECT_EQ(in.ReadString(read), 0);
    EXPECT_EQ(read, text);
    EXPECT_EQ(in.ReadBinaryData(read, 0), 0);
    EXPECT_EQ(in.ReadBinaryData(read, -1), 0);
    EXPECT_EQ(in.ReadBinaryData(read, 3), 0);
    EXPECT_EQ(std::string(read, 3), std::string("\1\0\2", 3));
    EXPECT_EQ(in.ReadUpTo(read, 20, "<END>"), 0);
    EXPECT_EQ(std::string(read, 21), "some <END>" + std::string(10, '\0') + "t");
    EXPECT_EQ(in.ReadUpTo(nullptr, 0, "<END>"), 0);
    EXPECT_EQ(in.ReadUpTo(read, 4, "78"), 0);  // full
    EXPECT_EQ(in.ReadUpTo(read + 4, 4, "78"), 0);
    EXPECT_EQ(std::string(read, 8), "12345678");
    EXPECT_EQ(in.WriteString("x"), 7);
    EXPECT_EQ(in.WriteBinaryData("x", 1), 7);

    EXPECT_EQ(in.ReadString(read), 5);  // 200 bytes and no end
    EXPECT_EQ(read, longer.substr(0, 199));
    EXPECT_EQ(in.ReadUpTo(read, 0, "st"), 0);
    EXPECT_EQ(in.ReadBinaryData(read, 3), 0);
    EXPECT_EQ(in.ReadString(read), 5);
    EXPECT_STREQ(read, "l");
    EXPECT_EQ(error_of(in).substr(0, 100), not_an_archive.substr(0, 100));
    EXPECT_EQ(in.ReadString(read), 5);
    EXPECT_STREQ(read, "");
    EXPECT_EQ(in.ReadBinaryData(read, 1), 5);
    EXPECT_EQ(in.ReadUpTo(read, 5, "x"), 5);
    EXPECT_EQ(in.ReadUpTo(nullptr, 5, "x"), 5);
    EXPECT_EQ(in.UnpackFile(out.c_str(), read), 9);
    EXPECT_EQ(in.Unpack(out.c_str()), 5);  // what was written is no entry
}

// --- hostile archives ----------------------------------------------------------------------------

TEST_F(Archive, CutAnywhereGivesWhatIsWhole) {
    const std::vector<Entry> entries = {{"a", "123"}, {"bc", ""}, {"d", std::string(50, 'x')}};
    const std::string whole          = archive_bytes("cut", entries);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        write_file(archive, whole.substr(0, length));
        FilePacker in(archive.c_str(), kRead, nullptr);
        EXPECT_EQ(in.GetError(nullptr), length < 144 ? 5 : 0);

        // An entry counts as begun once its name is there; before that, the archive just ends.
        std::map<std::string, std::string> expected;
        std::size_t end = 144;
        bool is_begun   = false;
        for (const Entry& entry : entries) {
            const std::size_t data = end + entry.name.size() + 1;
            end += entry_bytes(entry.name, entry.data).size();
            if (length >= end) expected[entry.name] = entry.data;
            if (length >= data && length < end) is_begun = true;
        }
        const int unpacked = in.Unpack(out.c_str());
        EXPECT_EQ(unpacked, length < 144 ? 1 : is_begun ? 5 : 0);
        EXPECT_EQ(files_below(out), expected);
        EXPECT_EQ(read_as_buffers().size(), expected.size());
        for (const Entry& entry : entries) std::filesystem::remove(path_of(out + "/" + entry.name));
    }
}

TEST_F(Archive, SizesBeyondTheFileAreRefused) {
    const struct {
        std::int64_t size;
        const char* text;
    } cases[] = {{4, "beyond"}, {-1, "negative"}, {INT32_MAX, "most"}, {INT32_MIN, "least"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        write_file(archive, archive_bytes("") + "name" + '\0' + bytes_of(c.size) + "123");
        const auto before = files_below(sandbox / "");
        FilePacker in(archive.c_str(), kRead, nullptr);
        EXPECT_EQ(in.Unpack(out.c_str()), 5);
        EXPECT_EQ(read_as_buffers(), std::vector<Entry>());
        EXPECT_EQ(files_below(sandbox / ""), before);
    }
}

TEST_F(Archive, NamesThatLeadElsewhereAreRefused) {
    const std::vector<std::string> refused = {"",
                                              "/x",
                                              "\\x",
                                              "//server/share/x",
                                              "\\\\?\\x",
                                              "..",
                                              "../x",
                                              "..\\x",
                                              "sub/../../x",
                                              "sub\\..\\x",
                                              "sub/..",
                                              ".. /x",
                                              "../",
                                              "...",
                                              ".. .",
                                              "c:x",
                                              "c:/x",
                                              "x:stream",
                                              "a\nb",
                                              "a\x1f",
                                              "a\x7f",
                                              "\x01",
                                              "con",
                                              "CON",
                                              "nul.txt",
                                              "sub/aux.c",
                                              "aux .c",
                                              "prn/x",
                                              "com1",
                                              "Com9.x.y",
                                              "LPT0",
                                              "com\u00b9",
                                              "lpt\u00b3.txt",
                                              "conin$",
                                              "CONOUT$"};
    for (const std::string& name : refused) {
        SCOPED_TRACE(name);
        write_file(archive, archive_bytes("", {{name, "bad"}, {"good", "data"}}));
        const auto before = files_below(sandbox / "");
        FilePacker in(archive.c_str(), kRead, nullptr);
        EXPECT_EQ(in.Unpack(out.c_str()), 5);
        EXPECT_EQ(files_below(sandbox / ""), before);
        EXPECT_EQ(error_of(in),
                  error_text(5, ("Not a FilePacker archive: " + archive).substr(0, 99)));

        FilePacker again(archive.c_str(), kRead, nullptr);
        char handed_out[200] = "";
        EXPECT_EQ(again.UnpackFile(out.c_str(), handed_out), 5);
        EXPECT_EQ(handed_out, name);
        EXPECT_EQ(again.UnpackFile(out.c_str(), handed_out), 0);
        EXPECT_EQ(read_file(out + "/good"), "data");
        EXPECT_EQ(read_as_buffers(), (std::vector<Entry>{{name, "bad"}, {"good", "data"}}));
        std::filesystem::remove(path_of(out + "/good"));
    }
    for (const std::string name : {"console", "comma", "com10", "lpt", "x.aux", "..x", "a..b", ".x",
                                   "sub/./x", "sub//x", "con\u00fc", "@end"}) {
        SCOPED_TRACE(name);
        std::filesystem::create_directories(path_of(out + "/sub"));
        write_file(archive, archive_bytes("", {{name, "good"}}));
        FilePacker in(archive.c_str(), kRead, nullptr);
        EXPECT_EQ(in.Unpack(out.c_str()), 0);
        EXPECT_EQ(read_file(out + "/" + name), "good");
    }
}

TEST_F(Archive, OverlongNamesAreRefused) {
    const std::string longest(199, 'n');
    write_file(archive, archive_bytes("", {{longest + "n", ""}}));
    EXPECT_EQ(FilePacker(archive.c_str(), kRead, nullptr).Unpack(out.c_str()), 5);
    EXPECT_EQ(read_as_buffers(), std::vector<Entry>());
    EXPECT_EQ(files_below(out).size(), 0u);
    write_file(archive, archive_bytes("", {{longest, "data"}}));
    EXPECT_EQ(FilePacker(archive.c_str(), kRead, nullptr).Unpack(out.c_str()), 0);
    EXPECT_EQ(read_file(out + "/" + longest), "data");
}

TEST_F(Archive, DamagedAnywhereDoesNoHarm) {
    const std::string whole =
        archive_bytes("damaged", {{"a", "123"}, {"bc", ""}, {"sub/d", std::string(300, 'x')}});
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        std::string bytes = whole;
        for (std::size_t changes = 1 + random() % 4; changes > 0; --changes) {
            const std::size_t at = 140 + random() % (bytes.size() - 140);
            bytes[at] = random() % 2 ? "\0/.:\\"[random() % 5] : static_cast<char>(random());
        }
        write_file(archive, bytes);
        FilePacker in(archive.c_str(), kRead, nullptr);
        char name[200];
        int calls = 0;
        while (in.UnpackFile(out.c_str(), name) != 9) ASSERT_LT(++calls, 1000);
        read_as_buffers();
        EXPECT_EQ(in.GetError(nullptr), 9);
    }
    for (const auto& [name, data] : files_below(sandbox / ""))
        EXPECT_TRUE(name.starts_with("a") || name.starts_with("Archiv")) << name;
    for (const auto& [name, data] : files_below(sandbox / "a"))
        EXPECT_TRUE(name == "b" || name.starts_with("b/out")) << name;
}

TEST_F(Archive, LinksAreNotFollowed) {
    std::error_code error;
    write_file(sandbox / "victim", "intact");
    std::filesystem::create_symlink(path_of(sandbox / "victim"), path_of(out + "/link"), error);
    if (error) GTEST_SKIP() << "cannot make links";
    write_file(archive, archive_bytes("", {{"link", "bad"}, {"good", "data"}}));
    FilePacker in(archive.c_str(), kRead, nullptr);
    char name[200];
    EXPECT_EQ(in.UnpackFile(out.c_str(), name), 2);
    EXPECT_EQ(error_of(in), error_text(2, ("Cannot open file: " + out + "\\link").substr(0, 99)));
    EXPECT_EQ(read_file(sandbox / "victim"), "intact");
    EXPECT_EQ(in.UnpackFile(out.c_str(), name), 0);
    EXPECT_EQ(read_file(out + "/good"), "data");
}

TEST_F(Archive, OutputThatCannotBeMade) {
    std::filesystem::create_directory(path_of(out + "/directory"));
    const std::string own = out + "/own";
    const std::string bytes =
        archive_bytes("", {{"missing/x", "1"}, {"directory", "2"}, {"own", "3"}, {"good", "4"}});
    write_file(own, bytes);
    FilePacker in(own.c_str(), kRead, nullptr);
    char name[200];
    for (const char* native : {"missing\\x", "directory", "own"}) {
        EXPECT_EQ(in.UnpackFile(out.c_str(), name), 2);
        EXPECT_EQ(error_of(in),
                  error_text(2, ("Cannot open file: " + out + "\\" + native).substr(0, 99)));
    }
    EXPECT_EQ(in.UnpackFile(out.c_str(), name), 0);
    EXPECT_EQ(read_file(out + "/good"), "4");
    EXPECT_EQ(read_file(own), bytes);
}

// --- files that change meanwhile
// -------------------------------------------------------------------

TEST_F(Archive, ArchiveThatShrinks) {
    const std::vector<Entry> entries = {{"a", "1"}, {"b", std::string(100000, 'b')}};
    write_file(archive, archive_bytes("", entries));
    FilePacker in(archive.c_str(), kRead, nullptr);
    char name[200];
    EXPECT_EQ(in.UnpackFile(out.c_str(), name), 0);
    std::filesystem::resize_file(path_of(archive), 50000);
    EXPECT_EQ(in.UnpackFile(out.c_str(), name), 5);
    EXPECT_FALSE(exists(out + "/b"));
}

TEST_F(Archive, FileThatEndsBeforeItsSize) {
    // The system says 4096 bytes for this file, and gives fewer.
    const std::string shorter = "/sys/devices/system/cpu/online";
    std::error_code error;
    const auto size = std::filesystem::file_size(shorter, error);
    if (error || size <= read_file(shorter).size()) GTEST_SKIP() << "has no such file";
    FilePacker packer(archive.c_str(), kWrite, "");
    EXPECT_EQ(packer.AddFile(shorter.c_str(), "x"), 8);
    EXPECT_EQ(error_of(packer), error_text(8, "Cannot read from file: " + shorter));
    EXPECT_EQ(read_file(archive),
              archive_bytes("") + "x" + '\0' + bytes_of(static_cast<std::int64_t>(size)));
    EXPECT_EQ(packer.AddFile(shorter.c_str(), "x"), 0);  // is recorded
}

TEST_F(Archive, TakesItselfAsAFile) {
    FilePacker packer(archive.c_str(), kWrite, "self");
    EXPECT_EQ(add(packer, "a", std::string(100000, 'a')), 0);
    const std::string before = read_file(archive);
    EXPECT_EQ(packer.AddFile(archive.c_str(), "self"), 0);
    EXPECT_EQ(read_file(archive), before + entry_bytes("self", before));
}

}  // namespace
