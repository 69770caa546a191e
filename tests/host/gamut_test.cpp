// movane gamut: figures of a device in closed form, pictures that other readers accept, charts that
// are damaged.

#include "support/images.h"
#include "support/program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <numbers>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace host_tests;
using nlohmann::json;

constexpr char kCommand[] =
    "env LSAN_OPTIONS=print_suppressions=0:suppressions=leaks movane gamut ";

// A device of three inks of equal strength, a third of a turn apart: its gamut is a skewed cube.
constexpr double kDarkness = 25, kChroma = 60;
const double kVolume = kDarkness * kChroma * kChroma * 1.5 * std::numbers::sqrt3;

std::string patch(const std::vector<double>& inks) {
    double lab[3] = {100, 0, 0};
    std::ostringstream text;
    text.precision(12);
    text << "1";
    for (std::size_t i = 0; i < 3; ++i) {
        const double angle = static_cast<double>(i) * 2 * std::numbers::pi / 3;
        lab[0] -= kDarkness * inks[i];
        lab[1] += kChroma * inks[i] * std::cos(angle);
        lab[2] += kChroma * inks[i] * std::sin(angle);
        text << ' ' << 100 * inks[i];
    }
    text << ' ' << lab[0] << ' ' << lab[1] << ' ' << lab[2] << '\n';
    return text.str();
}

const std::string kHead =
    "CTI3\nDESCRIPTOR \"three & <inks>\"\n# BEGIN_DATA\nBEGIN_DATA_FORMAT\n"
    "SAMPLE_ID CMY_C CMY_M CMY_Y LAB_L LAB_A LAB_B\nEND_DATA_FORMAT\n";

std::string chart(const std::string& rows) { return kHead + "BEGIN_DATA\n" + rows + "END_DATA\n"; }

std::string grid() {
    std::string rows;
    for (const double c : {0.0, 0.4, 1.0})
        for (const double m : {0.0, 0.4, 1.0})
            for (const double y : {0.0, 0.4, 1.0}) rows += patch({c, m, y});
    return rows;
}

std::string scattered() {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> amount(0, 1);
    std::string rows = patch({0, 0, 0});
    for (int i = 0; i < 150; ++i) rows += patch({amount(random), amount(random), amount(random)});
    return rows;
}

class Gamut : public ::testing::Test {
protected:
    Gamut() {
        shop.write("leaks", "leak:libfontconfig\n");  // of another library, which keeps its fonts
        shop.write("press.icc", press_profile());
        shop.write("chart.ti3", chart(grid()));
    }

