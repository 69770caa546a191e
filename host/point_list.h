// Points of a plane from a text file.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

struct Point {
    double x, y;
};

struct PointList {
    std::string x_name = "x", y_name = "y";  // from the header line if there is one; ASCII
    std::vector<Point> points;               // at least two
};

/// Reads one pair of numbers per line, with blanks, tabs, a comma or a semicolon between them.
///
/// What follows a "#" is a comment. The first line with anything else on it may be a header, which
/// begins with a letter or a quotation mark. Throws Failure on any other line.
PointList read_points(const std::string& path);

/// Takes a number of at most 1e30 in magnitude off the front of a text; false when there is none.
bool take_number(std::string_view& text, double& number);

}  // namespace host
