// Byte simplex interpolation with samples side by side: for tables of the full range and streams
// that do not overlap, where samples are independent and give what the definition gives.
//
// A block of samples passes a few plain loops, each short enough for compilers to put samples or
// channels into lanes.
//
// - look_up: per dimension one table of 256 words, the position in the cell in the top byte and
//   the offset of the cell below. They are composed per call, since a host may change LUTs.
// - find_corners: with the stride of the dimension in place of the offset, sorting the words of a
//   sample sorts its positions and takes the strides along; the corners are their running sum.
//   Among equal positions it does not matter which corner gets the weight 0.
// - weigh_corners: four channels of a corner come in one load and are weighed two by two in
//   16-bit lanes: ((v * w + 128) * 257) >> 16 is round(v * w / 255) for all bytes v and w.

constexpr int kBlock               = 64;  // samples; the working values of a block stay in cache
constexpr int kGroup               = 4;   // channels in one load
constexpr int kMaxGroups           = kLaneOutputs / kGroup;
constexpr std::uint32_t kTopByte   = 0xff000000;
constexpr std::uint32_t kLowerBits = 0x00ffffff;

template <int Dims>
struct WordTables {
    std::uint32_t words[Dims][256];
    std::uint32_t strides[Dims];
};

template <int Dims>
struct Corners {
    std::uint32_t offsets[Dims + 1][kBlock];
    std::uint16_t weights[Dims + 1][2 * kBlock];  // twice each, for two 16-bit lanes
};

/// What becomes of a sample under a mask.
enum class Fate : std::uint8_t { skipped, repeated, written };

template <int Dims>
void compose(const MdTetrabView& table, WordTables<Dims>& tables) {
    for (int d = 0; d < Dims; ++d) {
        tables.strides[d]         = static_cast<std::uint32_t>(table.strides[d]);
        const std::uint8_t* lut   = table.input_luts[d];
        const std::int32_t* cells = table.cell_tables[d];
        std::uint32_t words[256];
        for (int code = 0; code < 256; ++code)
            words[code] = static_cast<std::uint32_t>(table.weight_table[code]) << 24 |
                          static_cast<std::uint32_t>(cells[code]);
        if (is_identity(lut)) {
            __builtin_memcpy(tables.words[d], words, sizeof words);
        } else {
            for (int v = 0; v < 256; ++v) tables.words[d][v] = words[lut[v]];
        }
    }
}

template <int Dims>
void look_up(const WordTables<Dims>& tables, const MdTetrabLine& line, int first, int count,
             std::uint32_t (&words)[Dims][kBlock]) {
    const std::ptrdiff_t stride = line.in_stride;
    const std::uint8_t* codes[Dims];
    for (int d = 0; d < Dims; ++d) codes[d] = line.in[d] + first * stride;
    for (int i = 0; i < count; ++i)
        for (int d = 0; d < Dims; ++d) words[d][i] = tables.words[d][codes[d][i * stride]];
    for (int i = count; i < kBlock; ++i)
        for (int d = 0; d < Dims; ++d) words[d][i] = 0;
}

template <int Dims>
void sort_descending(std::uint32_t (&words)[Dims]) {
    const auto exchange = [&](int a, int b) {
        const std::uint32_t greater = words[a] > words[b] ? words[a] : words[b];
        const std::uint32_t less    = words[a] > words[b] ? words[b] : words[a];
        words[a]                    = greater;
        words[b]                    = less;
    };
    if constexpr (Dims == 3) {
        exchange(1, 2);
        exchange(0, 1);
        exchange(1, 2);
    } else {
        static_assert(Dims == 4);
        exchange(0, 1);
        exchange(2, 3);
        exchange(0, 2);
        exchange(1, 3);
        exchange(1, 2);
    }
}

template <int Dims>
void find_corners(const WordTables<Dims>& tables, const std::uint32_t (&words)[Dims][kBlock],
                  Corners<Dims>& corners) {
    for (int i = 0; i < kBlock; ++i) {
        std::uint32_t offset = 0;
        std::uint32_t axes[Dims];
        for (int d = 0; d < Dims; ++d) {
            offset += words[d][i] & kLowerBits;
            axes[d] = (words[d][i] & kTopByte) | tables.strides[d];
        }
        sort_descending(axes);

        std::uint32_t above = 255;
        for (int k = 0; k <= Dims; ++k) {
            const std::uint32_t position  = k < Dims ? axes[k] >> 24 : 0;
            const auto weight             = static_cast<std::uint16_t>(above - position);
            corners.offsets[k][i]         = offset;
            corners.weights[k][2 * i]     = weight;
            corners.weights[k][2 * i + 1] = weight;
            above                         = position;
            offset += k < Dims ? axes[k] & kLowerBits : 0;
        }
    }
}

/// The values of four channels, byte by byte as they lie in the table.
template <int Dims>
void weigh_corners(const std::uint8_t* data, const Corners<Dims>& corners,
                   std::uint16_t (&sums)[2 * kBlock]) {
    std::uint16_t values[Dims + 1][2 * kBlock];
    for (int i = 0; i < kBlock; ++i)
        for (int k = 0; k <= Dims; ++k)
            __builtin_memcpy(&values[k][2 * i], data + corners.offsets[k][i], kGroup);

    const auto product = [](int value, int weight) {
        const auto rounded = static_cast<std::uint16_t>(value * weight + 128);
        return static_cast<std::uint16_t>((std::uint32_t{rounded} * 257) >> 16);
    };
    for (int i = 0; i < 2 * kBlock; ++i) {
        std::uint16_t even = 0, odd = 0;
        for (int k = 0; k <= Dims; ++k) {
            even = static_cast<std::uint16_t>(even +
                                              product(values[k][i] & 255, corners.weights[k][i]));
            odd =
                static_cast<std::uint16_t>(odd + product(values[k][i] >> 8, corners.weights[k][i]));
        }
        sums[i] = static_cast<std::uint16_t>((even & 255) | odd << 8);
    }
}

