#include "input_file.h"
#include "mesh_checks.h"
#include "support/mesh_builder.h"

#include <algorithm>
#include <cstring>

// Random sequences of public operations on two meshes. A small model tells what each mesh has to
// hold after each step; nothing that is borrowed may have changed. The second mesh may borrow from
// the first, both from a third that stands still. What is the host's duty is kept here: a borrower
// is freed before its lender changes.

namespace
{
/// What a mesh has to show.
struct expectation
{
    bool borrows_geometry, borrows_tangents, borrows_quadtree, borrows_octree;
    bool has_tangents, has_render_index, has_quadtree, has_octree;
    unsigned int vertex_count, triangle_count, channel_count, channel;
    unsigned int message_count;
};

struct player
{
    vesk_mesh mesh;
    expectation expected = {};
    bool is_in_debt = false; ///< borrows, or did, from the first player

    /// For what fills the mesh.
    void expect_only(unsigned int vertex_count, unsigned int triangle_count,
                     unsigned int channel_count)
    {
        expected = {};
        expected.vertex_count = vertex_count;
        expected.triangle_count = triangle_count;
        expected.channel_count = channel_count;
        is_in_debt = false;
    }
    void free()
    {
        mesh.free();
        expect_only(0, 0, 0);
    }
};

vesk_vector3 take_point(byte_source &source)
{
    const float x = source.number(), y = source.number(), z = source.number();
    return vesk_vector3(x, y, z);
}

void take_subsets(mesh_source &mesh, byte_source &source)
{
    for (unsigned int s = mesh.indices.empty() ? 0 : source.below(3); s > 0; --s)
    {
        const unsigned int first = source.below(mesh.triangle_count());
        mesh.subsets.push_back(first * 7);
        mesh.subsets.push_back(source.below(mesh.triangle_count() - first + 1));
    }
}

/// Arrays for `create`.
mesh_source take_geometry(byte_source &source)
{
    mesh_source mesh;
    for (unsigned int v = source.below(10); v > 0; --v)
    {
        const vesk_vector3 position = take_point(source);
        mesh.add_vertex(position, vesk_vector3(0.0f, source.number(), 0.0f));
    }
    mesh.indices.resize(mesh.vertices.empty() ? 0 : source.below(9) * 7);
    for (unsigned int &word : mesh.indices)
        word = source.below(mesh.vertex_count());
    take_subsets(mesh, source);
    mesh.channels.resize(source.below(3));
    for (channel_source &channel : mesh.channels)
    {
        channel.uvs.resize(1 + source.below(5));
        for (vesk_vector2 &uv : channel.uvs)
        {
            uv.x = source.number();
            uv.y = source.number();
        }
        channel.indices.resize(mesh.triangle_count() * 3);
        for (unsigned int &index : channel.indices)
            index = source.below(static_cast<unsigned int>(channel.uvs.size()));
    }
    return mesh;
}

/// All that a mesh can lend.
std::uint64_t digest_of(const vesk_mesh &mesh)
{
    std::uint64_t digest = mesh.get_octree_size_bytes();
    const auto fold = [&digest](const void *bytes, std::size_t byte_count)
    {
        const unsigned char *const data = static_cast<const unsigned char *>(bytes);
        for (std::size_t i = 0; i < byte_count; ++i)
            digest = (digest ^ data[i]) * 0x100000001B3u;
    };
    fold(mesh.vertex_array, mesh.vertex_count * 24u);
    fold(mesh.index_array, mesh.index_count * 4u);
    fold(mesh.tangent_array, mesh.tangent_count * 16u);
    fold(mesh.uv_lookup_vertex_array, mesh.uv_lookup_vertex_count * 12u);
    fold(mesh.uv_lookup_index_array, mesh.uv_lookup_index_count * 4u);
    for (unsigned int c = 0; c < mesh.uv_channel_arrays.count; ++c)
        fold(mesh.uv_channel_arrays[c], mesh.uv_channel_counts[c] * 8u);
    return digest + mesh.get_uv_lookup_quadtree_size_bytes();
}

void check(const player &p)
{
    const vesk_mesh &mesh = p.mesh;
    const expectation &e = p.expected;
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

void check_empty_after_failure(player &p)
{
    p.expect_only(0, 0, 0);
    p.expected.message_count = 1;
    FUZZ_CHECK(!p.mesh.vertex_array && !p.mesh.index_array && !p.mesh.uv_array);
}

// The operations, in groups. `p` is the mesh that they change, `lender` one that it may use.

void fill(player &p, byte_source &source)
{
    mesh_source from = take_geometry(source);
    const bool is_written_by_host = source.below(2);
    p.expect_only(from.vertex_count(), from.triangle_count(),
                  static_cast<unsigned int>(from.channels.size()));
    if (!is_written_by_host)
    {
        FUZZ_CHECK(from.fill(p.mesh) == 1);
        return;
    }
    FUZZ_CHECK(p.mesh.create(from.vertex_count(), from.index_count(), from.uv_data()) == 1);
    std::copy(from.vertices.begin(), from.vertices.end(), p.mesh.get_vertex_array());
    for (unsigned int w = 0; w < from.index_count(); ++w)
        if (w % 7 < 3)
            p.mesh.get_index_array()[w] = from.indices[w];
    for (std::size_t s = 0; s < from.subsets.size(); s += 2)
        p.mesh.add_subset_lookup_table_entry(from.subsets[s], from.subsets[s + 1]);
    p.mesh.calculate_bounding_box();
}

/// What a deep copy of a mesh shows, or one that went through a file.
void expect_copy(player &p, const expectation &of)
{
    p.expect_only(of.vertex_count, of.triangle_count, of.borrows_geometry ? 0 : of.channel_count);
    p.expected.channel = of.channel;
    p.expected.has_tangents = of.has_tangents;
}

void copy(player &p, const player &from)
{
    const expectation of = &p == &from ? expectation{} : from.expected;
    const unsigned int channel = &p == &from ? 0 : from.mesh.cur_uv_channel;
    FUZZ_CHECK(p.mesh.create(from.mesh) == 1);
    expect_copy(p, of);
    p.expected.channel = channel;
}

void pass_through_file(player &p, player &from, byte_source &source)
{
    static const input_file file(".mesh");
    const int compress = static_cast<int>(source.below(2));
    const expectation of = from.expected;
    const unsigned int channel = from.mesh.cur_uv_channel;
    FUZZ_CHECK(from.mesh.save_binary(file.wide(), compress) == 1);
    const int result = p.mesh.load_binary(file.wide());
    file.remove();
    if (result == 1)
    {
        expect_copy(p, of);
        p.expected.channel = channel;
        return;
    }
    FUZZ_CHECK(compress && (of.vertex_count == 0 || of.triangle_count == 0));
    FUZZ_CHECK(p.mesh.error_stack.count == 1 && !p.mesh.is_valid());
    p.free();
}

void load_nothing(player &p, byte_source &source)
{
    const int result =
        source.below(2) ? p.mesh.load_binary(L"no/such/file") : p.mesh.load_from_file(L"no/such");
    FUZZ_CHECK(result == 0);
    check_empty_after_failure(p);
}

void borrow_geometry(player &p, const player &lender)
{
    const vesk_mesh &from = lender.mesh;
    const expectation of = lender.expected;
    // Out of range the current channel is one UV, whatever the count says.
    const bool is_real_channel =
        from.instance_geometry || from.cur_uv_channel < from.uv_channel_arrays.count;
    p.mesh.set_instance_geometry(
        from.get_vertex_array(), from.get_uv_array(), from.get_index_array(), from.vertex_count,
        is_real_channel ? from.uv_count : 1, from.index_count, from.subset_lookup_table);
    p.expect_only(of.vertex_count, of.triangle_count, 1);
    p.expected.borrows_geometry = true;
}

void borrow(player &p, const player &lender, byte_source &source)
{
    const vesk_mesh &from = lender.mesh;
    switch (source.below(4))
    {
    case 0:
        borrow_geometry(p, lender);
        break;
    case 1:
        if (!lender.expected.has_tangents ||
            p.expected.triangle_count != lender.expected.triangle_count)
            return;
        p.mesh.set_instance_tangents(from.get_tangent_array(), from.tangent_count);
        p.expected.borrows_tangents = p.expected.has_tangents = true;
        break;
    case 2:
        p.mesh.set_instance_uv_lookup_quadtree(
            from.uv_lookup_vertex_array, from.uv_lookup_index_array, from.uv_lookup_vertex_count,
            from.uv_lookup_index_count, from.uv_lookup_root, from.uv_lookup_width,
            from.uv_lookup_height);
        p.expected.borrows_quadtree = true;
        p.expected.has_quadtree = lender.expected.has_quadtree;
        break;
    default: // the records of the tree name vertices of the mesh that is asked
        if (p.expected.vertex_count < lender.expected.vertex_count)
            return;
        p.mesh.set_instance_octree(from.get_octree());
        p.expected.borrows_octree = true;
        p.expected.has_octree = lender.expected.has_octree;
    }
}

void build_octree(player &p, byte_source &source)
{
    vesk_list<unsigned int> subsets;
    for (unsigned int i = source.below(3); i > 0; --i)
        subsets.push_back(source.below(4));
    const bool has_selection = source.below(2), has_limit = source.below(2);
    const unsigned int depth = source.below(4);
    allow_polls(has_limit ? source.below(40) : 100000);
    const int result =
        p.mesh.generate_octree(depth, has_selection ? &subsets : nullptr, stop_after_polls);
    if (p.expected.borrows_octree)
    {
        FUZZ_CHECK(result == 0);
        return;
    }
    FUZZ_CHECK(result == 1 || has_selection || has_limit);
    p.expected.has_octree = result == 1;
    p.expected.message_count += result == 0;
}

void build_quadtree(player &p, byte_source &source)
{
    const bool has_limit = source.below(2);
    allow_polls(has_limit ? source.below(40) : 100000);
    const unsigned int width = source.byte(), height = source.byte(), depth = source.below(5);
    const int result = p.mesh.generate_uv_lookup_quadtree(
        width, height, depth, static_cast<int>(source.below(3)) - 1, 0, nullptr, stop_after_polls);
    p.expected.borrows_quadtree = false;
    p.expected.has_quadtree = result == 1;
    p.expected.message_count += result == 0;
}

void sort_colors(player &p, byte_source &source)
{
    vesk_list<unsigned long> colors;
    for (unsigned int s = 0; s < p.mesh.get_subset_count(); ++s)
        for (unsigned int t = 0; t < p.mesh.subset_lookup_table[s * 2 + 1]; ++t)
            colors.push_back(source.below(3));
    const bool is_possible =
        p.mesh.get_render_index_array() && colors.count <= p.expected.triangle_count;
    FUZZ_CHECK(p.mesh.sort_render_index_by_subset_color(colors) == (is_possible ? 1 : 0));
}

void derive(player &p, byte_source &source)
{
    switch (source.below(6))
    {
    case 0:
        return p.mesh.generate_normals();
    case 1:
        FUZZ_CHECK(p.mesh.generate_tangents() == 1);
        p.expected.has_tangents = true;
        p.expected.borrows_tangents = false;
        break;
    case 2:
        FUZZ_CHECK(p.mesh.generate_render_index_array() == 1);
        p.expected.has_render_index = true;
        break;
    case 3:
        return sort_colors(p, source);
    case 4:
        return build_octree(p, source);
    default:
        build_quadtree(p, source);
    }
}

void rotate(player &p, const vesk_vector3 &angles)
{
    p.mesh.rotate(angles);
    if (p.expected.borrows_geometry || (angles.x == 0.0f && angles.y == 0.0f && angles.z == 0.0f))
        return;
    p.expected.has_tangents = true;
    p.expected.borrows_tangents = false;
}

void transform(player &p, byte_source &source)
{
    vesk_vector3 offset, low, high, low_after, high_after;
    float factor;
    p.mesh.get_bounding_box(low, high);
    switch (source.below(6))
    {
    case 0:
        p.mesh.position(take_point(source));
        break;
    case 1:
        p.mesh.scale(source.number());
        break;
    case 2:
        p.mesh.scale(take_point(source));
        break;
    case 3:
        p.mesh.position_and_scale(take_point(source), source.number());
        break;
    case 4:
        p.mesh.center_and_enforce_size(source.number(), &offset, &factor);
        break;
    default:
        rotate(p, take_point(source));
    }
    p.mesh.get_bounding_box(low_after, high_after);
    FUZZ_CHECK(!p.expected.borrows_geometry || (std::memcmp(&low, &low_after, sizeof(low)) == 0 &&
                                                std::memcmp(&high, &high_after, 12) == 0));
}

void release(player &p, byte_source &source)
{
    switch (source.below(5))
    {
    case 0:
        p.mesh.free_tangents();
        p.expected.has_tangents = p.expected.borrows_tangents = false;
        break;
    case 1:
        p.mesh.free_render_index_array();
        p.expected.has_render_index = false;
        break;
    case 2:
        p.mesh.free_octree();
        p.expected.has_octree = p.expected.borrows_octree = false;
        break;
    case 3:
        p.mesh.free_uv_lookup_quadtree();
        p.expected.has_quadtree = p.expected.borrows_quadtree = false;
        break;
    default:
        p.free();
    }
}

void set_channel(player &p, byte_source &source)
{
    const unsigned int channel = source.below(4);
    p.mesh.set_uv_channel(channel);
    if (!p.expected.borrows_geometry)
        p.expected.channel = channel;
}

void change_subsets(player &p, byte_source &source)
{
    if (source.below(4) == 0)
        p.mesh.clear_subset_lookup_table();
    else if (p.expected.triangle_count > 0 && p.mesh.get_subset_count() < 8)
    {
        const unsigned int first = source.below(p.expected.triangle_count);
        p.mesh.add_subset_lookup_table_entry(first * 7,
                                             source.below(p.expected.triangle_count - first + 1));
    }
}

/// A field copy shows the same and is dropped again.
void copy_fields(const player &p, byte_source &source)
{
    vesk_mesh shadow(p.mesh);
    shadow = p.mesh;
    FUZZ_CHECK(digest_of(shadow) == digest_of(p.mesh));
    run_queries(shadow, source);
    shadow.reset();
    FUZZ_CHECK(!shadow.is_valid() && shadow.error_stack.count == p.mesh.error_stack.count);
}

struct game
{
    player rock; ///< lends to both and never changes
    player players[2];

    explicit game(byte_source &source)
    {
        fill(rock, source);
        FUZZ_CHECK(rock.mesh.generate_tangents() == 1);
        rock.expected.has_tangents = true;
        FUZZ_CHECK(rock.mesh.generate_octree(2, nullptr, nullptr) == 1);
        rock.expected.has_octree = true;
        rock.expected.has_quadtree =
            rock.mesh.generate_uv_lookup_quadtree(32, 32, 2, 0, 0, nullptr, nullptr) == 1;
        rock.expected.message_count = !rock.expected.has_quadtree;
        check(rock);
    }
    ~game()
    {
        for (player *p : {&players[1], &players[0], &rock})
            p->free();
    }
    game(const game &) = delete;
    game &operator=(const game &) = delete;

    void change(unsigned int number, unsigned int operation, byte_source &source)
    {
        player &p = players[number];
        if (number == 0 && players[1].is_in_debt)
            players[1].free();
        const bool from_rock = number == 0 || source.below(2);
        const player &lender = from_rock ? rock : players[0];
        switch (operation)
        {
        case 0:
            return fill(p, source);
        case 1:
            return copy(p, source.below(8) == 0 ? p : lender);
        case 2:
            return pass_through_file(p, players[source.below(2)], source);
        case 3:
            return load_nothing(p, source);
        case 4:
        case 5:
            borrow(p, lender, source);
            p.is_in_debt |= !from_rock;
            break;
        case 6:
        case 7:
        case 8:
            return derive(p, source);
        case 9:
            return transform(p, source);
        case 10:
            return release(p, source);
        case 11:
            return set_channel(p, source);
        default:
            change_subsets(p, source);
        }
    }

    void step(byte_source &source)
    {
        const unsigned int number = source.below(2);
        const unsigned int operation = source.below(15);
        const std::uint64_t rock_before = digest_of(rock.mesh);
        const std::uint64_t first_before = digest_of(players[0].mesh);
        if (operation == 13)
            run_queries(players[number].mesh, source);
        else if (operation == 14)
            copy_fields(players[number], source);
        else
            change(number, operation, source);
        check(players[0]);
        check(players[1]);
        FUZZ_CHECK(digest_of(rock.mesh) == rock_before);
        FUZZ_CHECK(number == 0 || digest_of(players[0].mesh) == first_before);
    }
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    byte_source source(data, size);
    game g(source);
    for (int steps = 0; steps < 100 && !source.is_empty(); ++steps)
        g.step(source);
    return 0;
}
