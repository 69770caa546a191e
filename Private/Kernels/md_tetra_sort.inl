// Sorts the weights of a sample in descending order, together with the numbers of their axes.
//
// `Dims` is the number of dimensions, or 0 for the number given by `dims`. The exchanges are part
// of the definition: equal weights describe the same point, but they show which of its corners
// are looked at, and in a table of bytes a value outside the range counts even with weight 0.

template <int Dims, class Weight>
void sort_axes(int dims, Weight* weights, int* axes) {
    const int count = Dims ? Dims : dims;
    for (int d = 0; d < count; ++d) axes[d] = d;

    const auto exchange_if_less = [&](int a, int b) {
        if (!(weights[a] < weights[b])) return;
        const Weight weight = weights[a];
        const int axis      = axes[a];
        weights[a]          = weights[b];
        axes[a]             = axes[b];
        weights[b]          = weight;
        axes[b]             = axis;
    };
    switch (count) {
        case 1:
            return;
        case 2:
            exchange_if_less(0, 1);
            return;
        case 3:
            exchange_if_less(1, 2);
            exchange_if_less(0, 1);
            exchange_if_less(1, 2);
            return;
        case 4:
            exchange_if_less(0, 1);
            exchange_if_less(2, 3);
            exchange_if_less(0, 2);
            exchange_if_less(2, 3);
            exchange_if_less(1, 2);
            exchange_if_less(2, 3);
            return;
        default:
            // Each moves down to its place before the first that is smaller.
            for (int k = 1; k < count; ++k)
                for (int j = k; j > 0 && weights[j - 1] < weights[j]; --j)
                    exchange_if_less(j - 1, j);
            return;
    }
}