// --- output ----------------------------------------------------------------------------------

/// Up to four channels that are adjacent in the table.
struct Group {
    int channels;
    const std::uint8_t* luts[kGroup];  // null for the identity
    std::uint8_t* out[kGroup];         // null for a channel that is not wanted
    bool is_wanted;
    bool is_adjacent;  // all four, byte behind byte
};

inline int make_groups(const MdTetrabView& table, const MdTetrabLine& line,
                       Group (&groups)[kMaxGroups]) {
    int count = 0;
    for (int first = 0; first < table.outputs; first += kGroup) {
        Group& group      = groups[count++];
        group             = {};
        group.channels    = table.outputs - first < kGroup ? table.outputs - first : kGroup;
        group.is_adjacent = group.channels == kGroup;
        for (int c = 0; c < group.channels; ++c) {
            group.out[c] = line.out[first + c];
            if (!group.out[c]) {
                group.is_adjacent = false;
                continue;
            }
            const std::uint8_t* lut = table.output_luts[first + c];
            group.luts[c]           = is_identity(lut) ? nullptr : lut;
            group.is_wanted         = true;
            if (group.out[c] != group.out[0] + c) group.is_adjacent = false;
        }
    }
    return count;
}

inline void apply_luts(const Group& group, std::uint8_t* values, int count) {
    for (int c = 0; c < group.channels; ++c) {
        const std::uint8_t* lut = group.luts[c];
        if (!lut) continue;
        for (int i = 0; i < count; ++i) values[kGroup * i + c] = lut[values[kGroup * i + c]];
    }
}

inline void store(const Group& group, const std::uint8_t* values, int count,
                  std::ptrdiff_t out_offset, std::ptrdiff_t stride) {
    if (group.is_adjacent) {
        std::uint8_t* out = group.out[0] + out_offset;
        if (stride == kGroup && count == kBlock) {
            __builtin_memcpy(out, values, kGroup * kBlock);
        } else {
            for (int i = 0; i < count; ++i)
                __builtin_memcpy(out + i * stride, values + kGroup * i, kGroup);
        }
        return;
    }
    for (int c = 0; c < group.channels; ++c) {
        if (!group.out[c]) continue;
        std::uint8_t* out = group.out[c] + out_offset;
        for (int i = 0; i < count; ++i) out[i * stride] = values[kGroup * i + c];
    }
}

inline void store_under_mask(const Group& group, const std::uint8_t* values, const Fate* fates,
                             int count, std::ptrdiff_t out_offset, std::ptrdiff_t stride) {
    for (int c = 0; c < group.channels; ++c) {
        if (!group.out[c]) continue;
        std::uint8_t* out = group.out[c] + out_offset;
        for (int i = 0; i < count; ++i, out += stride) {
            if (fates[i] == Fate::written) *out = values[kGroup * i + c];
            if (fates[i] == Fate::repeated) *out = *(out - stride);
        }
    }
}

/// Decides the fates of a block.
///
/// A sample that repeats its predecessor copies the bytes that stand there. Mostly they are what
/// the predecessor was given, and so what the sample itself would get; not if a mask left them.
///
/// @param is_fresh  whether the bytes before the block were written, true before the first block;
///                  on return, whether the last ones of the block were
/// @return          number of samples that are not skipped
template <int Dims>
int decide(const MdTetrabLine& line, int first, int count, bool& is_fresh, Fate* fates) {
    int passing = 0;
    for (int i = 0; i < count; ++i) {
        if (line.mask[first + i] < line.first_passing) {
            fates[i] = Fate::skipped;
            is_fresh = false;
            continue;
        }
        ++passing;
        const auto in_offset = static_cast<std::ptrdiff_t>(first + i) * line.in_stride;
        is_fresh             = is_fresh || !repeats_previous(line, Dims, in_offset);
        fates[i]             = is_fresh ? Fate::written : Fate::repeated;
    }
    return passing;
}

template <int Dims>
void interpolate_blocks(const MdTetrabView& table, const MdTetrabLine& line) {
    WordTables<Dims> tables;
    compose(table, tables);
    Group groups[kMaxGroups];
    const int group_count = make_groups(table, line, groups);

    bool is_fresh = true;
    for (int first = 0; first < line.count; first += kBlock) {
        const int count    = line.count - first < kBlock ? line.count - first : kBlock;
        const bool trusted = is_fresh;
        Fate fates[kBlock];
        int passing = count;
        if (line.mask) passing = decide<Dims>(line, first, count, is_fresh, fates);
        if (passing == 0) continue;

        std::uint32_t words[Dims][kBlock];
        Corners<Dims> corners;
        look_up(tables, line, first, count, words);
        find_corners(tables, words, corners);
        for (int g = 0; g < group_count; ++g) {
            const Group& group = groups[g];
            if (!group.is_wanted) continue;
            std::uint16_t sums[2 * kBlock];
            weigh_corners(table.data + g * kGroup, corners, sums);

            auto* values = reinterpret_cast<std::uint8_t*>(sums);
            apply_luts(group, values, count);
            const std::ptrdiff_t out_offset = static_cast<std::ptrdiff_t>(first) * line.out_stride;
            if (passing == count && trusted) {
                store(group, values, count, out_offset, line.out_stride);
            } else {
                store_under_mask(group, values, fates, count, out_offset, line.out_stride);
            }
        }
    }
}

void interpolate(const MdTetrabView& table, const MdTetrabLine& line) {
    return table.dims == 3 ? interpolate_blocks<3>(table, line)
                           : interpolate_blocks<4>(table, line);
}
