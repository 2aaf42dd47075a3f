#include "support/bits.h"
#include "support/failing_new.h"
#include "support/fbx_scene.h"
#include "support/mesh_compare.h"
#include "support/mesh_file.h"

#include <algorithm>
#include <cwchar>
#include <functional>
#include <set>
#include <string>

// One table of all operations that allocate. Each runs with every one of its allocations failing
// once, and again with all that follow failing too. Whatever fails: nothing leaks, no more than one
// message tells it, the mesh is as promised, and the same call works right after.

namespace
{
using messages = std::vector<const wchar_t *>;

/// What a mesh shows after an operation that failed.
enum class aftermath
{
    empty,       ///< like a new one
    half_loaded, ///< empty, or not valid when a chunk stream failed
    as_before,   ///< geometry and channels as if the call had not been made
    complete     ///< the operation tells nothing and does what it can
};

struct operation
{
    const char *name;
    aftermath after;
    /// What is told, in the order in which the failing allocations bring it up.
    messages told = {};
    std::function<int(vesk_mesh &)> run = {};
    /// Brings a filled mesh to where the operation begins.
    std::function<void(vesk_mesh &)> prepare = [](vesk_mesh &) {};
    /// Looks at a mesh whose operation failed.
    std::function<void(vesk_mesh &)> inspect = [](vesk_mesh &) {};
    bool may_throw = false;    ///< working arrays of the FBX reader
    bool can_repeat = true;    ///< a second run gives what the first gave
    bool always_works = false; ///< result 1 whatever fails
};

mesh_source small_source()
{
    mesh_source source = random_soup(2, 40, 2);
    split_subsets(source, 3);
    return source;
}

/// Everything in a mesh, trees and render index included, so that two can be compared.
std::string content_of(const vesk_mesh &mesh)
{
    std::string content;
    const auto add = [&content](const void *data, std::size_t bytes)
    {
        if (data)
            content.append(static_cast<const char *>(data), bytes);
        content += '|';
    };
    add(mesh.vertex_array, mesh.vertex_count * 24u);
    add(mesh.index_array, mesh.index_count * 4u);
    add(mesh.tangent_array, mesh.tangent_count * 16u);
    add(mesh.render_index_array, mesh.get_render_index_count() * 4u);
    add(mesh.subset_lookup_table.data, mesh.subset_lookup_table.count * 4u);
    for (unsigned int c = 0; c < mesh.uv_channel_arrays.count; ++c)
    {
        add(mesh.uv_channel_arrays[c], mesh.uv_channel_counts[c] * 8u);
        add(mesh.uv_index_arrays[c], mesh.index_count / 7 * 12u);
    }
    for (unsigned int s = 0; s < mesh.render_color_lookup_table.count; ++s)
        add(mesh.render_color_lookup_table[s].runs.data,
            mesh.render_color_lookup_table[s].runs.count * 12u);
    return content + std::to_string(mesh.get_octree_size_bytes()) + ',' +
           std::to_string(mesh.get_uv_lookup_quadtree_size_bytes());
}

template <typename Node> void collect(const Node *node, std::set<const void *> &records)
{
    for (unsigned int i = 0; node && i < node->triangles.count; ++i)
        records.insert(node->triangles[i]);
    for (unsigned int i = 0; node && i < sizeof(node->children) / sizeof(node); ++i)
        collect(node->children[i], records);
}

/// Whether there is no tree, or one that holds so many triangles of the mesh, each counted once: a
/// failure costs depth somewhere, or the tree, and never a triangle.
template <typename Node> bool is_whole(const Node *root, std::size_t triangle_count)
{
    std::set<const void *> records;
    collect(root, records);
    return !root || records.size() == triangle_count;
}

/// Runs the operation; -1 when it threw.
int guarded_run(const operation &op, vesk_mesh &mesh)
{
    try
    {
        return op.run(mesh);
    }
    catch (const std::bad_alloc &)
    {
        return -1;
    }
}

/// How many of the row's messages were told so far. Live storage is counted, so that no list of
/// them can grow.
std::size_t told_count = 0;

/// At most one message, none before the ones that come first, and one for each plain failure.
bool is_told(const vesk_mesh &mesh, const operation &op, int result, bool is_exhausted)
{
    if (mesh.error_stack.count == 0)
        return is_exhausted || result != 0 || op.told.empty();
    std::size_t i = 0;
    while (i < op.told.size() && !has_message(mesh, op.told[i]))
        ++i;
    const bool is_known = i < op.told.size() && i <= told_count;
    told_count = std::max(told_count, is_known ? i + 1 : 0);
    return is_known;
}

void expect_aftermath(const operation &op, vesk_mesh &mesh, const vesk_mesh &before)
{
    switch (op.after)
    {
    case aftermath::empty:
        EXPECT_TRUE(is_empty_mesh(mesh));
        break;
    case aftermath::half_loaded:
        EXPECT_TRUE(!mesh.is_valid() && (is_empty_mesh(mesh) || mesh.vertex_array));
        break;
    case aftermath::as_before:
        EXPECT_TRUE(same_mesh(mesh, before));
        break;
    case aftermath::complete:
        break;
    }
}

/// One run with a failure at `nth`. False when the operation has no such allocation.
bool fails_at(const operation &op, int nth, bool is_exhausted, const std::string &reference)
{
    static const mesh_source source = small_source();
    const long long allocations = live_allocations(), bytes = live_bytes();
    bool failed;
    {
        owned_mesh mesh(source), before;
        op.prepare(mesh);
        before.create(mesh);

        is_exhausted ? fail_allocations_from(nth) : fail_allocation(nth);
        const int result = guarded_run(op, mesh);
        failed = allocation_failed();
        if (failed)
        {
            EXPECT_TRUE(result == 1 || !op.always_works);
            EXPECT_TRUE(result != -1 || op.may_throw);
            EXPECT_TRUE(is_told(mesh, op, result, is_exhausted))
                << result << ": " << messages_of(mesh);
            if (result == -1)
            {
                EXPECT_TRUE(is_empty_mesh(mesh) && has_message(mesh, nullptr));
            }
            else if (result == 0)
                expect_aftermath(op, mesh, before);
            op.inspect(mesh);
        }
        else
            EXPECT_EQ(result, 1);
        if (failed && op.can_repeat)
        {
            EXPECT_EQ(op.run(mesh), 1);
            EXPECT_TRUE(content_of(mesh) == reference) << "the next call goes wrong";
        }
    }
    EXPECT_EQ(live_allocations(), allocations);
    EXPECT_EQ(live_bytes(), bytes);
    return failed;
}

void fail_each(const operation &op)
{
    SCOPED_TRACE(op.name);
    std::string reference;
    {
        owned_mesh mesh(small_source());
        op.prepare(mesh);
        EXPECT_EQ(op.run(mesh), 1); // the FBX reader keeps a table from its first load on
        reference = content_of(mesh);
    }
    told_count = 0;
    for (const bool is_exhausted : {false, true})
    {
        bool failed = true;
        for (int nth = 0; failed; ++nth)
        {
            SCOPED_TRACE(std::string(is_exhausted ? "from " : "at ") + std::to_string(nth));
            failed = fails_at(op, nth, is_exhausted, reference);
        }
    }
    EXPECT_EQ(told_count, op.told.size());
}

/// An operation that gives no result.
template <typename Run> std::function<int(vesk_mesh &)> done(Run run)
{
    return [run](vesk_mesh &mesh)
    {
        run(mesh);
        return 1;
    };
}

// Messages that more than one row has.
constexpr const wchar_t *create_vertices =
    L"Memory Allocation Error: Failed to allocate mesh vertex array.";
constexpr const wchar_t *create_indices =
    L"Memory Allocation Error: Failed to allocate mesh index array.";
constexpr const wchar_t *create_subsets =
    L"Memory Allocation Error: Failed to allocate mesh subset lookup table.";
constexpr const wchar_t *create_uvs = L"Memory Allocation Error: Failed to allocate uv array.";
constexpr const wchar_t *create_uv_indices =
    L"Memory Allocation Error: Failed to allocate  uv index array.";

int sort_colors(vesk_mesh &mesh)
{
    static vesk_list<unsigned long> colors; // filled by the first call, which nothing fails
    while (colors.count < 40)
        colors.push_back(colors.count % 7);
    return mesh.sort_render_index_by_subset_color(colors);
}
} // namespace

