// movane separate on generated images: pixels against lcms alone, tags by another reader.

#include "support/images.h"
#include "support/profiles.h"
#include "support/program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace host_tests;

constexpr int kWidth = 83, kHeight = 41;  // odd: neither whole patches nor whole vectors

class Separate : public ::testing::Test {
protected:
    Separate() { shop.write("press.icc", press_profile()); }

    /// Separates to "out.tif" and expects success.
    Result separate(const std::string& photo, const std::vector<std::string>& options = {}) {
        std::vector<std::string> command = {"movane",  "separate", photo,      "-o",
                                            "out.tif", "-p",       "press.icc"};
        command.insert(command.end(), options.begin(), options.end());
        Result result = shop.run(command);
        EXPECT_EQ(result.exit_code, 0) << result.err;
        return result;
    }
    Image ink_of(const std::string& photo, const std::vector<std::string>& options = {}) {
        separate(photo, options);
        return read_cmyk_tiff(shop.path("out.tif"));
    }

    const Workshop shop;
};

int largest_difference(const Image& a, const Image& b) {
    EXPECT_EQ(a.width, b.width);
    EXPECT_EQ(a.height, b.height);
    if (a.samples.size() != b.samples.size()) return 256;
    int largest = 0;
    for (std::size_t i = 0; i < a.samples.size(); ++i)
        largest = std::max(largest, std::abs(a.samples[i] - b.samples[i]));
    return largest;
}

// --- colours --------------------------------------------------------------------------------

TEST_F(Separate, FollowsTheProfileInEveryIntent) {
    const Image photo = patches(kWidth, kHeight, 3);
    write_png(shop.path("photo.png"), photo);
    const std::vector<std::string> intents = {"perceptual", "relative", "saturation", "absolute"};
    for (int intent = 0; intent < 4; ++intent) {
        for (const bool has_bpc : {false, true}) {
            std::vector<std::string> options = {"-t", intents[static_cast<std::size_t>(intent)]};
            if (has_bpc) options.push_back("-b");
            const Image expected = convert(photo, srgb_profile(), press_profile(), intent, has_bpc);
            // 5: between grid points the profile's own tables bend.
            EXPECT_LE(largest_difference(ink_of("photo.png", options), expected), 5)
                << options[1] << (has_bpc ? " -b" : "");
        }
    }
}

TEST_F(Separate, UsesTheProfileOfThePhotoWhenItIsRgb) {
    const Image photo = patches(kWidth, kHeight, 3);
    write_png(shop.path("plain.png"), photo);
    const Image in_srgb = ink_of("plain.png");
    const Image in_wide = convert(photo, wide_rgb_profile(), press_profile(), 0, false);
    const auto write    = {write_png, write_jpeg, write_tiff};
    for (const auto& write_photo : write) {
        write_photo(shop.path("wide"), photo, {.profile = wide_rgb_profile()});
        EXPECT_LE(largest_difference(ink_of("wide"), in_wide), 9);
        // PNG is left out of what follows: its writer refuses such profiles.
        if (write_photo == write_png) continue;
        for (const std::string& useless : {lab_profile(), wide_rgb_profile().substr(0, 300)}) {
            write_photo(shop.path("odd"), photo, {.profile = useless});
            const Result result = separate("odd");
            EXPECT_NE(result.err.find("odd: its profile"), std::string::npos) << result.err;
            EXPECT_LE(largest_difference(read_cmyk_tiff(shop.path("out.tif")), in_srgb), 9);
        }
    }
}

// --- kinds of files -------------------------------------------------------------------------

struct FileCase {
    const char* name;
    void (*write)(const std::string&, const Image&, const Kind&);
    int channels;
    Kind kind;
    int tolerance;     // of JPEG, in ink
    const char* note;  // why it is read as a whole; "" for line by line
};

