// What a piece of the top surface answers: its lightness at a place, its edge at a hue, and where
// on the ray of a hue it has a given angle or lightness.
#pragma once

#include "Source/prim_comb.h"

namespace movane {

enum class Answer { none, found, failed };

/// The lightness of a piece at a place of the chromatic plane.
///
/// @param lightness  -1.0 unless found
Answer project(top_surface_piece& piece, ChromaPoint at, double* lightness);

/// The outermost point of a piece at a hue.
///
/// @return  false when it has none, which is reported unless the hue is not its own
bool edge_at(top_surface_piece& piece, double phi, double* teta, double* lightness);

/// The lightness at a hue where the piece has the angle teta from the lightness axis.
///
/// @return  false when it has none
bool height_at(top_surface_piece& piece, double phi, double teta, double* lightness);

/// The angle from the lightness axis at a hue where the piece has a lightness.
///
/// @return  false when it has none
bool teta_at(top_surface_piece& piece, double phi, double lightness, double* teta);

}  // namespace movane
