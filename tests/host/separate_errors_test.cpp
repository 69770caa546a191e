// movane separate on what cannot be separated: exit codes, one line of help, nothing left behind.

#include "support/images.h"
#include "support/profiles.h"
#include "support/program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace host_tests;

struct ErrorCase {
    std::vector<std::string> arguments;  // behind "movane separate"
    int exit_code;
    std::vector<std::string> words;  // of the line on standard error
};

class SeparateErrors : public ::testing::Test {
protected:
    SeparateErrors() {
        shop.write("press.icc", press_profile());
        const Image photo = patches(200, 100, 3);
        write_png(shop.path("photo.png"), photo);
        write_jpeg(shop.path("photo.jpg"), photo);
        write_tiff(shop.path("photo.tif"), photo);
    }

    void expect(const ErrorCase& c, long file_limit_bytes = -1) {
        std::vector<std::string> command = {"movane", "separate"};
        command.insert(command.end(), c.arguments.begin(), c.arguments.end());
        SCOPED_TRACE(::testing::PrintToString(command));
        const auto before   = shop.files();
        const Result result = shop.run(command, {}, file_limit_bytes);
        EXPECT_EQ(result.exit_code, c.exit_code);
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_EQ(result.err.rfind("movane: ", 0), 0u) << result.err;
        for (const std::string& word : c.words)
            EXPECT_NE(result.err.find(word), std::string::npos) << word << " in " << result.err;
        EXPECT_EQ(shop.files(), before);
    }

    /// The same for a file in the place of the photo.
    void expect_bad_photo(const std::string& name, const std::string& bytes, const char* word) {
        shop.write(name, bytes);
        expect({{name, "-o", "out.tif", "-p", "press.icc"}, 1, {name + ": ", word, "; "}});
    }

    const Workshop shop;
};

TEST_F(SeparateErrors, NameFileAndRemedy) {
    shop.write("bad.icc", "not a profile");
    shop.write("short.icc", press_profile().substr(0, 200));
    shop.write("cut.icc", press_profile().substr(0, 2000));
    shop.write("screen.icc", srgb_profile());
    shop.write("lab.icc", lab_profile());
    shop.write("directory/file", "");
    const auto with_profile = [](const char* profile) {
        return std::vector<std::string>{"photo.png", "-o", "out.tif", "-p", profile};
    };
    const auto with_output = [](const char* output, const char* preview = "preview.png") {
        return std::vector<std::string>{"photo.tif", "-o", output,     "--preview",
                                        preview,     "-p", "press.icc"};
    };
    const auto with_option = [](const char* option, const char* value) {
        return std::vector<std::string>{"photo.png", "-o", "out.tif", option, value};
    };
    const ErrorCase cases[] = {
        {{"missing.png", "-o", "out.tif", "-p", "press.icc"}, 1, {"missing.png", "check the name"}},
        {{"missing\n.png", "-o", "out.tif", "-p", "press.icc"}, 1, {"missing .png"}},
        {{"directory", "-o", "out.tif", "-p", "press.icc"}, 1, {"directory: is not a file"}},
        {with_profile("missing.icc"), 1, {"missing.icc", "check the name"}},
        {with_profile("bad.icc"), 1, {"bad.icc: is not an intact ICC profile; ", "-p"}},
        {with_profile("short.icc"), 1, {"short.icc: ", "-p"}},
        {with_profile("cut.icc"), 1, {"cut.icc: ", "-p"}},
        {with_profile("screen.icc"), 1, {"screen.icc: is a display profile for RGB; ", "-p"}},
        {with_profile("lab.icc"), 1, {"lab.icc: is a colour space profile for Lab; ", "-p"}},
        {with_output("missing/out.tif"), 1, {"missing/out.tif: cannot be written", "directory"}},
        {with_output("directory"), 1, {"directory: cannot be written: it is not a file"}},
        {with_output("out.tif", "missing/p.png"), 1, {"missing/p.png: cannot be written"}},
        {with_output("photo.tif"), 2, {"photo.tif: would overwrite photo.tif"}},
        {with_output("./photo.tif"), 2, {"./photo.tif: would overwrite photo.tif"}},
        {with_output("press.icc"), 2, {"press.icc: would overwrite press.icc"}},
        {with_output("out.tif", "photo.tif"), 2, {"photo.tif: would overwrite photo.tif"}},
        {with_output("out.tif", "out.tif"), 2, {"out.tif: would overwrite out.tif"}},
        {{"photo.png"}, 2, {"--output", "--help"}},
        {{"-o", "out.tif"}, 2, {"PHOTO"}},
        {with_option("-t", "colourful"), 2, {"--intent", "colourful"}},
        {with_option("--report", "xml"), 2, {"--report", "xml"}},
        {with_option("--grid", "1"), 2, {"--grid"}},
        {with_option("--grid", "257"), 2, {"--grid"}},
        {with_option("--check-limit", "1"), 2, {"--check"}},
        {with_option("--sharpen-kernel", "harsh"), 2, {"weight 1 is not a number"}},
        {with_option("--sharpen-kernel", "1,2,"), 2, {"weight 3 is not a number"}},
        {with_option("--sharpen-kernel", "1,nan,3"), 2, {"weight 2 is not a number"}},
        {with_option("--sharpen-kernel", "1,2,3"), 2, {"3 weights do not make a square"}},
        {with_option("--sharpen-kernel", "1,2,3,4"), 2, {"4 weights do not make a square"}},
        {with_option("--sharpen-kernel", "1e30"), 2, {"too large"}},
    };
    for (const ErrorCase& c : cases) expect(c);
}

