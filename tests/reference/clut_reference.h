// The interpolation of the CLUT class as plainly as it can be said: corners by their coordinates,
// one channel at a time.
#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

namespace reference {

struct Clut {
    std::vector<int> points;  // of each dimension
    int channels;
    std::vector<float> data;

    struct Place {
        std::vector<int> cell;
        std::vector<float> fraction;
    };

    Place place(const std::vector<double>& in) const {
        Place p;
        for (std::size_t d = 0; d < in.size(); ++d) {
            const float top = static_cast<float>(points[d] - 1),
                        x   = static_cast<float>(in[d] < 0   ? 0
                                                 : in[d] > 1 ? 1
                                                             : in[d]),
                        t = top * x, whole = std::isnan(t) ? 0 : std::trunc(t);
            const bool is_top = whole == top;
            p.cell.push_back(static_cast<int>(whole) - is_top);
            p.fraction.push_back(is_top ? 1 : t - whole);
        }
        return p;
    }

    float corner(const Place& p, unsigned number, int channel) const {
        int at = 0;
        for (std::size_t d = 0; d < points.size(); ++d)
            at = at * points[d] + p.cell[d] + static_cast<int>(number >> d & 1);
        return data[at * channels + channel];
    }

    float multilinear(const std::vector<double>& in, int channel) const {
        const Place p = place(in);
        float sum     = 0;
        for (unsigned b = 0; b < 1U << points.size(); ++b) {
            float weight = 1;
            for (std::size_t d = 0; d < points.size(); ++d)
                weight *= b >> d & 1 ? p.fraction[d] : 1 - p.fraction[d];
            sum += weight * corner(p, b, channel);
        }
        return sum;
    }

    float tetrahedral(const std::vector<double>& in, int channel) const {
        const Place p  = place(in);
        const float fx = p.fraction[0], fy = p.fraction[1], fz = p.fraction[2];
        const auto c     = [&](unsigned number) { return corner(p, number, channel); };
        const float c000 = c(0), c100 = c(1), c010 = c(2), c110 = c(3), c001 = c(4), c101 = c(5),
                    c011 = c(6), c111 = c(7);
        if (fz < fy) {
            if (fz > fx) return c000 + (c010 - c000) * fy + (c011 - c010) * fz + (c111 - c011) * fx;
            if (fy < fx) return c000 + (c100 - c000) * fx + (c110 - c100) * fy + (c111 - c110) * fz;
            return c000 + (c010 - c000) * fy + (c110 - c010) * fx + (c111 - c110) * fz;
        }
        if (fz < fx) return c000 + (c100 - c000) * fx + (c101 - c100) * fz + (c111 - c101) * fy;
        if (fy < fx) return c000 + (c001 - c000) * fz + (c011 - c001) * fy + (c111 - c011) * fx;
        return c000 + (c001 - c000) * fz + (c101 - c001) * fx + (c111 - c101) * fy;
    }

    float at(const std::vector<double>& in, int channel) const {
        return points.size() == 3 ? tetrahedral(in, channel) : multilinear(in, channel);
    }
};

}  // namespace reference
