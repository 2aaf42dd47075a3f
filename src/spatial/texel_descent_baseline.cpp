#include "spatial/float_lanes.h"
#include "spatial/texel_descent.h"

#include <cstdint>
#include <cstring>

namespace
{
#include "spatial/lanes8.h"
#include "spatial/texel_descent.inl"
} // namespace

const vesk_texel_descent vesk_texel_descent_baseline = {run_descent};
