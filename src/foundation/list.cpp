// The exported instantiations of the list. Their order matters: nothing before a line may have
// instantiated its list already, or the compiler ignores the export attribute on it.

#include "vesk/list.h"
#include "vesk/triangle_color.h"
#include "vesk/vector.h"

template class VESK_INSTANCE vesk_list<unsigned int>;
template class VESK_INSTANCE vesk_list<unsigned long>;
template class VESK_INSTANCE vesk_list<float>;
template class VESK_INSTANCE vesk_list<vesk_vector2>;
template class VESK_INSTANCE vesk_list<wchar_t *>;
template class VESK_INSTANCE vesk_list<vesk_vector2 *>;
template class VESK_INSTANCE vesk_list<unsigned int *>;
template class VESK_INSTANCE vesk_list<vesk_octree_triangle_s *>;
template class VESK_INSTANCE vesk_list<vesk_uv_lookup_triangle_s *>;
template class VESK_INSTANCE vesk_list<vesk_triangle_color_data_s>;

// This record holds a list of the line above.
#include "vesk/mesh_records.h"

template class VESK_INSTANCE vesk_list<vesk_subset_color_lookup_s>;
