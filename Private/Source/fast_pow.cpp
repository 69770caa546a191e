// Power table: x to the power y for 16-bit fractions, by one look-up.
//
// Rows are bases, columns exponents; the leading bits of an argument are its index.

#include "movane/numerics.h"

#include "Support/memory.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kWordBits = 16;
constexpr int kMaxWord  = 65535;

// A table of one entry stands for the fraction 0.
double fraction(int index, int entries) {
    return index / static_cast<double>(std::max(entries - 1, 1));
}

}  // namespace

TFastPow::TFastPow(int xbits, int ybits)
    : rows(1 << xbits),
      cols(1 << ybits),
      max_out(kMaxWord),
      word_bits(kWordBits),
      x_shift(kWordBits - xbits),
      y_shift(kWordBits - ybits),
      table(nullptr) {
    auto pointers = movane::make_block<unsigned short*>(static_cast<std::size_t>(rows));
    if (!pointers) return;

    for (int i = 0; i < rows; ++i) {
        auto row = movane::make_block<unsigned short>(static_cast<std::size_t>(cols));
        for (int j = 0; row && j < cols; ++j) {
            const double power               = std::pow(fraction(i, rows), fraction(j, cols));
            row[static_cast<std::size_t>(j)] = static_cast<unsigned short>(power * max_out);
        }
        pointers[static_cast<std::size_t>(i)] = row.release();
    }
    table = pointers.release();
}

TFastPow::~TFastPow() {
    for (int i = 0; table && i < rows; ++i) movane::release(table[i]);
    movane::release(table);
}

unsigned short TFastPow::Calculate(unsigned short x, unsigned short y) {
    const unsigned short* row = table ? table[x >> x_shift] : nullptr;
    return row ? row[y >> y_shift] : static_cast<unsigned short>(0);
}

int TFastPow::MultiCalculate(int n, unsigned short* x, unsigned short* y, unsigned short* out) {
    for (int i = 0; i < n; ++i) out[i] = Calculate(x[i], y[i]);
    return 0;
}
