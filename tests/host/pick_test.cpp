// movane pick: what it tells of a pixel against what movane separate writes there.

#include "support/separation.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace {

using namespace host_tests;

class Pick : public Separate {
protected:
    nlohmann::json pick(const std::string& arguments) {
        const Result result = shop.run("movane pick -p press.icc --report json " + arguments);
        EXPECT_EQ(result.exit_code, 0) << arguments << ": " << result.err;
        return nlohmann::json::parse(result.out, nullptr, false);
    }
};

TEST_F(Pick, TellsTheInksThatSeparateWrites) {
    Image clear = patches(kWidth, kHeight, 4);
    for (int i = 0; i < kWidth * kHeight; ++i)
        clear.at(i, 0)[3] = static_cast<std::uint8_t>(i % 5 * 60);
    write_png(shop.path("clear.png"), clear, {.bits = 16, .low_byte = 200});
    write_jpeg(shop.path("gray.jpg"), patches(kWidth, kHeight, 1));
    shop.write("lift.par", "[patches]\na = 0 0.1\nb = 1 0.9\n");
    for (const std::string name : {"photo.png", "clear.png", "gray.jpg"}) {
        for (const std::string options :
             {"", " -t absolute --grid 9", " -t relative -b --grid 52 --neutral k",
              " --size 150% --sharpen 1 --curve lift.par",
              " --size 31x40! --filter bilinear --sharpen 2,2,0.1 --curve black=lift.par"}) {
            const Image ink = ink_of(name + options);
            for (const auto& [x, y] : {std::pair{0, 0}, {3, 2}, {30, 25}, {29, 0}, {13, 24}}) {
                SCOPED_TRACE(name + options + " " + std::to_string(x) + "," + std::to_string(y));
                const auto told =
                    pick(name + options + " " + std::to_string(x) + "," + std::to_string(y));
                EXPECT_EQ(told["inks"].get<std::vector<int>>(),
                          std::vector<int>(ink.at(x, y), ink.at(x, y) + 4));
                if (told["table"].is_null()) {
                    EXPECT_EQ(told["alpha"], 0);
                    EXPECT_EQ(told["inks"], nlohmann::json({0, 0, 0, 0}));
                    continue;
                }
                // The table's arithmetic from what is told of it.
                int sums[4]    = {};
                double weights = 0, place[3] = {};
                for (const auto& corner : told["table"]["corners"]) {
                    const double weight = corner["weight"];
                    weights += weight;
                    for (int d = 0; d < 3; ++d) place[d] += weight * corner["point"][d].get<int>();
                    for (int c = 0; c < 4; ++c)
                        sums[c] += static_cast<int>(corner["inks"][c].get<int>() * weight + 0.5);
                }
                EXPECT_NEAR(weights, 1, 1e-9);
                for (int c = 0; c < 4; ++c) EXPECT_EQ(sums[c] & 255, told["table_inks"][c]);
                for (int d = 0; d < 3; ++d) {
                    const double at = told["table"]["cell"][d].get<int>() +
                                      told["table"]["fractions"][d].get<double>();
                    EXPECT_NEAR(place[d], at, 1e-9);
                    EXPECT_NEAR(told["rgb"][d].get<int>() / 255.0 * (told["grid"].get<int>() - 1),
                                at, 1 / 255.0 + 1e-9);
                }
                if (options.find("absolute") != std::string::npos) continue;
                const Image one = flat(1, 1, told["inks"].get<std::vector<std::uint8_t>>());
                const auto lab  = lab_of(one, press_profile());
                for (int i = 0; i < 3; ++i) EXPECT_NEAR(told["lab"][i], lab[i], 1e-6);
            }
        }
    }
}

TEST_F(Pick, TellsWhereThePixelComesFrom) {
    Image in = flat(10, 6, {0, 0, 0});
    for (int i = 0; i < 60; ++i) in.at(i, 0)[0] = static_cast<std::uint8_t>(i);
    write_tiff(shop.path("in.tif"), in, {.bits = 16});
    const struct {
        const char* arguments;
        int x, y;
    } rows[] = {{"9,5", 9, 5},
                {"0,0 --size 20x12!", 0, 0},
                {"19,11 --size 20x12!", 9, 5},
                {"2,1 --size 5x3!", 5, 3},
                {"7,0 --size 20x1! --filter bilinear", 3, 3}};
    for (const auto& row : rows) {
        const auto told = pick(std::string("in.tif ") + row.arguments);
        EXPECT_EQ(told["input"]["pixel"], nlohmann::json({row.x, row.y})) << row.arguments;
        EXPECT_EQ(told["input"]["rgb"][0], (row.y * 10 + row.x) * 257) << row.arguments;
        EXPECT_EQ(told["input"]["maximum"], 65535);
    }
    const std::string text = shop.run("movane pick -p press.icc photo.png 20,3 --curve p.par").err;
    EXPECT_NE(text.find("p.par: cannot be read"), std::string::npos);
    const std::string told = shop.run("movane pick -p press.icc photo.png 20,3").out;
    for (const char* word : {"photo.png, pixel 20,3 of 83 x 41", "\n  photo ", "\n  8 bits ",
                             "\n  cell ", "\n  corner ", "\n  inks ", "\n  Lab "})
        EXPECT_NE(told.find(word), std::string::npos) << word << told;
}

TEST_F(Pick, ErrorsNameTheRemedy) {
    const std::string what = " is not a column and a line, counted from 0, such as 10,20";
    shop.expect_failures("movane pick -p press.icc photo.png ",
                         {{"", 2, "PIXEL is required"},
                          {"3", 2, "PIXEL: 3" + what},
                          {"3,", 2, "PIXEL: 3," + what},
                          {"3,4,5", 2, "PIXEL: 3,4,5" + what},
                          {"' 3,4'", 2, what},
                          {"3,-4", 2, what},
                          {"83,0", 1,
                           "photo.png: has no pixel 83,0: it is 83 x 41 pixels large; count from "
                           "0,0 at the upper left"},
                          {"0,41", 1, "has no pixel 0,41"},
                          {"20,2 --size 20x20", 1, "has no pixel 20,2: it is 20 x 10 pixels large"},
                          {"3,4 --size 9", 2, "--size: 9 is neither"},
                          {"3,4 -o out.tif", 2, "-o"}});
}

}  // namespace
