// Double simplex tables: the scheme of the byte tables in floating point, over any input range.
//
// Nothing is looked up but the offset of the cell; positions inside it are exact fractions. The
// order of every sum is part of the result: corners from the lowest to the highest, except that
// two dimensions begin with the middle one.

#include "movane/interpolation.h"

#include "Source/md_tetra.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/md_tetrad"};

}  // namespace

// Invariants: sizes fit int32; cell_tables[d][i] is i times the stride of dimension d.
struct md_tetrad_table : movane::TetraHead {
    std::int32_t count;
    double step;
    double lo, hi;
    std::int32_t diagonal;
    std::int32_t opposite[4];
    movane::Block<std::int32_t> strides;

    // Room for the working values of one sample. Interpolation keeps them on the stack instead,
    // so that threads can share a table.
    movane::Block<double> fraction_scratch;
    movane::Block<std::int32_t> order_scratch;
    movane::Block<double> weight_scratch;

    movane::Rows<std::int32_t> cell_tables;
    movane::Block<double> data;
};

namespace movane {
namespace {

#include "Kernels/md_tetra_sort.inl"

// --- arithmetic of one sample --------------------------------------------------------------

template <int Dims>
constexpr int kAxes = Dims ? Dims : kTetraMaxDims;

// The lowest corner of a sample's cell and its axes, the largest fraction first. `Dims` is the
// number of dimensions from 1 to 4, or 0 for any number.
template <int Dims>
struct Place {
    const double* base;
    double fractions[kAxes<Dims>];
    int axes[kAxes<Dims>];
};

template <int Dims>
void locate(const md_tetrad_table& table, double** in, std::ptrdiff_t in_offset,
            Place<Dims>& place) {
    const int dims = Dims ? Dims : table.dims;
    place.base     = table.data.get();
    for (int d = 0; d < dims; ++d) {
        const double input = in[d][in_offset];
        double x           = (input - table.lo) / table.step;
        // The quotient at the upper end may fall to either side of the last grid point.
        if (input == table.hi) x = table.grid - 1;
        // What is not a number must not become an index; it goes to the first cell.
        const int cell     = x > 0.0 ? static_cast<int>(x) : 0;
        place.fractions[d] = x - cell;
        place.base += table.cell_tables[d][cell];
    }
    sort_axes<Dims>(dims, place.fractions, place.axes);
}

template <int Dims>
double value_at(const md_tetrad_table& table, const Place<Dims>& place, int channel) {
    const double* base   = place.base + channel;
    const double* f      = place.fractions;
    const double top     = base[table.diagonal];
    const auto* axes     = place.axes;
    const auto& opposite = table.opposite;
    const auto* strides  = table.strides.get();
    if constexpr (Dims == 1) {
        return base[0] * (1.0 - f[0]) + top * f[0];
    } else if constexpr (Dims == 2) {
        return base[opposite[axes[0]]] * (f[0] - f[1]) + base[0] * (1.0 - f[0]) + top * f[1];
    } else if constexpr (Dims == 3) {
        return base[0] * (1.0 - f[0]) + base[strides[axes[0]]] * (f[0] - f[1]) +
               base[opposite[axes[2]]] * (f[1] - f[2]) + top * f[2];
    } else if constexpr (Dims == 4) {
        return base[0] * (1.0 - f[0]) + base[strides[axes[0]]] * (f[0] - f[1]) +
               base[strides[axes[0]] + strides[axes[1]]] * (f[1] - f[2]) +
               base[opposite[axes[3]]] * (f[2] - f[3]) + top * f[3];
    } else {
        double sum = base[0] * (1.0 - f[0]);
        for (int k = 1; k <= table.dims; ++k) {
            base += strides[axes[k - 1]];
            sum += *base * (k < table.dims ? f[k - 1] - f[k] : f[k - 1]);
        }
        return sum;
    }
}

template <int Dims>
void interpolate(const md_tetrad_table& table, double** in, int in_stride, double** out,
                 int out_stride, int count) {
    for (int i = 0; i < count; ++i) {
        Place<Dims> place;
        locate(table, in, static_cast<std::ptrdiff_t>(i) * in_stride, place);
        for (int c = 0; c < table.outputs; ++c) {
            if (!out[c]) continue;
            *out[c] = value_at(table, place, c);
            out[c] += out_stride;
        }
    }
}

// --- parts of the record -------------------------------------------------------------------

bool make_scratch(md_tetrad_table& table) {
    const auto dims        = static_cast<std::size_t>(table.dims);
    table.strides          = make_block<std::int32_t>(dims);
    table.fraction_scratch = make_zeroed_block<double>(dims);
    table.order_scratch    = make_zeroed_block<std::int32_t>(dims);
    table.weight_scratch   = make_zeroed_block<double>(dims + 1);
    return table.strides && table.fraction_scratch && table.order_scratch && table.weight_scratch;
}

bool make_cells_and_data(md_tetrad_table& table) {
    for (int d = 0; d < table.dims; ++d) {
        if (!table.cell_tables.make_row(d, static_cast<std::size_t>(table.grid))) return false;
        const std::int32_t stride = table.strides[static_cast<std::size_t>(d)];
        for (int i = 0; i < table.grid; ++i) table.cell_tables[d][i] = i * stride;
    }
    table.data = make_zeroed_block<double>(static_cast<std::size_t>(table.count));
    return table.data != nullptr;
}

}  // namespace
}  // namespace movane