    json figures(const std::string& arguments) {
        const Result result = shop.run(kCommand + arguments + " --report json");
        EXPECT_EQ(result.exit_code, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return json::parse(result.out, nullptr, false);
    }

    const Workshop shop;
};

// --- figures --------------------------------------------------------------------------------

TEST_F(Gamut, MeasuresADeviceInClosedForm) {
    const json told = figures("chart.ti3 -o out --section L=75 --section L=62.5 --coverage");
    EXPECT_NEAR(told["hull"]["volume"].get<double>(), kVolume, 1);
    EXPECT_EQ(told["combinations"].size(), 3u);
    EXPECT_EQ(told["paper"][0], 100.0);
    EXPECT_NEAR(told["vt_max"].get<double>(), 100, 1e-9);
    EXPECT_NEAR(told["hue_span"]["width"].get<double>(), 360, 1e-6);
    EXPECT_EQ(told["measured"]["inside"], 27);
    EXPECT_EQ(told["measured"]["farthest"], 0.0);

    // Primaries lie at 0, 120 and 240 degrees, mixtures of two as far out between them.
    ASSERT_EQ(told["umbrella_edge"].size(), 12u);
    for (const json& edge : told["umbrella_edge"]) {
        const double hue = edge["hue"].get<double>(), away = std::fabs(std::fmod(hue, 120) - 60);
        if (std::fmod(hue, 60) != 0) continue;
        const double height = away == 0 ? 100 - 2 * kDarkness : 100 - kDarkness;
        EXPECT_NEAR(edge["surface"]["chroma"].get<double>(), kChroma, 0.01) << hue;
        EXPECT_NEAR(edge["surface"]["height"].get<double>(), height, 0.01) << hue;
        // The library's margin is a tenth.
        EXPECT_NEAR(edge["height"].get<double>(), height + 0.1 * (100 - height), 0.05) << hue;
        EXPECT_NEAR(edge["teta"].get<double>() * std::numbers::pi / 180,
                    1.1 * std::atan(kChroma / height), 0.002)
            << hue;
    }

    // Sections: the triangle of the primaries, and the hexagon half-way down.
    const double triangle = 0.75 * std::numbers::sqrt3 * kChroma * kChroma;
    const double hexagon  = 1.5 * std::numbers::sqrt3 * kChroma * kChroma * 0.75;
    EXPECT_NEAR(told["coverage"][0]["area"].get<double>(), triangle, triangle * 0.01);
    EXPECT_NEAR(told["coverage"][1]["area"].get<double>(), hexagon, hexagon * 0.01);
    for (const json& coverage : told["coverage"]) {
        EXPECT_EQ(coverage["points"], 513 * 513);
        EXPECT_EQ(coverage["saved"].get<long>() + coverage["calls"].get<long>(), 513 * 513);
        EXPECT_GT(coverage["saved"], 200'000);
    }
}

TEST_F(Gamut, InterpolatesAnyChart) {
    shop.write("scattered.ti3", chart(scattered()));
    const json told = figures("scattered.ti3 -o out --steps 9 --compare chart.ti3");
    EXPECT_NE(told["model"].get<std::string>().find("by planes"), std::string::npos);
    EXPECT_NE(told["compare"]["model"].get<std::string>().find("in grids"), std::string::npos);
    // Planes are exact for a device that is one.
    EXPECT_NEAR(told["hull"]["volume"].get<double>(), kVolume, 0.002 * kVolume);
    for (const json& primary : told["primaries"])
        EXPECT_NEAR(primary["lab"][0].get<double>(), 100 - kDarkness, 0.1) << primary;
}

TEST_F(Gamut, ShowsAPressAsItsProfileHasIt) {
    shop.write("far.ti3", chart(grid() + "1 1 1 1 50 200 0\n"));
    const json told = figures("press.icc -o out --measured far.ti3");
    double lighter  = 101;
    for (const json& primary : told["primaries"]) {
        Image ink               = flat(1, 1, {0, 0, 0, 0});
        const std::string names = "CMYB", name = primary["name"];
        ink.samples[names.find(name[0])] = 255;
        const std::vector<double> lab    = lab_of(ink, press_profile());
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_NEAR(primary["lab"][i].get<double>(), lab[i], 0.05) << name;
        EXPECT_LT(primary["lab"][0].get<double>(), lighter);
        EXPECT_EQ(primary["is_darkening"], name == "Black");
        lighter = primary["lab"][0];
    }
    EXPECT_EQ(told["primaries"].size(), 4u);
    EXPECT_EQ(told["measured"]["patches"], 28);
    EXPECT_LT(told["measured"]["inside"], 28);
    EXPECT_GT(told["measured"]["farthest"], 100);
    EXPECT_NEAR(told["hue_span"]["width"].get<double>(), 360, 1e-6);  // though its paper is yellow
}

TEST_F(Gamut, TakesEveryAxisAndKindOfDevice) {
    shop.write("srgb.icc", srgb_profile());
    for (const char* const arguments :
         {"srgb.icc", "press.icc --axis a", "chart.ti3 --axis b", "press.icc --steps 2",
          "chart.ti3 --section a=-20 --section b=0 --section hue=360 --section L=100"}) {
        SCOPED_TRACE(arguments);
        const json told = figures(std::string(arguments) + " -o out --coverage");
        EXPECT_GT(told["hull"]["volume"], 100'000);
        for (const json& file : told["files"]) {
            if (file == "out-top.png") continue;  // any letters may be in it
            for (const char* const none : {"nan", "inf"})
                EXPECT_EQ(shop.read(file).find(none), std::string::npos) << file;
        }
    }
}

TEST_F(Gamut, TurnedUmbrellasStandOnThePaper) {
    // At half a turn L* falls and b* stays: the surface ends where all three inks are full.
    const json told = figures("chart.ti3 -o out --axis a");
    json half;
    for (const json& edge : told["umbrella_edge"])
        if (edge["hue"] == 180.0) half = edge;
    ASSERT_TRUE(half.contains("surface")) << told["umbrella_edge"];
    EXPECT_NEAR(half["surface"]["chroma"].get<double>(), 3 * kDarkness, 0.01);
    EXPECT_NEAR(half["surface"]["height"].get<double>(), 0, 0.01);
    EXPECT_TRUE(half["is_open"].get<bool>());
    EXPECT_FALSE(half.contains("chroma"));
}

// --- pictures -------------------------------------------------------------------------------

TEST_F(Gamut, DrawsWhatOtherReadersAccept) {
    const char kArguments[] =
        "press.icc -o out --measured chart.ti3 --section L=50 --section hue=30";
    const json told = figures(kArguments);
    EXPECT_EQ(told["files"], json({"out-top.svg", "out-LC.svg", "out.wrl", "out.m",
                                   "out-section-L50.svg", "out-section-hue30.svg", "out-top.png"}));
    for (const char* const name :
         {"out-top.svg", "out-LC.svg", "out-section-L50.svg", "out-section-hue30.svg"}) {
        SCOPED_TRACE(name);
        const Result parsed = shop.run(
            std::string("python3 -c \"import xml.dom.minidom as m; m.parse('") + name + "')\"");
        EXPECT_EQ(parsed.exit_code, 0) << parsed.err;
        const std::string svg = shop.read(name);
        for (const char* const text : {">top surface<", ">convex hull<", "fill=\"#"})
            EXPECT_NE(svg.find(text), std::string::npos) << text;
        EXPECT_EQ(svg.find(">measured") == std::string::npos, std::string(name) == "out-top.svg");
    }
    EXPECT_NE(shop.read("out-top.svg").find(">Magenta + Yellow<"), std::string::npos);
    EXPECT_EQ(shop.read("out.wrl").rfind("#VRML V2.0", 0), 0u);
    EXPECT_NE(shop.read("out.wrl").find("IndexedFaceSet"), std::string::npos);
    EXPECT_NE(shop.read("out.m").find("plot("), std::string::npos);

    // Yellow is above, blue below the paper in the middle.
    const Image picture = read_rgb_png(shop.path("out-top.png"));
    int yellow = 0, blue = 0;
    for (int y = 60; y < 750; ++y) {
        for (int x = 70; x < 760; ++x) {
            const std::uint8_t* const rgb = picture.at(x, y);
            const bool is_yellow          = rgb[0] > 200 && rgb[1] > 200 && rgb[2] < 90;
            const bool is_blue            = rgb[0] < 60 && rgb[1] < 160 && rgb[2] > 200;
            yellow += is_yellow;
            blue += is_blue;
            EXPECT_FALSE(is_yellow && y > 405) << x << ' ' << y;
            EXPECT_FALSE(is_blue && y < 405) << x << ' ' << y;
        }
    }
    EXPECT_GT(yellow, 1000);
    EXPECT_GT(blue, 1000);

    const std::string svg = shop.read("out-LC.svg"), png = shop.read("out-top.png");
    figures(kArguments);
    EXPECT_EQ(shop.read("out-LC.svg"), svg);
    EXPECT_EQ(shop.read("out-top.png"), png);
}

// --- errors ---------------------------------------------------------------------------------

TEST_F(Gamut, DamagedChartsAreRefused) {
    const std::string white = patch({0, 0, 0});
    const auto without      = [](std::string text, const std::string& part) {
        return text.replace(text.find(part), part.size(), "");
    };
    const std::pair<std::string, const char*> rows[] = {
        {"", "is not a table of measured patches"},
        {std::string(100, '\0'), "is not a table"},
        {"BEGIN_DATA\n1\nEND_DATA\n", "is not a table"},
        {kHead, "is not a table"},
        {"BEGIN_DATA_FORMAT \"", "is not a table"},
        {without(chart(white), "CMY_M"), "has no columns of CMYK, CMY or RGB"},
        {without(chart(white), "LAB_A"), "has no columns of LAB or XYZ"},
        {kHead + "BEGIN_DATA\n" + grid(), "ends before its data do"},
        {chart(grid() + "1 0 0 0 5\n"), "line 36 ends within a patch"},
        {chart(grid() + "1 0 0 0 x 0 0\n"), "line 35 holds a value that is none"},
        {chart("1 0 0 101 50 0 0\n"), "line 8 holds a value"},
        {chart("1 0 0 0 nan 0 0\n"), "line 8 holds a value"},
        {chart("1 0 0 0 1e9 0 0\n"), "line 8 holds a value"},
        {chart("1 0 0 \"\" 50 0 0\n"), "line 8 holds a value"},
        {"NUMBER_OF_SETS 28\n" + chart(grid()), "holds 27 patches where it announces others"},
        {"NUMBER_OF_SETS x\n" + chart(grid()), "line 1 holds a value"},
        {chart(patch({1, 1, 1})), "has no patch without ink"},
        {chart("1 0 0 0 0 0 0\n1 9 9 9 9 9 9\n"), "has black paper"},
        {chart(white + patch({1, 0, 1})), "has no patch with Magenta"},
        {chart(white + "1 9 9 9 100 0 0\n"), "has colours in one plane only"},
    };
    for (const auto& [text, problem] : rows) {
        SCOPED_TRACE(text.substr(0, 40));
        shop.write("bad.ti3", text);
        shop.expect_failures(kCommand, {{"bad.ti3 -o out", 1, std::string("bad.ti3: ") + problem}});
    }
    // Cut anywhere, a chart is refused or read; it never ends the program otherwise.
    const std::string whole = chart(grid());
    for (std::size_t length = 1; length < whole.size(); length += 211) {
        shop.write("bad.ti3", whole.substr(0, length));
        EXPECT_EQ(shop.run(std::string(kCommand) + "bad.ti3 -o out").exit_code, 1) << length;
    }
}

TEST_F(Gamut, ErrorsNameTheOptionOrTheFile) {
    std::string many;
    for (int i = 0; i < 21; ++i) many.append(" --section L=").append(std::to_string(i));
    shop.write("lab.icc", lab_profile());
    shop.write("cut.icc", press_profile().substr(0, 3000));
    shop.write("out-top.svg", chart(grid()));
    shop.expect_failures(
        kCommand,
        {
            {"press.icc", 2, "--output"},
            {"press.icc -o no/", 2, "--output: BASE is to end with"},
            {"press.icc -o out --section L=101", 2, "--section: L=101 is not L=0 to 100, a="},
            {"press.icc -o out --section hue=x", 2, "hue=x is not"},
            {"press.icc -o out --section C=3", 2, "C=3 is not"},
            {"press.icc -o out --section hue=0 --section hue=360", 2, "is asked for twice"},
            {"press.icc -o out" + many, 2, "--section: at most 20"},
            {"press.icc -o out --axis C", 2, "--axis"},
            {"press.icc -o out --steps 1", 2, "--steps"},
            {"out-top.svg -o out", 2, "out-top.svg: would overwrite out-top.svg"},
            {"press.icc -o out --measured ./out-top.svg", 2, "would overwrite"},
            {"none.icc -o out", 1, "none.icc: cannot be read"},
            {"lab.icc -o out", 1, "name a profile of a CMYK, CMY or RGB device"},
            {"cut.icc -o out", 1, "cut.icc: "},
            {"press.icc -o no/out", 1, "no/out-top.svg: cannot be written"},
            {"press.icc -o out --compare none.ti3", 1, "none.ti3: cannot be read"},
        });
    shop.expect_failures(std::string("prlimit --fsize=8192 ") + kCommand,
                         {{"chart.ti3 -o out", 1, "cannot be written; check the space"}});
}

}  // namespace
