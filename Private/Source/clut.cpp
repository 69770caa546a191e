// Colour lookup table of floats.
//
// Each kernel is a loop over points: a single point is a line of one, so that both give the same
// bits. Channels are innermost, four at a time, each with its own sum: their order in a sum is
// fixed, and the compiler may put them side by side. Everything but the values and the constants
// of Begin() is local to a call.

#include "movane/interpolation.h"

#include "Support/memory.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>

namespace {

constexpr int kMostDims     = 16;
constexpr int kMostChannels = 255;
constexpr int kGroup        = 4;  // channels that are computed together

// Dimensions whose corner weights are kept at once; more are worked off in blocks of so many.
constexpr int kBlockDims = 8;
constexpr int kBlockSize = 1 << kBlockDims;
}  // namespace

// Hosts may look inside an object: nothing but its members, in their order.
static_assert(sizeof(CLUT) == (sizeof(void*) == 8 ? 280 : 256));

// What the kernels need of an object.
struct ClutLattice {
    const float* data;
    const unsigned char* tops;
    const float* top_coordinates;
    const unsigned* sizes;
    const int* offsets;  // of the corners
    const int* bit_weights;
    int dims;
    int channels;
    clut_output output;

    explicit ClutLattice(const CLUT& c)
        : data(c.data_),
          tops(c.tops_),
          top_coordinates(c.top_coordinates_),
          sizes(c.dim_sizes_),
          offsets(c.corner_table_ ? c.corner_table_ : c.corner_offsets_),
          bit_weights(c.bit_weights_),
          dims(c.input_dims_),
          channels(c.output_channels_),
          output(c.output_) {}
};