TEST(AllocationFaults, Filling)
{
    mesh_source from = random_web(5, 20, 12);
    from.channels.push_back(from.channels[0]);
    const vesk_mesh_uv_data_s uv_data = from.uv_data();
    vesk_list<unsigned int> subsets;
    assign_list(subsets, from.subsets);
    owned_mesh other(from), lender(from);
    ASSERT_EQ(other.generate_tangents(), 1);

    const auto create_of_counts = [&](vesk_mesh &mesh)
    {
        const int result = mesh.create(from.vertex_count(), from.index_count(), uv_data);
        for (unsigned int w = 0; w < mesh.index_count; ++w) // the host's to write
            if (w % 7 < 3 || w % 7 == 6)
                mesh.index_array[w] = from.indices[w];
        return result;
    };
    const auto create_of_arrays = [&](vesk_mesh &mesh)
    {
        return mesh.create(from.vertices.data(), from.indices.data(), from.vertex_count(),
                           from.index_count(), uv_data, subsets);
    };
    fail_each({"create(counts)",
               aftermath::empty,
               {create_vertices, create_indices, create_uvs, create_uv_indices},
               create_of_counts});
    fail_each({"create(arrays)",
               aftermath::empty,
               {create_vertices, create_indices, create_subsets, create_uvs, create_uv_indices},
               create_of_arrays});
    fail_each({"create(mesh)",
               aftermath::empty,
               {create_vertices, create_indices, create_subsets,
                L"Memory Allocation Error: Failed to allocate mesh tangent array.", create_uvs,
                create_uv_indices},
               [&](vesk_mesh &mesh) { return mesh.create(other); }});

    operation lent = {"set_instance_geometry", aftermath::complete};
    lent.run = done([&](vesk_mesh &mesh) { lend_geometry(lender, mesh); });
    lent.inspect = [&](vesk_mesh &mesh)
    {
        EXPECT_EQ(mesh.get_subset_count(), 0u);
        EXPECT_EQ(mesh.vertex_array, lender.vertex_array);
        EXPECT_EQ(mesh.instance_geometry, 1);
    };
    fail_each(lent);
}

