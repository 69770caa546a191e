// movane curve: known curves recovered, errors held, pictures that other readers accept.

#include "support/images.h"
#include "support/program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace host_tests;

using Control = std::array<double, 8>;  // x and y of four points

constexpr Control kBend = {0, 0, 30, 5, 60, 90, 100, 70};
// Its arc length grows evenly with its parameter, as the fit assumes at first.
constexpr Control kFlat = {0, 0, 30, 0.03, 60, -0.06, 90, 0.06};

struct Report {
    std::vector<Control> cubics;
    double rms = -1, largest = -1;
};

Report parse(const std::string& text) {
    Report report;
    const std::size_t error = text.find("  error    ");
    if (error != text.npos)
        std::sscanf(text.c_str() + error, "  error    root mean square %lf, maximum %lf",
                    &report.rms, &report.largest);
    for (auto at = text.find("\n  cubic "); at != text.npos; at = text.find("\n  cubic ", at + 1)) {
        std::istringstream values(text.substr(text.find('\n', at + 1)));
        for (double& v : report.cubics.emplace_back()) values >> v;
    }
    return report;
}

template <class Shape, class Curve>
std::string sampled(int points, const Shape& shape, const Curve& curve) {
    std::ostringstream text;
    text.precision(17);
    for (int i = 0; i < points; ++i) {
        const auto [x, y] = curve(shape, static_cast<double>(i) / (points - 1));
        text << x << ' ' << y << '\n';
    }
    return text.str();
}

std::pair<double, double> on_cubic(const Control& c, double t) {
    const double u = 1 - t, w[] = {u * u * u, 3 * t * u * u, 3 * t * t * u, t * t * t};
    return {w[0] * c[0] + w[1] * c[2] + w[2] * c[4] + w[3] * c[6],
            w[0] * c[1] + w[1] * c[3] + w[2] * c[5] + w[3] * c[7]};
}

std::pair<double, double> on_spiral(int, double t) {
    const double angle = 20 * t;
    return {angle * std::cos(angle), angle * std::sin(angle)};
}

double distance(const std::vector<Control>& cubics, std::pair<double, double> point) {
    double least = 1e9;
    for (const Control& c : cubics) {
        for (int i = 0; i <= 2000; ++i) {
            const auto [x, y] = on_cubic(c, i / 2000.0);
            least             = std::min(least, std::hypot(x - point.first, y - point.second));
        }
    }
    return least;
}

class Curve : public ::testing::Test {
protected:
    Curve() {
        // Of another library, which keeps its fonts to the end.
        shop.write("leaks", "leak:libfontconfig\n");
    }

