// Byte simplex tables: 8-bit codes in, 8-bit codes out, nothing but look-ups in between.
//
// A code passes its input LUT and two tables of 256 entries, which give the offset of its cell
// and its position in the cell. Sorting the positions picks one of the dims! simplices of the
// cell, a path from its lowest to its highest corner; the differences between neighbours in that
// order are what the corners count. The arithmetic of a sample stands in the kernel, which comes
// in variants for lines of the common kind.

#include "movane/interpolation.h"

#include "Kernels/md_tetrab_variants.h"
#include "Source/md_tetra.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/md_tetrab"};

constexpr int kCodes      = 256;
constexpr int kInLow      = 0;
constexpr int kInHigh     = 255;
constexpr int kFewSamples = 64;
constexpr int kOverrun    = 3;  // bytes that kernels may read behind the last channel of a corner

}  // namespace

// Invariants: sizes fit int32; cell offsets and corners lie within data, which goes on for a
// diagonal behind data_size, so that tables without pad layers stay inside too.
struct md_tetrab_table : movane::TetraHead {
    std::int32_t in_lo, in_hi;
    std::int32_t w_lo, w_hi;
    std::int32_t pad;
    movane::Rows<std::int32_t> cell_tables;
    movane::Rows<std::uint8_t> input_luts;
    movane::Rows<std::uint8_t> output_luts;
    std::uint8_t weight_table[kCodes];
    std::int32_t data_size;
    double step;
    movane::Block<std::uint8_t> data;
    movane::Block<std::uint8_t> own_products;
    const std::uint8_t* product_rows[kCodes];
    std::int32_t diagonal;
    movane::Block<std::int32_t> strides;
    std::int32_t opposite[4];

    // Room for the working values of one sample. Interpolation keeps them on the stack instead,
    // so that threads can share a table.
    movane::Block<std::int32_t> order_scratch;
    movane::Block<std::uint8_t> weight_scratch;
    movane::Block<std::int32_t> offset_scratch;
    movane::Block<std::uint8_t> corner_scratch;
    movane::Block<std::uint8_t*> input_scratch;
};

// The definition of a sample, for expanding a table.
namespace movane {
namespace {
#include "Kernels/md_tetrab_kernel.inl"
}
}  // namespace movane