TEST(AllocationFaults, MeshFiles)
{
    const wchar_t *const vertices = L"Memory Allocation Error: Failed allocate vertex array.";
    const wchar_t *const uvs = L"Memory Allocation Error: Failed allocate uv array.";
    const wchar_t *const uv_indices = L"Memory Allocation Error: Failed allocate uv index array.";
    const wchar_t *const indices = L"Memory Allocation Error: Failed allocate index array.";
    const wchar_t *const tangents = L"Memory Allocation Error: Failed allocate tangent array.";
    owned_mesh mesh(small_source());
    test_random random(3);
    add_random_tangents(mesh, random, mesh.index_count / 7 * 3);
    const temp_file plain, packed, old, target;
    plain.set_bytes(saved(mesh, 0));
    packed.set_bytes(saved(mesh, 1));
    old.set_bytes(legacy_bytes(mesh));

    const messages of_plain = {uvs, vertices, indices, uv_indices, tangents};
    messages of_packed = of_plain;
    for (const wchar_t *stream :
         {L"Compression Error: Failed to decompress vertices from file.",
          L"Compression Error: Failed to decompress uv arrays from file.",
          L"Compression Error: Failed to decompress uv index arrays from file.",
          L"Compression Error: Failed to decompress indices from file.",
          L"Compression Error: Failed to decompress tangents from file."})
        of_packed.push_back(stream);
    const messages of_old = {vertices, uvs, uv_indices, indices, tangents};
    const messages of_save = {L"Compression Error: Failed to compress vertices to file.",
                              L"Compression Error: Failed to compress uv arrays to file.",
                              L"Compression Error: Failed to compress uv indices to file.",
                              L"Compression Error: Failed to compress indices to file.",
                              L"Compression Error: Failed to compress tangents to file."};
    fail_each({"load_binary, plain", aftermath::empty, of_plain,
               [&](vesk_mesh &m) { return m.load_binary(plain.wide()); }});
    fail_each({"load_binary, compressed", aftermath::half_loaded, of_packed,
               [&](vesk_mesh &m) { return m.load_binary(packed.wide()); }});
    fail_each({"load_binary, first layout", aftermath::empty, of_old,
               [&](vesk_mesh &m) { return m.load_binary(old.wide()); }});
    fail_each({"save_binary, compressed", aftermath::as_before, of_save,
               [&](vesk_mesh &m) { return m.save_binary(target.wide(), 1); },
               [](vesk_mesh &m) { m.generate_tangents(); }});
    fail_each({"save_binary, plain", aftermath::as_before, {}, [&](vesk_mesh &m) {
                   return m.save_binary(target.wide(), 0);
               }});
}