// --- life cycle ----------------------------------------------------------------------------

md_tetrad_table* md_tetrad_new(int dims, int outputs, int grid, double lo, double hi) {
    constexpr std::int64_t kMaximum      = std::numeric_limits<std::int32_t>::max();
    constexpr std::int64_t kMaximumCount = kMaximum / std::int64_t{sizeof(double)};

    const bool is_legal       = dims >= 1 && outputs >= 1 && grid >= 2;
    const std::int64_t layers = std::int64_t{grid} + 1;
    const int count = is_legal ? movane::bounded_power(outputs, layers, dims, kMaximumCount) : 0;
    if (count == 0) {
        report("md_tetra_new: illegal dimension");
        return nullptr;
    }
    auto table = movane::create<md_tetrad_table>();
    if (!table) {
        report("md_tetra_new: insufficient memory");
        return nullptr;
    }
    const auto distances = movane::tetra_distances(dims, outputs, static_cast<int>(layers));
    table->dims          = dims;
    table->outputs       = outputs;
    table->grid          = grid;
    table->nrpoints      = movane::bounded_power(1, grid, dims, kMaximum);
    table->count         = count;
    table->step          = (hi - lo) / (grid - 1);
    table->lo            = lo;
    table->hi            = hi;
    table->diagonal      = distances.diagonal;
    std::copy_n(distances.opposite, 4, table->opposite);

    if (!movane::make_scratch(*table)) {
        report("md_tetra_new: insufficient memory");
        return nullptr;
    }
    std::copy_n(distances.strides, dims, table->strides.get());
    if (!table->cell_tables.make_array(dims)) {
        report("md_tetrab_new: malloc failure");  // sic: hosts match on this text
        return nullptr;
    }
    if (!movane::make_cells_and_data(*table)) {
        report("md_tetrad_new: insuff. mem.");
        return nullptr;
    }
    return table.release();
}

md_tetrad_table* md_tetrad_kill(md_tetrad_table* table) {
    movane::destroy(table);
    return nullptr;
}

// --- interpolation -------------------------------------------------------------------------

void md_tetrad_interp(const md_tetrad_table* table, double** in, int in_stride, double** out,
                      int out_stride, int count) {
    switch (table->dims) {
        case 1:
            return movane::interpolate<1>(*table, in, in_stride, out, out_stride, count);
        case 2:
            return movane::interpolate<2>(*table, in, in_stride, out, out_stride, count);
        case 3:
            return movane::interpolate<3>(*table, in, in_stride, out, out_stride, count);
        case 4:
            return movane::interpolate<4>(*table, in, in_stride, out, out_stride, count);
        default:
            break;
    }
    movane::interpolate<0>(*table, in, in_stride, out, out_stride, count);
    if (count < 1) return;
    for (int d = 0; d < table->dims; ++d) in[d] += static_cast<std::ptrdiff_t>(count) * in_stride;
}

// --- values --------------------------------------------------------------------------------

double* md_tetrad_vertex_get(const md_tetrad_table* table, int* index, double* coords) {
    double* point = table->data.get();
    for (int d = 0; d < table->dims; ++d) {
        coords[d] = index[d] * table->step + table->lo;
        point += table->cell_tables[d][index[d]];
    }
    return point;
}

double* md_tetrad_dataptr(const md_tetrad_table* table, int* count) {
    *count = table->count;
    return table->data.get();
}

int md_tetrad_scan_vertex(const md_tetrad_table* table, int* index) {
    return movane::scan_vertex(*table, index);
}

int md_tetrad_get_nrpoints(const md_tetrad_table* table) { return table->nrpoints; }
