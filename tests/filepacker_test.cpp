// Archives: the format to the byte, random archives against a model, and hostile ones.

#include "movane/services.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <tuple>
#include <vector>

namespace {

using namespace movane_tests;

constexpr int kWrite = FilePacker::mode_write, kRead = FilePacker::mode_read;

using Entries = std::vector<std::pair<std::string, std::string>>;  // names and data

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

struct Packer : FilePacker {
    explicit Packer(const std::string& path, int mode = kRead, const char* description = nullptr)
        : FilePacker(path.c_str(), mode, description) {}

    int add(const std::string& entry, const std::string& bytes) {
        return AddFileAsBuffer(bytes.data(), static_cast<long>(bytes.size()), entry.c_str());
    }
    int add_file(const std::string& path, const char* entry_name) {
        return AddFile(path.c_str(), entry_name);
    }
    int unpack(const std::string& directory) { return Unpack(directory.c_str()); }
    // Each leaves the name and, of the latter, the bytes behind.
    int unpack_next(const std::string& directory) { return UnpackFile(directory.c_str(), name); }
    int read_next() { return UnpackFileAsBuffer(&data, &size, name); }

    char name[200] = "";
    char* data     = nullptr;
    long size      = 0;
};

class Archive : public ::testing::Test {
protected:
    Archive() { make_tree(out, "./"); }

    Entries read_all() const {
        Packer in(archive);
        Entries entries;
        while (in.read_next() == 0) {
            EXPECT_EQ(in.data[in.size], '\0');
            entries.emplace_back(in.name, std::string(in.data, static_cast<std::size_t>(in.size)));
        }
        EXPECT_EQ(in.data, nullptr);
        return entries;
    }