TEST(AllocationFaults, FbxImport)
{
    // A polygon to triangulate, UVs, normals, and one mesh shown twice.
    fbx_mesh_source polygon;
    for (int i = 0; i < 5; ++i)
        for (const double number : {i % 4 * 1.0, i / 2 * 1.5, i * i * 0.25})
            polygon.points.push_back(number);
    polygon.corners = {0, 1, 2, 3, ~4};
    polygon.elements = {
        fbx_uvs(0, {0.0, 0.0, 1.0, 0.0, 1.0, 1.0, 0.0, 1.0, 0.5, 2.0}, {0, 1, 2, 3, 4}),
        fbx_normals("ByVertice", std::vector<double>(15, 1.0)),
        fbx_layer(0, {"LayerElementUV", "LayerElementNormal"})};
    fbx_scene scene;
    const int parent = scene.add_mesh(fbx_scene::root, polygon);
    scene.add_mesh(scene.add_group(parent), polygon, {{"Lcl Rotation", {30.0, 0.0, 0.0}}});

    for (const fbx_encoding &encoding : all_fbx_encodings())
    {
        const temp_file file;
        const std::string bytes = scene.write(encoding);
        file.set_bytes(byte_vector(bytes.begin(), bytes.end()));
        operation load = {"load_from_file", aftermath::empty};
        load.told = {L"Failed to initialize FBX importer.", // the reader below the import
                     L"Failed to import FBX. Import(fbx_scene) failed.",
                     L"Failed to triangulate fbx_mesh.",
                     create_indices,
                     L"Memory Allocation Error: Failed to allocate mesh uv array.",
                     L"Memory Allocation Error: Failed to allocate mesh uv index array.",
                     create_vertices};
        load.run = [&file](vesk_mesh &mesh) { return mesh.load_from_file(file.wide()); };
        load.may_throw = true;
        fail_each(load);
    }
}

