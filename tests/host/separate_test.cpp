// movane separate: pixels against lcms alone, tags by another reader, and what cannot be separated.

#include "support/separation.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace host_tests;

constexpr void (*kWriters[])(const std::string&, const Image&, const Kind&) = {
    write_png, write_jpeg, write_tiff};

// --- colours --------------------------------------------------------------------------------

TEST_F(Separate, FollowsTheProfileInEveryIntent) {
    const char* const intents[] = {"perceptual", "relative", "saturation", "absolute"};
    for (int intent = 0; intent < 4; ++intent) {
        for (const bool has_bpc : {false, true}) {
            const std::string options =
                std::string(" -t ") + intents[intent] + (has_bpc ? " -b" : "");
            const Image expected = convert(photo, srgb_profile(), press_profile(), intent, has_bpc);
            // 5: between grid points the profile's own tables bend.
            EXPECT_LE(largest_difference(ink_of("photo.png" + options), expected), 5) << options;
        }
    }
}

TEST_F(Separate, UsesTheProfileOfThePhotoWhenItIsRgb) {
    const Image in_srgb = ink_of("photo.png");
    const Image in_wide = convert(photo, wide_rgb_profile(), press_profile(), 0, false);
    for (const auto write : kWriters) {
        write(shop.path("wide"), photo, {.profile = wide_rgb_profile()});
        EXPECT_LE(largest_difference(ink_of("wide"), in_wide), 9);
        if (write == write_png) continue;  // libpng refuses to write what follows
        for (const std::string& useless : {lab_profile(), wide_rgb_profile().substr(0, 300)}) {
            write(shop.path("odd"), photo, {.profile = useless});
            EXPECT_NE(separate("odd").err.find("odd: its profile"), std::string::npos);
            EXPECT_LE(largest_difference(read_cmyk_tiff(shop.path("out.tif")), in_srgb), 9);
        }
    }
}

// --- kinds of files -------------------------------------------------------------------------

TEST_F(Separate, ReadsEveryKindOfFile) {
    const struct {
        const char* name;
        void (*write)(const std::string&, const Image&, const Kind&);
        int channels;
        Kind kind;
        const char* note = "";  // why it is read as a whole
    } rows[] = {
        {"png rgb", write_png, 3, {}},
        {"png rgb 16", write_png, 3, {.bits = 16}},
        {"png rgba", write_png, 4, {}},
        {"png rgba 16", write_png, 4, {.bits = 16}},
        {"png gray", write_png, 1, {}},
        {"png gray alpha", write_png, 2, {}},
        {"png palette", write_png, 3, {.has_palette = true}},
        {"png interlaced", write_png, 4, {.is_whole = true}, "interlaced"},
        {"jpeg rgb", write_jpeg, 3, {}},
        {"jpeg gray", write_jpeg, 1, {}},
        {"jpeg progressive", write_jpeg, 3, {.is_whole = true}, "progressively"},
        {"tiff rgb 16", write_tiff, 3, {.bits = 16}},
        {"tiff rgba", write_tiff, 4, {}},
        {"tiff rgba 16", write_tiff, 4, {.bits = 16, .is_premultiplied = true}},
        {"tiff gray", write_tiff, 1, {}},
        {"tiff gray 16", write_tiff, 1, {.bits = 16}},
        {"tiff gray alpha", write_tiff, 2, {}},
        {"tiff white is 0", write_tiff, 1, {.is_inverted = true}},
        {"tiff palette", write_tiff, 3, {.has_palette = true}},
        {"tiff planes", write_tiff, 3, {.is_planar = true}, "in planes"},
        {"tiff planes rgba", write_tiff, 4, {.is_planar = true}, "in planes"},
        {"tiff tiles", write_tiff, 3, {.is_tiled = true}, "in tiles"},
        {"tiff tiles rgba", write_tiff, 4, {.is_tiled = true}, "in tiles"},
    };
    Image gray = photo;
    for (int i = 0; i < kWidth * kHeight; ++i)
        std::fill_n(gray.at(i, 0), 3, *patches(kWidth, kHeight, 1).at(i, 0));
    write_tiff(shop.path("colour.tif"), photo);
    write_tiff(shop.path("gray.tif"), gray);
    const Image colour_ink = ink_of("colour.tif"), gray_ink = ink_of("gray.tif");

    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        row.write(shop.path("photo"), patches(kWidth, kHeight, row.channels), row.kind);
        const std::string said = separate("photo").err;
        const Image ink        = read_cmyk_tiff(shop.path("out.tif"));
        EXPECT_LE(largest_difference(ink, row.channels < 3 ? gray_ink : colour_ink),
                  row.write == write_jpeg ? 9 : 0);
        EXPECT_TRUE(*row.note ? said.find(row.note) != std::string::npos : said.empty()) << said;
    }
}

