#pragma once

#include "vesk/vector.h"

/// The UV (0, 0) that every mesh without a current channel reads. Never written, never freed.
extern vesk_vector2 vesk_shared_zero_uv;
