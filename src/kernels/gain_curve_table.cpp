// SPDX-License-Identifier: Apache-2.0
#include "kernels/gain_curves.h"

// Written by generators/tables/make_tables.py.

// clang-format off

extern "C" {

// [Gamma(1.25) M(-0.25; 1; -v)]^2 in Q13 at v = 0, 0.5 .. 10, M Kummer's function.
const unsigned short WVQE_CONST_TABLE_HYPERGEOM_GAIN[21] = {
    6730, 8357, 9868, 11267, 12563, 13770, 14898, 15959, 16961, 17911, 18816, 19682, 20512, 21311,
    22082, 22827, 23549, 24250, 24931, 25594, 26241};

}  // extern "C"

// clang-format on