TEST_F(Separate, ReadsEveryKindOfFile) {
    const FileCase cases[] = {
        {"png rgb", write_png, 3, {}, 0, ""},
        {"png rgb 16", write_png, 3, {.bits = 16}, 0, ""},
        {"png rgba", write_png, 4, {}, 0, ""},
        {"png rgba 16", write_png, 4, {.bits = 16}, 0, ""},
        {"png gray", write_png, 1, {}, 0, ""},
        {"png gray alpha", write_png, 2, {}, 0, ""},
        {"png palette", write_png, 3, {.has_palette = true}, 0, ""},
        {"png interlaced", write_png, 4, {.is_whole = true}, 0, "interlaced"},
        {"jpeg rgb", write_jpeg, 3, {}, 9, ""},
        {"jpeg gray", write_jpeg, 1, {}, 9, ""},
        {"jpeg progressive", write_jpeg, 3, {.is_whole = true}, 9, "progressively"},
        {"tiff rgb", write_tiff, 3, {}, 0, ""},
        {"tiff rgb 16", write_tiff, 3, {.bits = 16}, 0, ""},
        {"tiff rgba", write_tiff, 4, {}, 0, ""},
        {"tiff rgba 16", write_tiff, 4, {.bits = 16, .is_premultiplied = true}, 0, ""},
        {"tiff gray", write_tiff, 1, {}, 0, ""},
        {"tiff gray 16", write_tiff, 1, {.bits = 16}, 0, ""},
        {"tiff gray alpha", write_tiff, 2, {}, 0, ""},
        {"tiff white is 0", write_tiff, 1, {.is_inverted = true}, 0, ""},
        {"tiff palette", write_tiff, 3, {.has_palette = true}, 0, ""},
        {"tiff planes", write_tiff, 3, {.is_planar = true}, 0, "in planes"},
        {"tiff planes rgba", write_tiff, 4, {.is_planar = true}, 0, "in planes"},
        {"tiff tiles", write_tiff, 3, {.is_tiled = true}, 0, "in tiles"},
        {"tiff tiles rgba", write_tiff, 4, {.is_tiled = true}, 0, "in tiles"},
    };
    write_tiff(shop.path("colour.tif"), patches(kWidth, kHeight, 3));
    Image gray = patches(kWidth, kHeight, 3);
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            std::fill_n(gray.at(x, y), 3, *patches(kWidth, kHeight, 1).at(x, y));
    write_tiff(shop.path("gray.tif"), gray);
    const Image colour_ink = ink_of("colour.tif"), gray_ink = ink_of("gray.tif");

    for (const FileCase& c : cases) {
        SCOPED_TRACE(c.name);
        c.write(shop.path("photo"), patches(kWidth, kHeight, c.channels), c.kind);
        const Result result   = separate("photo");
        const Image& expected = c.channels < 3 ? gray_ink : colour_ink;
        EXPECT_LE(largest_difference(read_cmyk_tiff(shop.path("out.tif")), expected), c.tolerance);
        if (*c.note)
            EXPECT_NE(result.err.find(c.note), std::string::npos) << result.err;
        else
            EXPECT_EQ(result.err, "");
    }
}

