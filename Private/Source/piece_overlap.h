// Which of two pieces of the top surface lies above the other.
#pragma once

#include "Source/prim_comb.h"

namespace movane {

/// How a new piece lies to an old one. Negative results are failures.
enum {
    kNoNodes    = -10,  // the new piece has no valid node
    kFailed     = -1,
    kAbove      = 0,  // some nodes of the new piece above, none below
    kBelow      = 1,  // some below, none above
    kApart      = 2,  // they do not overlap
    kInterwoven = 3,  // some above, some below
    kSame       = 4   // the same piece, or all nodes on the old one
};

/// @return  one of the above
int compare_pieces(top_surface_piece& old_piece, top_surface_piece& new_piece);

}  // namespace movane
