#include "support/bits.h"
#include "support/failing_new.h"
#include "support/fbx_scene.h"
#include "support/mesh_compare.h"
#include "support/mesh_file.h"

#include <algorithm>
#include <functional>
#include <set>
#include <string>

// One table of all operations that allocate. Each runs with every one of its allocations failing
// once, and again with all that follow failing too. Whatever fails: nothing leaks, no more than one
// message tells it, the mesh is as promised, and the same call works right after.

namespace
{
using messages = std::vector<std::wstring>;

/// Messages that differ in the middle only.
messages each(const std::wstring &head, const std::vector<std::wstring> &parts,
              const std::wstring &tail = L".")
{
    messages all;
    for (const std::wstring &part : parts)
        all.push_back(head + part + tail);
    return all;
}

const std::wstring no_memory = L"Memory Allocation Error: Failed to allocate ";

/// What holds for a mesh after an operation in which an allocation failed; `before` is as it was.
using aftermath = std::function<bool(const vesk_mesh &mesh, const vesk_mesh &before, int result)>;

struct operation
{
    const char *name;
    std::function<int(vesk_mesh &)> run = {};
    aftermath after = {};
    /// What is told, in the order in which the failing allocations bring it up.
    messages told = {};
    /// Brings a filled mesh to where the operation begins.
    std::function<void(vesk_mesh &)> prepare = [](vesk_mesh &) {};
    bool can_repeat = true; ///< a second run gives what the first gave
    bool may_throw = false; ///< working arrays of the FBX reader
};

bool empty(const vesk_mesh &mesh, const vesk_mesh &, int result)
{
    return result == 1 || is_empty_mesh(mesh);
}

/// Empty, or not valid when a chunk stream failed.
bool half_loaded(const vesk_mesh &mesh, const vesk_mesh &, int result)
{
    return result == 1 || (!mesh.is_valid() && (is_empty_mesh(mesh) || mesh.vertex_array));
}

/// Geometry and channels as if the call had not been made.
bool as_before(const vesk_mesh &mesh, const vesk_mesh &before, int result)
{
    return result == 1 || same_mesh(mesh, before);
}

mesh_source small_source()
{
    mesh_source source = random_soup(2, 40, 2);
    split_subsets(source, 3);
    return source;
}

/// Whether two meshes are the same, render index and sizes of trees included.
bool same_content(const vesk_mesh &a, const vesk_mesh &b)
{
    return same_mesh(a, b) && a.get_render_index_count() == b.get_render_index_count() &&
           std::equal(a.render_index_array, a.render_index_array + a.get_render_index_count(),
                      b.render_index_array) &&
           a.render_color_lookup_table.count == b.render_color_lookup_table.count &&
           a.get_octree_size_bytes() == b.get_octree_size_bytes() &&
           a.get_uv_lookup_quadtree_size_bytes() == b.get_uv_lookup_quadtree_size_bytes();
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
    while (i < op.told.size() && !has_message(mesh, op.told[i].c_str()))
        ++i;
    const bool is_known = i < op.told.size() && i <= told_count;
    told_count = std::max(told_count, is_known ? i + 1 : 0);
    return is_known;
}

/// One run with a failure at `nth`. False when the operation has no such allocation.
bool fails_at(const operation &op, int nth, bool is_exhausted, const vesk_mesh &reference)
{
    static const mesh_source source = small_source();
    const long long allocations = live_allocations(), bytes = live_bytes();
    bool failed, has_thrown = false;
    {
        owned_mesh mesh(source), before;
        op.prepare(mesh);
        before.create(mesh);

        is_exhausted ? fail_allocations_from(nth) : fail_allocation(nth);
        int result = 0;
        try
        {
            result = op.run(mesh);
        }
        catch (const std::bad_alloc &)
        {
            has_thrown = true;
        }
        failed = allocation_failed();
        EXPECT_TRUE(result == 1 || failed);
        const bool is_as_promised =
            has_thrown ? op.may_throw && is_empty_mesh(mesh) && has_message(mesh, nullptr)
                       : is_told(mesh, op, result, is_exhausted) && op.after(mesh, before, result);
        EXPECT_TRUE(!failed || is_as_promised) << result << ": " << messages_of(mesh);
        if (failed && op.can_repeat)
        {
            EXPECT_EQ(op.run(mesh), 1);
            EXPECT_TRUE(same_content(mesh, reference)) << "the next call goes wrong";
        }
    }
    EXPECT_EQ(live_allocations(), allocations);
    EXPECT_EQ(live_bytes(), bytes);
    return failed;
}

void fail_each(const operation &op)
{
    SCOPED_TRACE(op.name);
    owned_mesh reference(small_source());
    op.prepare(reference);
    EXPECT_EQ(op.run(reference), 1); // the FBX reader keeps a table from its first load on
    told_count = 0;
    for (const bool is_exhausted : {false, true})
    {
        bool failed = true;
        for (int nth = 0; failed; ++nth)
        {
            SCOPED_TRACE(std::string(is_exhausted ? "from " : "at ") + std::to_string(nth));
            failed = fails_at(op, nth, is_exhausted, reference);
            EXPECT_TRUE(failed || nth > 0) << "it allocates nothing";
        }
    }
    EXPECT_EQ(told_count, op.told.size());
}

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
    fail_each({"create(counts)", create_of_counts, empty,
               each(no_memory,
                    {L"mesh vertex array", L"mesh index array", L"uv array", L" uv index array"})});
    fail_each({"create(arrays)", create_of_arrays, empty,
               each(no_memory, {L"mesh vertex array", L"mesh index array",
                                L"mesh subset lookup table", L"uv array", L" uv index array"})});
    fail_each(
        {"create(mesh)", [&](vesk_mesh &mesh) { return mesh.create(other); }, empty,
         each(no_memory, {L"mesh vertex array", L"mesh index array", L"mesh subset lookup table",
                          L"mesh tangent array", L"uv array", L" uv index array"})});
    fail_each({"set_instance_geometry",
               [&](vesk_mesh &mesh)
               {
                   lend_geometry(lender, mesh);
                   return 1;
               },
               [&](const vesk_mesh &mesh, const vesk_mesh &, int)
               {
                   return mesh.get_subset_count() == 0 && mesh.instance_geometry == 1 &&
                          mesh.vertex_array == lender.vertex_array;
               }});
}

