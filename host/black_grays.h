// Grays printed with black alone.
#pragma once

#include "device_profile.h"
#include "simplex_table.h"

namespace host {

/// Gives the grid points of equal red, green and blue black ink alone, as much of it as is as
/// light as the inks that stood there; black cannot be darker than its full tone. A gray is
/// interpolated between such points only, so that it is printed with black alone, exactly.
///
/// @param table  from RGB to CMYK, filled
void print_grays_with_black(const SimplexTable& table, const Profile& device, Intent intent);

}  // namespace host