TEST_F(Separate, WritesTheTagsThatPrepressExpects) {
    for (const auto write : kWriters) {
        write(shop.path("photo"), photo, {.dpi = 300});
        separate("photo");
        const std::string info = shop.run("tiffinfo out.tif").out;
        for (const char* line :
             {"Image Width: 83 Image Length: 41", "Bits/Sample: 8", "Samples/Pixel: 4",
              "Photometric Interpretation: separated", "Ink Names: Cyan, Magenta, Yellow, Black",
              "InkSet: 1", "Resolution: 300, 300 pixels/inch", "single image plane"})
            EXPECT_NE(info.find(line), std::string::npos) << line << "\n" << info;
        EXPECT_NE(shop.read("out.tif").find(shop.read("press.icc")), std::string::npos);
    }
}

// --- transparency ---------------------------------------------------------------------------

TEST_F(Separate, LeavesPaperWhereThePhotoIsTransparent) {
    // Runs of one colour with changing alpha: neighbours differ in nothing else.
    Image clear = flat(kWidth, kHeight, {40, 80, 120, 255}),
          laid  = flat(kWidth, kHeight, {40, 80, 120});
    for (int i = 0; i < kWidth * kHeight; ++i) {
        const int alpha   = i % 3 == 0 ? 0 : i / 9 % 2 ? 255 : 100;
        clear.at(i, 0)[3] = static_cast<std::uint8_t>(alpha);
        for (int c = 0; c < 3; ++c)
            laid.at(i, 0)[c] = static_cast<std::uint8_t>(
                (clear.at(i, 0)[c] * alpha + 255 * (255 - alpha) + 127) / 255);
    }
    write_png(shop.path("clear.png"), clear);
    write_tiff(shop.path("clear.tif"), clear);
    write_png(shop.path("laid.png"), laid);
    const auto without_transparent = [&](Image ink) {
        for (int i = 0; i < kWidth * kHeight; i += 3) std::fill_n(ink.at(i, 0), 4, std::uint8_t{0});
        return ink;
    };
    // The absolute intent prints the white of the screen on this yellow paper: paper is not white.
    const Image expected = without_transparent(ink_of("laid.png -t absolute"));
    EXPECT_EQ(largest_difference(ink_of("clear.png -t absolute"), expected), 0);
    EXPECT_EQ(largest_difference(ink_of("clear.tif -t absolute"), expected), 0);
    const Image blurred = ink_of("clear.png --sharpen-kernel .1,.1,.1,.1,.2,.1,.1,.1,.1");
    EXPECT_EQ(largest_difference(blurred, without_transparent(blurred)), 0);
    EXPECT_GT(largest_difference(blurred, expected), 0);
}

// --- sharpening -----------------------------------------------------------------------------

