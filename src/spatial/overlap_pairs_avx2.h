#pragma once

#include "spatial/overlap_pairs.h"

/// The test with eight lanes, or null where the processor or the platform has none.
template <typename Corners> vesk_overlap_test<Corners> vesk_pick_overlap_test_avx2();
template <> vesk_overlap_test<vesk_mesh_corners> vesk_pick_overlap_test_avx2();
template <> vesk_overlap_test<vesk_raster_corners> vesk_pick_overlap_test_avx2();
