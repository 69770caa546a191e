// The stages of movane separate beyond the table: each against the library, lcms or arithmetic.

#include "support/separation.h"

#include "movane/imaging.h"
#include "movane/interpolation.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace host_tests;

class Prepress : public Separate {
protected:
    nlohmann::json report_of(const std::string& arguments) {
        return nlohmann::json::parse(separate(arguments + " -q --report json").out);
    }
    Inks file(const std::string& name) const { return read_inks(shop.path(name)); }
};

// Noise that is neither flat nor periodic, and the same everywhere.
Image noise(int width, int height, int channels) {
    Image image{width, height, channels, {}};
    std::uint32_t state = 1;
    for (int i = 0; i < width * height * channels; ++i)
        image.samples.push_back(
            static_cast<std::uint8_t>((state = state * 1664525 + 1013904223) >> 24));
    return image;
}

// --- memory ---------------------------------------------------------------------------------

constexpr char kEveryStage[] =
    " --size 60% --sharpen 1,2,0.01 --curve same.par --neutral k --sharpen-kernel strong --depth 2 "
    "--plates --preview p.png --limit 300 --check --check-limit 100";

TEST_F(Prepress, NeedsLittleMemory) {
    shop.write("same.par", "[patches]\na = 0 0\nb = 1 1\n");
    const auto peak_kib = [&](int width, int height, int bits) {
        write_png(shop.path("in.png"), flat(width, height, {10, 200, 30}), {.bits = bits});
        return separate("in.png" + std::string(kEveryStage)).peak_kib;
    };
#ifndef MOVANE_SANITIZED
    // As wide as an image of 100 megapixels. Small itself: the peak includes that of this process.
    for (const int bits : {8, 16}) EXPECT_LT(peak_kib(12000, 20, bits), 32 * 1024) << bits;
#endif
    // The RGB alone of 1900 lines more would take 5,600 KiB, or twice as much.
    for (const int bits : {8, 16})
        EXPECT_LT(peak_kib(1000, 2000, bits) - peak_kib(1000, 100, bits), 2000) << bits;
}

// --- filters --------------------------------------------------------------------------------

// process-wide: the callbacks of the filters carry no pointer.
std::function<void()> line_done;
void on_channel(int channel) {
    if (channel == 2) line_done();
}

// Feeds the lines of an image to a filter that makes another one, RGB each.
template <class Feed>
Image filtered(Image in, int width, int height, Feed feed) {
    Image out = flat(width, height, {0, 0, 0});
    int lines = 0;
    std::uint8_t* to[3];
    // The resizers write all lines of a call to one place, where they are taken from.
    Image line                  = flat(width, 1, {0, 0, 0});
    std::uint8_t* const from[3] = {line.at(0, 0), line.at(0, 0) + 1, line.at(0, 0) + 2};
    line_done                   = [&] {
        std::copy(line.samples.begin(), line.samples.end(), out.at(0, lines));
        ++lines;
    };
    for (int y = 0; y < in.height; ++y) {
        std::copy_n(from, 3, to);
        feed(in.at(0, y), to);
    }
    EXPECT_EQ(lines, height);
    return out;
}

