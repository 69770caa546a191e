// movane curve: known curves recovered, errors held, pictures that other readers accept.

#include "support/images.h"
#include "support/program.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdio>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace host_tests;

using Point = std::complex<double>;
using Cubic = std::array<Point, 4>;

constexpr char kCommand[] =
    "env LSAN_OPTIONS=print_suppressions=0:suppressions=leaks movane curve points.txt -o out.svg ";

Point on_cubic(const Cubic& c, double t) {
    const double u = 1 - t;
    return u * u * u * c[0] + 3 * t * u * u * c[1] + 3 * t * t * u * c[2] + t * t * t * c[3];
}
Point on_spiral(double t) { return std::polar(20 * t, 20 * t); }

template <class Curve>
std::string sampled(int points, const Curve& curve) {
    std::ostringstream text;
    text.precision(17);
    for (int i = 0; i < points; ++i) {
        const Point at = curve(static_cast<double>(i) / (points - 1));
        text << at.real() << ' ' << at.imag() << '\n';
    }
    return text.str();
}

struct Report {
    std::vector<Cubic> cubics;
    double rms = -1, largest = -1;
    int sections = 0;
};

class Curve : public ::testing::Test {
protected:
    Curve() {
        // Of another library, which keeps its fonts to the end.
        shop.write("leaks", "leak:libfontconfig\n");
    }

    Report fit(const std::string& points, const std::string& options = "") {
        shop.write("points.txt", points);
        const Result result = shop.run(kCommand + options);
        EXPECT_EQ(result.exit_code, 0) << result.err;
        EXPECT_EQ(result.err, "");
        Report report;
        int points_read = 0;
        std::istringstream lines(result.out);
        for (std::string line; std::getline(lines, line);) {
            double x, y;
            std::sscanf(line.c_str(), " error root mean square %lf, maximum %lf", &report.rms,
                        &report.largest);
            std::sscanf(line.c_str(), " cubics %*d, drawn as %d", &report.sections);
            if (std::sscanf(line.c_str(), "%lf %lf", &x, &y) != 2) continue;
            if (points_read % 4 == 0) report.cubics.emplace_back();
            report.cubics.back()[points_read++ % 4] = {x, y};
        }
        return report;
    }

    const Workshop shop;
};

// --- fitting --------------------------------------------------------------------------------

TEST_F(Curve, RecoversACubicWithAndWithoutItsTangents) {
    // Its arc length grows evenly with its parameter, as the fit assumes at first.
    const Cubic flat         = {Point{0, 0}, {30, 0.03}, {60, -0.06}, {90, 0.06}};
    const std::string points = sampled(40, [&](double t) { return on_cubic(flat, t); });
    for (const char* const options : {"", "--tangents start=10,0.01",
                                      "--tangents end=-1,-4e-3 start=-2,-0.002 --error 0.001"}) {
        SCOPED_TRACE(options);
        const Report report = fit(points, options);
        ASSERT_EQ(report.cubics.size(), 1u);
        for (std::size_t i = 0; i < 4; ++i) {
            EXPECT_NEAR(report.cubics[0][i].real(), flat[i].real(), 1e-2);
            EXPECT_NEAR(report.cubics[0][i].imag(), flat[i].imag(), 1e-5);
        }
        EXPECT_LT(report.largest, 1e-6);
        EXPECT_LE(report.rms, report.largest);
    }
    const Point bent = fit(points, "--tangents start=0,1").cubics[0][1];
    EXPECT_NEAR(bent.real(), 0, 1e-9);
    EXPECT_GT(std::fabs(bent.imag()), 1e-3);
}

