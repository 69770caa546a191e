// Colour lookup table of floats.
//
// Each kernel is a loop over points: a single point is a line of one, so that both give the same
// bits. Channels are innermost, four side by side, each with its own sum, so that the order in
// a sum is fixed. Channels that make no four are computed in one nevertheless: the others are
// read from the next grid point, or from the room behind the last one, and dropped. Everything
// but the values and the constants of Begin() is local to a call.

#include "movane/interpolation.h"

#include "Support/memory.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

constexpr int kMostDims     = 16;
constexpr int kMostChannels = 255;

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

// --- four channels ---------------------------------------------------------------------------

using Four = float [[gnu::vector_size(4 * sizeof(float))]];

constexpr int kFour = 4;

inline Four load(const float* values) {
    Four four;
    std::memcpy(&four, values, sizeof four);
    return four;
}

// The usual clipping is inlined, a function of the host is called.
struct Clip {
    void operator()(Four values, int count, double* out) const {
        using Doubles = double [[gnu::vector_size(kFour * sizeof(double))]];
        values        = values < 0 ? Four{} : values;
        values        = values > 1 ? Four{1, 1, 1, 1} : values;
        if (count >= kFour) {
            const Doubles wide = __builtin_convertvector(values, Doubles);
            std::memcpy(out, &wide, sizeof wide);
        } else {
            for (int k = 0; k < count; ++k) out[k] = values[k];
        }
    }
};

