// The file streams against a model of their position, and against the standard's own streams.

#include "movane/services.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <random>
#include <sstream>
#include <string>

namespace {

using movane_tests::read_file;
using movane_tests::TemporaryDirectory;
using movane_tests::write_file;

constexpr int kIn = streambufExt::mode_in, kOut = streambufExt::mode_out,
              kApp = streambufExt::mode_app, kBinary = streambufExt::mode_binary;
constexpr char kName[] = "Grün-\u6f22.txt";

std::string noise(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    return bytes;
}

// Where the reader is, where the descriptor is, and whether the byte before the latter is in the
// buffer.
struct ReaderModel {
    std::string bytes;
    long long position = 0, descriptor = 0;
    bool has_byte = false;

    long long size() const { return static_cast<long long>(bytes.size()); }
    int at_position() const {
        return static_cast<unsigned char>(bytes[static_cast<std::size_t>(position)]);
    }

    int peek() {
        if (position == descriptor) {
            if (position == size()) return -1;
            ++descriptor;
            has_byte = true;
        }
        return at_position();
    }
    int take() {
        const int byte = peek();
        if (byte >= 0) ++position;
        return byte;
    }
    std::string take(long long n) {
        std::string taken;
        for (int byte; n > 0 && (byte = take()) >= 0; --n) taken += static_cast<char>(byte);
        return taken;
    }
    long long seek(long long offset, std::ios::seekdir way) {
        const long long unread = descriptor - position;
        long long target       = offset;
        if (way == std::ios::end) target += size();
        if (way == std::ios::cur) {
            target += position;
            if (target == descriptor || (has_byte && target == descriptor - 1))
                return position = target;
            if (offset > 0) target += unread;
        }
        if (target < 0) return -1;
        has_byte        = false;
        return position = descriptor = target;
    }
};

TEST(FileStreams, ReadAndSeekLikeTheirModel) {
    const TemporaryDirectory directory;
    const std::string path = directory / kName;
    ReaderModel model{.bytes = noise(300, 1)};
    write_file(path, model.bytes);
    streambufExt buffer(path.c_str(), kIn | kBinary);
    ASSERT_EQ(buffer.openfile(), 0);

    std::mt19937 random(2);
    const auto below = [&](unsigned n) { return static_cast<long long>(random() % n); };
    for (int step = 0; step < 5000; ++step) {
        SCOPED_TRACE(step);
        switch (random() % 6) {
            case 0:
                ASSERT_EQ(buffer.sgetc(), model.peek());
                break;
            case 1:
                ASSERT_EQ(buffer.sbumpc(), model.take());
                break;
            case 2: {
                const long long n = below(40);
                std::string got(40, '#');
                const std::string expected = model.take(n);
                const bool is_whole        = static_cast<long long>(expected.size()) == n;
                ASSERT_EQ(buffer.sgetn(got.data(), static_cast<std::streamsize>(n)),
                          is_whole ? n : -1);
                ASSERT_EQ(got.substr(0, expected.size()), expected);
                break;
            }
            case 3: {
                const long long offset = below(9) - 4;
                ASSERT_EQ(buffer.pubseekoff(offset, std::ios::cur),
                          model.seek(offset, std::ios::cur));
                break;
            }
            case 4: {
                const long long offset = below(320) - 10;
                ASSERT_EQ(buffer.pubseekpos(offset), model.seek(offset, std::ios::beg));
                break;
            }
            case 5: {
                const long long offset = -below(320);
                ASSERT_EQ(buffer.pubseekoff(offset, std::ios::end),
                          model.seek(offset, std::ios::end));
                break;
            }
        }
        // Seeking beyond the end is no failure, and reading there finds nothing.
        if (model.position >= model.size()) {
            ASSERT_EQ(buffer.sbumpc(), -1);
            ASSERT_EQ(buffer.pubseekpos(7), model.seek(7, std::ios::beg));
        }
    }
}

TEST(FileStreams, FormatAndParseLikeTheStandardStreams) {
    const TemporaryDirectory directory;
    const std::string path = directory / kName;
    {
        std::ostringstream standard;
        fdofstream ours(path.c_str(), kBinary);
        ASSERT_TRUE(ours && ours.is_open());
        for (std::ostream* stream :
             {static_cast<std::ostream*>(&ours), static_cast<std::ostream*>(&standard)}) {
            *stream << "lines " << 12 << '\n' << 0.25 << " \xff" << std::endl;
            stream->write("a\0b", 3).seekp(2);
            stream->put('X').seekp(0, std::ios::end);
            *stream << "end of it";
        }
        EXPECT_EQ(read_file(path), standard.str());  // while it is open: nothing is held back
        EXPECT_EQ(ours.tellp(), standard.tellp());
        EXPECT_EQ(static_cast<streambufExt*>(ours.rdbuf())->out_waiting(), 0);
        EXPECT_EQ(ours.close(), 0);
        EXPECT_FALSE(ours.is_open() || ours << 1);
    }
    std::istringstream standard(read_file(path));
    fdifstream ours(path.c_str(), kBinary);
    for (;;) {
        std::string word, standard_word;
        ours >> word;
        standard >> standard_word;
        EXPECT_EQ(word, standard_word);
        EXPECT_EQ(ours.peek(), standard.peek());
        EXPECT_EQ(ours.rdstate(), standard.rdstate());
        if (!standard) break;
        EXPECT_EQ(ours.tellg(), standard.tellg());
    }
}

TEST(FileStreams, OpenAsTheirModeSays) {
    const TemporaryDirectory directory;
    const std::string path = directory / kName;
    {
        const fdifstream missing(path.c_str(), kBinary);
        EXPECT_TRUE(missing.rdstate() == std::ios::failbit && !missing.is_open());
        EXPECT_FALSE(movane_tests::exists(path));
    }
    const auto written = [&](int mode, const char* text) {
        fdofstream(path.c_str(), mode) << text;
        return read_file(path);
    };
    EXPECT_EQ(written(kBinary, "old"), "old");
    EXPECT_EQ(written(kBinary | kApp, "+new"), "old+new");
    EXPECT_EQ(written(kBinary, ""), "");
    EXPECT_TRUE(fdofstream((directory / "none/file").c_str(), kBinary).fail());
    EXPECT_TRUE(fdofstream((directory / "").c_str(), kBinary).fail());
    EXPECT_TRUE(fdifstream((directory / "").c_str(), kBinary).fail());

    // Reading wins over writing, and neither opens nothing.
    EXPECT_EQ(written(kBinary, "kept"), "kept");
    EXPECT_EQ(written(kBinary | kIn, "lost"), "kept");
    streambufExt neither(path.c_str(), kBinary);
    EXPECT_EQ(neither.openfile(), -1);

    // A text is read as it was written, whatever its line ends are in the file.
    fdofstream(path.c_str(), 0) << "a\nb\n";
    std::string first, second;
    fdifstream(path.c_str(), 0) >> first >> second;
    EXPECT_EQ(first + second, "ab");
}

TEST(FileStreams, FailWhereTheyCannotSeekOrRead) {
    const TemporaryDirectory directory;
    const std::string path = directory / "f";
    write_file(path, "\xff");
    streambufExt buffer(path.c_str(), kIn | kBinary);
    EXPECT_EQ(buffer.sbumpc(), -1);  // not open yet
    EXPECT_EQ(buffer.pubseekpos(0), -1);
    EXPECT_EQ(buffer.pubseekoff(0, std::ios::cur), -1);
    EXPECT_EQ(buffer.sputn("x", 1), -1);
    EXPECT_EQ(buffer.sputc('x'), -1);
    ASSERT_EQ(buffer.openfile(), 0);
    constexpr long long kLowest = std::numeric_limits<long long>::min();
    for (const auto way : {std::ios::beg, std::ios::cur}) {
        EXPECT_EQ(buffer.pubseekoff(-2, way), -1);
        EXPECT_EQ(buffer.pubseekoff(kLowest, way), -1);
    }
    EXPECT_EQ(buffer.sgetc(), 255);  // not the end of the file
    EXPECT_EQ(buffer.sgetc(), 255);
    EXPECT_EQ(buffer.pubseekoff(kLowest, std::ios::cur), -1);
    char c = 0;
    EXPECT_EQ(buffer.sgetn(&c, 0), 0);
    EXPECT_EQ(buffer.sgetn(&c, -1), -1);
    EXPECT_EQ(buffer.sbumpc(), 255);
    EXPECT_EQ(buffer.sbumpc(), -1);
}

TEST(FileStreams, CopiesShareTheOpenFile) {
    const TemporaryDirectory directory;
    const std::string path = directory / "f", other_path = directory / "g";
    write_file(path, "abcdef");
    write_file(other_path, "xyz");
    auto first = std::make_unique<streambufExt>(path.c_str(), kIn | kBinary);
    ASSERT_EQ(first->openfile(), 0);
    EXPECT_EQ(first->sgetc(), 'a');

    streambufExt copy(*first), assigned(other_path.c_str(), kIn | kBinary);
    ASSERT_EQ(assigned.openfile(), 0);
    EXPECT_EQ(assigned.sbumpc(), 'x');
    assigned = copy;
    EXPECT_EQ(&(assigned = *&assigned), &assigned);
    EXPECT_EQ(copy.sbumpc(), 'a');      // its own buffered byte
    EXPECT_EQ(assigned.sbumpc(), 'a');  // another copy of it
    EXPECT_EQ(copy.sbumpc(), 'b');      // from the common position
    EXPECT_EQ(assigned.sbumpc(), 'c');
    EXPECT_EQ(copy.closefile(), 0);
    EXPECT_EQ(copy.closefile(), 0);
    first.reset();
    EXPECT_EQ(assigned.sbumpc(), 'd');  // closed with the last of them
    EXPECT_EQ(copy.openfile(), 0);
    EXPECT_EQ(copy.sbumpc(), 'a');
}

TEST(PlainStreams, OpenSizeAndClose) {
    const TemporaryDirectory directory;
    const std::string path = directory / kName;
    EXPECT_EQ(movane_cdlopen_file(path.c_str(), "rb"), nullptr);
    EXPECT_EQ(movane_cdlopen_file(path.c_str(), "xb"), nullptr);

    FILE* file = movane_cdlopen_file(path.c_str(), "wb");
    ASSERT_TRUE(file);
    std::fputs("0123456789", file);
    std::fseek(file, 3, SEEK_SET);
    std::fputs("x", file);
    EXPECT_EQ(movane_cdlget_file_size(file), 10);  // what the buffer holds counts
    std::fputs("y", file);
    EXPECT_EQ(movane_cdlclose_file(file), 0);
    EXPECT_EQ(read_file(path), "012xy56789");

    file = movane_cdlopen_file(path.c_str(), "ab");
    std::fputs("a", file);
    EXPECT_EQ(movane_cdlclose_file(file), 0);
    file = movane_cdlopen_file(path.c_str(), "r+b");
    EXPECT_EQ(std::fgetc(file), '0');
    EXPECT_EQ(movane_cdlget_file_size(file), 11);
    EXPECT_EQ(std::fgetc(file), '1');
    EXPECT_EQ(movane_cdlclose_file(file), 0);
    EXPECT_EQ(movane_cdlclose_file(nullptr), 0);
}

}  // namespace