TEST(AllocationFaults, MeshFiles)
{
    owned_mesh mesh(small_source());
    test_random random(3);
    add_random_tangents(mesh, random, mesh.index_count / 7 * 3);
    const temp_file plain, packed, old, target;
    plain.set_bytes(saved(mesh, 0));
    packed.set_bytes(saved(mesh, 1));
    old.set_bytes(legacy_bytes(mesh));

    const auto load = [](const temp_file &file)
    { return [&file](vesk_mesh &m) { return m.load_binary(file.wide()); }; };
    const std::wstring no_room = L"Memory Allocation Error: Failed allocate ";
    const messages of_plain = each(no_room, {L"uv array", L"vertex array", L"index array",
                                             L"uv index array", L"tangent array"});
    messages of_packed = each(
        L"Compression Error: Failed to decompress ",
        {L"vertices", L"uv arrays", L"uv index arrays", L"indices", L"tangents"}, L" from file.");
    of_packed.insert(of_packed.begin(), of_plain.begin(), of_plain.end());
    fail_each({"load_binary, plain", load(plain), empty, of_plain});
    fail_each({"load_binary, compressed", load(packed), half_loaded, of_packed});
    fail_each({"load_binary, first layout", load(old), empty,
               each(no_room, {L"vertex array", L"uv array", L"uv index array", L"index array",
                              L"tangent array"})});
    // Without compression nothing is allocated.
    const auto save = [&](vesk_mesh &m) { return m.save_binary(target.wide(), 1); };
    fail_each(
        {"save_binary, compressed", save, as_before,
         each(L"Compression Error: Failed to compress ",
              {L"vertices", L"uv arrays", L"uv indices", L"indices", L"tangents"}, L" to file."),
         [](vesk_mesh &m) { m.generate_tangents(); }});
}