namespace {

using Lattice = ClutLattice;

double clip(float value) { return value < 0 ? 0.0 : value > 1 ? 1.0 : value; }

// --- output: the usual clipping is inlined, a function of the host is called -------------------

struct Clip {
    double operator()(float value) const { return clip(value); }
};

struct Call {
    clut_output output;
    double operator()(float value) const noexcept { return output(value); }
};

// --- location --------------------------------------------------------------------------------

struct Position {
    int cell;
    float fraction;
};

// The last cell has its upper face; not a number lies in cell 0.
inline Position locate(double x, float top) {
    const double clipped = x < 0 ? 0.0 : x > 1 ? 1.0 : x;
    const float t        = top * static_cast<float>(clipped);
    const int cell       = t == t ? static_cast<int>(t) : 0;
    const float upper    = static_cast<float>(cell);
    return upper == top ? Position{cell - 1, 1.0F} : Position{cell, t - upper};
}

template <int kDims, class Top>
inline const float* base_corner(const Lattice& lattice, const Top* tops, const double* in,
                                float* fractions) {
    const int dims   = kDims ? kDims : lattice.dims;
    std::size_t base = 0;
    for (int d = 0; d < dims; ++d) {
        const Position at = locate(in[d], tops[d]);
        base += static_cast<std::size_t>(at.cell) * lattice.sizes[d];
        fractions[d] = at.fraction;
    }
    return lattice.data + base;
}

// --- tetrahedra ------------------------------------------------------------------------------

// The way from the base corner to the diagonal one, by what is less than what: bit 0 fz < fy,
// bit 2 fy < fx; bit 1 is fz > fx when bit 0 is set, else fz < fx. With fz the largest the two
// ways are each the other's; hosts have known these values for long.
constexpr std::uint8_t kWays[8][3] = {
    {2, 0, 1},  // fz >= fy >= fx: deliberately by c101
    {1, 0, 2},  // fy >= fx >= fz
    {0, 2, 1},  // fx > fz, and fy is not a number
    {1, 2, 0},  // fy > fz > fx
    {2, 1, 0},  // fz >= fx > fy: deliberately by c011
    {0, 1, 2},  // fx > fy > fz
    {0, 2, 1},  // fx > fz >= fy
    {1, 2, 0},  // fy > fz > fx, and fy < fx: cannot be
};

template <int kCount, class Output>
inline void blend(const float* const (&corners)[4], const float (&weights)[3], int c, double* out,
                  Output output) {
    for (int k = 0; k < kCount; ++k) {
        const float v0 = corners[0][c + k], v1 = corners[1][c + k], v2 = corners[2][c + k],
                    v3 = corners[3][c + k];
        out[c + k] =
            output(v0 + (v1 - v0) * weights[0] + (v2 - v1) * weights[1] + (v3 - v2) * weights[2]);
    }
}

template <class Output>
void tetrahedral(const Lattice& lattice, double* out, const double* in, int count, Output output) {
    for (; count > 0; --count, in += 3, out += lattice.channels) {
        float f[3];
        const float* const base = base_corner<3>(lattice, lattice.tops, in, f);

        const int less       = f[2] < f[1] ? 1 : 0;
        const int second     = (less ? f[2] > f[0] : f[2] < f[0]) ? 2 : 0;
        const int third      = f[1] < f[0] ? 4 : 0;
        const auto& way      = kWays[less + second + third];
        const float* const p = base + lattice.sizes[way[0]];

        const float* const corners[] = {base, p, p + lattice.sizes[way[1]],
                                        base + lattice.offsets[7]};
        const float weights[]        = {f[way[0]], f[way[1]], f[way[2]]};

        int c = 0;
        for (; c + kGroup <= lattice.channels; c += kGroup)
            blend<kGroup>(corners, weights, c, out, output);
        switch (lattice.channels - c) {
            case 3:
                blend<3>(corners, weights, c, out, output);
                break;
            case 2:
                blend<2>(corners, weights, c, out, output);
                break;
            case 1:
                blend<1>(corners, weights, c, out, output);
                break;
        }
    }
}

// --- multilinear -----------------------------------------------------------------------------

// Weights of the corners in `dims` dimensions, from those in none: ascending dimensions double
// them.
inline void weigh(const float* fractions, int dims, float* weights) {
    weights[0] = 1.0F;
    for (int d = 0; d < dims; ++d) {
        const int half    = 1 << d;
        const float lower = 1.0F - fractions[d];
        for (int b = 0; b < half; ++b) {
            weights[half + b] = weights[b] * fractions[d];
            weights[b]        = weights[b] * lower;
        }
    }
}

template <int kCount>
inline void add_corners(const float* base, const int* offsets, const float* weights, int corners,
                        float* sums) {
    float local[kCount];
    for (int k = 0; k < kCount; ++k) local[k] = sums[k];
    for (int b = 0; b < corners; ++b) {
        const float* const values = base + offsets[b];
        for (int k = 0; k < kCount; ++k) local[k] += weights[b] * values[k];
    }
    for (int k = 0; k < kCount; ++k) sums[k] = local[k];
}

inline void add_corners(const float* base, const int* offsets, const float* weights, int corners,
                        int channels, float* sums) {
    int c = 0;
    for (; c + kGroup <= channels; c += kGroup)
        add_corners<kGroup>(base + c, offsets, weights, corners, sums + c);
    switch (channels - c) {
        case 3:
            add_corners<3>(base + c, offsets, weights, corners, sums + c);
            break;
        case 2:
            add_corners<2>(base + c, offsets, weights, corners, sums + c);
            break;
        case 1:
            add_corners<1>(base + c, offsets, weights, corners, sums + c);
            break;
    }
}

// Any number of dimensions when kDims is 0.
template <int kDims, class Output>
void multilinear(const Lattice& lattice, double* out, const double* in, int count, Output output) {
    const int dims       = kDims ? kDims : lattice.dims;
    const int block_dims = std::min(dims, kBlockDims);
    const int block      = 1 << block_dims;
    for (; count > 0; --count, in += dims, out += lattice.channels) {
        float fractions[kDims ? kDims : kMostDims], weights[kDims ? 1 << kDims : kBlockSize];
        float sums[kMostChannels];
        const float* const base =
            kDims == 3 ? base_corner<kDims>(lattice, lattice.tops, in, fractions)
                       : base_corner<kDims>(lattice, lattice.top_coordinates, in, fractions);
        std::fill_n(sums, lattice.channels, 0.0F);
        weigh(fractions, block_dims, weights);
        if (dims == block_dims) {
            add_corners(base, lattice.offsets, weights, block, lattice.channels, sums);
        } else {
            for (int first = 0; first < 1 << dims; first += block) {
                float products[kBlockSize];
                std::copy_n(weights, kBlockSize, products);
                for (int d = block_dims; d < dims; ++d) {
                    const bool is_upper = (first & lattice.bit_weights[dims - 1 - d]) != 0;
                    const float f       = is_upper ? fractions[d] : 1.0F - fractions[d];
                    for (float& product : products) product *= f;
                }
                add_corners(base, lattice.offsets + first, products, block, lattice.channels, sums);
            }
        }
        for (int c = 0; c < lattice.channels; ++c) out[c] = output(sums[c]);
    }
}

// --- choice ----------------------------------------------------------------------------------

template <int kDims>
void multilinear_line(const Lattice& lattice, double* out, const double* in, int count) {
    if (lattice.output == clip) {
        multilinear<kDims>(lattice, out, in, count, Clip{});
    } else {
        multilinear<kDims>(lattice, out, in, count, Call{lattice.output});
    }
}

void tetrahedral_line(const Lattice& lattice, double* out, const double* in, int count) {
    if (lattice.output == clip) {
        tetrahedral(lattice, out, in, count, Clip{});
    } else {
        tetrahedral(lattice, out, in, count, Call{lattice.output});
    }
}

}  // namespace