namespace {

// --- products ------------------------------------------------------------------------------

constexpr std::uint8_t product(int value, int weight, int lo, int hi) {
    const double scaled = static_cast<double>(weight - lo) * (value - lo) / (hi - lo);
    return static_cast<std::uint8_t>(scaled + lo + 0.5);
}

struct Products {
    std::uint8_t rows[kCodes][kCodes];
};

constexpr Products full_range_products() {
    Products products{};
    for (int value = 0; value < kCodes; ++value)
        for (int weight = 0; weight < kCodes; ++weight)
            products.rows[value][weight] = product(value, weight, 0, 255);
    return products;
}

constexpr Products kFullRange = full_range_products();

bool has_full_range(const md_tetrab_table& table) { return table.w_lo == 0 && table.w_hi == 255; }

bool set_up_products(md_tetrab_table& table) {
    const std::uint8_t* first_row = kFullRange.rows[0];
    if (!has_full_range(table)) {
        table.own_products = movane::make_block<std::uint8_t>(kCodes * kCodes);
        if (!table.own_products) return false;
        std::memset(table.own_products.get(), 255, kCodes * kCodes);
        for (int value = table.w_lo; value <= table.w_hi; ++value)
            for (int weight = table.w_lo; weight <= table.w_hi; ++weight)
                table.own_products[static_cast<std::size_t>(value * kCodes + weight)] =
                    product(value, weight, table.w_lo, table.w_hi);
        first_row = table.own_products.get();
    }
    for (int value = 0; value < kCodes; ++value)
        table.product_rows[value] = first_row + value * kCodes;
    return true;
}

// --- grid and LUTs -------------------------------------------------------------------------

void fill_identity(std::uint8_t* lut) {
    for (int v = 0; v < kCodes; ++v) lut[v] = static_cast<std::uint8_t>(v);
}

// Cells and weights of all codes. Code 255 is the last grid point, also where 255 / step falls
// just short of it in doubles.
void fill_cell_table(md_tetrab_table& table, std::int32_t* cells, std::int32_t stride) {
    const int last = table.grid - 1;
    for (int v = table.in_lo; v <= table.in_hi; ++v) {
        const double x    = (v - table.in_lo) / table.step;
        const int cell    = v == table.in_hi ? last : std::min(static_cast<int>(x), last);
        const double part = cell < last ? x - cell : 0.0;
        cells[v]          = cell * stride;
        table.weight_table[v] =
            static_cast<std::uint8_t>(part * (table.w_hi - table.w_lo) + table.w_lo);
    }
}

bool make_grid(md_tetrab_table& table, const movane::TetraDistances& distances) {
    const std::int64_t bytes = std::int64_t{table.data_size} + distances.diagonal + kOverrun;
    if (bytes > std::numeric_limits<std::ptrdiff_t>::max()) return false;
    table.data = movane::make_block<std::uint8_t>(static_cast<std::size_t>(bytes));
    if (!table.data) return false;
    std::memset(table.data.get(), table.w_lo, static_cast<std::size_t>(bytes));

    if (!table.cell_tables.make_array(table.dims)) return false;
    for (int d = 0; d < table.dims; ++d) {
        if (!table.cell_tables.make_row(d, kCodes)) return false;
        fill_cell_table(table, table.cell_tables[d], distances.strides[d]);
    }
    return true;
}

bool make_luts(movane::Rows<std::uint8_t>& luts, int count) {
    if (!luts.make_array(count)) return false;
    for (int i = 0; i < count; ++i) {
        if (!luts.make_row(i, kCodes)) return false;
        fill_identity(luts[i]);
    }
    return true;
}

bool make_distances_and_scratch(md_tetrab_table& table, const movane::TetraDistances& distances) {
    const auto dims      = static_cast<std::size_t>(table.dims);
    table.strides        = movane::make_block<std::int32_t>(dims);
    table.order_scratch  = movane::make_zeroed_block<std::int32_t>(dims);
    table.weight_scratch = movane::make_zeroed_block<std::uint8_t>(dims);
    table.offset_scratch = movane::make_zeroed_block<std::int32_t>(dims);
    table.corner_scratch = movane::make_zeroed_block<std::uint8_t>(dims + 1);
    table.input_scratch  = movane::make_zeroed_block<std::uint8_t*>(dims);
    if (!table.strides || !table.order_scratch || !table.weight_scratch || !table.offset_scratch ||
        !table.corner_scratch || !table.input_scratch)
        return false;
    std::copy_n(distances.strides, dims, table.strides.get());
    std::copy_n(distances.opposite, 4, table.opposite);
    table.diagonal = distances.diagonal;
    return true;
}

// --- lines ---------------------------------------------------------------------------------

movane::MdTetrabView view_of(const md_tetrab_table& table) {
    return {.dims         = table.dims,
            .outputs      = table.outputs,
            .top_weight   = static_cast<std::uint8_t>(table.w_hi),
            .cell_tables  = table.cell_tables.get(),
            .weight_table = table.weight_table,
            .input_luts   = table.input_luts.get(),
            .output_luts  = table.output_luts.get(),
            .product_rows = table.product_rows,
            .data         = table.data.get(),
            .strides      = table.strides.get(),
            .diagonal     = table.diagonal,
            .opposite     = table.opposite};
}

// The lowest mask byte that lies above the threshold; 256 when none does.
int lowest_above(double threshold) {
    if (threshold >= 255.0) return 256;
    return threshold >= 0.0 ? static_cast<int>(threshold) + 1 : 0;
}

// Whether two streams have a byte in common. Streams of different strides whose ranges meet count
// as if they had.
bool overlap(const std::uint8_t* a, int stride_a, const std::uint8_t* b, int stride_b, int count) {
    const std::int64_t distance = static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(b)) -
                                  static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(a));
    const std::int64_t span_a = std::int64_t{stride_a} * (count - 1);
    const std::int64_t span_b = std::int64_t{stride_b} * (count - 1);
    const bool ranges_meet =
        std::min(span_a, std::int64_t{0}) <= distance + std::max(span_b, std::int64_t{0}) &&
        distance + std::min(span_b, std::int64_t{0}) <= std::max(span_a, std::int64_t{0});
    return ranges_meet && (stride_a != stride_b || stride_a == 0 || distance % stride_a == 0);
}

bool has_overlap(const movane::MdTetrabView& table, const movane::MdTetrabLine& line) {
    for (int c = 0; c < table.outputs; ++c) {
        if (!line.out[c]) continue;
        const auto meets = [&](const std::uint8_t* stream, int stride) {
            return stream && overlap(line.out[c], line.out_stride, stream, stride, line.count);
        };
        if (line.out_stride == 0 || meets(line.mask, 1)) return true;
        for (int d = 0; d < table.dims; ++d)
            if (meets(line.in[d], line.in_stride)) return true;
        for (int other = 0; other < c; ++other)
            if (meets(line.out[other], line.out_stride)) return true;
    }
    return false;
}

