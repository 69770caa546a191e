// A host of the top surface: a device behind the callback, and a look inside the object.
#pragma once

#include "movane/gamut.h"

#include "reference/linear_press.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace movane_tests {

/// A device as a function, and how often it was asked.
struct Device {
    std::function<void(const double* device, double* colour)> model;
    int calls = 0;

    static int forward(void* user_data, const double* device, double* colour) {
        auto& self = *static_cast<Device*>(user_data);
        ++self.calls;
        self.model(device, colour);
        return -1;  // not examined
    }
};

inline Device device_of(const reference::LinearPress& press) {
    return {[press](const double* device, double* colour) { press.colour(device, colour); }};
}

/// Samples of each channel, evenly spaced from full to none.
struct Samples {
    Samples(int channels, int count)
        : values(static_cast<std::size_t>(count)),
          pointers(static_cast<std::size_t>(channels), values.data()),
          counts(static_cast<std::size_t>(channels), count) {
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = static_cast<double>(i) / (count - 1);
    }

    std::vector<double> values;
    std::vector<const double*> pointers;
    std::vector<int> counts;
};

/// A surface that opens what is protected.
struct Surface : TTriangularTopSurface {
    Surface(Device& device, int channels, Samples samples, int lightness, int steps)
        : TTriangularTopSurface(channels, samples.pointers.data(), samples.counts.data(), &device,
                                lightness, Device::forward, steps, steps) {}
    using TTriangularTopSurface::TTriangularTopSurface;

    using TTriangularTopSurface::DeterminePhirTetarVTMax;
    using TTriangularTopSurface::DeterminePhirVTrTetar;
    using TTriangularTopSurface::DeterminePosPhiMinPosDeltaPhi;
    using TTriangularTopSurface::DetermineVTMax;
    using TTriangularTopSurface::MakeSortedPrimList;
    using TTriangularTopSurface::PhirToPhi;
    using TTriangularTopSurface::PhiToPhir;
    using TTriangularTopSurface::PrimaryUnderneathTopUmbrella;
    using TTriangularTopSurface::ThrowOutRedundantPrimaries;

    using TTriangularTopSurface::darkeningPrimaries;
    using TTriangularTopSurface::PosDeltaPhi;
    using TTriangularTopSurface::PosPhiMin;
    using TTriangularTopSurface::sortedPrimaries;
    using TTriangularTopSurface::TetarGrid;
    using TTriangularTopSurface::umbrella;
    using TTriangularTopSurface::VTMax;
    using TTriangularTopSurface::VTMaxGrid;
};

}  // namespace movane_tests
