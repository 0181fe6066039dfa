// SPDX-License-Identifier: Apache-2.0
#include "noise_reduction/tables.h"

extern "C" {

// About -9 dB in the lowest bands, -1 dB in bands 16 to 20.
const Word16 WVQE_SUBBAND_NOISE_SUPPRESS_TABLE[24] = {
    11610, 11610, 16406, 16406, 16406, 16406, 16406, 18402, 18402, 18402, 20654, 23170,
    23170, 23170, 24980, 26000, 29178, 30756, 30657, 30657, 29178, 23170, 19788, 16406};

}  // extern "C"