TEST_F(Prepress, ResizesAndSharpensAsTheLibraryDoes) {
    const Image in = noise(kWidth, kHeight, 3);
    write_png(shop.path("in.png"), in);
    for (const auto& [width, height] : {std::pair{31, 97}, {200, 7}, {1, 1}, {83, 4}}) {
        const std::string size = std::to_string(width) + "x" + std::to_string(height);
        SCOPED_TRACE(size);
        izat_zoom* const zoom = izat_new(0);
        izat_start(zoom, 3, in.height, in.width, height, width, on_channel, 3, 3);
        const Image zoomed =
            filtered(in, width, height, [&](std::uint8_t* line, std::uint8_t** to) {
                izat_rgb_b(zoom, line, line + 1, line + 2, &to[0], &to[1], &to[2]);
            });
        izat_kill(zoom);
        write_png(shop.path("zoomed.png"), zoomed);
        const Image by_zoom = ink_of("in.png --size " + size + "!");
        EXPECT_EQ(largest_difference(by_zoom, ink_of("zoomed.png")), 0);

        ibilin_filter* const bilinear = ibilin_new(0);
        ibilin_start(bilinear, 3, in.height, in.width, height, width, on_channel, 3, 3);
        write_png(shop.path("blended.png"),
                  filtered(in, width, height, [&](std::uint8_t* line, std::uint8_t** to) {
                      ibilin_rgb_b(bilinear, line, line + 1, line + 2, &to[0], &to[1], &to[2]);
                  }));
        ibilin_kill(bilinear);
        EXPECT_EQ(largest_difference(ink_of("in.png --filter bilinear --size " + size + "!"),
                                     ink_of("blended.png")),
                  0);

        // Sharpening comes after resizing.
        const int channels[]    = {0, 1, 2};
        const double strength[] = {0.7, 0.7, 0.7}, noises[] = {0.1, 0.1, 0.1};
        for (int radius = 0; radius < 3; ++radius) {
            usm_filter* const usm = fusm_new(radius, 255, 3, 3, channels, nullptr);
            fusm_stren_set(usm, strength);
            fusm_noise_red_set(usm, noises);
            fusm_start(usm, height, width, on_channel, 3, 1, 3);
            const bool is_low = height < (radius == 0 ? 3 : 5);  // and stays as it is
            const auto feed   = [&](std::uint8_t* line, std::uint8_t** to) {
                std::uint8_t* from[3] = {line, line + 1, line + 2};
                fusm_b_do(usm, from, to, nullptr);
            };
            write_png(shop.path("sharp.png"),
                      is_low ? zoomed : filtered(zoomed, width, height, feed));
            fusm_kill(usm);
            EXPECT_EQ(largest_difference(ink_of("in.png --size " + size + "! --sharpen 0.7," +
                                                std::to_string(radius) + ",0.1"),
                                         ink_of("sharp.png")),
                      0)
                << radius;
        }
        // Alpha takes part in resizing and keeps step in sharpening: opaque, it changes nothing.
        Image opaque = flat(kWidth, kHeight, {0, 0, 0, 255});
        for (int i = 0; i < kWidth * kHeight; ++i) std::copy_n(in.at(i, 0), 3, opaque.at(i, 0));
        write_png(shop.path("opaque.png"), opaque);
        EXPECT_EQ(largest_difference(ink_of("opaque.png --size " + size + "!"), by_zoom), 0);
    }
    EXPECT_EQ(largest_difference(ink_of("in.png --size 100%"), ink_of("in.png")), 0);
    EXPECT_EQ(largest_difference(ink_of("in.png --sharpen 0"), ink_of("in.png")), 0);
}

TEST_F(Prepress, KeepsTransparentPartsBareThroughAllStages) {
    Image half = flat(40, 30, {40, 80, 120, 255});
    for (int i = 0; i < 40 * 30; ++i)
        if (i / 40 < 15) half.at(i, 0)[3] = 0;
    shop.write("lift.par", "[patches]\np100 = 0 0.2\np0 = 1 1\n");
    for (const int bits : {8, 16}) {
        write_png(shop.path("half.png"), half, {.bits = bits});
        for (const char* const filter : {"zoom", "bilinear"}) {
            const Image ink = ink_of(
                "half.png -t absolute --size 80x60 --sharpen 2,2 --curve "
                "lift.par --sharpen-kernel strong --filter " +
                std::string(filter));
            for (int y = 0; y < 60; ++y) {
                if (y >= 27 && y <= 32) continue;  // where the two halves blend
                const int inks = ink.at(40, y)[0] + ink.at(40, y)[1] + ink.at(40, y)[2];
                EXPECT_EQ(inks > 0, y > 30) << filter << y;
            }
        }
    }
}

