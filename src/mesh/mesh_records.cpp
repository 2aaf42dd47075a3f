#define VESK_EMIT_KIT
#include "vesk/mesh_records.h"

vesk_subset_color_lookup_s::vesk_subset_color_lookup_s() {}

vesk_subset_color_lookup_s::~vesk_subset_color_lookup_s() {}

vesk_subset_color_lookup_s &
vesk_subset_color_lookup_s::operator=(const vesk_subset_color_lookup_s &other)
{
    runs = other.runs;
    return *this;
}
