#include "mesh_player.h"

#include "support/byte_file.h"

namespace
{
unsigned int polls_left = 0;

int stop_after_polls()
{
    if (polls_left == 0)
        return 1;
    --polls_left;
    return 0;
}

/// A compressed file of such a mesh can be written, and not be read again.
bool has_empty_section(const vesk_mesh &mesh)
{
    for (unsigned int c = 0; c < mesh.uv_channel_counts.count; ++c)
        if (mesh.uv_channel_counts[c] == 0)
            return true;
    return mesh.vertex_count == 0 || mesh.index_count == 0;
}

void derive_everything(mesh_player &p, byte_source &source)
{
    for (unsigned int kind = 0; kind < mesh_player::derive_kinds; ++kind)
        p.derive(kind, source);
    for (int i = 0; i < 4; ++i)
        run_queries(p.mesh, source);
    p.check();
}

void transform_in_every_way(mesh_player &p, byte_source &source)
{
    for (unsigned int kind = 0; kind < mesh_player::transform_kinds; ++kind)
        p.transform(kind, source);
    p.check();
}
} // namespace

void mesh_player::check() const
{
    const auto &e = expected;
    FUZZ_CHECK(mesh.instance_geometry == e.borrows_geometry &&
               mesh.instance_tangents == e.borrows_tangents &&
               mesh.instance_uv_lookup == e.borrows_quadtree &&
               mesh.instance_octree == e.borrows_octree);
    FUZZ_CHECK(mesh.get_vertex_count() == e.vertex_count &&
               mesh.get_index_count() == e.triangle_count * 7);
    const unsigned int listed = e.borrows_geometry ? 0 : e.channel_count;
    FUZZ_CHECK(mesh.get_uv_channel_count() == e.channel_count &&
               mesh.uv_channel_arrays.count == listed && mesh.uv_channel_counts.count == listed &&
               mesh.uv_index_arrays.count == listed);
    FUZZ_CHECK(mesh.get_cur_uv_channel() == e.channel);
    FUZZ_CHECK(mesh.get_tangent_count() == (e.has_tangents ? e.triangle_count * 3 : 0));
    FUZZ_CHECK(mesh.get_render_index_count() == (e.has_render_index ? e.triangle_count * 3 : 0));
    FUZZ_CHECK((mesh.get_octree() != nullptr) == e.has_octree);
    FUZZ_CHECK((mesh.uv_lookup_root != nullptr) == e.has_quadtree);
    FUZZ_CHECK(mesh.get_error_stack()->count == e.message_count);
    FUZZ_CHECK(is_sound(mesh));
}

void mesh_player::expect_only(unsigned int vertex_count, unsigned int triangle_count,
                              unsigned int channel_count)
{
    expected = {};
    expected.vertex_count = vertex_count;
    expected.triangle_count = triangle_count;
    expected.channel_count = channel_count;
    is_in_debt = false;
}

void mesh_player::free()
{
    mesh.free();
    expect_only(0, 0, 0);
}

void mesh_player::borrow(const mesh_player &lender, unsigned int kind)
{
    const vesk_mesh &from = lender.mesh;
    switch (kind)
    {
    case 0:
        return borrow_geometry(lender);
    case 1:
        if (!lender.expected.has_tangents ||
            expected.triangle_count != lender.expected.triangle_count)
            return;
        mesh.set_instance_tangents(from.get_tangent_array(), from.tangent_count);
        expected.borrows_tangents = expected.has_tangents = true;
        break;
    case 2:
        mesh.set_instance_uv_lookup_quadtree(
            from.uv_lookup_vertex_array, from.uv_lookup_index_array, from.uv_lookup_vertex_count,
            from.uv_lookup_index_count, from.uv_lookup_root, from.uv_lookup_width,
            from.uv_lookup_height);
        expected.borrows_quadtree = true;
        expected.has_quadtree = lender.expected.has_quadtree;
        break;
    default: // the records of the tree name vertices of the mesh that is asked
        if (expected.vertex_count < lender.expected.vertex_count)
            return;
        mesh.set_instance_octree(from.get_octree());
        expected.borrows_octree = true;
        expected.has_octree = lender.expected.has_octree;
    }
}