TEST_F(Prepress, FindsTheSize) {
    const struct {
        int width, height;
        const char* size;
        int to_width, to_height;
    } rows[] = {{40, 30, "20x20", 20, 15},  {40, 30, "200x20", 27, 20}, {40, 30, "80x600", 80, 60},
                {40, 30, "7x5!", 7, 5},     {40, 30, "50%", 20, 15},    {40, 30, "212.6%", 85, 64},
                {40, 30, "0.01%", 1, 1},    {400, 1, "10x10", 10, 1},   {1, 400, "1000x10", 1, 10},
                {3, 2, "100x100", 100, 67}, {40, 30, "40x30", 40, 30},  {5, 1000, "1x3!", 1, 3},
                {30, 40, "1000x50", 38, 50}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.size);
        write_tiff(shop.path("in.tif"), flat(row.width, row.height, {1, 2, 3}), {.dpi = 300});
        const auto report = report_of(std::string("in.tif --size ") + row.size);
        EXPECT_EQ(report["separation"]["width"], row.to_width);
        EXPECT_EQ(report["separation"]["height"], row.to_height);
        EXPECT_EQ(report["image"]["height"], row.height);
        const Inks ink = file("out.tif");
        EXPECT_EQ(ink.width * 1000 + ink.height, row.to_width * 1000 + row.to_height);
        EXPECT_NE(shop.run("tiffinfo out.tif").out.find("300, 300 pixels/inch"), std::string::npos);
    }
}

// --- deep images ----------------------------------------------------------------------------

TEST_F(Prepress, DithersDeepColours) {
    // Deep values between two levels: the mean over a cell of 4 x 4 pixels is right to 1/16 level.
    for (const int low : {0, 3, 0x40, 0x80, 0xff}) {
        SCOPED_TRACE(low);
        for (const auto write : {write_png, write_tiff}) {
            write(shop.path("deep"), flat(4, 4, {100, 100, 100}), {.bits = 16, .low_byte = low});
            double sum = 0;
            for (int i = 0; i < 16; ++i) {
                const auto rgb = nlohmann::json::parse(
                    shop.run("movane pick deep --grid 2 --report json -p press.icc " +
                             std::to_string(i % 4) + "," + std::to_string(i / 4))
                        .out)["rgb"];
                EXPECT_EQ(rgb[0], rgb[1]);
                EXPECT_EQ(rgb[0], rgb[2]);
                sum += rgb[0].get<int>();
            }
            EXPECT_NEAR(sum / 16, (100 * 256 + low) / 257.0, 0.5 / 16 + 1e-3);
        }
    }
}

TEST_F(Prepress, LeavesNoDotsOnWhite) {
    // The zoom truncates; white must come out as white all the same, or dots would soil the paper.
    write_png(shop.path("white8.png"), flat(1, 1, {255, 255, 255}));
    write_png(shop.path("white.png"), flat(120, 120, {255, 255, 255}), {.bits = 16});
    const Image paper = ink_of("white8.png");
    write_png(shop.path("large8.png"), flat(900, 900, {255, 255, 255}));
    for (const char* const words :
         {"white.png --size 300%", "white.png --size 61%", "white.png --size 2%",
          "white.png --size 97x120!", "large8.png --size 4x4"}) {
        const Image ink = ink_of(std::string(words) + " --sharpen 1");
        EXPECT_EQ(largest_difference(ink, flat(ink.width, ink.height, paper.samples)), 0) << words;
    }
}

TEST_F(Prepress, TreatsDeepLikeOrdinaryImages) {
    const Image in = noise(kWidth, kHeight, 4);
    write_png(shop.path("in8.png"), in);
    write_png(shop.path("in16.png"), in, {.bits = 16});
    write_tiff(shop.path("in16.tif"), in, {.bits = 16});
    const Image plain = ink_of("in16.png");
    EXPECT_EQ(largest_difference(plain, ink_of("in16.tif")), 0);
    // 3 levels of color at most: rounding and truncation in two directions, and the dither.
    for (const char* const options :
         {"--size 50%", "--size 140% --filter bilinear", "--sharpen 0.5"}) {
        const auto rgb_of = [&](const char* name) {
            separate(name + std::string(" --grid 2 --preview p.png ") + options);
            return read_rgb_png(shop.path("p.png"));
        };
        EXPECT_LE(largest_difference(rgb_of("in8.png"), rgb_of("in16.png")), 6) << options;
    }
}

// --- the table ------------------------------------------------------------------------------