struct Call {
    clut_output output;
    void operator()(Four values, int count, double* out) const noexcept {
        for (int k = 0; k < std::min(count, kFour); ++k) out[k] = output(values[k]);
    }
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

// Tables of three dimensions have no array of coordinates.
template <int kDims>
inline const float* base_corner(const Lattice& lattice, const double* in, float* fractions) {
    if (kDims == 3 || !lattice.top_coordinates)
        return base_corner<kDims>(lattice, lattice.tops, in, fractions);
    return base_corner<kDims>(lattice, lattice.top_coordinates, in, fractions);
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

template <class Output>
void tetrahedral(const Lattice& lattice, double* out, const double* in, int count, Output output) {
    for (; count > 0; --count, in += 3, out += lattice.channels) {
        float f[3];
        const float* const base = base_corner<3>(lattice, in, f);

        const int less   = f[2] < f[1] ? 1 : 0;
        const int second = (less ? f[2] > f[0] : f[2] < f[0]) ? 2 : 0;
        const int third  = f[1] < f[0] ? 4 : 0;
        const auto& way  = kWays[less + second + third];

        const float* const p = base + lattice.sizes[way[0]];
        const float* const q = p + lattice.sizes[way[1]];
        const float* const r = base + lattice.offsets[7];
        for (int c = 0; c < lattice.channels; c += kFour) {
            const Four v0 = load(base + c), v1 = load(p + c), v2 = load(q + c), v3 = load(r + c);
            output(v0 + (v1 - v0) * f[way[0]] + (v2 - v1) * f[way[1]] + (v3 - v2) * f[way[2]],
                   lattice.channels - c, out + c);
        }
    }
}

// --- multilinear -----------------------------------------------------------------------------

// Weights are products in ascending order of the dimensions, whichever of them are doubled at
// once. Sums start from 0 and take the corners in ascending order.
template <int kDims, class Output>
void multilinear(const Lattice& lattice, double* out, const double* in, int count, Output output) {
    constexpr int kFours = 1 << (kDims - 2);
    for (; count > 0; --count, in += kDims, out += lattice.channels) {
        float f[kDims];
        const float* const base = base_corner<kDims>(lattice, in, f);
        const float x = 1 - f[0], y = 1 - f[1];
        Four weights[kFours] = {{x * y, f[0] * y, x * f[1], f[0] * f[1]}};
        for (int d = 2; d < kDims; ++d) {
            const int half = 1 << (d - 2);
            for (int b = 0; b < half; ++b) {
                weights[half + b] = weights[b] * f[d];
                weights[b]        = weights[b] * (1 - f[d]);
            }
        }
        for (int c = 0; c < lattice.channels; c += kFour) {
            Four sum{};
            for (int b = 0; b < 1 << kDims; ++b)
                sum += weights[b / 4][b % 4] * load(base + c + lattice.offsets[b]);
            output(sum, lattice.channels - c, out + c);
        }
    }
}

// Any number of dimensions: the weights of the first ones, then, for each way to go in the
// others, their products with its factors.
template <class Output>
void multilinear_general(const Lattice& lattice, double* out, const double* in, int count,
                         Output output) {
    const int dims = lattice.dims, block_dims = std::min(dims, kBlockDims);
    const int block = 1 << block_dims;
    for (; count > 0; --count, in += dims, out += lattice.channels) {
        float f[kMostDims], weights[kBlockSize];
        const float* const base = base_corner<0>(lattice, in, f);
        weights[0]              = 1;
        for (int d = 0; d < block_dims; ++d) {
            const int half = lattice.bit_weights[dims - 1 - d];
            for (int b = 0; b < half; ++b) {
                weights[half + b] = weights[b] * f[d];
                weights[b]        = weights[b] * (1 - f[d]);
            }
        }
        Four sums[(kMostChannels + kFour - 1) / kFour];
        for (int c = 0; c < lattice.channels; c += kFour) sums[c / kFour] = Four{};
        for (int first = 0; first < 1 << dims; first += block) {
            float products[kBlockSize];
            std::copy_n(weights, block, products);
            for (int d = block_dims; d < dims; ++d) {
                const bool is_upper = (first & lattice.bit_weights[dims - 1 - d]) != 0;
                const float factor  = is_upper ? f[d] : 1 - f[d];
                for (float& product : products) product *= factor;
            }
            for (int c = 0; c < lattice.channels; c += kFour) {
                Four sum = sums[c / kFour];
                for (int b = 0; b < block; ++b)
                    sum += products[b] * load(base + c + lattice.offsets[first + b]);
                sums[c / kFour] = sum;
            }
        }
        for (int c = 0; c < lattice.channels; c += kFour)
            output(sums[c / kFour], lattice.channels - c, out + c);
    }
}

// --- choice ----------------------------------------------------------------------------------

// The kernel of so many dimensions, or one of these.
constexpr int kGeneral = 0, kTetrahedral = -3;

template <class Output>
void interpolate(int kernel, const Lattice& lattice, double* out, const double* in, int count,
                 Output output) {
    if (kernel == kTetrahedral) return tetrahedral(lattice, out, in, count, output);
    if (kernel == 3) return multilinear<3>(lattice, out, in, count, output);
    if (kernel == 4) return multilinear<4>(lattice, out, in, count, output);
    if (kernel == 5) return multilinear<5>(lattice, out, in, count, output);
    if (kernel == 6) return multilinear<6>(lattice, out, in, count, output);
    multilinear_general(lattice, out, in, count, output);
}

void interpolate(int kernel, const CLUT& table, double* out, const double* in, int count) {
    const Lattice lattice(table);
    if (lattice.output == clip) {
        interpolate(kernel, lattice, out, in, count, Clip{});
    } else {
        interpolate(kernel, lattice, out, in, count, Call{lattice.output});
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
    auto copy = movane::make_zeroed_block<float>(static_cast<std::size_t>(values) + kFour - 1);
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
    if (nr_points_ == 0) return;
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
    const int dims = input_dims_;
    interpolate(dims == 3 ? kTetrahedral : dims <= 6 ? dims : kGeneral, *this, out, in, count);
}

void CLUT::Interp3dTetra(double* out, const double* in) {
    interpolate(kTetrahedral, *this, out, in, 1);
}
void CLUT::Interp3d(double* out, const double* in) { interpolate(3, *this, out, in, 1); }
void CLUT::Interp4d(double* out, const double* in) { interpolate(4, *this, out, in, 1); }
void CLUT::Interp5d(double* out, const double* in) { interpolate(5, *this, out, in, 1); }
void CLUT::Interp6d(double* out, const double* in) { interpolate(6, *this, out, in, 1); }
void CLUT::InterpND(double* out, const double* in) { interpolate(kGeneral, *this, out, in, 1); }