    const TemporaryDirectory sandbox;
    const std::string archive = sandbox / "Archiv-\u6f22.qz", file = sandbox / "file",
                      out = sandbox / "a/b/out";
};

// --- writing -----------------------------------------------------------------------------------

TEST_F(Archive, HasTheBytesOfAModel) {
    std::mt19937 random(1);
    for (int round = 0; round < 6; ++round) {
        const std::string description(random() % 300, 'd'), kept = description.substr(0, 199);
        const std::string one = out + std::to_string(round), all = one + "all";
        Entries entries;
        std::map<std::string, std::string> files;
        std::set<std::string> recorded;  // of a file the name given, of a block the name stored
        std::vector<Packer> sharers(3, Packer(archive, kWrite, description.c_str()));
        for (auto left = random() % 60; left > 0; --left) {
            const std::string digit = std::to_string(random() % 40), stored = "nü/" + digit,
                              name = random() % 2 ? stored : "nü\\" + digit;
            std::string data(random() % (random() % 16 ? 50 : 150000), '\0');
            for (char& c : data) c = static_cast<char>(random());
            write_file(file, data);
            if (left == 20) sharers.pop_back();
            Packer& packer     = sharers[random() % sharers.size()];
            packer             = sharers[random() % sharers.size()];
            const bool is_file = random() % 2, is_new = recorded.count(name) == 0;
            EXPECT_EQ(is_file ? packer.add_file(file, name.c_str()) : packer.add(name, data), 0);
            if (is_new) {
                recorded.insert(is_file ? name : stored);
                entries.emplace_back(stored, files[stored] = data);
            }
            // Complete at every entry, while it is still open.
            ASSERT_TRUE(read_file(archive) == archive_bytes(kept, entries));
        }
        sharers.clear();
        EXPECT_EQ(read_all(), entries);

        // One by one, then all.
        Packer in(archive);
        for (const std::string& directory : {one, all}) make_tree(directory, "nü/");
        for (const auto& entry : entries) {
            EXPECT_EQ(in.unpack_next(one), 0);
            EXPECT_EQ(in.name, entry.first);
        }
        EXPECT_EQ(in.unpack_next(one), 9);
        EXPECT_EQ(in.unpack(all), 0);
        EXPECT_EQ(error_of(in), error_text(0, "No error"));
        for (const auto& [name, data] : files)
            EXPECT_TRUE(read_file(one + "/" + name) == data && read_file(all + "/" + name) == data);
    }
}

TEST_F(Archive, WritesNothingForWhatNobodyCouldRead) {
    const std::string huge = sandbox / "huge", none = sandbox / "none", longest(199, 'n'),
                      more = longest + "n";
    write_file(file, "abc");
    write_file(huge, "");
    std::filesystem::resize_file(path_of(huge), std::uintmax_t{1} << 31);
    Packer packer(archive, kWrite);
    EXPECT_EQ(packer.add_file(none, "x"), 2);
    EXPECT_EQ(error_of(packer), error_text(2, "Cannot open file: " + none));
    EXPECT_EQ(packer.AddFile(nullptr, "x"), 2);
    EXPECT_EQ(packer.add_file(huge, "x"), 8);
    EXPECT_EQ(error_of(packer), error_text(8, "Cannot read from file: " + huge));
    for (const int code :
         {packer.add_file(huge, ""), packer.add_file(more, nullptr),
          packer.AddFile(nullptr, nullptr), packer.AddFileAsBuffer("x", 1, nullptr),
          packer.add("", "x"), packer.add(more, "x"), packer.AddFileAsBuffer("x", -1, "x")})
        EXPECT_EQ(code, 7);
    EXPECT_EQ(error_of(packer), error_text(7, "Cannot write output file: " + archive));
    EXPECT_EQ(read_file(archive), archive_bytes(""));
    for (int i = 0; i < 2; ++i) EXPECT_EQ(packer.add_file(file, nullptr), 0);
    EXPECT_EQ(packer.add(longest, "x"), 0);
    EXPECT_EQ(packer.add_file(none, longest.c_str()), 0);
    EXPECT_EQ(read_file(archive), archive_bytes("", {{file, "abc"}, {longest, "x"}}));
}

TEST_F(Archive, ReportsAFullDisk) {
    if (!std::filesystem::is_character_file("/dev/full")) GTEST_SKIP() << "has no full device";
    Packer full("/dev/full", kWrite);
    EXPECT_EQ(error_of(full), error_text(7, "Cannot write output file: /dev/full"));
    EXPECT_EQ(full.add("x", "y"), 1);

    write_file(archive, archive_bytes("", {{"full", "abc"}}));
    Packer in(archive);
    EXPECT_EQ(in.unpack("/dev"), 7);
    EXPECT_EQ(error_of(in), error_text(7, "Cannot write output file: /dev\\full"));
}

TEST_F(Archive, TakesFilesThatAreNotWhatTheySeem) {
    Packer packer(archive, kWrite);
    EXPECT_EQ(packer.add("a", std::string(100000, 'a')), 0);
    std::string bytes = read_file(archive);
    EXPECT_EQ(packer.add_file(archive, "self"), 0);
    bytes += entry_bytes("self", bytes, bytes.size());
    EXPECT_EQ(read_file(archive), bytes);

    // The system says 4096 bytes for this file, and gives fewer.
    const std::string shorter = "/sys/devices/system/cpu/online";
    const auto size           = exists(shorter) ? std::filesystem::file_size(shorter) : 0;
    if (size <= read_file(shorter).size()) GTEST_SKIP() << "has no such file";
    EXPECT_EQ(packer.add_file(shorter, "x"), 8);
    EXPECT_EQ(error_of(packer), error_text(8, "Cannot read from file: " + shorter));
    EXPECT_EQ(read_file(archive), bytes + entry_bytes("x", "", static_cast<std::size_t>(size)));
    EXPECT_EQ(packer.add_file(shorter, "x"), 0);  // is recorded
}

// --- state ---------------------------------------------------------------------------------------

TEST_F(Archive, TellsWhatCannotBeOpened) {
    const std::string missing   = sandbox / "none/archive",
                      long_path = sandbox / std::string(600, 'p');
    write_file(file, "QZFP is not enough, it must end there" + std::string(200, '\0'));
    write_file(archive, archive_bytes(""));
    const std::tuple<std::string, int, int, std::string> rows[] = {
        {archive, 2, 1, "Invalid mode supplied"},
        {archive, -1, 1, "Invalid mode supplied"},
        {missing, kRead, 2, "Cannot open file: " + missing},
        {long_path, kWrite, 3, "Cannot create archive: " + long_path},
        {out, kRead, 2, "Cannot open file: " + out},
        {file, kRead, 5, "Not a FilePacker archive: " + file}};
    for (const auto& [path, mode, error, text] : rows) {
        Packer packer(path, mode);
        EXPECT_EQ(error_of(packer), error_text(error, text));
        // Without an archive every call fails and touches nothing.
        packer.size = 1;
        for (const int code : {packer.add_file("x", "x"), packer.add("x", "x"), packer.unpack("x"),
                               packer.unpack_next("x"), packer.read_next()})
            EXPECT_EQ(code, 1);
        EXPECT_EQ(packer.size, 0);
        for (const int code :
             {packer.ReadString(packer.name), packer.WriteString("x"),
              packer.ReadBinaryData(packer.name, 1), packer.WriteBinaryData("x", 1),
              packer.ReadUpTo(packer.name, 1, "x")})
            EXPECT_EQ(code, 4);
        EXPECT_EQ(error_of(packer), error_text(4, "Archive not opened: " + path));
    }
    FilePacker nameless(nullptr, kRead, nullptr);
    EXPECT_EQ(error_of(nameless), error_text(2, "Cannot open file: "));
    EXPECT_EQ(Packer(archive).add("x", "x"), 1);
    Packer writer(archive, kWrite);
    EXPECT_EQ(writer.unpack(out), 1);
    EXPECT_EQ(error_of(writer), error_text(1, "Invalid mode supplied"));
}

TEST_F(Archive, CopiesShareWhatIsOpen) {
    write_file(archive, archive_bytes("", {{"a", "1"}, {"b", "2"}, {"c", "3"}}));
    Packer last(file, kWrite);
    {
        Packer in(archive);
        last = in;
        for (Packer* reader : {&in, &in, &last}) EXPECT_EQ(reader->read_next(), 0);
    }
    EXPECT_STREQ(last.data, "3");
    EXPECT_EQ(last.read_next(), 9);
    EXPECT_EQ(error_of(last), error_text(9, "Undocumented error"));

    // Each has its own code.
    Packer copy(last);
    EXPECT_EQ(copy.add("", ""), 1);
    EXPECT_EQ(last.GetError(nullptr), 9);
}

// --- reading -------------------------------------------------------------------------------------

TEST_F(Archive, ReadsDescriptionsOfEveryLength) {
    for (const std::size_t length : {0, 3, 199, 200, 5000}) {
        const std::string text(length, 'd');
        write_file(archive, archive_bytes(text, {{"@end.txt", "data"}}));
        Packer in(archive, kRead, "replaced");
        EXPECT_EQ(in.read_next(), 9);  // the mark stops reading into memory only
        EXPECT_STREQ(in.name, "");
        for (int round = 0; round < 2; ++round) EXPECT_EQ(in.unpack(out), 0);
        EXPECT_EQ(tree_of(out), "@end.txt=data ");
        EXPECT_EQ(error_of(in), error_text(0, "No error"));
        EXPECT_EQ(in.GetDescription(in.name), 0);
        EXPECT_EQ(in.name, text.substr(0, 199));
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
        std::string expected;
        std::size_t end = 144, count = 0;
        int code = length < end ? 1 : 0;
        for (const auto& [name, data] : entries) {
            const std::size_t begun = end + name.size() + 1;
            end                     = begun + 4 + data.size();
            if (length >= end) expected += name + "=" + data + " ";
            count += length >= end;
            if (length >= begun && length < end) code = 5;
        }
        EXPECT_EQ(Packer(archive).unpack(out), code);
        EXPECT_EQ(tree_of(out), expected);
        EXPECT_EQ(read_all(), Entries(entries.begin(), entries.begin() + count));
        for (const auto& entry : entries) std::filesystem::remove(path_of(out + "/" + entry.first));
    }
}

TEST_F(Archive, EntriesThatCannotBeAreRefused) {
    const std::string longest(199, 'n');
    for (const std::size_t size : {4u, 0xFFFFFFFFu, 0x7FFFFFFFu, 0u}) {
        write_file(archive, archive_bytes("") +
                                entry_bytes(size ? "x" : longest + "n",
                                            size == 4 ? "123" : "y" + std::string(99, 0), size));
        EXPECT_EQ(Packer(archive).unpack(out), 5);
        Packer in(archive);
        EXPECT_EQ(in.unpack_next(out), 5);
        EXPECT_EQ(in.unpack_next(out), 9);  // where another begins cannot be known
        EXPECT_EQ(tree_of(out), "");
        EXPECT_EQ(read_all(), Entries());
    }
    write_file(archive, archive_bytes("", {{longest, "data"}}));
    EXPECT_EQ(Packer(archive).unpack(out), 0);
    EXPECT_EQ(tree_of(out), longest + "=data ");
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
        write_file(archive, archive_bytes("", {{name, "bad"}, {"@en", "data"}}));
        const std::string before = tree_of(sandbox / "");
        Packer in(archive);
        EXPECT_EQ(in.unpack(out), 5);
        EXPECT_EQ(error_of(in), error_text(5, "Not a FilePacker archive: " + archive));
        EXPECT_EQ(tree_of(sandbox / ""), before);
        EXPECT_EQ(in.unpack_next(out), 0);  // goes on behind the entry
        EXPECT_EQ(read_file(out + "/@en"), "data");
        EXPECT_EQ(read_all(), (Entries{{name, "bad"}, {"@en", "data"}}));
    }
    make_tree(out, "sub/");
    for (const std::string name : {"console", "comma", "com10", "lpt", "x.aux", "..x", "a..b", ".x",
                                   "sub/./x", "sub//x", "con\u00fc", "@end"}) {
        write_file(archive, archive_bytes("", {{name, name}}));
        EXPECT_EQ(Packer(archive).unpack(out), 0) << name;
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
        Packer in(archive);
        for (int calls = 0; in.unpack_next(out) != 9; ++calls) ASSERT_LT(calls, 1000);
        read_all();
    }
    for (const std::string& expected : {out, archive})
        std::filesystem::remove_all(path_of(expected));
    EXPECT_EQ(tree_of(sandbox / ""), "a/ a/b/ ");
}

