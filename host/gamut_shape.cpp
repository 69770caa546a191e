#include "gamut_shape.h"

#include <movane/foundation.h>

#include "stage.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <numbers>

namespace host {
namespace {

constexpr int kTablePoints         = 73;  // over the hue: 5 degrees apart
constexpr std::size_t kMostInk     = 2;   // inks between none and full in a sample of the hull
constexpr std::size_t kLongestName = 40;
constexpr double kDegree           = std::numbers::pi / 180;
constexpr double kOpen             = 89.99;  // degrees: the library keeps teta just below 90

// Nothing is to stand between the results on standard output: the library announces there which
// triangles it leaves out.
class OutputSilenced {
public:
    OutputSilenced() {
        std::fflush(stdout);
        output_           = dup(STDOUT_FILENO);
        const int nowhere = open("/dev/null", O_WRONLY);
        if (nowhere < 0) return;
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~OutputSilenced() {
        std::fflush(stdout);
        if (output_ < 0) return;
        dup2(output_, STDOUT_FILENO);
        close(output_);
    }
    OutputSilenced(const OutputSilenced&)            = delete;
    OutputSilenced& operator=(const OutputSilenced&) = delete;

private:
    int output_;
};

std::vector<double> even_samples(int steps) {
    std::vector<double> samples;
    for (int i = 0; i < steps; ++i) samples.push_back(i / (steps - 1.0));
    return samples;
}

}  // namespace

// The library's surface of a device whose paper lies on the lightness axis. An axis that is off by
// ever so little pierces a piece instead of the corner of all, and that piece has no hue span.
class GamutShape::Surface : public TTriangularTopSurface {
public:
    struct Device {
        const ForwardModel* model;
        Colour offset;  // of the paper, in the chromatic plane
        CallbackGuard guard = {};
    };

    Surface(std::unique_ptr<Device> device, const std::vector<const double*>& samples,
            const std::vector<int>& counts, int lightness)
        : TTriangularTopSurface(static_cast<int>(samples.size()),
                                const_cast<const double**>(samples.data()), counts.data(),
                                device.get(), lightness, colour_of, kTablePoints, kTablePoints),
          device_(std::move(device)) {}

    /// Throws what a call of the device has thrown.
    void rethrow() { device_->guard.rethrow(); }

    TList& sorted_primaries() { return *sortedPrimaries; }
    bool has_span() { return DetermineVTMax() == 0 && DeterminePosPhiMinPosDeltaPhi() == 0; }
    double largest_height() const { return VTMax; }
    double start() const { return PosPhiMin; }
    double width() const { return PosDeltaPhi; }
    std::size_t piece_of_triangle() const { return static_cast<std::size_t>(triangleCursor); }

    Triangle at_place(const double (*triangle)[3]) const {
        Triangle placed;
        for (std::size_t corner = 0; corner < 3; ++corner)
            for (std::size_t i = 0; i < 3; ++i)
                placed[corner][i] = triangle[corner][i] + device_->offset[i];
        return placed;
    }

private:
    static int colour_of(void* user, const double* device, double* colour) {
        auto& [model, offset, guard] = *static_cast<Device*>(user);
        guard.run([&, &model = model, &offset = offset] {
            const Colour lab = model->colour_of(device);
            for (std::size_t i = 0; i < 3; ++i) colour[i] = lab[i] - offset[i];
        });
        return 0;
    }