// Variants prepare tables of their own for each call, which pays from some samples on.
bool suits_lanes(const md_tetrab_table& table, const movane::MdTetrabView& view,
                 const movane::MdTetrabLine& line) {
    return line.count >= kFewSamples && (table.dims == 3 || table.dims == 4) &&
           table.outputs <= movane::kLaneOutputs && has_full_range(table) &&
           std::int64_t{table.data_size} + table.diagonal <= movane::kLaneOffsets &&
           !has_overlap(view, line);
}

}  // namespace

// --- life cycle ----------------------------------------------------------------------------

md_tetrab_table* md_tetrab_new_special(int dims, int outputs, int grid, int w_lo, int w_hi,
                                       int pad) {
    constexpr std::int64_t kMaximum = std::numeric_limits<std::int32_t>::max();

    const bool is_legal = dims >= 1 && outputs >= 1 && grid >= 2 && pad >= 0 && w_lo >= 0 &&
                          w_lo < w_hi && w_hi <= 255;
    const std::int64_t layers = std::int64_t{grid} + pad;
    const int data_size = is_legal ? movane::bounded_power(outputs, layers, dims, kMaximum) : 0;
    if (data_size == 0) {
        report("md_tetra_new: illegal dimension");
        return nullptr;
    }
    auto table = movane::create<md_tetrab_table>();
    if (!table) {
        report("md_tetra_new: insufficient memory");
        return nullptr;
    }
    table->dims      = dims;
    table->outputs   = outputs;
    table->grid      = grid;
    table->nrpoints  = movane::bounded_power(1, grid, dims, kMaximum);
    table->in_lo     = kInLow;
    table->in_hi     = kInHigh;
    table->w_lo      = w_lo;
    table->w_hi      = w_hi;
    table->pad       = pad;
    table->data_size = data_size;
    table->step      = static_cast<double>(kInHigh - kInLow) / (grid - 1);

    const auto distances = movane::tetra_distances(dims, outputs, static_cast<int>(layers));
    if (!make_grid(*table, distances)) {
        report("md_tetrab_new: malloc failure");
    } else if (!make_luts(table->input_luts, dims) || !make_luts(table->output_luts, outputs)) {
        report("md_tetra_new: insufficient memory");
    } else if (!set_up_products(*table)) {
        report("md_tetrab_new: insuff. mem.");
    } else if (!make_distances_and_scratch(*table, distances)) {
        report("md_tetra_new: insufficient memory");
    } else {
        return table.release();
    }
    return nullptr;
}

md_tetrab_table* md_tetrab_new(int dims, int outputs, int grid) {
    return md_tetrab_new_special(dims, outputs, grid, 0, 255, 1);
}

md_tetrab_table* md_tetrab_kill(md_tetrab_table* table) {
    movane::destroy(table);
    return nullptr;
}

// --- interpolation -------------------------------------------------------------------------

void md_tetrab_interp(const md_tetrab_table* table, unsigned char** in, int in_stride,
                      unsigned char** out, int out_stride, int count, unsigned char* mask,
                      double threshold) {
    if (count < 1) return;
    const movane::MdTetrabLine line = {.in            = in,
                                       .out           = out,
                                       .in_stride     = in_stride,
                                       .out_stride    = out_stride,
                                       .count         = count,
                                       .mask          = mask,
                                       .first_passing = lowest_above(threshold)};
    const movane::MdTetrabView view = view_of(*table);
    const auto& kernels =
        suits_lanes(*table, view, line) ? movane::md_tetrab_kernels() : movane::md_tetrab_scalar;
    kernels.interpolate(view, line);
    for (int c = 0; c < table->outputs; ++c)
        if (out[c]) out[c] += static_cast<std::ptrdiff_t>(count) * out_stride;
}

// --- LUTs and values -----------------------------------------------------------------------

int md_tetrab_LUT(md_tetrab_table* table, unsigned char** ilut, unsigned char** olut) {
    // Input codes run from 0 to 255, so a host's LUT needs no scaling.
    const auto install = [](const movane::Rows<std::uint8_t>& luts, int count,
                            unsigned char** given) {
        for (int i = 0; i < count; ++i) {
            if (given && given[i]) {
                std::memmove(luts[i], given[i], kCodes);
            } else {
                fill_identity(luts[i]);
            }
        }
    };
    install(table->input_luts, table->dims, ilut);
    install(table->output_luts, table->outputs, olut);
    return 1;
}