TEST(AllocationFaults, FbxImport)
{
    // A polygon to triangulate, UVs, normals, and one mesh shown twice.
    fbx_mesh_source polygon;
    polygon.points = {0.0, 0.0, 0.0, 1.0, 0.0, 0.25, 2.0, 1.5, 1.0, 3.0, 1.5, 2.25, 0.0, 3.0, 4.0};
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
        operation load = {"load_from_file"};
        load.run = [&file](vesk_mesh &mesh) { return mesh.load_from_file(file.wide()); };
        load.after = empty;
        load.told = each(L"", {L"Failed to initialize FBX importer", // the reader below the import
                               L"Failed to import FBX. Import(fbx_scene) failed",
                               L"Failed to triangulate fbx_mesh", no_memory + L"mesh index array",
                               no_memory + L"mesh uv array", no_memory + L"mesh uv index array",
                               no_memory + L"mesh vertex array"});
        load.may_throw = true;
        fail_each(load);
    }
}

TEST(AllocationFaults, Deriving)
{
    const auto derive = [](vesk_mesh &mesh) { return mesh.generate_tangents(); };
    const auto index = [](vesk_mesh &mesh) { return mesh.generate_render_index_array(); };
    const auto turn = [](vesk_mesh &mesh)
    {
        mesh.rotate(vesk_vector3(1.0f, 2.0f, 3.0f));
        return 1;
    };
    const auto smoothen = [](vesk_mesh &mesh)
    {
        mesh.generate_normals();
        return 1;
    };
    const auto grow = [](vesk_mesh &mesh) // few vertices would do without any memory
    { random_soup(3, 200).fill(mesh); };
    const auto looks_like = [](const vesk_mesh &wanted)
    {
        return [&wanted](const vesk_mesh &mesh, const vesk_mesh &, int)
        { return same_content(mesh, wanted); };
    };
    owned_mesh plain(small_source()), turned(small_source()), smooth(random_soup(3, 200)),
        indexed(small_source());
    turn(turned);
    turned.free_tangents();
    smoothen(smooth);
    index(indexed);

    fail_each({"generate_tangents", derive, looks_like(plain),
               each(no_memory, {L"tangent array", L"bi_normal array"}),
               derive}); // the old ones go in any case
    fail_each({"rotate", turn, looks_like(turned),
               each(no_memory, {L"tangent array", L"bi_normal array"}), [](vesk_mesh &) {}, false});
    fail_each({"generate_normals", smoothen, looks_like(smooth), {}, grow}); // memory or not
    fail_each({"generate_render_index_array", index, looks_like(plain),
               each(no_memory, {L"mesh render index array"})});
    fail_each({"sort_render_index_by_subset_color",
               sort_colors,
               looks_like(indexed), // in record order, and no table
               {},
               [&](vesk_mesh &mesh)
               {
                   index(mesh);
                   sort_colors(mesh);
               }});
}

namespace
{
/// Gathers the records below a node. Whether no list has one twice.
template <typename Node> bool collect(const Node *node, std::set<const void *> &records)
{
    if (!node)
        return true;
    const auto &list = node->triangles;
    const std::set<const void *> listed(list.data, list.data + list.count);
    bool is_once = listed.size() == list.count;
    records.insert(listed.begin(), listed.end());
    for (const Node *child : node->children)
        is_once = collect(child, records) && is_once;
    return is_once;
}

/// There is no tree, or one that holds so many triangles of the mesh: a failure costs depth
/// somewhere, or the tree, and never a triangle.
template <typename Node> aftermath is_whole(Node *vesk_mesh::*root, std::size_t triangle_count)
{
    return [=](const vesk_mesh &mesh, const vesk_mesh &before, int result)
    {
        std::set<const void *> records;
        return collect<Node>(mesh.*root, records) &&
               (result == 1 ? records.size() == triangle_count : !(mesh.*root)) &&
               // Without a root the arrays of the lookup may stay until the next generation.
               (mesh.uv_lookup_vertex_count == 0 ||
                (mesh.uv_lookup_vertex_array && mesh.uv_lookup_index_array)) &&
               as_before(mesh, before, result);
    };
}
} // namespace

