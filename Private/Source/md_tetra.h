// What the two families of simplex tables share: the head of their records, the geometry of the
// stored grid and the walk over its points.
#pragma once

#include "Kernels/md_tetrab_kernel.h"
#include "Support/memory.h"

#include <cstddef>
#include <cstdint>

namespace movane {

/// The first fields of both records.
struct TetraHead {
    std::int32_t dims;
    std::int32_t outputs;
    std::int32_t grid;
    std::int32_t nrpoints;  // grid^dims
};

/// factor * base^exponent; 0 when that exceeds `limit`, which is at most INT32_MAX.
inline std::int32_t bounded_power(int factor, std::int64_t base, int exponent, std::int64_t limit) {
    std::int64_t product = factor;
    for (int i = 0; i < exponent && product <= limit; ++i) product *= base;
    return product <= limit ? static_cast<std::int32_t>(product) : 0;
}

/// Distances in the stored grid, in elements.
struct TetraDistances {
    std::int32_t strides[kTetraMaxDims];  // from a point to the next one along each dimension
    std::int32_t diagonal;                // to the corner (1,...,1): the sum of all strides
    std::int32_t opposite[4];             // 3 and 4 dimensions: to the corner that has 0 on axis k
                                          // only; 2 dimensions: to the one that has 1 there only
};

/// The grid stores `layers` points along each dimension, the last one adjacent.
inline TetraDistances tetra_distances(int dims, int outputs, int layers) {
    TetraDistances distances = {};
    std::int32_t stride      = outputs;
    for (int d = dims - 1; d >= 0; --d) {
        distances.strides[d] = stride;
        distances.diagonal += stride;
        stride *= layers;
    }
    for (int k = 0; k < dims && dims >= 2 && dims <= 4; ++k) {
        distances.opposite[k] =
            dims == 2 ? distances.strides[k] : distances.diagonal - distances.strides[k];
    }
    return distances;
}

/// Moves a counter of grid points on, dimension 0 fastest.
///
/// @return  number of points still to come; 0 behind the last, where the counter is all zeros
inline int scan_vertex(const TetraHead& table, int* index) {
    std::int64_t number = 0, weight = 1;
    for (int d = 0; d < table.dims; ++d) {
        number += index[d] * weight;
        weight *= table.grid;
    }
    for (int d = 0; d < table.dims; ++d) {
        if (++index[d] < table.grid) break;
        index[d] = 0;
    }
    return static_cast<int>(table.nrpoints - (number + 1));
}

/// Owned arrays of equal length behind one pointer each, closed by a null pointer.
template <class T>
class Rows {
public:
    Rows()                       = default;
    Rows(const Rows&)            = delete;
    Rows& operator=(const Rows&) = delete;
    ~Rows() {
        for (T** row = rows_.get(); row && *row; ++row) release(*row);
    }

    /// Makes room for the pointers of `count` rows.
    bool make_array(int count) {
        rows_ = make_zeroed_block<T*>(static_cast<std::size_t>(count) + 1);
        return rows_ != nullptr;
    }

    /// Adds the next row.
    bool make_row(int number, std::size_t length) {
        rows_[static_cast<std::size_t>(number)] = make_block<T>(length).release();
        return rows_[static_cast<std::size_t>(number)] != nullptr;
    }

    T* operator[](int number) const { return rows_[static_cast<std::size_t>(number)]; }
    T* const* get() const { return rows_.get(); }

private:
    Block<T*> rows_;
};

}  // namespace movane