TEST_F(Separate, WritesTheTagsThatPrepressExpects) {
    const auto write = {write_png, write_jpeg, write_tiff};
    for (const auto& write_photo : write) {
        write_photo(shop.path("photo"), patches(kWidth, kHeight, 3), {.dpi = 300});
        separate("photo");
        const std::string info = shop.run({"tiffinfo", "out.tif"}).out;
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
    Image photo = flat(kWidth, kHeight, {40, 80, 120, 255});
    Image laid  = flat(kWidth, kHeight, {40, 80, 120});
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const int alpha   = (x + y) % 3 == 0 ? 0 : (x / 9 % 2 ? 255 : 100);
            photo.at(x, y)[3] = static_cast<std::uint8_t>(alpha);
            for (int c = 0; c < 3; ++c)
                laid.at(x, y)[c] = static_cast<std::uint8_t>(
                    (photo.at(x, y)[c] * alpha + 255 * (255 - alpha) + 127) / 255);
        }
    }
    write_png(shop.path("photo.png"), photo);
    write_tiff(shop.path("photo.tif"), photo);
    write_png(shop.path("laid.png"), laid);

    // The absolute intent prints the white of the screen on this yellow paper: paper is not white.
    const auto clear_transparent = [&](Image ink) {
        for (int y = 0; y < kHeight; ++y)
            for (int x = 0; x < kWidth; ++x)
                if (photo.at(x, y)[3] == 0) std::fill_n(ink.at(x, y), 4, std::uint8_t{0});
        return ink;
    };
    const Image expected = clear_transparent(ink_of("laid.png", {"-t", "absolute"}));
    EXPECT_EQ(largest_difference(ink_of("photo.png", {"-t", "absolute"}), expected), 0);
    EXPECT_EQ(largest_difference(ink_of("photo.tif", {"-t", "absolute"}), expected), 0);

    const Image blurred = ink_of("photo.png", {"--sharpen-kernel", ".1,.1,.1,.1,.2,.1,.1,.1,.1"});
    EXPECT_EQ(largest_difference(blurred, clear_transparent(blurred)), 0);
    EXPECT_GT(largest_difference(blurred, expected), 0);
}

// --- sharpening -----------------------------------------------------------------------------

TEST_F(Separate, FiltersTheInksWithTheKernel) {
    std::string shift5 = "0";  // 5 x 5: everything moves right by 2 and down by 1
    for (int i = 1; i < 25; ++i) shift5 += i == 5 ? ",1" : ",0";
    struct KernelCase {
        std::string kernel;
        int radius, dx, dy;
    };
    const KernelCase cases[] = {{"1", 0, 0, 0},
                                {"0,0,0, 0,1,0, 0,0,0", 1, 0, 0},
                                {"0,0,0,0,0,1,0,0,0", 1, 1, 0},
                                {shift5, 2, -2, -1}};
    const Image photo        = patches(kWidth, kHeight, 3);
    write_png(shop.path("photo.png"), photo);
    const Image plain = ink_of("photo.png");
    for (const KernelCase& c : cases) {
        Image expected = plain;
        for (int y = c.radius; y < kHeight - c.radius; ++y)
            for (int x = c.radius; x < kWidth - c.radius; ++x)
                std::copy_n(plain.at(x + c.dx, y + c.dy), 4, expected.at(x, y));
        EXPECT_EQ(largest_difference(ink_of("photo.png", {"--sharpen-kernel", c.kernel}), expected),
                  0)
            << c.kernel;
    }
    int gain = 0;
    for (const char* preset : {"soft", "medium", "strong"}) {
        const Image ink    = ink_of("photo.png", {"--sharpen-kernel", preset});
        const int stronger = largest_difference(ink, plain);
        EXPECT_GT(stronger, gain) << preset;
        gain = stronger;
        // Inside a patch there is nothing to sharpen.
        for (const int centre : {4, 12})
            for (int c = 0; c < 4; ++c)
                EXPECT_NEAR(ink.at(centre, centre)[c], plain.at(centre, centre)[c], 1);
    }
}

TEST_F(Separate, LeavesAnImageAloneThatIsLowerThanTheKernel) {
    std::string box = ".04";
    for (int i = 1; i < 25; ++i) box += ",.04";
    for (int height = 1; height <= 5; ++height) {
        write_png(shop.path("photo.png"), patches(kWidth, height, 3));
        const Image plain = ink_of("photo.png");
        EXPECT_EQ(largest_difference(ink_of("photo.png", {"--sharpen-kernel", box}), plain) == 0,
                  height < 5)
            << height;
    }
}

// --- preview and report ---------------------------------------------------------------------