TEST(AllocationFaults, Trees)
{
    // So often that the memory which finds repeats is an allocation of its own.
    vesk_list<unsigned int> first_two;
    for (unsigned int i = 0; i < 32; ++i)
        first_two.push_back(i % 2);
    for (const vesk_list<unsigned int> *subsets : {(vesk_list<unsigned int> *)nullptr, &first_two})
    {
        const std::size_t held = subsets ? 26 : 40;
        fail_each({"generate_octree",
                   [=](vesk_mesh &mesh) { return mesh.generate_octree(5, subsets, nullptr); },
                   is_whole(&vesk_mesh::octree, held), each(no_memory, {L"octree root node"})});
        fail_each({"generate_uv_lookup_quadtree",
                   [=](vesk_mesh &mesh)
                   { return mesh.generate_uv_lookup_quadtree(64, 64, 5, 0, 0, subsets, nullptr); },
                   is_whole(&vesk_mesh::uv_lookup_root, held),
                   each(no_memory, {L"uv lookup vertex array", L"uv lookup index array",
                                    L"quadtree root node"})});
    }
}

TEST(AllocationFaults, Queries)
{
    operation query = {"all hits"};
    query.run = [](vesk_mesh &mesh)
    {
        vesk_list<float> distances[2];
        vesk_list<vesk_octree_triangle_s *> triangles[2];
        vesk_list<vesk_vector2> barycentrics[2];
        int result = 0;
        for (int all = 0; all < 2; ++all)
        {
            result += mesh.is_ray_intersect(vesk_vector3(0.1f, -0.2f, -5.0f),
                                            vesk_vector3(0.0f, 0.0f, 1.0f), distances[all],
                                            triangles[all], barycentrics[all], nullptr);
            allocation_failed(); // from here on all of them work
        }
        EXPECT_GT(distances[1].count, 2u);
        // Each hit that is there is so with all three of its values, and in order.
        unsigned int found = 0;
        for (unsigned int i = 0; i < distances[1].count && found < distances[0].count; ++i)
            found += triangles[1][i] == triangles[0][found] &&
                     same_bits(distances[1][i], distances[0][found]) &&
                     same_bits(barycentrics[1][i], barycentrics[0][found]);
        EXPECT_TRUE(distances[0].count == found && triangles[0].count == found &&
                    barycentrics[0].count == found);
        return result - 1;
    };
    query.after = [](const vesk_mesh &, const vesk_mesh &, int result) { return result == 1; };
    query.prepare = [](vesk_mesh &mesh) { mesh.generate_octree(2, nullptr, nullptr); };
    fail_each(query);
}

TEST(AllocationFaults, ListsAndFieldCopies)
{
    const auto fill_up = [](vesk_mesh &mesh) { mesh.subset_lookup_table.trim(); };
    fail_each({"add_subset_lookup_table_entry",
               [](vesk_mesh &mesh)
               {
                   mesh.add_subset_lookup_table_entry(7, 9);
                   return 1;
               },
               [](const vesk_mesh &mesh, const vesk_mesh &, int)
               { return mesh.subset_lookup_table.count == 6; },
               {},
               fill_up});

    const auto change_copy = [](vesk_mesh &mesh)
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
    fail_each({"list", change_copy, as_before, {}, fill_up});

    const auto copy_fields = [](vesk_mesh &mesh)
    {
        const vesk_mesh constructed(mesh);
        vesk_mesh assigned;
        assigned = mesh;
        allocation_failed(); // from here on all of them work
        bool is_whole = true;
        for (const vesk_mesh *copy : {&constructed, const_cast<const vesk_mesh *>(&assigned)})
        {
            EXPECT_EQ(copy->vertex_array, mesh.vertex_array);
            // A channel that one list names and another does not would be read from a null.
            EXPECT_EQ(copy->uv_channel_counts.count, copy->uv_channel_arrays.count);
            EXPECT_EQ(copy->uv_index_arrays.count, copy->uv_channel_arrays.count);
            is_whole = is_whole && copy->subset_lookup_table.count == 6 &&
                       copy->uv_channel_arrays.count == 2 &&
                       copy->render_color_lookup_table.count == 3 &&
                       copy->render_color_lookup_table[0].runs.count > 0;
        }
        return int(is_whole);
    };
    fail_each({"field copies",
               copy_fields,
               as_before,
               {},
               [](vesk_mesh &mesh)
               {
                   mesh.generate_render_index_array();
                   sort_colors(mesh);
               }});
}