TEST(AllocationFaults, Deriving)
{
    const messages of_tangents = {L"Memory Allocation Error: Failed to allocate tangent array.",
                                  L"Memory Allocation Error: Failed to allocate bi_normal array."};
    const auto has_no_tangents = [](vesk_mesh &mesh)
    { EXPECT_TRUE(!mesh.tangent_array && mesh.tangent_count == 0); };
    const auto derive = [](vesk_mesh &mesh) { return mesh.generate_tangents(); };
    operation tangents = {"generate_tangents", aftermath::complete, of_tangents, derive};
    tangents.prepare = derive; // the old ones go in any case
    tangents.inspect = has_no_tangents;
    fail_each(tangents);

    owned_mesh turned(small_source()), smooth(small_source());
    const auto turn = [](vesk_mesh &mesh) { mesh.rotate(vesk_vector3(1.0f, 2.0f, 3.0f)); };
    turn(turned);
    turned.free_tangents();
    operation rotate = {"rotate", aftermath::complete, of_tangents, done(turn)};
    rotate.can_repeat = false;
    rotate.inspect = [&](vesk_mesh &mesh) { EXPECT_TRUE(same_mesh(mesh, turned)); };
    fail_each(rotate);

    // Normals are the same, memory or not.
    smooth.generate_normals();
    operation normals = {"generate_normals", aftermath::complete};
    normals.run = done([](vesk_mesh &mesh) { mesh.generate_normals(); });
    normals.can_repeat = false;
    normals.always_works = true;
    normals.inspect = [&](vesk_mesh &mesh) { EXPECT_TRUE(same_mesh(mesh, smooth)); };
    fail_each(normals);

    operation render_index = {"generate_render_index_array", aftermath::as_before};
    render_index.told = {L"Memory Allocation Error: Failed to allocate mesh render index array."};
    render_index.run = [](vesk_mesh &mesh) { return mesh.generate_render_index_array(); };
    render_index.inspect = [](vesk_mesh &mesh) { EXPECT_EQ(mesh.render_index_array, nullptr); };
    fail_each(render_index);

    operation sort = {"sort_render_index_by_subset_color", aftermath::as_before};
    sort.run = sort_colors;
    sort.prepare = [](vesk_mesh &mesh)
    {
        mesh.generate_render_index_array();
        sort_colors(mesh);
    };
    sort.inspect = [](vesk_mesh &mesh)
    {
        owned_mesh fresh(small_source());
        fresh.generate_render_index_array();
        EXPECT_EQ(content_of(mesh), content_of(fresh)); // in record order, and no table
        EXPECT_EQ(mesh.render_color_lookup_table.count, 0u);
    };
    fail_each(sort);
}

TEST(AllocationFaults, Trees)
{
    vesk_list<unsigned int> first_two;
    assign_list(first_two, {0u, 1u});
    for (const vesk_list<unsigned int> *subsets : {(vesk_list<unsigned int> *)nullptr, &first_two})
    {
        const std::size_t held = subsets ? 26 : 40;
        operation octree = {"generate_octree", aftermath::as_before};
        octree.told = {L"Memory Allocation Error: Failed to allocate octree root node."};
        octree.run = [subsets](vesk_mesh &mesh)
        { return mesh.generate_octree(5, subsets, nullptr); };
        octree.inspect = [held](vesk_mesh &mesh) { EXPECT_TRUE(is_whole(mesh.octree, held)); };
        fail_each(octree);

        operation quadtree = {"generate_uv_lookup_quadtree", aftermath::as_before};
        quadtree.told = {L"Memory Allocation Error: Failed to allocate uv lookup vertex array.",
                         L"Memory Allocation Error: Failed to allocate uv lookup index array.",
                         L"Memory Allocation Error: Failed to allocate quadtree root node."};
        quadtree.run = [subsets](vesk_mesh &mesh)
        { return mesh.generate_uv_lookup_quadtree(64, 64, 5, 0, 0, subsets, nullptr); };
        quadtree.inspect = [held](vesk_mesh &mesh)
        {
            EXPECT_TRUE(is_whole(mesh.uv_lookup_root, held));
            // Without a root the arrays may stay until the next generation.
            EXPECT_TRUE(mesh.uv_lookup_vertex_count == 0 ||
                        (mesh.uv_lookup_vertex_array && mesh.uv_lookup_index_array));
        };
        fail_each(quadtree);
    }
}

namespace
{
struct hit_lists
{
    vesk_list<float> distances;
    vesk_list<vesk_octree_triangle_s *> triangles;
    vesk_list<vesk_vector2> barycentrics;

    int ask(const vesk_mesh &mesh, bool is_line)
    {
        const vesk_vector3 origin(0.1f, -0.2f, -5.0f), up(0.0f, 0.0f, 1.0f);
        return is_line
                   ? mesh.is_line_intersect(origin, up, 100.0f, distances, triangles, barycentrics,
                                            nullptr)
                   : mesh.is_ray_intersect(origin, up, distances, triangles, barycentrics, nullptr);
    }