    std::unique_ptr<Device> device_;
};

GamutShape::GamutShape(const std::string& path, int axis, int steps)
    : model_(open_model(path)), axis_(axis) {
    const std::size_t inks = model_->inks.size();
    paper_                 = model_->colour_of(std::vector<double>(inks, 1.0).data());

    const std::vector<double> samples = even_samples(steps);
    auto device                       = std::make_unique<Surface::Device>(model_.get(), paper_);
    device->offset[static_cast<std::size_t>(axis)] = 0;
    surface_ = std::make_unique<Surface>(std::move(device), std::vector(inks, samples.data()),
                                         std::vector(inks, steps), axis);
    take_surface();
    take_combinations();
    surface_->rethrow();
    take_hull(steps);
}

GamutShape::~GamutShape() = default;

void GamutShape::take_surface() {
    if (surface_->ErrNo() != 0) throw std::bad_alloc();
    TList& list = surface_->sorted_primaries();
    for (TElement* e = list.First(); e; e = e->Next()) {
        const auto& primary = static_cast<const TPrimary&>(*e);
        const auto channel  = static_cast<std::size_t>(primary.channel);
        std::vector<double> device(model_->inks.size(), 1.0);
        device[channel] = 0;
        primaries_.push_back({model_->inks[channel], channel, model_->colour_of(device.data()),
                              primary.darkening != 0});
    }
    if (!surface_->has_span()) {
        const char* const message = error_get();
        message_                  = message && *message ? message : "it covers no hue";
        return;
    }
    largest_height_ = surface_->largest_height();
    hue_start_      = surface_->start() / kDegree;
    hue_width_      = surface_->width() / kDegree;
    for (int hue = 0; hue < 360; hue += kHueStep) {
        double teta, height;
        const bool is_within = std::fmod(hue - hue_start_ + 720, 360) <= hue_width_;
        // An angle of 0 stands for a gap between the pieces.
        if (!is_within || surface_->UmbrellaEdge(hue * kDegree, &teta, &height) != 0 || teta <= 0)
            continue;
        Edge edge{static_cast<double>(hue), teta / kDegree, std::tan(teta) * height, height,
                  teta >= kOpen * kDegree,  paper_};
        edge.colour[static_cast<std::size_t>(axis_)] = height;
        edge.colour[first_across()] += edge.chroma * std::cos(hue * kDegree);
        edge.colour[second_across()] += edge.chroma * std::sin(hue * kDegree);
        edge_.push_back(edge);
    }
}

void GamutShape::take_combinations() {
    for (int i = 0; i < surface_->GetNrDifferentPrimCombs(); ++i) {
        Combination combination;
        combination.device.resize(model_->inks.size());
        surface_->GetPrimComb(i, combination.device.data());
        for (std::size_t c = 0; c < combination.device.size(); ++c) {
            double& value = combination.device[c];
            if (value < -1.5) combination.darkening.push_back(model_->inks[c]);
            if (value == -1) combination.inks.push_back(model_->inks[c]);
            if (value < -1.5) value = 1;  // the surface is without them
        }
        combinations_.push_back(std::move(combination));
    }
    const OutputSilenced silenced;
    double first[3][3], second[3][3];
    for (int result = surface_->ScanTriangles(1, first, second); result >= 0;
         result     = surface_->ScanTriangles(0, first, second)) {
        auto& triangles = combinations_.at(surface_->piece_of_triangle()).triangles;
        triangles.push_back(surface_->at_place(first));
        const Triangle other = surface_->at_place(second);
        if (other != triangles.back()) triangles.push_back(other);
    }
}

// The hull of a device is made by its mixtures of few inks: a further one only dulls them.
void GamutShape::take_hull(int steps) {
    const std::size_t inks            = model_->inks.size();
    const std::vector<double> samples = even_samples(steps);
    std::vector<std::size_t> index(inks, 0);
    std::vector<Colour> colours;
    std::vector<double> device(inks);
    for (bool is_done = false; !is_done;) {
        std::size_t mixed = 0;
        for (std::size_t c = 0; c < inks; ++c) {
            device[c] = samples[index[c]];
            mixed += device[c] > 0 && device[c] < 1;
        }
        if (mixed <= kMostInk) colours.push_back(model_->colour_of(device.data()));
        std::size_t c = 0;
        while (c < inks && ++index[c] == samples.size()) index[c++] = 0;
        is_done = c == inks;
    }
    if (const PatchFile* const patches = model_->patches())
        for (const Patch& patch : patches->patches) colours.push_back(patch.lab);
    samples_ = colours.size();
    hull_    = std::make_unique<GamutHull>(colours, model_->file);
}

std::string GamutShape::name() const {
    std::string name;
    for (const char c : std::filesystem::path(model_->file).filename().string())
        name += c >= 0x20 && c < 0x7f ? c : '?';
    if (name.size() > kLongestName) name = name.substr(0, kLongestName - 3) + "...";
    return name;
}

bool GamutShape::reach(double hue, double& chroma, double& height) const {
    const std::size_t a = first_across(), b = second_across();
    const double x = std::cos(hue * kDegree), y = std::sin(hue * kDegree);
    // The places of a colour across and along the ray from the paper.
    const auto across = [&](const Colour& c) {
        return y * (c[a] - paper_[a]) - x * (c[b] - paper_[b]);
    };
    const auto along_of = [&](const Colour& c) {
        return x * (c[a] - paper_[a]) + y * (c[b] - paper_[b]);
    };
    bool is_reached = false;
    for (const Combination& combination : combinations_) {
        for (const Triangle& t : combination.triangles) {
            for (std::size_t i = 0; i < 3; ++i) {
                const Colour &p = t[i], &q = t[(i + 1) % 3];
                const double from = across(p), to = across(q);
                if ((from < 0) == (to < 0)) continue;
                const double part  = from / (from - to);
                const double along = along_of(p) + part * (along_of(q) - along_of(p));
                if (along <= 0 || (is_reached && along <= chroma)) continue;
                const auto up = static_cast<std::size_t>(axis_);
                chroma        = along;
                height        = p[up] + part * (q[up] - p[up]);
                is_reached    = true;
            }
        }
    }
    return is_reached;
}

bool GamutShape::write_script(const std::string& path) const {
    return surface_->Export(path.c_str()) == 0;
}

}  // namespace host
