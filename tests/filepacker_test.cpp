// Archives: the format to the byte, random archives against a model, and hostile ones.

#include "movane/services.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

namespace {

using namespace movane_tests;

constexpr int kWrite = FilePacker::mode_write, kRead = FilePacker::mode_read;

using Entries = std::vector<std::pair<std::string, std::string>>;  // names and data
using Tree    = std::map<std::string, std::string>;

std::string entry_bytes(const std::string& name, const std::string& data, std::size_t size) {
    std::string bytes = name + '\0';
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(size >> shift);
    return bytes + data;
}

std::string archive_bytes(const std::string& description, const Entries& entries = {}) {
    std::string bytes = std::string("QZFP\0ver1.0\0", 12) + std::string(128, '\0') + description;
    bytes += '\0';
    for (const auto& [name, data] : entries) bytes += entry_bytes(name, data, data.size());
    return bytes;
}

std::string error_text(int code, const std::string& text) {
    return "FilePacker error " + std::to_string(code) + ": " + text.substr(0, 99);
}

std::string error_of(FilePacker& packer) {
    char text[128];
    std::fill(std::begin(text), std::end(text), '#');
    packer.GetError(text);
    return text;
}

int add(FilePacker& packer, const std::string& name, const std::string& data) {
    return packer.AddFileAsBuffer(data.data(), static_cast<long>(data.size()), name.c_str());
}

class Archive : public ::testing::Test {
protected:
    Archive() { std::filesystem::create_directories(path_of(out)); }

    // Code and name of the next entry, which goes to a file, such as "0 name".
    std::string unpack_next(FilePacker& in) const {
        char name[200] = "";
        const int code = in.UnpackFile(out.c_str(), name);
        return std::to_string(code) + " " + name;
    }
    int unpack_all() const {
        return FilePacker(archive.c_str(), kRead, nullptr).Unpack(out.c_str());
    }
    Entries read_as_buffers() const {
        FilePacker in(archive.c_str(), kRead, nullptr);
        Entries entries;
        char *data = nullptr, name[200];
        long size  = 0;
        while (in.UnpackFileAsBuffer(&data, &size, name) == 0) {
            EXPECT_EQ(data[size], '\0');
            entries.emplace_back(name, std::string(data, static_cast<std::size_t>(size)));
        }
        EXPECT_EQ(data, nullptr);
        return entries;
    }