TEST_F(Prepress, PrintsGraysWithBlackAlone) {
    Image ramp = flat(256, 2, {200, 30, 40});
    for (int x = 0; x < 256; ++x) std::fill_n(ramp.at(x, 0), 3, static_cast<std::uint8_t>(x));
    for (const int bits : {8, 16}) {
        write_png(shop.path("ramp.png"), ramp, {.bits = bits, .low_byte = bits == 8 ? -1 : 77});
        for (const char* const options : {"--grid 52", "", "-t relative -b", "-t absolute"}) {
            SCOPED_TRACE(options);
            const Image plain    = ink_of("ramp.png " + std::string(options));
            const Image black    = ink_of("ramp.png --neutral k " + std::string(options));
            const auto wanted    = lab_of(plain, press_profile()),
                       got       = lab_of(black, press_profile());
            const double darkest = lab_of(flat(1, 1, {0, 0, 0, 255}), press_profile())[0];
            for (int x = 0; x < 256; ++x) {
                EXPECT_EQ(black.at(x, 0)[0] + black.at(x, 0)[1] + black.at(x, 0)[2], 0) << x;
                // 2: black counts in bytes, and lightness bends between grid points.
                EXPECT_NEAR(got[3 * x], std::max(wanted[3 * x], darkest), 2) << x;
                for (int c = 0; c < 4; ++c) EXPECT_EQ(black.at(x, 1)[c], plain.at(x, 1)[c]);
            }
        }
    }
}

TEST_F(Prepress, BendsInksByCurves) {
    const Image plain = ink_of("photo.png");
    const auto curved = [&](const std::function<int(int, int)>& curve) {
        Image ink = plain;
        for (int i = 0; i < kWidth * kHeight; ++i)
            for (int c = 0; c < 4; ++c)
                ink.at(i, 0)[c] = static_cast<std::uint8_t>(curve(c, ink.at(i, 0)[c]));
        return ink;
    };
    shop.write("same.par", "[other]\nx = 5 6\n[patches]\np100 = 0 0\np0 = 1 1\n");
    shop.write("not.par", "[patches]\n a = 0 1\n b = 1 0\n");
    shop.write("steep.par", "[patches]\na = 0.25 0\nb = 0.5 0.6\n");  // goes on beyond its ends
    const auto steep = [](int v) {
        return static_cast<int>(std::clamp((v / 255.0 - 0.25) * 2.4, 0.0, 1.0) * 255 + 0.5);
    };
    EXPECT_EQ(largest_difference(ink_of("photo.png --curve same.par"), plain), 0);
    EXPECT_EQ(largest_difference(ink_of("photo.png --curve not.par"),
                                 curved([](int, int v) { return 255 - v; })),
              0);
    EXPECT_EQ(
        largest_difference(
            ink_of("photo.png --curve yellow=not.par --curve steep.par --curve black=same.par"),
            curved([&](int c, int v) { return c == 2   ? 255 - v
                                              : c == 3 ? v
                                                       : steep(v); })),
        0);
}

// --- halftones and plates -------------------------------------------------------------------

TEST_F(Prepress, WritesHalftonesAndPlates) {
    constexpr int kShifts[4][2] = {{0, 0}, {1, 1}, {2, 0}, {3, 1}};  // of each ink's cells
    const Image plain           = ink_of("photo.png");
    const char* const plates[]  = {"out(Cyan).tif", "out(Magenta).tif", "out(Yellow).tif",
                                   "out(Black).tif"};
    for (const int bits : {1, 2, 4, 8}) {
        SCOPED_TRACE(bits);
        const int top         = (1 << bits) - 1;
        rdither* const dither = bits < 8 ? rdither_new(255, top) : nullptr;
        const auto report =
            report_of("photo.png --plates --preview p.png --depth " + std::to_string(bits));
        EXPECT_EQ(report["plates"], nlohmann::json(plates));
        const Inks all = file("out.tif");
        EXPECT_EQ(all.bits * 1000 + all.photometric, bits * 1000 + 5);
        Image shown = plain, expected = plain;
        for (int i = 0; i < kWidth * kHeight; ++i) {
            for (int c = 0; c < 4; ++c) {
                const int code = plain.at(i, 0)[c];
                const int x = i % kWidth + kShifts[c][0], y = i / kWidth + kShifts[c][1];
                const int level      = dither ? rdither_val(dither, x, y, code) : code;
                expected.at(i, 0)[c] = static_cast<std::uint8_t>(level);
                shown.at(i, 0)[c]    = static_cast<std::uint8_t>(level * 255 / top);
            }
        }
        rdither_kill(dither);
        EXPECT_EQ(largest_difference(all, expected), 0);
        for (int c = 0; c < 4; ++c) {
            const Inks plate = file(plates[c]);
            EXPECT_EQ(plate.bits * 1000 + plate.photometric, bits * 1000);  // white is 0
            ASSERT_EQ(plate.samples.size(), expected.samples.size() / 4);
            for (int i = 0; i < kWidth * kHeight; ++i)
                EXPECT_EQ(plate.samples[i], expected.at(i, 0)[c]);
        }
        // Figures are of the inks before halftoning, the preview is of what is printed.
        int most = 0;
        for (int i = 0; i < kWidth * kHeight; ++i) most = std::max<int>(most, plain.at(i, 0)[0]);
        EXPECT_NEAR(report["ink_percent"]["cyan"]["maximum"], most / 2.55, 1e-9);
        EXPECT_LE(largest_difference(read_rgb_png(shop.path("p.png")),
                                     convert(shown, press_profile(), srgb_profile(), 1, false)),
                  8);
    }
    shop.write("there.d/file", "");
    shop.run("movane separate photo.png -p press.icc -o there.d/name --plates");
    EXPECT_FALSE(shop.read("there.d/name(Black)").empty());
}