void mesh_player::borrow_geometry(const mesh_player &lender)
{
    const vesk_mesh &from = lender.mesh;
    // Out of range the current channel is one UV, whatever the count says.
    const bool is_real_channel =
        from.instance_geometry || from.cur_uv_channel < from.uv_channel_arrays.count;
    mesh.set_instance_geometry(from.get_vertex_array(), from.get_uv_array(), from.get_index_array(),
                               from.vertex_count, is_real_channel ? from.uv_count : 1,
                               from.index_count, from.subset_lookup_table);
    expect_only(lender.expected.vertex_count, lender.expected.triangle_count, 1);
    expected.borrows_geometry = true;
}

void mesh_player::derive(unsigned int kind, byte_source &source)
{
    switch (kind)
    {
    case 0:
        return mesh.generate_normals();
    case 1:
        FUZZ_CHECK(mesh.generate_tangents() == 1);
        expected.has_tangents = true;
        expected.borrows_tangents = false;
        break;
    case 2:
        FUZZ_CHECK(mesh.generate_render_index_array() == 1);
        expected.has_render_index = true;
        break;
    case 3:
        return sort_colors(source);
    case 4:
        return build_octree(source);
    default:
        build_quadtree(source);
    }
}

void mesh_player::sort_colors(byte_source &source)
{
    unsigned long long count = 0;
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
        count += mesh.subset_lookup_table[s * 2 + 1];
    if (count > 100000) // subsets may overlap, so that there can be far more than triangles
        return;
    vesk_list<unsigned long> colors;
    while (colors.count < count)
        colors.push_back(source.below(3));
    const bool is_possible = expected.has_render_index && count <= expected.triangle_count;
    FUZZ_CHECK(mesh.sort_render_index_by_subset_color(colors) == (is_possible ? 1 : 0));
    FUZZ_CHECK(mesh.render_color_lookup_table.count == (is_possible ? mesh.get_subset_count() : 0));
}

void mesh_player::build_octree(byte_source &source)
{
    vesk_list<unsigned int> subsets;
    for (unsigned int i = source.below(3); i > 0; --i)
        subsets.push_back(source.below(4));
    const bool has_selection = source.below(2), has_limit = source.below(2);
    const unsigned int depth = source.below(4);
    polls_left = has_limit ? source.below(40) : most_polls;
    const int result =
        mesh.generate_octree(depth, has_selection ? &subsets : nullptr, stop_after_polls);
    if (expected.borrows_octree)
    {
        FUZZ_CHECK(result == 0);
        return;
    }
    FUZZ_CHECK(result == 1 || has_selection || has_limit);
    expected.has_octree = result == 1;
    expected.message_count += result == 0;
}

void mesh_player::build_quadtree(byte_source &source)
{
    const bool has_limit = source.below(2);
    polls_left = has_limit ? source.below(40) : most_polls;
    const unsigned int width = source.byte(), height = source.byte(), depth = source.below(5);
    const int offset_u = static_cast<int>(source.below(3)) - 1;
    const int result = mesh.generate_uv_lookup_quadtree(width, height, depth, offset_u, 0, nullptr,
                                                        stop_after_polls);
    expected.borrows_quadtree = false;
    expected.has_quadtree = result == 1;
    expected.message_count += result == 0;
}

void mesh_player::transform(unsigned int kind, byte_source &source)
{
    vesk_vector3 box[2], box_after[2], point;
    float factor;
    mesh.get_bounding_box(box[0], box[1]);
    switch (kind)
    {
    case 0:
        mesh.position(take_point(source));
        break;
    case 1:
        mesh.scale(source.number());
        break;
    case 2:
        mesh.scale(take_point(source));
        break;
    case 3:
        point = take_point(source);
        mesh.position_and_scale(point, source.number());
        break;
    case 4:
        mesh.center_and_enforce_size(source.number(), &point, &factor);
        break;
    default:
        rotate(take_point(source));
    }
    mesh.get_bounding_box(box_after[0], box_after[1]);
    FUZZ_CHECK(!expected.borrows_geometry || std::memcmp(box, box_after, sizeof(box)) == 0);
}

void mesh_player::rotate(const vesk_vector3 &angles)
{
    mesh.rotate(angles);
    if (expected.borrows_geometry || (angles.x == 0.0f && angles.y == 0.0f && angles.z == 0.0f))
        return;
    expected.has_tangents = true;
    expected.borrows_tangents = false;
}