TEST_F(Separate, FiltersTheInksWithTheKernel) {
    const struct {
        std::string kernel;
        int radius, dx, dy;
    } rows[]          = {{"1", 0, 0, 0},
                         {"'0,0,0, 0,1,0, 0,0,0'", 1, 0, 0},
                         {"0,0,0,0,0,1,0,0,0", 1, 1, 0},
                         {"0,0,0,0,0,1,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0", 2, -2, -1}};
    const Image plain = ink_of("photo.png");
    for (const auto& [kernel, radius, dx, dy] : rows) {
        Image expected = plain;
        for (int y = radius; y < kHeight - radius; ++y)
            for (int x = radius; x < kWidth - radius; ++x)
                std::copy_n(plain.at(x + dx, y + dy), 4, expected.at(x, y));
        EXPECT_EQ(largest_difference(ink_of("photo.png --sharpen-kernel " + kernel), expected), 0)
            << kernel;
    }
    int gain = 0;
    for (const std::string preset : {"soft", "medium", "strong"}) {
        const Image ink = ink_of("photo.png --sharpen-kernel " + preset);
        EXPECT_GT(largest_difference(ink, plain),
                  std::exchange(gain, largest_difference(ink, plain)))
            << preset;
        // Inside a patch there is nothing to sharpen.
        for (int c = 0; c < 4; ++c) EXPECT_NEAR(ink.at(12, 12)[c], plain.at(12, 12)[c], 1);
    }
    // An image that is lower than the kernel stays as it is.
    std::string box = " --sharpen-kernel .04";
    for (int i = 1; i < 25; ++i) box += ",.04";
    for (int height = 1; height <= 5; ++height) {
        write_png(shop.path("low.png"), patches(kWidth, height, 3));
        EXPECT_EQ(largest_difference(ink_of("low.png" + box), ink_of("low.png")) == 0, height < 5)
            << height;
    }
}

// --- preview and report ---------------------------------------------------------------------

TEST_F(Separate, ShowsTheInksInThePreview) {
    const Image ink      = ink_of("photo.png --preview preview.png");
    const Image expected = convert(ink, press_profile(), srgb_profile(), 1, false);
    // 8: the press's model bends more between the preview's grid points than real ones.
    EXPECT_LE(largest_difference(read_rgb_png(shop.path("preview.png")), expected), 8);
}

TEST_F(Separate, ReportsInkAndProfiles) {
    Image body = flat(100, 100, {200, 90, 60});
    std::fill_n(body.at(0, 50), 3 * 100, std::uint8_t{255});  // 1 % of the lines is white
    write_png(shop.path("body.png"), body);
    const Result result = separate("body.png --report json -q --check");
    const Image ink     = read_cmyk_tiff(shop.path("out.tif"));
    const auto report   = nlohmann::json::parse(result.out, nullptr, false);
    ASSERT_FALSE(report.is_discarded()) << result.out;
    EXPECT_EQ(report["device_profile"],
              nlohmann::json({{"description", "Test press"}, {"file", "press.icc"}}));
    EXPECT_EQ(report["image"]["width"], 100);
    EXPECT_EQ(report["intent"], "perceptual");
    EXPECT_GT(report["megapixels_per_second"], 0);
    EXPECT_EQ(report["check"]["distinct_colours"], 2);
    EXPECT_EQ(report["check"]["passed"], true);
    const char* const names[] = {"cyan", "magenta", "yellow", "black"};
    double total_mean         = 0;
    for (int c = 0; c < 4; ++c) {
        const double most = ink.at(0, 0)[c] / 2.55, line = ink.at(0, 50)[c] / 2.55;
        const auto& coverage = report["ink_percent"][names[c]];
        EXPECT_NEAR(coverage["mean"], 0.99 * most + 0.01 * line, 1e-9);
        EXPECT_NEAR(coverage["maximum"], std::max(most, line), 1e-9);
        EXPECT_NEAR(coverage["percentile_99"], most, 1e-9);
        total_mean += 0.99 * most + 0.01 * line;
    }
    EXPECT_NEAR(report["ink_percent"]["total"]["mean"], total_mean, 1e-9);

    EXPECT_NE(separate("body.png").out.find("Test press (press.icc)"), std::string::npos);
    const Result quiet = separate("body.png -q");
    EXPECT_EQ(quiet.out + quiet.err, "");
    const std::string line = separate("photo.png --progress").err;
    EXPECT_EQ(line.front(), '\r');
    EXPECT_NE(line.find("100 %  41 of 41 lines"), std::string::npos) << line;
    EXPECT_EQ(line.find('\n'), line.size() - 1);
}