TEST_F(Archive, LinksAreNotFollowed) {
    std::error_code error;
    write_file(file, "intact");
    std::filesystem::create_symlink(path_of(file), path_of(out + "/link"), error);
    if (error) GTEST_SKIP() << "cannot make links";
    write_file(archive, archive_bytes("", {{"link", "bad"}}));
    Packer in(archive);
    EXPECT_EQ(in.unpack(out), 2);
    EXPECT_EQ(error_of(in), error_text(2, "Cannot open file: " + out + "\\link"));
    EXPECT_EQ(read_file(file), "intact");
}

TEST_F(Archive, OutputThatCannotBeMade) {
    const std::string own   = out + "/own",
                      bytes = archive_bytes(
                          "",
                          {{"missing/x", "1"}, {"directory", "2"}, {"own", "3"}, {"good", "4"}});
    write_file(own, bytes);
    make_tree(out, "directory/");
    Packer in(own);
    for (const std::string name : {"missing\\x", "directory", "own"}) {
        EXPECT_EQ(in.unpack_next(out), 2);
        EXPECT_EQ(error_of(in), error_text(2, "Cannot open file: " + out + "\\" + name));
    }
    EXPECT_EQ(in.unpack_next(out), 0);
    EXPECT_EQ(tree_of(out), "directory/ good=4 own=" + bytes + " ");
}

TEST_F(Archive, ArchiveThatShrinks) {
    write_file(archive, archive_bytes("", {{"a", "1"}, {"b", std::string(100000, 'b')}}));
    Packer in(archive), reader(archive);
    EXPECT_EQ(in.unpack_next(out) + reader.read_next(), 0);
    std::filesystem::resize_file(path_of(archive), 50000);
    EXPECT_EQ(in.unpack_next(out) + reader.read_next(), 10);
    EXPECT_EQ(tree_of(out), "a=1 ");
}

}  // namespace