unsigned char* md_tetrab_ilutptr(const md_tetrab_table* table, int d) {
    return d >= 0 && d < table->dims ? table->input_luts[d] : nullptr;
}

unsigned char* md_tetrab_olutptr(const md_tetrab_table* table, int c) {
    return c >= 0 && c < table->outputs ? table->output_luts[c] : nullptr;
}

unsigned char* md_tetrab_dataptr(const md_tetrab_table* table, int* size) {
    *size = table->data_size;
    return table->data.get();
}

unsigned char* md_tetrab_vertex_get(const md_tetrab_table* table, int* index,
                                    unsigned char* coords) {
    std::size_t offset = 0;
    for (int d = 0; d < table->dims; ++d) {
        coords[d] = static_cast<std::uint8_t>(index[d] * table->step + table->in_lo + 0.5);
        offset += static_cast<std::size_t>(index[d]) *
                  static_cast<std::size_t>(table->strides[static_cast<std::size_t>(d)]);
    }
    return table->data.get() + offset;
}

int md_tetrab_scan_vertex(const md_tetrab_table* table, int* index) {
    return movane::scan_vertex(*table, index);
}

int md_tetrab_get_nrpoints(const md_tetrab_table* table) { return table->nrpoints; }

// --- another grid --------------------------------------------------------------------------

namespace {

bool all_inputs_are_identity(const md_tetrab_table& table) {
    for (int d = 0; d < table.dims; ++d)
        if (!movane::is_identity(table.input_luts[d])) return false;
    return true;
}

// Values at a point of a grid that divides each cell of the old table into `ratio` parts.
void evaluate_in_divided_cell(const md_tetrab_table& old, const movane::MdTetrabView& view,
                              int ratio, const int* index, std::uint8_t* values) {
    std::ptrdiff_t base = 0;
    std::uint8_t positions[movane::kTetraMaxDims];
    bool is_old_point = true;
    for (int d = 0; d < old.dims; ++d) {
        const int cell = index[d] / ratio;
        const int part = index[d] % ratio;
        base += static_cast<std::ptrdiff_t>(cell) * view.strides[d];
        positions[d] = static_cast<std::uint8_t>(
            static_cast<double>(part) / ratio * (old.w_hi - old.w_lo) + old.w_lo);
        is_old_point &= part == 0;
    }
    movane::Simplex<0> simplex;
    movane::find_simplex(view, base, positions, simplex);
    for (int c = 0; c < old.outputs; ++c) {
        values[c] = is_old_point ? view.output_luts[c][view.data[base + c]]
                                 : movane::value_in(view, simplex, c);
    }
}

// Values at given input codes, one per dimension.
void evaluate_at_codes(const movane::MdTetrabView& view, const std::uint8_t* codes,
                       std::uint8_t* values) {
    const std::uint8_t* in[movane::kTetraMaxDims];
    for (int d = 0; d < view.dims; ++d) in[d] = codes + d;
    movane::Simplex<0> simplex;
    movane::locate(view, in, 0, simplex);
    for (int c = 0; c < view.outputs; ++c) values[c] = movane::value_in(view, simplex, c);
}

}  // namespace

md_tetrab_table* md_tetrab_expand(const md_tetrab_table* table, int new_grid) {
    md_tetrab_table* expanded = md_tetrab_new(table->dims, table->outputs, new_grid);
    if (!expanded) {
        report("md_tetrab_expand: error in md_tetrab_new");
        return nullptr;
    }
    const int old_cells = table->grid - 1;
    const int new_cells = new_grid - 1;
    const bool is_exact = new_cells % old_cells == 0 && all_inputs_are_identity(*table);

    const movane::MdTetrabView view  = view_of(*table);
    int index[movane::kTetraMaxDims] = {};
    std::uint8_t codes[movane::kTetraMaxDims];
    do {
        std::uint8_t* values = md_tetrab_vertex_get(expanded, index, codes);
        if (is_exact) {
            evaluate_in_divided_cell(*table, view, new_cells / old_cells, index, values);
        } else {
            evaluate_at_codes(view, codes, values);
        }
    } while (md_tetrab_scan_vertex(expanded, index));
    return expanded;
}