// --- life cycle --------------------------------------------------------------------------------

CLUT::CLUT(unsigned char inDim, unsigned char* gridPoints, unsigned char outChannels,
           unsigned char tag, float* data)
    : output_(clip),
      input_dims_(inDim),
      output_channels_(outChannels),
      tag_(tag),
      grid_points_(),
      nr_points_(0),
      dim_sizes_(),
      data_(nullptr),
      tops_(),
      corner_offsets_(),
      corner_table_(nullptr),
      top_coordinates_(nullptr),
      nr_corners_(0),
      bit_weights_() {
    std::copy_n(gridPoints, inDim, grid_points_);
    std::uint64_t points = 1, values = outChannels;
    for (int d = inDim - 1; d >= 0; --d) {
        dim_sizes_[d] = static_cast<unsigned>(values);
        points *= grid_points_[d];
        values *= grid_points_[d];
        if (std::max(points, values) > INT_MAX) return;
    }
    auto copy = movane::make_block<float>(static_cast<std::size_t>(values));
    if (!copy) return;
    std::copy_n(data, values, copy.get());
    nr_points_ = static_cast<unsigned>(points);
    Begin();
    if (nr_points_ != 0) data_ = copy.release();
}

CLUT::CLUT(const CLUT& other)            = default;
CLUT& CLUT::operator=(const CLUT& other) = default;
CLUT::~CLUT()                            = default;

void CLUT::Begin() {
    const int dims = input_dims_;
    nr_corners_    = 1U << dims;
    for (int d = 0; d < dims; ++d) {
        tops_[d]        = static_cast<unsigned char>(grid_points_[d] - 1);
        bit_weights_[d] = 1 << (dims - d - 1);
    }
    int* offsets = corner_offsets_;
    if (dims != 3) {
        auto coordinates = movane::make_block<float>(kMostDims);
        auto table       = movane::make_block<int>(nr_corners_);
        if (!coordinates || !table) {
            nr_points_ = 0;
            return;
        }
        std::copy_n(tops_, dims, coordinates.get());
        top_coordinates_ = coordinates.release();
        offsets = corner_table_ = table.release();
    }
    offsets[0] = 0;
    for (int d = 0; d < dims; ++d) {
        const int half = bit_weights_[dims - 1 - d];
        for (int b = 0; b < half; ++b)
            offsets[half + b] = offsets[b] + static_cast<int>(dim_sizes_[d]);
    }
    if (dims == 4) std::copy_n(offsets, nr_corners_, corner_offsets_);
}

// --- values ------------------------------------------------------------------------------------

float& CLUT::operator[](int i) { return data_[i]; }
float* CLUT::GetData(int i) { return data_ + i; }
unsigned int CLUT::NumPoints() const { return nr_points_; }
unsigned char CLUT::GridPoints() const { return grid_points_[0]; }
unsigned char CLUT::GridPoint(int d) const { return grid_points_[d]; }
unsigned int CLUT::GetDimSize(unsigned char d) const { return dim_sizes_[d]; }
unsigned char CLUT::GetInputDim() const { return input_dims_; }
unsigned char CLUT::GetOutputChannels() const { return output_channels_; }

// --- interpolation -----------------------------------------------------------------------------

void CLUT::Interpolate(double* out, const double* in) { InterpolateLine(out, in, 1); }

void CLUT::InterpolateLine(double* out, const double* in, int count) {
    if (nr_points_ == 0) {
        for (; count > 0; --count, out += output_channels_) std::fill_n(out, output_channels_, 0.0);
        return;
    }
    const Lattice lattice(*this);
    switch (input_dims_) {
        case 3:
            return tetrahedral_line(lattice, out, in, count);
        case 4:
            return multilinear_line<4>(lattice, out, in, count);
        case 5:
            return multilinear_line<5>(lattice, out, in, count);
        case 6:
            return multilinear_line<6>(lattice, out, in, count);
        default:
            return multilinear_line<0>(lattice, out, in, count);
    }
}

void CLUT::Interp3dTetra(double* out, const double* in) {
    tetrahedral_line(Lattice(*this), out, in, 1);
}
void CLUT::Interp3d(double* out, const double* in) {
    multilinear_line<3>(Lattice(*this), out, in, 1);
}
void CLUT::Interp4d(double* out, const double* in) {
    multilinear_line<4>(Lattice(*this), out, in, 1);
}
void CLUT::Interp5d(double* out, const double* in) {
    multilinear_line<5>(Lattice(*this), out, in, 1);
}
void CLUT::Interp6d(double* out, const double* in) {
    multilinear_line<6>(Lattice(*this), out, in, 1);
}
void CLUT::InterpND(double* out, const double* in) {
    multilinear_line<0>(Lattice(*this), out, in, 1);
}