// --- figures --------------------------------------------------------------------------------

TEST_F(Prepress, TellsHowMuchInkThereIs) {
    write_png(shop.path("in.png"), noise(kWidth, kHeight, 3));
    write_png(shop.path("dot.png"), flat(1, 1, {10, 90, 200}));
    for (const char* const name : {"in.png", "dot.png"}) {
        for (const int limit : {0, 120, 180, 400}) {
            const auto report = report_of(name + (" --limit " + std::to_string(limit)));
            const Image ink   = read_cmyk_tiff(shop.path("out.tif"));
            const auto pixels = ink.samples.size() / 4;
            std::size_t above = 0;
            std::vector<int> totals, cyans;
            for (std::size_t i = 0; i < pixels; ++i) {
                const std::uint8_t* const p = &ink.samples[4 * i];
                totals.push_back(p[0] + p[1] + p[2] + p[3]);
                cyans.push_back(p[0]);
                above += totals.back() * 100 > limit * 255;
            }
            EXPECT_EQ(report["limit"]["pixels_above"], above);
            EXPECT_NEAR(report["limit"]["share_above"], double(above) / double(pixels), 1e-12);
            EXPECT_NEAR(report["limit"]["highest"],
                        *std::max_element(totals.begin(), totals.end()) / 2.55, 1e-9);
            for (auto* const values : {&totals, &cyans}) {
                std::sort(values->begin(), values->end());
                const auto& figures = report["ink_percent"][values == &totals ? "total" : "cyan"];
                double mean = 0, squares = 0;
                for (const int v : *values) mean += v / double(pixels);
                for (const int v : *values) squares += (v - mean) * (v - mean) / double(pixels);
                const auto share = [&](double part) {
                    const auto count = static_cast<std::size_t>(double(pixels) * part);
                    return (*values)[std::max<std::size_t>(count, 1) - 1] / 2.55;
                };
                EXPECT_NEAR(figures["mean"], mean / 2.55, 1e-9);
                EXPECT_NEAR(figures["standard_deviation"], std::sqrt(squares) / 2.55, 1e-9);
                EXPECT_NEAR(figures["median"], share(0.5), 1e-9);
                EXPECT_NEAR(figures["percentile_99"], share(0.99), 1e-9);
            }
        }
    }
    EXPECT_NE(separate("in.png --limit 120").out.find(" above 120 % of ink, the highest has "),
              std::string::npos);
}

TEST_F(Prepress, CountsMorePixelsThanTheHistogramMultiplies) {
    // The product of the sum of inks, 1020 at most, and the count of pixels does not fit 32 bits.
    write_png(shop.path("black.png"), flat(1600, 1600, {0, 0, 0}));
    const auto total = report_of("black.png")["ink_percent"]["total"];
    EXPECT_GT(total["maximum"], 340);
    EXPECT_NEAR(total["mean"].get<double>(), total["maximum"].get<double>(), 1e-9);
    EXPECT_NEAR(total["median"].get<double>(), total["maximum"].get<double>(), 1e-9);
    EXPECT_NEAR(total["standard_deviation"], 0, 1e-6);
}

// --- errors -----------------------------------------------------------------------------------

