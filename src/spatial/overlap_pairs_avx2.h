#pragma once

#include "spatial/overlap_pairs.h"

/// The test with eight lanes, or null where the processor or the platform has none.
vesk_overlap_test vesk_pick_overlap_test_avx2(bool is_flat);