    const TemporaryDirectory sandbox;
    const std::string archive = sandbox / "Archiv-\u6f22.qz", file = sandbox / "file",
                      out = sandbox / "a/b/out";
};

// --- writing -----------------------------------------------------------------------------------

TEST_F(Archive, HasTheDocumentedBytes) {
    const std::string odd("\0\1\xff", 3), empty = sandbox / "empty";
    write_file(file, "abc");
    write_file(empty, "");
    std::string native = file;
    std::replace(native.begin(), native.end(), '/', '\\');
    {
        FilePacker packer(archive.c_str(), kWrite, "xyz");
        EXPECT_EQ(read_file(archive), archive_bytes("xyz"));
        EXPECT_EQ(packer.AddFile(native.c_str(), nullptr), 0);
        EXPECT_EQ(packer.AddFile(empty.c_str(), "d\\e/f"), 0);
        EXPECT_EQ(add(packer, "g\\h", odd), 0);
        // Complete at every entry, while it is still open.
        EXPECT_EQ(read_file(archive),
                  archive_bytes("xyz", {{file, "abc"}, {"d/e/f", ""}, {"g/h", odd}}));
        EXPECT_EQ(error_of(packer), error_text(0, "No error"));
    }
    EXPECT_EQ(FilePacker(archive.c_str(), kWrite, nullptr).GetError(nullptr), 0);
    EXPECT_EQ(read_file(archive), archive_bytes(""));
    FilePacker(archive.c_str(), kWrite, std::string(300, 'd').c_str());
    EXPECT_EQ(read_file(archive), archive_bytes(std::string(199, 'd')));
}

TEST_F(Archive, AddsANameOnce) {
    write_file(file, "abc");
    FilePacker packer(archive.c_str(), kWrite, "");
    // Of a file the name given is remembered, of a block the name stored.
    const char* const names[] = {"f\\1", "f\\1", "f/1", nullptr, nullptr};
    for (const char* name : names) EXPECT_EQ(packer.AddFile(file.c_str(), name), 0);
    EXPECT_EQ(packer.AddFile((sandbox / "missing").c_str(), "f/1"), 0);
    for (const char* name : {"b\\1", "b/1", "b\\1", "B/1"}) EXPECT_EQ(add(packer, name, "x"), 0);
    EXPECT_EQ(read_as_buffers(), (Entries{{"f/1", "abc"},
                                          {"f/1", "abc"},
                                          {file, "abc"},
                                          {"b/1", "x"},
                                          {"b/1", "x"},
                                          {"B/1", "x"}}));
}

TEST_F(Archive, WritesNothingForWhatNobodyCouldRead) {
    const std::string huge = sandbox / "huge", none = sandbox / "none", too_long(200, 'n'),
                      longest(199, 'n');
    write_file(file, "abc");
    write_file(huge, "");
    std::filesystem::resize_file(path_of(huge), std::uintmax_t{1} << 31);
    FilePacker packer(archive.c_str(), kWrite, "");
    const auto expect = [&](int result, int code, const std::string& text) {
        EXPECT_EQ(result, code);
        EXPECT_EQ(error_of(packer), error_text(code, text));
        EXPECT_EQ(read_file(archive), archive_bytes(""));
    };
    expect(packer.AddFile(nullptr, "x"), 2, "Cannot open file: ");
    expect(packer.AddFile(none.c_str(), "x"), 2, "Cannot open file: " + none);
    expect(packer.AddFile(huge.c_str(), "x"), 8, "Cannot read from file: " + huge);
    for (const int result :
         {packer.AddFile(file.c_str(), ""), packer.AddFile(too_long.c_str(), nullptr),
          packer.AddFile(nullptr, nullptr), packer.AddFileAsBuffer("x", 1, nullptr),
          packer.AddFileAsBuffer("x", 1, ""), packer.AddFileAsBuffer("x", 1, too_long.c_str()),
          packer.AddFileAsBuffer("x", -1, "x")})
        expect(result, 7, "Cannot write output file: " + archive);
    EXPECT_EQ(packer.AddFile(file.c_str(), longest.c_str()), 0);
    EXPECT_EQ(read_file(archive), archive_bytes("", {{longest, "abc"}}));
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

TEST_F(Archive, TakesFilesThatAreNotWhatTheySeem) {
    FilePacker packer(archive.c_str(), kWrite, "self");
    EXPECT_EQ(add(packer, "a", std::string(100000, 'a')), 0);
    std::string bytes = read_file(archive);
    EXPECT_EQ(packer.AddFile(archive.c_str(), "self"), 0);
    bytes += entry_bytes("self", bytes, bytes.size());
    EXPECT_EQ(read_file(archive), bytes);

    // The system says 4096 bytes for this file, and gives fewer.
    const std::string shorter = "/sys/devices/system/cpu/online";
    std::error_code error;
    const auto size = std::filesystem::file_size(shorter, error);
    if (error || size <= read_file(shorter).size()) GTEST_SKIP() << "has no such file";
    EXPECT_EQ(packer.AddFile(shorter.c_str(), "x"), 8);
    EXPECT_EQ(error_of(packer), error_text(8, "Cannot read from file: " + shorter));
    EXPECT_EQ(read_file(archive), bytes + entry_bytes("x", "", size));
    EXPECT_EQ(packer.AddFile(shorter.c_str(), "x"), 0);  // is recorded
}

// --- state ---------------------------------------------------------------------------------------

TEST_F(Archive, TellsWhatCannotBeOpened) {
    const std::string missing   = sandbox / "none/archive",
                      long_path = sandbox / std::string(600, 'p');
    write_file(file, "QZFP is not enough, it must end there" + std::string(200, '\0'));
    write_file(archive, archive_bytes(""));
    const struct {
        std::string path;
        int mode, code;
        std::string text;
    } rows[] = {{archive, 2, 1, "Invalid mode supplied"},
                {archive, -1, 1, "Invalid mode supplied"},
                {missing, kRead, 2, "Cannot open file: " + missing},
                {missing, kWrite, 3, "Cannot create archive: " + missing},
                {long_path, kWrite, 3, "Cannot create archive: " + long_path},
                {"", kRead, 2, "Cannot open file: "},
                {out, kRead, 2, "Cannot open file: " + out},
                {file, kRead, 5, "Not a FilePacker archive: " + file}};
    for (const auto& row : rows) {
        FilePacker packer(row.path.c_str(), row.mode, "d");
        EXPECT_EQ(error_of(packer), error_text(row.code, row.text));
        // Without an archive every call fails and touches nothing.
        char *data = nullptr, name[200];
        long size  = 1;
        for (const int result :
             {packer.AddFile("x", "x"), packer.AddFileAsBuffer("x", 1, "x"), packer.Unpack("x"),
              packer.UnpackFile("x", name), packer.UnpackFileAsBuffer(&data, &size, name)})
            EXPECT_EQ(result, 1);
        EXPECT_EQ(size, 0);
        EXPECT_EQ(error_of(packer), error_text(1, "Invalid mode supplied"));
        for (const int result :
             {packer.ReadString(name), packer.WriteString("x"), packer.ReadBinaryData(name, 1),
              packer.WriteBinaryData("x", 1), packer.ReadUpTo(name, 1, "x")})
            EXPECT_EQ(result, 4);
        EXPECT_EQ(error_of(packer), error_text(4, "Archive not opened: " + row.path));
    }
    FilePacker reader(archive.c_str(), kRead, nullptr), nameless(nullptr, kRead, nullptr),
        writer(archive.c_str(), kWrite, "");
    EXPECT_EQ(reader.AddFile("x", "x") + writer.Unpack(out.c_str()), 2);
    EXPECT_EQ(error_of(nameless), error_text(2, "Cannot open file: "));
}

TEST_F(Archive, CopiesShareWhatIsOpen) {
    FilePacker last("", kRead, nullptr);
    {
        FilePacker packer(archive.c_str(), kWrite, "shared");
        EXPECT_EQ(add(packer, "a", "1"), 0);
        FilePacker copy(packer), third(copy), other((sandbox / "other").c_str(), kWrite, "other");
        other  = third;
        other  = *&other;
        packer = copy;
        last   = copy;
        EXPECT_EQ(add(copy, "a", "2") + add(other, "b", "3"), 0);
        EXPECT_EQ(third.AddFile("", ""), 7);
        EXPECT_EQ(other.GetError(nullptr), 0);
    }
    EXPECT_EQ(add(last, "b", "4") + add(last, "c", "5"), 0);
    EXPECT_EQ(read_file(sandbox / "other"), archive_bytes("other"));
    EXPECT_EQ(read_file(archive), archive_bytes("shared", {{"a", "1"}, {"b", "3"}, {"c", "5"}}));

    char *data = nullptr, name[200];
    long size  = 0;
    {
        FilePacker in(archive.c_str(), kRead, nullptr);
        last = in;
        for (FilePacker* reader : {&in, &last, &in})
            EXPECT_EQ(reader->UnpackFileAsBuffer(&data, &size, name), 0);
    }
    EXPECT_EQ(std::string(data, 2), std::string("5\0", 2));
    EXPECT_EQ(last.UnpackFileAsBuffer(&data, &size, name), 9);
    EXPECT_EQ(error_of(last), error_text(9, "Undocumented error"));
    EXPECT_EQ(last.GetDescription(name), 0);
    EXPECT_STREQ(name, "shared");
}

// --- reading -------------------------------------------------------------------------------------

TEST_F(Archive, ReadsDescriptionsOfEveryLength) {
    for (const std::size_t length : {0, 3, 199, 200, 5000}) {
        const std::string text(length, 'd');
        write_file(archive, archive_bytes(text, {{"@end.txt", "data"}}));
        FilePacker in(archive.c_str(), kRead, "replaced");
        char *data = nullptr, found[200] = "untouched";
        long size = 0;
        // The mark stops reading into memory only.
        EXPECT_EQ(in.UnpackFileAsBuffer(&data, &size, found), 9);
        EXPECT_STREQ(found, "untouched");
        for (int round = 0; round < 2; ++round) EXPECT_EQ(in.Unpack(out.c_str()), 0);
        EXPECT_EQ(tree_of(out), (Tree{{"@end.txt", "data"}}));
        EXPECT_EQ(error_of(in), error_text(0, "No error"));
        EXPECT_EQ(in.GetDescription(found), 0);
        EXPECT_EQ(found, text.substr(0, 199));
    }
}

TEST_F(Archive, MatchesAModel) {
    std::mt19937 random(1);
    const auto number = [&](std::size_t n) { return random() % n; };
    for (int round = 0; round < 8; ++round) {
        Entries entries;
        Tree tree;
        {
            FilePacker packer(archive.c_str(), kWrite, "model");
            for (std::size_t i = number(90); i > 0; --i) {
                const std::string name = "n\u00fc" + std::to_string(number(80));
                std::string data(number(5) == 0 ? number(150000) : number(50), '\0');
                for (char& c : data) c = static_cast<char>(random());
                write_file(file, data);
                EXPECT_EQ(number(2) ? add(packer, name, data)
                                    : packer.AddFile(file.c_str(), name.c_str()),
                          0);
                if (tree.emplace(name, data).second) entries.emplace_back(name, data);
            }
        }
        EXPECT_EQ(read_file(archive), archive_bytes("model", entries));
        EXPECT_EQ(read_as_buffers(), entries);
        FilePacker in(archive.c_str(), kRead, nullptr);
        for (const auto& entry : entries) EXPECT_EQ(unpack_next(in), "0 " + entry.first);
        EXPECT_EQ(unpack_next(in), "9 ");
        EXPECT_EQ(tree_of(out), tree);
        for (const auto& entry : entries) std::filesystem::remove(path_of(out + "/" + entry.first));
        EXPECT_EQ(in.Unpack(out.c_str()), 0);
        EXPECT_EQ(tree_of(out), tree);
        for (const auto& entry : entries) std::filesystem::remove(path_of(out + "/" + entry.first));
    }
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
    const Entries entries   = {{"a", "123"}, {"bc", ""}, {"d", std::string(50, 'x')}};
    const std::string whole = archive_bytes("cut", entries);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        write_file(archive, whole.substr(0, length));
        // An entry counts as begun once its name is there; before that, the archive just ends.
        Tree expected;
        std::size_t end = 144;
        int code        = length < end ? 1 : 0;
        for (const auto& [name, data] : entries) {
            const std::size_t begun = end + name.size() + 1;
            end                     = begun + 4 + data.size();
            if (length >= end) expected[name] = data;
            if (length >= begun && length < end) code = 5;
        }
        EXPECT_EQ(unpack_all(), code);
        EXPECT_EQ(tree_of(out), expected);
        EXPECT_EQ(read_as_buffers(), Entries(expected.begin(), expected.end()));
        for (const auto& entry : entries) std::filesystem::remove(path_of(out + "/" + entry.first));
    }
}

TEST_F(Archive, EntriesThatCannotBeAreRefused) {
    const std::string longest(199, 'n');
    for (const std::string& entry :
         {entry_bytes("x", "123", 4), entry_bytes("x", "123", 0xFFFFFFFF),
          entry_bytes("x", "123", 0x7FFFFFFF), entry_bytes("x", "123", 0x80000000),
          entry_bytes(longest + "n", "", 0)}) {
        write_file(archive, archive_bytes("") + entry);
        EXPECT_EQ(unpack_all(), 5);
        EXPECT_EQ(tree_of(out), Tree());
        EXPECT_EQ(read_as_buffers(), Entries());
    }
    write_file(archive, archive_bytes("", {{longest, "data"}}));
    EXPECT_EQ(unpack_all(), 0);
    EXPECT_EQ(tree_of(out), (Tree{{longest, "data"}}));
}

TEST_F(Archive, NamesThatLeadElsewhereAreRefused) {
    for (const std::string name : {"",           "/x",        "\\x",           "//server/share/x",
                                   "..",         "../x",      "..\\x",         "sub/../../x",
                                   "sub\\..\\x", "sub/..",    ".. /x",         "../",
                                   "...",        ".. .",      "c:x",           "x:stream",
                                   "a\nb",       "a\x1f",     "a\x7f",         "\x01",
                                   "con",        "CON",       "nul.txt",       "sub/aux.c",
                                   "aux .c",     "prn/x",     "com1",          "Com9.x.y",
                                   "LPT0",       "com\u00b9", "lpt\u00b3.txt", "conin$",
                                   "CONOUT$"}) {
        SCOPED_TRACE(name);
        write_file(archive, archive_bytes("", {{name, "bad"}, {"good", "data"}}));
        const Tree before = tree_of(sandbox / "");
        FilePacker in(archive.c_str(), kRead, nullptr);
        EXPECT_EQ(in.Unpack(out.c_str()), 5);
        EXPECT_EQ(error_of(in), error_text(5, "Not a FilePacker archive: " + archive));
        EXPECT_EQ(tree_of(sandbox / ""), before);
        EXPECT_EQ(unpack_next(in), "0 good");  // goes on behind the entry
        EXPECT_EQ(read_file(out + "/good"), "data");
        EXPECT_EQ(read_as_buffers(), (Entries{{name, "bad"}, {"good", "data"}}));
    }
    std::filesystem::create_directories(path_of(out + "/sub"));
    for (const std::string name : {"console", "comma", "com10", "lpt", "x.aux", "..x", "a..b", ".x",
                                   "sub/./x", "sub//x", "con\u00fc", "@end"}) {
        write_file(archive, archive_bytes("", {{name, name}}));
        EXPECT_EQ(unpack_all(), 0) << name;
        EXPECT_EQ(read_file(out + "/" + name), name);
    }
}

TEST_F(Archive, DamagedAnywhereDoesNoHarm) {
    const std::string whole =
        archive_bytes("damaged", {{"a", "123"}, {"bc", ""}, {"sub/d", std::string(300, 'x')}});
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        std::string bytes = whole;
        for (std::size_t changes = 1 + random() % 4; changes > 0; --changes)
            bytes[140 + random() % (bytes.size() - 140)] =
                random() % 2 ? "\0/.:\\"[random() % 5] : static_cast<char>(random());
        write_file(archive, bytes);
        FilePacker in(archive.c_str(), kRead, nullptr);
        int calls = 0;
        while (unpack_next(in)[0] != '9') ASSERT_LT(++calls, 1000);
        read_as_buffers();
    }
    for (const auto& [name, data] : tree_of(sandbox / ""))
        EXPECT_TRUE(name == "a" || name == "a/b" || name.starts_with("a/b/out") ||
                    name.starts_with("Archiv"))
            << name;
}

