#pragma once

#include "spatial/child_lists.h"

/// The picker of eight at a time, or null where the processor or the platform has none.
vesk_list_picker vesk_pick_list_picker_avx2();