TEST_F(Curve, ChainHoldsTheErrorAndRunsSmoothly) {
    const std::string spiral = sampled(300, on_spiral);
    EXPECT_GT(fit(spiral).largest, 1);
    std::size_t fewer = 1;
    for (const double error : {0.5, 0.01, 0.0}) {
        SCOPED_TRACE(error);
        const Report report = fit(spiral, "--error " + std::to_string(error));
        EXPECT_LE(report.largest, error);
        EXPECT_LE(report.rms, report.largest);
        EXPECT_GT(report.cubics.size(), std::exchange(fewer, report.cubics.size()));
        for (std::size_t i = 1; i < report.cubics.size(); ++i) {
            const Cubic &a = report.cubics[i - 1], &b = report.cubics[i];
            EXPECT_EQ(a[3], b[0]);
            EXPECT_NEAR(std::arg((b[1] - b[0]) / (a[3] - a[2])), 0, 1e-5);
        }
        for (int i = 0; i < 300; i += 11) {
            double least = 1e9;
            for (const Cubic& cubic : report.cubics)
                for (int k = 0; k <= 2000; ++k)
                    least = std::min(least,
                                     std::abs(on_cubic(cubic, k / 2000.0) - on_spiral(i / 299.0)));
            EXPECT_LE(least, error + 0.002) << i;  // from one step on the curve to the next
        }
    }
}

TEST_F(Curve, TakesPointsThatHardlyMakeACurve) {
    for (const std::string points :
         {"1 2\n1 2\n1 2\n1 2\n1 2\n", "0 0\n1 1\n0 0\n1 1\n0 0\n", "3 4\n5 6\n",
          "1e30 0\n-1e30 1e-30\n0 1e30\n", "0 5\n1 5\n2 5\n"}) {
        SCOPED_TRACE(points);
        fit(points);
        EXPECT_EQ(fit(points, "--error 0 --bound 0.1").largest, 0);
        EXPECT_EQ(shop.read("out.svg").find("nan"), std::string::npos);
        EXPECT_EQ(shop.read("out.svg").find("inf"), std::string::npos);
    }
}

// --- files ----------------------------------------------------------------------------------

TEST_F(Curve, ReadsEveryWayOfWritingPairs) {
    const auto expected = fit("0 0\n1 2\n2 3\n4 3.5\n5 4\n").cubics;
    for (const char* const points :
         {"# measured\n\n  0\t0 # paper\n1 , 2\n+2 3\n4, 35e-1\n5 ,4\n#end",
          "\xef\xbb\xbf\"tone <%>\";\"b & c\"\r\n0;0\r\n1;2\r\n2;3\r\n4;3.5\r\n5;4"})
        EXPECT_EQ(fit(points).cubics, expected) << points;
    EXPECT_NE(shop.read("out.svg").find(">tone &lt;%><"), std::string::npos);
    EXPECT_NE(shop.read("out.svg").find(">b &amp; c<"), std::string::npos);
}