TEST_F(Separate, TakesTheFirstPressOfTheSystem) {
    shop.write("data/color/icc/a/screen.icc", srgb_profile());
    shop.write("data/color/icc/b/broken.icc", "not a profile");
    shop.write("data/color/icc/c/press.icc", press_profile());
    shop.write("data/color/icc/d/press.icc", press_profile());
    const Result result = shop.run(
        "env XDG_DATA_HOME=none XDG_DATA_DIRS=none:data movane separate photo.png -o out.tif");
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_NE(result.out.find("icc/c/press.icc"), std::string::npos) << result.out;
    shop.expect_failures(
        "env XDG_DATA_HOME=none XDG_DATA_DIRS=none ",
        {{"movane separate photo.png -o new.tif", 1, "no CMYK output profile is installed"}});
}

TEST_F(Separate, NeedsNoMoreMemoryForALongerImage) {
    const auto peak_kib = [&](int height) {
        write_png(shop.path("tall.png"), flat(1000, height, {10, 200, 30}));
        return separate("tall.png --check --preview preview.png").peak_kib;
    };
    EXPECT_LT(peak_kib(2000) - peak_kib(100), 2000);  // its RGB alone would take 5,600
}

// --- errors -----------------------------------------------------------------------------------

constexpr char kToPress[] = "movane separate -p press.icc -o out.tif ";

TEST_F(Separate, ErrorsNameFileAndRemedy) {
    shop.write("bad.icc", "not a profile");
    shop.write("short.icc", press_profile().substr(0, 200));
    shop.write("cut.icc", press_profile().substr(0, 2000));
    shop.write("screen.icc", srgb_profile());
    shop.write("lab.icc", lab_profile());
    shop.write("directory/file", "");
    shop.expect_failures(
        kToPress, {
                      {"missing.png", 1,
                       "missing.png: cannot be read: No such file or directory; check the name"},
                      {"'missing\n.png'", 1, "missing .png"},
                      {"directory", 1, "directory: is not a file"},
                      {"", 2, "PHOTO"},
                      {"photo.png -t colourful", 2, "--intent: colourful"},
                      {"photo.png --report xml", 2, "--report: xml"},
                      {"photo.png --grid 1", 2, "--grid"},
                      {"photo.png --grid 257", 2, "--grid"},
                      {"photo.png --check-limit 1", 2, "--check"},
                      {"photo.png --sharpen-kernel harsh", 2, "weight 1 is not a number"},
                      {"photo.png --sharpen-kernel 1,2,", 2, "weight 3 is not a number"},
                      {"photo.png --sharpen-kernel 1,nan,3", 2, "weight 2 is not a number"},
                      {"photo.png --sharpen-kernel 1,2,3", 2, "3 weights do not make a square"},
                      {"photo.png --sharpen-kernel 1,2,3,4", 2, "4 weights do not make a square"},
                      {"photo.png --sharpen-kernel 1e30", 2, "too large"},
                      {"photo.png --preview missing/p.png", 1, "missing/p.png: cannot be written"},
                      {"photo.png --preview photo.png", 2, "photo.png: would overwrite photo.png"},
                      {"photo.png --preview out.tif", 2, "out.tif: would overwrite out.tif"},
                  });
    shop.expect_failures("movane separate photo.png -p press.icc ",
                         {
                             {"", 2, "--output is required (see movane --help)"},
                             {"-o missing/out.tif", 1,
                              "missing/out.tif: cannot be written: No such file or directory; name "
                              "a file in a directory"},
                             {"-o directory", 1, "directory: cannot be written: it is not a file"},
                             {"-o ./photo.png", 2, "./photo.png: would overwrite photo.png"},
                             {"-o press.icc", 2, "press.icc: would overwrite press.icc"},
                         });
    shop.expect_failures(
        "movane separate photo.png -o out.tif -p ",
        {
            {"missing.icc", 1,
             "missing.icc: cannot be read: No such file or directory; check the name"},
            {"bad.icc", 1,
             "bad.icc: is not an intact ICC profile; name a CMYK output profile with -p"},
            {"short.icc", 1, "short.icc: has no usable tables for the perceptual intent; "},
            {"cut.icc", 1, "cut.icc: "},
            {"screen.icc", 1, "screen.icc: is a display profile for RGB; "},
            {"lab.icc", 1, "lab.icc: is a colour space profile for Lab; "},
        });
    shop.expect_failures("prlimit --fsize=4096 ",
                         {{kToPress + std::string("photo.png"), 1, "out.tif: cannot be written"},
                          {kToPress + std::string("photo.png --plates"), 1, "cannot be written"}});
}