TEST_F(Archive, LinksAreNotFollowed) {
    std::error_code error;
    write_file(file, "intact");
    std::filesystem::create_symlink(path_of(file), path_of(out + "/link"), error);
    if (error) GTEST_SKIP() << "cannot make links";
    write_file(archive, archive_bytes("", {{"link", "bad"}, {"good", "data"}}));
    FilePacker in(archive.c_str(), kRead, nullptr);
    EXPECT_EQ(in.Unpack(out.c_str()), 2);
    EXPECT_EQ(error_of(in), error_text(2, "Cannot open file: " + out + "\\link"));
    EXPECT_EQ(read_file(file), "intact");
}

TEST_F(Archive, OutputThatCannotBeMade) {
    const std::string own   = out + "/own",
                      bytes = archive_bytes(
                          "",
                          {{"missing/x", "1"}, {"directory", "2"}, {"own", "3"}, {"good", "4"}});
    write_file(own, bytes);
    std::filesystem::create_directory(path_of(out + "/directory"));
    FilePacker in(own.c_str(), kRead, nullptr);
    for (const std::string name : {"missing\\x", "directory", "own"}) {
        EXPECT_EQ(unpack_next(in)[0], '2');
        EXPECT_EQ(error_of(in), error_text(2, "Cannot open file: " + out + "\\" + name));
    }
    EXPECT_EQ(unpack_next(in), "0 good");
    EXPECT_EQ(tree_of(out), (Tree{{"directory", "/"}, {"own", bytes}, {"good", "4"}}));
}

TEST_F(Archive, ArchiveThatShrinks) {
    write_file(archive, archive_bytes("", {{"a", "1"}, {"b", std::string(100000, 'b')}}));
    FilePacker in(archive.c_str(), kRead, nullptr);
    EXPECT_EQ(unpack_next(in), "0 a");
    std::filesystem::resize_file(path_of(archive), 50000);
    EXPECT_EQ(unpack_next(in), "5 b");
    EXPECT_EQ(tree_of(out), (Tree{{"a", "1"}}));
}

}  // namespace