TEST_F(Curve, DrawsWhatOtherReadersAccept) {
    const std::string points = "a<b>\xc3\xa4 c&d\n" + sampled(50, on_spiral);
    const std::size_t cubics = fit(points, "--error 0.1 --png out.png").cubics.size();
    const std::string svg = shop.read("out.svg"), png = shop.read("out.png");
    const Result elements = shop.run(
        "python3 -c \"import xml.dom.minidom as m; d = m.parse('out.svg'); "
        "print(len(d.getElementsByTagName('path')), len(d.getElementsByTagName('circle')))\"");
    EXPECT_EQ(elements.out, std::to_string(cubics) + " " + std::to_string(4 * cubics + 50) + "\n");

    const Image picture = read_rgb_png(shop.path("out.png"));
    ASSERT_EQ(Point(picture.width, picture.height), Point(800, 600));
    const auto pixels_of = [&](int colour) {
        int pixels = 0;
        for (std::size_t i = 0; i < picture.samples.size(); i += 3)
            pixels += (picture.samples[i] << 16 | picture.samples[i + 1] << 8 |
                       picture.samples[i + 2]) == colour;
        return pixels;
    };
    EXPECT_GT(pixels_of(0xffffff), 400'000);
    EXPECT_GT(pixels_of(0x222222), 50 * 8);  // the points
    EXPECT_GT(pixels_of(0x1f6fb2), 500);     // the curve
    for (int y = 570; y < 600; ++y)          // nothing strays below the frame
        for (int x = 0; x < 700; ++x) EXPECT_EQ(*picture.at(x, y), 255) << x << ' ' << y;

    fit(points, "--error 0.1 --png out.png");
    EXPECT_EQ(shop.read("out.svg"), svg);
    EXPECT_EQ(shop.read("out.png"), png);
}

TEST_F(Curve, BoundDrawsSectionsAsFineAsAskedFor) {
    const Cubic bend         = {Point{0, 0}, {30, 5}, {60, 90}, {100, 70}};
    const std::string points = sampled(40, [&](double t) { return on_cubic(bend, t); });
    // The deviation of equal sections falls with the square of their number.
    EXPECT_NEAR(fit(points, "--bound 0.01").sections /
                    static_cast<double>(fit(points, "--bound 1").sections),
                10, 1.5);
    EXPECT_EQ(shop.read("out.svg").find("<path"), std::string::npos);
}

TEST_F(Curve, ErrorsNameFileLineAndRemedy) {
    const std::pair<std::string, const char*> rows[] = {
        {"", "points.txt: holds no points; "},
        {"x y\n", "points.txt: holds no points; "},
        {"1 2\n#3 4\n", "points.txt: holds one point only; "},
        {"0 0\nx y\n1 1\n", "points.txt: line 2 is not a pair of numbers; write x and y"},
        {"x y\nx y\n", "line 2 is not"},
        {"0 0\n\n1\n", "line 3 is not"},
        {"0 0\n1 2 3\n", "line 2 is not"},
        {"0 0\n1,,2\n", "line 2 is not"},
        {"0 0\n1-2\n", "line 2 is not"},
        {"1,5;2,5\n", "line 1 is not"},
        {"0 0\nnan 1\n", "line 2 is not"},
        {"0 0\n1e31 1\n", "line 2 is not"},
        {"0 0\n1 1e999\n", "line 2 is not"},
        {"0 0\n1 2x\n", "line 2 is not"},
        {std::string("\0\0\1", 3), "line 1 is not"},
        {"0 0\n" + std::string(1001, ' '), "line 2 is too long; "},
        {sampled(100'001, on_spiral), "line 100001 is one point too many; "},
        {std::string((16 << 20) + 1, '\n'), "is too large; "},
    };
    for (const auto& [points, text] : rows) {
        SCOPED_TRACE(points.substr(0, 30));
        shop.write("points.txt", points);
        shop.expect_failures(kCommand, {{"", 1, text}});
    }
    shop.write("points.txt", sampled(500, on_spiral));
    shop.expect_failures(std::string("prlimit --fsize=4096 ") + kCommand,
                         {{"", 1, "out.svg: cannot be written; check the space"}});
    shop.write("points.txt", "0 0\n1 1\n2 4\n");
    shop.expect_failures(
        kCommand,
        {
            {"--tangents start=1,0", 1, "points.txt: has too few points for tangents; give four"},
            {"--tangents start=1", 2, "--tangents: start=1 is not start=DX,DY"},
            {"--tangents left=1,0", 2, "left=1,0"},
            {"--tangents end=0,0", 2, "not 0,0"},
            {"--tangents end=0,1 end=1,0", 2, "once"},
            {"--error -1", 2, "--error"},
            {"--error nan", 2, "--error"},
            {"--bound 0", 2, "--bound: is to be 0.001 to 100 pixels"},
            {"--png points.txt", 2, "would overwrite points.txt"},
            {"--png ./out.svg", 2, "would overwrite"},
            {"--png no/out.png", 1, "no/out.png: cannot be written"},
            {"-o no/out.svg", 2, "--output"},
        });
}

}  // namespace