void mesh_player::release(unsigned int kind)
{
    switch (kind)
    {
    case 0:
        mesh.free_tangents();
        expected.has_tangents = expected.borrows_tangents = false;
        break;
    case 1:
        mesh.free_render_index_array();
        expected.has_render_index = false;
        break;
    case 2:
        mesh.free_octree();
        expected.has_octree = expected.borrows_octree = false;
        break;
    case 3:
        mesh.free_uv_lookup_quadtree();
        expected.has_quadtree = expected.borrows_quadtree = false;
        break;
    default:
        free();
    }
}

void mesh_player::copy(const mesh_player &from)
{
    const auto of = from.expected;
    const unsigned int channel = from.mesh.cur_uv_channel;
    const bool is_self = this == &from; // leaves nothing to copy
    FUZZ_CHECK(mesh.create(from.mesh) == 1);
    if (is_self)
        return expect_only(0, 0, 0);
    expect_only(of.vertex_count, of.triangle_count, of.borrows_geometry ? 0 : of.channel_count);
    expected.channel = channel;
    expected.has_tangents = of.has_tangents;
}

void mesh_player::pass_through_file(mesh_player &from, unsigned int compress)
{
    const temp_file file;
    FUZZ_CHECK(from.mesh.save_binary(file.wide(), static_cast<int>(compress)) == 1);
    mesh_player copied;
    copied.copy(from);
    const int result = mesh.load_binary(file.wide());
    if (result == 1)
    {
        FUZZ_CHECK(digest_of(mesh) == digest_of(copied.mesh));
        expected = copied.expected;
        is_in_debt = false;
    }
    else
    {
        FUZZ_CHECK(compress && has_empty_section(copied.mesh));
        FUZZ_CHECK(mesh.error_stack.count == 1 && !mesh.is_valid());
        free();
    }
    copied.free();
}

void mesh_player::load_nothing(bool is_mesh_file)
{
    const int result =
        is_mesh_file ? mesh.load_binary(L"no/such/file") : mesh.load_from_file(L"no/such");
    FUZZ_CHECK(result == 0 && !mesh.vertex_array && !mesh.index_array && !mesh.uv_array);
    expect_only(0, 0, 0);
    expected.message_count = 1;
}

void mesh_player::set_channel(unsigned int channel)
{
    mesh.set_uv_channel(channel);
    if (!expected.borrows_geometry)
        expected.channel = channel;
}

void mesh_player::copy_fields(byte_source &source) const
{
    vesk_mesh shadow(mesh);
    shadow = mesh;
    FUZZ_CHECK(digest_of(shadow) == digest_of(mesh));
    run_queries(shadow, source);
    shadow.reset();
    FUZZ_CHECK(!shadow.is_valid() && shadow.error_stack.count == mesh.error_stack.count);
}

void run_every_operation(mesh_player &loaded, byte_source &source)
{
    loaded.most_polls = 200;
    loaded.expect_only(loaded.mesh.vertex_count, loaded.mesh.index_count / 7,
                       loaded.mesh.uv_channel_arrays.count);
    loaded.expected.channel = loaded.mesh.cur_uv_channel;
    loaded.expected.has_tangents = loaded.mesh.tangent_count > 0;
    loaded.check();
    derive_everything(loaded, source);
    const std::uint64_t before = digest_of(loaded.mesh);

    mesh_player other;
    other.most_polls = loaded.most_polls;
    for (unsigned int kind = 0; kind < mesh_player::borrow_kinds; ++kind)
        other.borrow(loaded, kind);
    run_queries(other.mesh, source);
    transform_in_every_way(other, source);
    derive_everything(other, source);
    other.release(2); // the lender's octree, for one of its own
    derive_everything(other, source);
    for (const unsigned int compress : {0u, 1u})
    {
        other.pass_through_file(loaded, compress);
        other.check();
    }
    other.copy(loaded);
    transform_in_every_way(other, source);
    derive_everything(other, source);
    other.free();
    FUZZ_CHECK(digest_of(loaded.mesh) == before);

    for (unsigned int channel = 0; channel <= loaded.expected.channel_count && channel < 4;
         ++channel)
    {
        loaded.set_channel(channel);
        loaded.check();
    }
    derive_everything(loaded, source);
    for (unsigned int kind = 0; kind < mesh_player::release_kinds; ++kind)
    {
        loaded.release(kind);
        loaded.check();
    }
}
