// The file streams against a model of their position, and against the standard's own streams.

#include "movane/services.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <iterator>
#include <limits>
#include <memory>
#include <sstream>
#include <tuple>

namespace {

using namespace movane_tests;

constexpr int kIn = streambufExt::mode_in, kApp = streambufExt::mode_app,
              kBinary = streambufExt::mode_binary;

struct FileStreams : ::testing::Test {
    const TemporaryDirectory directory;
    const std::string path = directory / "Grün-\u6f22.txt";
};

// Where the reader is, and how far the descriptor is ahead: one byte, or none.
struct ReaderModel {
    std::string bytes;
    long long position = 0, lead = 0, is_filled = 0;

    long long size() const { return static_cast<long long>(bytes.size()); }
    int peek() {
        if (lead == 0 && position < size()) lead = is_filled = 1;
        return lead ? static_cast<unsigned char>(bytes[static_cast<std::size_t>(position)]) : -1;
    }
    int take() {
        const int byte = peek();
        position += lead;
        lead = 0;
        return byte;
    }
    long long seek(long long offset, std::ios::seekdir way) {
        if (way == std::ios::cur && offset <= lead && offset >= lead - is_filled) {
            lead -= offset;
            return position += offset;
        }
        if (way == std::ios::cur) offset += offset > 0 ? position + lead : position;
        if (way == std::ios::end) offset += size();
        if (offset < 0) return -1;
        lead = is_filled = 0;
        return position  = offset;
    }
};

TEST_F(FileStreams, ReadAndSeekLikeTheirModel) {
    std::mt19937 random(2);
    ReaderModel model;
    for (int i = 0; i < 300; ++i) model.bytes += static_cast<char>(random());
    write_file(path, model.bytes);
    streambufExt buffer(path.c_str(), kIn | kBinary);
    ASSERT_EQ(buffer.openfile(), 0);

    constexpr std::ios::seekdir kWays[] = {std::ios::beg, std::ios::cur, std::ios::end};
    for (int step = 0; step < 5000; ++step) {
        SCOPED_TRACE(step);
        const auto choice = random() % 5;
        if (choice == 0) {
            ASSERT_EQ(buffer.sgetc(), model.peek());
        } else if (choice == 1) {
            ASSERT_EQ(buffer.sbumpc(), model.take());
        } else if (choice == 2) {
            const auto n = static_cast<std::streamsize>(random() % 40);
            std::string got(40, '#'), expected;
            while (std::ssize(expected) < n && model.peek() >= 0)
                expected += static_cast<char>(model.take());
            ASSERT_EQ(buffer.sgetn(got.data(), n), std::ssize(expected) < n ? -1 : n);
            ASSERT_EQ(got.substr(0, expected.size()), expected);
        } else {
            const int way  = static_cast<int>(random() % 3),
                      near = static_cast<int>(random() % 9) - 4,
                      far  = static_cast<int>(random() % 320);
            const long long offset =
                random() % 50 ? near + far * (1 - way) : std::numeric_limits<long long>::min();
            ASSERT_EQ(buffer.pubseekoff(offset, kWays[way]), model.seek(offset, kWays[way]));
        }
    }
}

TEST_F(FileStreams, FormatAndParseLikeTheStandardStreams) {
    std::stringstream standard;
    fdofstream out(path.c_str(), kBinary);
    for (std::ostream* stream :
         {static_cast<std::ostream*>(&out), static_cast<std::ostream*>(&standard)}) {
        *stream << "lines " << 12 << '\n' << 0.25 << " \xff" << std::endl;
        stream->write("a\0b", 3).seekp(2);
        stream->put('X').seekp(0, std::ios::end);
        *stream << "end of it";
    }
    EXPECT_EQ(read_file(path), standard.str());  // while it is open: nothing is held back
    EXPECT_EQ(out.tellp(), standard.tellp());
    EXPECT_EQ(static_cast<streambufExt*>(out.rdbuf())->out_waiting(), 0);
    EXPECT_EQ(out.close(), 0);
    EXPECT_FALSE(out.is_open() || out << 1);

    fdifstream in(path.c_str(), kBinary);
    std::string words, standard_words;
    for (std::string word; in >> word;) words += word + '|';
    for (std::string word; standard >> word;) standard_words += word + '|';
    EXPECT_EQ(words, standard_words);
    EXPECT_EQ(in.close(), 0);
}

TEST_F(FileStreams, OpenAsTheirModeSays) {
    const fdifstream missing(path.c_str(), kBinary);
    EXPECT_TRUE(missing.rdstate() == std::ios::failbit && !missing.is_open() && !exists(path));
    const std::tuple<int, const char*, const char*> rows[] = {
        {kBinary, "old", "old"},
        {kBinary | kApp, "+new", "old+new"},
        {kBinary, "", ""},
        {kBinary, "kept", "kept"},
        {kBinary | kIn, "lost", "kept"}};  // reading wins over writing
    for (const auto& [mode, text, expected] : rows) {
        fdofstream(path.c_str(), mode) << text;
        EXPECT_EQ(read_file(path), expected);
    }
    for (const std::string& bad : {directory / "none/file", directory / ""})
        EXPECT_TRUE(fdofstream(bad.c_str(), kBinary).fail() &&
                    fdifstream(bad.c_str(), kBinary).fail());
    EXPECT_EQ(streambufExt(path.c_str(), kBinary).openfile(), -1);  // for neither

    // A text is read as it was written, whatever its line ends are in the file.
    fdofstream(path.c_str(), 0) << "a\nb\n";
    std::string first, second;
    fdifstream(path.c_str(), 0) >> first >> second;
    EXPECT_EQ(first + second, "ab");
}

TEST_F(FileStreams, CopiesShareTheOpenFile) {
    write_file(path, "abcdef");
    auto first = std::make_unique<streambufExt>(path.c_str(), kIn | kBinary);
    EXPECT_TRUE(first->sbumpc() == -1 && first->sputc('x') == -1 && first->sputn("x", 1) == -1 &&
                first->pubseekpos(0) == -1 && first->pubseekoff(0, std::ios::cur) == -1);
    ASSERT_EQ(first->openfile(), 0);
    EXPECT_EQ(first->sgetc(), 'a');
    EXPECT_EQ(first->sgetn(nullptr, -1), -1);
    streambufExt copy(*first), assigned((directory / "other").c_str(), kIn | kBinary);
    assigned = copy;
    EXPECT_EQ(&(assigned = *&assigned), &assigned);
    // Each has the buffered byte, and goes on from the common position.
    std::string read;
    for (streambufExt* reader : {&copy, &assigned, &copy, &assigned})
        read += static_cast<char>(reader->sbumpc());
    EXPECT_EQ(read, "aabc");
    EXPECT_EQ(copy.sgetc(), 'd');
    for (int i = 0; i < 2; ++i) EXPECT_EQ(copy.closefile(), 0);
    first.reset();
    EXPECT_EQ(assigned.sbumpc(), 'e');  // closed with the last of them
    EXPECT_EQ(copy.openfile(), 0);
    EXPECT_EQ(copy.sbumpc(), 'a');
}

TEST_F(FileStreams, PlainOnesOpenTellTheirSizeAndClose) {
    for (const char* mode : {"rb", "xb"})
        EXPECT_EQ(movane_cdlopen_file(path.c_str(), mode), nullptr);
    const std::tuple<const char*, const char*, long long, const char*> rows[] = {
        {"wb", "0123456789", 10, "0123456789!"},
        {"r+b", "xy", 11, "xy!3456789!"},
        {"ab", "a", 12, "xy!3456789!a!"}};
    for (const auto& [mode, text, size, after] : rows) {
        FILE* file = movane_cdlopen_file(path.c_str(), mode);
        std::fputs(text, file);
        EXPECT_EQ(movane_cdlget_file_size(file), size);  // what the buffer holds counts
        std::fputs("!", file);
        EXPECT_EQ(movane_cdlclose_file(file), 0);
        EXPECT_EQ(read_file(path), after);
    }
    EXPECT_EQ(movane_cdlclose_file(nullptr), 0);
}

}  // namespace