TEST_F(Prepress, ErrorsNameOptionAndRemedy) {
    write_png(shop.path("tall.png"), flat(1, 999, {1, 2, 3}));
    shop.write("one.par", "[patches]\na = 0.5 0.5\n");
    shop.write("none.par", "no curve at all\n");
    shop.write("percent.par", "[patches]\na = 0 0\nb = 50 60\nc = 100 100\n");
    shop.write("comma.par", "[patches]\na = 0 0\nb = 0.5;0.6\nc = 1 1\n");
    shop.write("twice.par", "[patches]\na = 0.5 0.5\nb = 0.5 0.6\nc = 1 1\n");
    shop.write("directory/file", "");
    const std::string size = " is neither WIDTHxHEIGHT, WIDTHxHEIGHT! nor PERCENT%",
                      usm  = " is not STRENGTH[,RADIUS[,NOISE]]";
    const std::string long_name(130, 'c');
    shop.write(long_name, "[patches]\na = 0 0\nb = 1 1\n");
    shop.expect_failures(
        "movane separate photo.png -p press.icc -o out.tif ",
        {{"--size 100", 2, "--size: 100" + size},
         {"--size 100x", 2, "--size: 100x" + size},
         {"--size 10x10?", 2, "--size: 10x10?" + size},
         {"--size 10X10", 2, size},
         {"--size %", 2, "--size: % is not a number of percent, such as 50%"},
         {"--size 5%%", 2, "is not a number of percent"},
         {"--size 0%", 2, "--size: 0% is not above 0 % or too large"},
         {"--size=-5%", 2, "is not above 0 %"},
         {"--size nan%", 2, "is not above 0 %"},
         {"--size 0x5", 2, "--size: 0x5 is not 1 to 1000000 pixels each way"},
         {"--size 5x1000001!", 2, "is not 1 to 1000000 pixels each way"},
         {"--size 5000000%", 1, "photo.png: would become more than 1000000 pixels long; choose"},
         {"--filter cubic", 2, "--filter: cubic"},
         {"--sharpen strong", 2, "--sharpen: strong" + usm},
         {"--sharpen 1,", 2, usm},
         {"--sharpen=-1", 2, usm},
         {"--sharpen 101", 2, usm},
         {"--sharpen 1,3", 2, usm},
         {"--sharpen 1,0.5", 2, usm},
         {"--sharpen 1,1,1.5", 2, usm},
         {"--sharpen 1,1,0,1", 2, usm},
         {"--neutral c", 2, "--neutral: c"},
         {"--depth 3", 2, "--depth: "},
         {"--limit 401", 2, "--limit"},
         {"--curve ''", 2, "--curve"},
         {"--curve a --curve b", 2, "--curve: b is to name a file, for all inks once"},
         {"--curve cyan=", 2, "--curve: cyan= is to name a file"},
         {"--curve cyan=a --curve cyan=b", 2, "for one ink (cyan=FILE) once"},
         {"--curve missing.par", 1, "missing.par: cannot be read: No such file or directory; "},
         {"--curve directory", 1, "directory: is not a file; "},
         {"--curve one.par", 1, "one.par: holds one point only; give pairs of numbers from 0 to 1"},
         {"--curve none.par", 1, "none.par: holds no points of a curve; "},
         {"--curve percent.par", 1, "percent.par: holds tone values outside 0 to 1; give pairs"},
         {"--curve comma.par", 1, "comma.par: has a line that is no pair (Error bad item string"},
         {"--curve twice.par", 1, "twice.par: is not a curve (lin_interp : not a function !!); "},
         {"--curve " + long_name, 1, "has too long a path for a curve; name it by at most 127"},
         {"--curve out.tif", 2, "out.tif: would overwrite out.tif"},
         {"--plates --preview 'out(Black).tif'", 2, "out(Black).tif: would overwrite out(Black)"}});
    shop.expect_failures("movane separate -p press.icc -o out.tif ",
                         {{"tall.png --size 1x2!", 1,
                           "tall.png: has 999 lines, too many to be reduced to 2 by the zoom; "
                           "choose a larger --size "
                           "or --filter bilinear"}});
    separate("tall.png --size 1x3!");
    separate("tall.png --size 1x1! --filter bilinear");
}

}  // namespace
