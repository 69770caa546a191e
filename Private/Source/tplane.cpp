// Axis plane: a raster over a planar slice of CIELAB.

#include "movane/gamut.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <iterator>

namespace {

constexpr int kTicks          = 11;
constexpr double kChromaTick  = 125.0;  // the a, b and chroma axes have ticks from -125 to 125
constexpr double kLightTick   = 100.0;  // the lightness axis from 0 to 100
constexpr int kZeroMarker     = 5;
constexpr int kTopMarker      = 10;
constexpr double kFullDegrees = 360.0;

int to_int(double v) {
    if (v >= INT_MAX) return INT_MAX;
    if (v <= INT_MIN) return INT_MIN;
    return v == v ? static_cast<int>(v) : 0;
}

int round_away(double v) { return to_int(v >= 0 ? v + 0.5 : v - 0.5); }

// The distance of two pixels is one less than their number, in doubles.
double steps(int pixels) { return pixels - 1.0; }

// A position along an axis of so many pixels that runs from one end to the other.
int position(double at, double from, double to, int pixels) {
    return pixels == 1 ? 0 : round_away((at - from) / (to - from) * steps(pixels));
}

int clipped(int position, int pixels) {
    return position < 0 ? 0 : position >= pixels ? pixels : position;
}

double hue_angle(double degrees) { return 2 * std::acos(-1.0) * degrees / kFullDegrees; }

void compute_ticks(double lower, double upper, double axis_min, double axis_max, int pixels,
                   int* grid) {
    for (int k = 0; k < kTicks; ++k) {
        const double tick = lower + k * (upper - lower) / (kTicks - 1);
        grid[k]           = position(tick, axis_min, axis_max, pixels);
    }
}

}  // namespace

TPlane::TPlane(int W, int H, PlaneType type, double value, double xmin, double xmax, double ymin,
               double ymax)
    : w_(W),
      h_(H),
      type_(type),
      value_(value),
      xmin_(xmin),
      xmax_(xmax),
      ymin_(ymin),
      ymax_(ymax),
      has_axes_(0),
      x_marker_(0),
      y_marker_(0),
      x_grid_(),
      y_grid_() {}

TPlane::TPlane(const TPlane& other)            = default;
TPlane& TPlane::operator=(const TPlane& other) = default;

int TPlane::W() const { return w_; }
int TPlane::H() const { return h_; }
PlaneType TPlane::Type() { return type_; }
double TPlane::Value() const { return value_; }
double TPlane::XMin() const { return xmin_; }
double TPlane::XMax() const { return xmax_; }
double TPlane::YMin() const { return ymin_; }
double TPlane::YMax() const { return ymax_; }

// --- pixels and coordinates --------------------------------------------------------------------

double TPlane::X(int column) const {
    return w_ == 1 ? xmin_ : xmin_ + (xmax_ - xmin_) * column / steps(w_);
}

double TPlane::Y(int row) const {
    return h_ == 1 ? ymax_ : ymax_ - (ymax_ - ymin_) * row / steps(h_);
}

int TPlane::X2x(double x) const { return position(x, xmin_, xmax_, w_); }

int TPlane::Y2y(double y) const {
    return h_ == 1 ? 0 : round_away((ymax_ - y) / (ymax_ - ymin_) * steps(h_));
}

void TPlane::GetLab(int column, int row, double* lab, bool clip) const {
    const double x = X(clip ? clipped(column, w_) : column);
    const double y = Y(clip ? clipped(row, h_) : row);
    switch (type_) {
        case plane_type_lightness:
            lab[0] = value_;
            lab[1] = x;
            lab[2] = y;
            break;
        case plane_type_a:
            lab[0] = y;
            lab[1] = value_;
            lab[2] = x;
            break;
        case plane_type_b:
            lab[0] = y;
            lab[1] = x;
            lab[2] = value_;
            break;
        case plane_type_hue:
            lab[0] = y;
            lab[1] = x * std::cos(hue_angle(value_));
            lab[2] = x * std::sin(hue_angle(value_));
            break;
    }
}

void TPlane::GetXY(const double* lab, int* column, int* row, bool no_clip) const {
    switch (type_) {
        case plane_type_lightness:
            *column = X2x(lab[1]);
            *row    = Y2y(lab[2]);
            break;
        case plane_type_a:
            *column = X2x(lab[2]);
            *row    = Y2y(lab[0]);
            break;
        case plane_type_b:
            *column = X2x(lab[1]);
            *row    = Y2y(lab[0]);
            break;
        case plane_type_hue: {
            const double chroma = std::sqrt(lab[1] * lab[1] + lab[2] * lab[2]);
            const double hue    = std::atan2(lab[2], lab[1]);
            *column             = X2x(chroma * std::cos(hue_angle(value_) - hue));
            *row                = Y2y(lab[0]);
            break;
        }
    }
    if (no_clip) return;
    *column = clipped(*column, w_);
    *row    = clipped(*row, h_);
}

// --- ticks -------------------------------------------------------------------------------------

void TPlane::CalculateAxes() const {
    if (has_axes_) return;
    has_axes_ = 1;
    switch (type_) {
        case plane_type_lightness:
            compute_ticks(-kChromaTick, kChromaTick, ymin_, ymax_, h_, y_grid_);
            y_marker_ = kZeroMarker;
            break;
        case plane_type_a:
        case plane_type_b:
        case plane_type_hue:
            compute_ticks(0, kLightTick, ymin_, ymax_, h_, y_grid_);
            y_marker_ = kTopMarker;
            break;
        default:
            return;
    }
    compute_ticks(-kChromaTick, kChromaTick, xmin_, xmax_, w_, x_grid_);
    x_marker_ = kZeroMarker;
}

const int* TPlane::GetXGridPoints(int* count, int* marker) const {
    CalculateAxes();
    *count  = kTicks;
    *marker = x_marker_;
    return x_grid_;
}

const int* TPlane::GetYGridPoints(int* count, int* marker) const {
    CalculateAxes();
    *count  = kTicks;
    *marker = y_marker_;
    return y_grid_;
}

// --- comparison --------------------------------------------------------------------------------

int TPlane::operator==(const TPlane& other) {
    return w_ == other.w_ && h_ == other.h_ && type_ == other.type_ && value_ == other.value_ &&
           xmin_ == other.xmin_ && xmax_ == other.xmax_ && ymin_ == other.ymin_ &&
           ymax_ == other.ymax_;
}

int TPlane::operator!=(const TPlane& other) { return !(*this == other); }