TEST_F(Separate, ShowsTheInksInThePreview) {
    write_png(shop.path("photo.png"), patches(kWidth, kHeight, 3));
    const Image ink      = ink_of("photo.png", {"--preview", "preview.png"});
    const Image expected = convert(ink, press_profile(), srgb_profile(), 1, false);
    // 8: the press's model bends more between the preview's grid points than real ones.
    EXPECT_LE(largest_difference(read_rgb_png(shop.path("preview.png")), expected), 8);
}

TEST_F(Separate, ReportsInkAndProfiles) {
    Image photo = flat(100, 100, {200, 90, 60});
    std::fill_n(photo.at(0, 50), 3 * 100, std::uint8_t{255});  // 1 % of the lines is white
    write_png(shop.path("photo.png"), photo);
    const Result result = separate("photo.png", {"--report", "json", "-q", "--check"});
    const Image ink     = read_cmyk_tiff(shop.path("out.tif"));
    const auto report   = nlohmann::json::parse(result.out, nullptr, false);
    ASSERT_FALSE(report.is_discarded()) << result.out;

    EXPECT_EQ(report["device_profile"]["description"], "Test press");
    EXPECT_EQ(report["device_profile"]["file"], "press.icc");
    EXPECT_EQ(report["image"]["width"], 100);
    EXPECT_EQ(report["intent"], "perceptual");
    EXPECT_GT(report["megapixels_per_second"], 0);
    EXPECT_EQ(report["check"]["distinct_colours"], 2);
    EXPECT_EQ(report["check"]["passed"], true);
    const char* const names[] = {"cyan", "magenta", "yellow", "black"};
    double total_mean         = 0;
    for (std::size_t c = 0; c < 4; ++c) {
        const double body = ink.at(0, 0)[c] / 2.55, line = ink.at(0, 50)[c] / 2.55;
        const auto& coverage = report["ink_percent"][names[c]];
        EXPECT_NEAR(coverage["mean"], 0.99 * body + 0.01 * line, 1e-9);
        EXPECT_NEAR(coverage["maximum"], std::max(body, line), 1e-9);
        EXPECT_NEAR(coverage["percentile_99"], body, 1e-9);
        total_mean += 0.99 * body + 0.01 * line;
    }
    EXPECT_NEAR(report["ink_percent"]["total"]["mean"], total_mean, 1e-9);

    EXPECT_NE(separate("photo.png").out.find("Test press (press.icc)"), std::string::npos);
    const Result quiet = separate("photo.png", {"-q"});
    EXPECT_EQ(quiet.out + quiet.err, "");
}

TEST_F(Separate, ShowsProgressWhenAskedFor) {
    write_png(shop.path("photo.png"), patches(kWidth, kHeight, 3));
    const std::string line = separate("photo.png", {"--progress"}).err;
    EXPECT_EQ(line.front(), '\r');
    EXPECT_NE(line.find("100 %  41 of 41 lines"), std::string::npos) << line;
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1);
}

TEST_F(Separate, TakesTheFirstPressOfTheSystem) {
    write_png(shop.path("photo.png"), patches(kWidth, kHeight, 3));
    shop.write("data/color/icc/a/screen.icc", srgb_profile());
    shop.write("data/color/icc/b/broken.icc", "not a profile");
    shop.write("data/color/icc/c/press.icc", press_profile());
    const Workshop::Environment system = {
        {"XDG_DATA_HOME", shop.path("none")},
        {"XDG_DATA_DIRS", shop.path("none") + ":" + shop.path("data")}};
    const Result result = shop.run({"movane", "separate", "photo.png", "-o", "out.tif"}, system);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_NE(result.out.find("icc/c/press.icc"), std::string::npos) << result.out;
}

TEST_F(Separate, NeedsNoMoreMemoryForALongerImage) {
    const auto peak_kib = [&](int height) {
        write_png(shop.path("photo.png"), flat(1000, height, {10, 200, 30}));
        return separate("photo.png", {"--check", "--preview", "preview.png"}).peak_kib;
    };
    EXPECT_LT(peak_kib(2000) - peak_kib(100), 2000);  // its RGB alone would take 5,600
}

}  // namespace