TEST_F(SeparateErrors, NoCmykProfileOnTheSystem) {
    const std::string nowhere = shop.path("none");
    const Result result       = shop.run({"movane", "separate", "photo.png", "-o", "out.tif"},
                                         {{"XDG_DATA_HOME", nowhere}, {"XDG_DATA_DIRS", nowhere}});
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_NE(result.err.find("no CMYK output profile is installed"), std::string::npos);
}

TEST_F(SeparateErrors, DamagedPhotos) {
    expect_bad_photo("empty.png", "", "is empty");
    expect_bad_photo("text.png", "just a text", "is not a PNG, JPEG or TIFF image");
    for (const std::string name : {"photo.png", "photo.jpg", "photo.tif"}) {
        const std::string whole = shop.read(name);
        for (const std::size_t length : {std::size_t{5}, std::size_t{30}, whole.size() / 2,
                                         whole.size() - whole.size() / 10, whole.size() - 2}) {
            // Of an uncompressed TIFF the tail is its directory; cut at its very end it may be
            // whole.
            if (name != "photo.tif" || length < whole.size() - 2)
                expect_bad_photo(name + ".cut", whole.substr(0, length), "damaged or cut short");
        }
    }
    std::string flipped = shop.read("photo.png");
    flipped[flipped.size() / 2] ^= 0x10;
    expect_bad_photo("flipped.png", flipped, "damaged");

    write_jpeg(shop.path("ink.jpg"), flat(8, 8, {1, 2, 3, 4}));
    expect_bad_photo("ink.jpg", shop.read("ink.jpg"), "is a CMYK image already");
}

TEST_F(SeparateErrors, MeasuresThatNoPhotoHas) {
    // Width and height stand at fixed places of these files, as big- or little-endian numbers.
    struct Measure {
        const char* name;
        std::size_t at;
        std::string bytes;
        const char* word;
    };
    const std::string tiff     = shop.read("photo.tif");
    const std::size_t tag_at   = tiff.find(std::string("\x00\x01\x03\x00\x01\x00\x00\x00", 8));
    const std::size_t jpeg_at  = shop.read("photo.jpg").find("\xff\xc0") + 5;
    const std::string zero     = std::string(4, '\0');
    const std::string enormous = std::string("\x7f\xff\xff\xff", 4);
    ASSERT_NE(tag_at, std::string::npos);
    const Measure cases[] = {
        {"photo.png", 16, zero, "damaged"},
        {"photo.png", 16, enormous, "damaged"},
        {"photo.png", 20, std::string("\x00\x0f\x42\x40", 4), "damaged"},
        {"photo.jpg", jpeg_at, zero.substr(0, 2), "damaged"},
        {"photo.jpg", jpeg_at + 2, zero.substr(0, 2), "damaged"},
        {"photo.jpg", jpeg_at, "\xff\xff", "damaged"},
        {"photo.tif", tag_at + 8, zero, "damaged"},
        {"photo.tif", tag_at + 8, "\xff\xff", "damaged"},
        {"photo.tif", tag_at + 2, std::string("\x04\x00\x01\x00\x00\x00\x00\x00\x00\x40", 10),
         "too large"},
    };
    for (const Measure& c : cases) {
        SCOPED_TRACE(c.at);
        std::string bytes = shop.read(c.name);
        bytes.replace(c.at, c.bytes.size(), c.bytes);
        expect_bad_photo(std::string("odd-") + c.name, bytes, c.word);
    }
}

TEST_F(SeparateErrors, FullDisk) {
    expect({{"photo.png", "-o", "out.tif", "-p", "press.icc"}, 1, {"out.tif: cannot be written"}},
           4096);
}

TEST_F(SeparateErrors, CheckAboveTheLimit) {
    const std::vector<std::string> command = {"movane", "separate",  "photo.png", "-o", "out.tif",
                                              "-p",     "press.icc", "--grid",    "2",  "--check"};
    const Result result                    = shop.run(command);
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_NE(result.out.find("failed"), std::string::npos) << result.out;
    EXPECT_NE(result.err.find("out.tif: the table is too far"), std::string::npos);
    auto patient = command;
    patient.insert(patient.end(), {"--check-limit", "100"});
    EXPECT_EQ(shop.run(patient).exit_code, 0);
}

TEST_F(SeparateErrors, InterruptedLeavesNothingBehind) {
    const auto before = shop.files();
    for (const int signal : {SIGINT, SIGTERM}) {
        // A table of this size takes seconds; the temporary files are there before it.
        const pid_t process = shop.start({"movane", "separate", "photo.png", "-o", "out.tif", "-p",
                                          "press.icc", "--grid", "256"});
        for (int i = 0; shop.files() == before && i < 1000; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        EXPECT_NE(shop.files(), before);
        kill(process, signal);
        const Result result = shop.wait(process);
        EXPECT_EQ(result.exit_code, 128 + signal);
        EXPECT_NE(result.err.find("movane: interrupted"), std::string::npos) << result.err;
        EXPECT_EQ(shop.files(), before);
    }
}

}  // namespace