    /// Whether each hit here is, with all three of its values and in order, among those.
    bool is_part_of(const hit_lists &all) const
    {
        unsigned int found = 0;
        for (unsigned int i = 0; i < all.distances.count && found < distances.count; ++i)
            found += all.triangles[i] == triangles[found] &&
                     same_bits(all.distances[i], distances[found]) &&
                     same_bits(all.barycentrics[i], barycentrics[found]);
        return found == distances.count && triangles.count == found && barycentrics.count == found;
    }
};
} // namespace

TEST(AllocationFaults, Queries)
{
    for (const bool is_line : {false, true})
    {
        operation query = {is_line ? "all hits of a line" : "all hits of a ray",
                           aftermath::complete};
        query.run = [is_line](vesk_mesh &mesh)
        {
            hit_lists hits, all;
            const int result = hits.ask(mesh, is_line);
            allocation_failed(); // from here on all of them work
            all.ask(mesh, is_line);
            EXPECT_GT(all.distances.count, 2u);
            EXPECT_TRUE(hits.is_part_of(all));
            return result;
        };
        query.always_works = true;
        query.prepare = [](vesk_mesh &mesh) { mesh.generate_octree(2, nullptr, nullptr); };
        fail_each(query);
    }
}

TEST(AllocationFaults, ListsAndFieldCopies)
{
    const auto fill_up = [](vesk_mesh &mesh) { mesh.subset_lookup_table.trim(); };
    operation push = {"add_subset_lookup_table_entry", aftermath::complete};
    push.run = done([](vesk_mesh &mesh) { mesh.add_subset_lookup_table_entry(7, 9); });
    push.prepare = fill_up;
    push.inspect = [](vesk_mesh &mesh) { EXPECT_EQ(mesh.subset_lookup_table.count, 6u); };
    fail_each(push);

    operation lists = {"list", aftermath::as_before};
    lists.run = [](vesk_mesh &mesh)
    {
        vesk_list<unsigned int> copy, &list = mesh.subset_lookup_table;
        copy = list;
        EXPECT_TRUE(copy.data || copy.size + copy.count == 0);
        const unsigned int before = copy.count;
        copy.push_back(copy.data ? copy[1] : 0); // its own element
        const bool has_grown = copy.data && copy.count == before + 1 && copy[before] == list[1];
        copy.set_size(100);
        return int(before == 6 && has_grown && copy.size == 100);
    };
    lists.prepare = fill_up;
    fail_each(lists);

    operation copies = {"field copies", aftermath::as_before};
    copies.prepare = [](vesk_mesh &mesh)
    {
        mesh.generate_render_index_array();
        sort_colors(mesh);
    };
    copies.run = [](vesk_mesh &mesh)
    {
        const vesk_mesh constructed(mesh);
        vesk_mesh assigned;
        assigned = mesh;
        allocation_failed(); // from here on all of them work
        EXPECT_TRUE(constructed.vertex_array == mesh.vertex_array &&
                    assigned.vertex_array == mesh.vertex_array);
        bool is_whole = true;
        for (const vesk_mesh *copy : {&constructed, const_cast<const vesk_mesh *>(&assigned)})
        {
            // A channel that one list names and another does not would be read from a null.
            EXPECT_EQ(copy->uv_channel_counts.count, copy->uv_channel_arrays.count);
            EXPECT_EQ(copy->uv_index_arrays.count, copy->uv_channel_arrays.count);
            is_whole = is_whole && copy->subset_lookup_table.count == 6 &&
                       copy->uv_channel_arrays.count == 2 && copy->uv_channel_counts.count == 2 &&
                       copy->uv_index_arrays.count == 2 &&
                       copy->render_color_lookup_table.count == 3 &&
                       copy->render_color_lookup_table[0].runs.count > 0;
        }
        return int(is_whole);
    };
    fail_each(copies);
}