    Result run(const std::vector<std::string>& arguments) {
        std::vector<std::string> command = {"movane", "curve"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return shop.run(command, {{"LSAN_OPTIONS", "print_suppressions=0:suppressions=leaks"}});
    }
    Report fit(const std::string& points, std::vector<std::string> options = {}) {
        shop.write("points.txt", points);
        options.insert(options.begin(), {"points.txt", "-o", "out.svg"});
        const Result result = run(options);
        EXPECT_EQ(result.exit_code, 0) << result.err;
        EXPECT_EQ(result.err, "");
        return parse(result.out);
    }

    const Workshop shop;
};

// --- fitting --------------------------------------------------------------------------------

TEST_F(Curve, RecoversACubicWithAndWithoutItsTangents) {
    const std::string points                     = sampled(40, kFlat, on_cubic);
    const std::vector<std::string> option_rows[] = {
        {},
        {"--tangents", "start=10,0.01"},
        {"--tangents", "end=-1,-4e-3", "start=-2,-0.002", "--error", "0.001"},
    };
    for (const auto& options : option_rows) {
        SCOPED_TRACE(::testing::PrintToString(options));
        const Report report = fit(points, options);
        ASSERT_EQ(report.cubics.size(), 1u);
        for (std::size_t i = 0; i < 8; ++i)
            EXPECT_NEAR(report.cubics[0][i], kFlat[i], i % 2 ? 1e-5 : 1e-2);
        EXPECT_LT(report.largest, 1e-6);
        EXPECT_LE(report.rms, report.largest);
    }
    const auto bent = fit(points, {"--tangents", "start=0,1"}).cubics[0];
    EXPECT_NEAR(bent[2], 0, 1e-9);
    EXPECT_GT(std::fabs(bent[3]), 1e-3);
}

TEST_F(Curve, ChainHoldsTheErrorAndRunsSmoothly) {
    const std::string spiral = sampled(300, 0, on_spiral);
    EXPECT_GT(fit(spiral).largest, 1);
    std::size_t fewer = 1;
    for (const double error : {0.5, 0.01, 0.0}) {
        SCOPED_TRACE(error);
        const Report report = fit(spiral, {"--error", std::to_string(error)});
        EXPECT_LE(report.largest, error);
        EXPECT_GT(report.cubics.size(), fewer);
        fewer = report.cubics.size();
        for (std::size_t i = 1; i < report.cubics.size(); ++i) {
            const Control &a = report.cubics[i - 1], &b = report.cubics[i];
            EXPECT_EQ(a[6], b[0]);
            EXPECT_EQ(a[7], b[1]);
            const double ax = a[6] - a[4], ay = a[7] - a[5], bx = b[2] - b[0], by = b[3] - b[1];
            EXPECT_NEAR(std::remainder(std::atan2(by, bx) - std::atan2(ay, ax), 2 * M_PI), 0, 1e-5);
        }
        for (int i = 0; i < 300; i += 11)  // 0.002: from one of the steps on the curve to the next
            EXPECT_LE(distance(report.cubics, on_spiral(0, i / 299.0)), error + 0.002) << i;
    }
}

TEST_F(Curve, TakesPointsThatHardlyMakeACurve) {
    const char* const rows[] = {"1 2\n1 2\n1 2\n1 2\n1 2\n", "0 0\n1 1\n0 0\n1 1\n0 0\n",
                                "3 4\n5 6\n", "1e30 0\n-1e30 1e-30\n0 1e30\n", "0 5\n1 5\n2 5\n"};
    for (const std::string points : rows) {
        SCOPED_TRACE(points);
        fit(points);
        EXPECT_EQ(fit(points, {"--error", "0", "--bound", "0.1"}).largest, 0);
        EXPECT_EQ(shop.read("out.svg").find("nan"), std::string::npos);
        EXPECT_EQ(shop.read("out.svg").find("inf"), std::string::npos);
    }
}

// --- files ----------------------------------------------------------------------------------

TEST_F(Curve, ReadsEveryWayOfWritingPairs) {
    const std::string plain  = "0 0\n1 2\n2 3\n4 3.5\n5 4\n";
    const auto expected      = fit(plain).cubics;
    const char* const rows[] = {
        "\xef\xbb\xbf\"tone <%>\";\"b & c\"\r\n0;0\r\n1;2\r\n2;3\r\n4;3.5\r\n5;4",
        "# measured\n\n  0\t0 # paper\n1 , 2\n+2 3\n4, 35e-1\n5 ,4\n#end",
    };
    for (const char* const row : rows) EXPECT_EQ(fit(row).cubics, expected) << row;
    fit(rows[0]);
    EXPECT_NE(shop.read("out.svg").find(">tone &lt;%><"), std::string::npos);
    EXPECT_NE(shop.read("out.svg").find(">b &amp; c<"), std::string::npos);
}

TEST_F(Curve, DrawsWhatOtherReadersAccept) {
    const std::string points = "a<b>\xc3\xa4 c&d\n" + sampled(50, 0, on_spiral);
    fit(points, {"--error", "0.1", "--png", "out.png"});
    const std::string svg = shop.read("out.svg"), png = shop.read("out.png");
    const std::string count =
        "import sys, xml.dom.minidom as m; d = m.parse('out.svg'); "
        "print(len(d.getElementsByTagName('path')), len(d.getElementsByTagName('circle')))";
    const Result elements    = shop.run({"python3", "-c", count});
    const std::size_t cubics = fit(points, {"--error", "0.1"}).cubics.size();
    EXPECT_EQ(elements.out, std::to_string(cubics) + " " + std::to_string(4 * cubics + 50) + "\n");

    const Image picture = read_rgb_png(shop.path("out.png"));
    ASSERT_EQ(picture.width, 800);
    ASSERT_EQ(picture.height, 600);
    const auto pixels_of = [&](int r, int g, int b) {
        int pixels = 0;
        for (std::size_t i = 0; i < picture.samples.size(); i += 3)
            pixels += picture.samples[i] == r && picture.samples[i + 1] == g &&
                      picture.samples[i + 2] == b;
        return pixels;
    };
    EXPECT_GT(pixels_of(255, 255, 255), 400'000);
    EXPECT_GT(pixels_of(0x22, 0x22, 0x22), 50 * 8);  // the points
    EXPECT_GT(pixels_of(0x1f, 0x6f, 0xb2), 500);     // the curve
    for (int y = 570; y < 600; ++y)                  // nothing strays below the frame
        for (int x = 0; x < 700; ++x) EXPECT_EQ(*picture.at(x, y), 255) << x << ' ' << y;

    fit(points, {"--error", "0.1", "--png", "out.png"});
    EXPECT_EQ(shop.read("out.svg"), svg);
    EXPECT_EQ(shop.read("out.png"), png);
}

TEST_F(Curve, BoundDrawsSectionsAsFineAsAskedFor) {
    const std::string points = sampled(40, kBend, on_cubic);
    const auto sections      = [&](const char* bound) {
        shop.write("points.txt", points);
        const std::string out = run({"points.txt", "-o", "out.svg", "--bound", bound}).out;
        int count             = 0;
        std::sscanf(out.c_str() + std::min(out.find("drawn"), out.size()), "drawn as %d", &count);
        EXPECT_EQ(shop.read("out.svg").find("<path"), std::string::npos);
        return count;
    };
    // The deviation of equal sections falls with the square of their number.
    EXPECT_NEAR(sections("0.01") / static_cast<double>(sections("1")), 10, 1.5);
}

struct ErrorCase {
    std::string points;  // of points.txt
    std::vector<std::string> options;
    int exit_code;
    std::vector<std::string> words;
};

TEST_F(Curve, ErrorsNameFileLineAndRemedy) {
    const std::string good = "0 0\n1 1\n2 4\n";
    const auto damaged     = [](const std::string& points, const char* words) {
        return ErrorCase{points, {}, 1, {"points.txt: ", words, "; "}};
    };
    const ErrorCase cases[] = {
        damaged("", "holds no points"),
        damaged("x y\n", "holds no points"),
        damaged("1 2\n#3 4\n", "holds one point only"),
        damaged("0 0\nx y\n1 1\n", "line 2 is not a pair of numbers"),
        damaged("x y\nx y\n", "line 2 is not"),
        damaged("0 0\n\n1\n", "line 3 is not"),
        damaged("0 0\n1 2 3\n", "line 2 is not"),
        damaged("0 0\n1,,2\n", "line 2 is not"),
        damaged("0 0\n1-2\n", "line 2 is not"),
        damaged("1,5;2,5\n", "line 1 is not"),
        damaged("0 0\nnan 1\n", "line 2 is not"),
        damaged("0 0\n1e31 1\n", "line 2 is not"),
        damaged("0 0\n1 1e999\n", "line 2 is not"),
        damaged("0 0\n1 2x\n", "line 2 is not"),
        damaged(std::string("\0\0\1", 3), "line 1 is not"),
        damaged("0 0\n" + std::string(1001, ' '), "line 2 is too long"),
        damaged(sampled(100'001, 0, on_spiral), "line 100001 is one point too many"),
        damaged(std::string((16 << 20) + 1, '\n'), "is too large"),
        {good, {"--tangents", "start=1,0"}, 1, {"points.txt: has too few points", "four"}},
        {good, {"--tangents", "start=1"}, 2, {"--tangents: start=1 is not start=DX,DY"}},
        {good, {"--tangents", "left=1,0"}, 2, {"left=1,0"}},
        {good, {"--tangents", "end=0,0"}, 2, {"not 0,0"}},
        {good, {"--tangents", "end=0,1", "end=1,0"}, 2, {"once"}},
        {good, {"--error", "-1"}, 2, {"--error"}},
        {good, {"--error", "nan"}, 2, {"--error"}},
        {good, {"--bound", "0"}, 2, {"--bound", "pixels"}},
        {good, {"--png", "points.txt"}, 2, {"would overwrite points.txt"}},
        {good, {"--png", "./out.svg"}, 2, {"would overwrite"}},
        {good, {"--png", "no/out.png"}, 1, {"no/out.png: cannot be written"}},
        {good, {"-o", "no/out.svg"}, 2, {"--output"}},
    };
    for (const ErrorCase& c : cases) {
        SCOPED_TRACE(c.points.substr(0, 30) + ::testing::PrintToString(c.options));
        shop.write("points.txt", c.points);
        const auto before                  = shop.files();
        std::vector<std::string> arguments = {"points.txt", "-o", "out.svg"};
        arguments.insert(arguments.end(), c.options.begin(), c.options.end());
        const Result result = run(arguments);
        EXPECT_EQ(result.exit_code, c.exit_code);
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        EXPECT_EQ(result.err.rfind("movane: ", 0), 0u) << result.err;
        for (const std::string& word : c.words)
            EXPECT_NE(result.err.find(word), std::string::npos) << word << " in " << result.err;
        EXPECT_EQ(shop.files(), before);
    }
    shop.write("points.txt", sampled(500, 0, on_spiral));
    const Result full = shop.run({"movane", "curve", "points.txt", "-o", "out.svg"}, {}, 4096);
    EXPECT_EQ(full.exit_code, 1);
    EXPECT_NE(full.err.find("out.svg: cannot be written; check the space"), std::string::npos);
    EXPECT_EQ(shop.files(), (std::vector<std::string>{"leaks", "points.txt"}));
}

}  // namespace