TEST_F(Separate, RefusesDamagedPhotos) {
    const Image large = patches(200, 100, 3);
    write_png(shop.path("photo.png"), large);
    write_jpeg(shop.path("photo.jpg"), large);
    write_tiff(shop.path("photo.tif"), large);
    write_jpeg(shop.path("ink.jpg"), flat(8, 8, {1, 2, 3, 4}));
    const auto expect_refused = [&](const std::string& bytes, const std::string& text) {
        shop.write("bad", bytes);
        shop.expect_failures(kToPress, {{"bad", 1, "bad: " + text}});
    };
    expect_refused("", "is empty; ");
    expect_refused("just a text", "is not a PNG, JPEG or TIFF image; ");
    expect_refused(shop.read("ink.jpg"), "is a CMYK image already; ");
    for (const std::string name : {"photo.png", "photo.jpg", "photo.tif"}) {
        SCOPED_TRACE(name);
        const std::string whole = shop.read(name);
        // Of an uncompressed TIFF the tail is its directory; cut at its very end it may be whole.
        for (const std::size_t length : {std::size_t{5}, std::size_t{30}, whole.size() / 2,
                                         whole.size() - whole.size() / 10, whole.size() - 2})
            if (name != "photo.tif" || length < whole.size() - 2)
                expect_refused(whole.substr(0, length), "is damaged or cut short (");
    }
    // Width and height stand at fixed places of these files, as big- or little-endian numbers.
    const std::size_t tag_at =
        shop.read("photo.tif").find(std::string("\x00\x01\x03\x00\x01\x00\x00\x00", 8));
    const std::size_t jpeg_at = shop.read("photo.jpg").find("\xff\xc0") + 5;
    const std::string damaged = "is damaged or cut short (", zero(4, '\0');
    const struct {
        const char* name;
        std::size_t at;
        std::string bytes, text;
    } rows[] = {
        {"photo.png", shop.read("photo.png").size() / 2, "\x10\x20", damaged},
        {"photo.png", 16, zero, damaged},
        {"photo.png", 16, "\x7f\xff\xff\xff", damaged},
        {"photo.png", 20, std::string("\x00\x0f\x42\x40", 4), damaged},
        {"photo.jpg", jpeg_at, zero.substr(2), damaged},
        {"photo.jpg", jpeg_at + 2, zero.substr(2), damaged},
        {"photo.jpg", jpeg_at, "\xff\xff", damaged},
        {"photo.tif", tag_at + 8, zero, damaged},
        {"photo.tif", tag_at + 8, "\xff\xff", damaged},
        {"photo.tif", tag_at + 2, std::string("\x04\x00\x01\x00\x00\x00\x00\x00\x00\x40", 10),
         "of 1073741824 x 100 pixels is too large; "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name + std::to_string(row.at));
        std::string bytes = shop.read(row.name);
        expect_refused(bytes.replace(row.at, row.bytes.size(), row.bytes), row.text);
    }
}

TEST_F(Separate, ChecksTheTableAgainstALimit) {
    const std::string command =
        "movane separate photo.png -o out.tif -p press.icc --grid 2 --check";
    const Result result = shop.run(command);
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_NE(result.out.find("failed"), std::string::npos) << result.out;
    EXPECT_NE(result.err.find("out.tif: the table is too far"), std::string::npos);
    EXPECT_EQ(shop.run(command + " --check-limit 100").exit_code, 0);
}

TEST_F(Separate, InterruptedLeavesNothingBehind) {
    const auto before = shop.files();
    for (const int signal : {SIGINT, SIGTERM}) {
        // A table of this size takes seconds; the temporary files are there before it.
        const pid_t process = shop.start(
            kToPress + std::string("photo.png --grid 256 --plates --depth 1 --preview p.png"));
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
