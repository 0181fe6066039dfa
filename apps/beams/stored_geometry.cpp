// SPDX-License-Identifier: Apache-2.0
#include "beams/geometry.h"

namespace arvessa::beams {

Geometry storedGeometry() { return {{{{-0.0697, -0.0024}, {0.0688, -0.0025}}}, {0, 90, 180}}; }

}  // namespace arvessa::beams
