#include "support/bits.h"
#include "support/failing_new.h"
#include "support/fbx_scene.h"
#include "support/mesh_compare.h"
#include "support/mesh_file.h"
#include "vesk/chunk_stream.h"

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <functional>
#include <memory>
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
    /// One for each allocation, null where none is told; for builds whose allocations depend on the
    /// mesh, the ones that can be told.
    messages told;
    std::function<int(vesk_mesh &)> run;
    /// Brings a filled mesh to where the operation begins.
    std::function<void(vesk_mesh &)> prepare = [](vesk_mesh &) {};
    /// Looks at a mesh whose operation failed at allocation `nth`, or right away.
    std::function<void(vesk_mesh &, int nth)> inspect = [](vesk_mesh &, int) {};
    bool may_throw = false;    ///< working arrays of the FBX reader
    bool is_counted = true;    ///< `told` has an entry for each allocation
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
        add(mesh.uv_channel_arrays[c], mesh.uv_channel_counts[c] * 8u);
    for (unsigned int c = 0; c < mesh.uv_index_arrays.count; ++c)
        add(mesh.uv_index_arrays[c], mesh.index_count / 7 * 12u);
    for (unsigned int s = 0; s < mesh.render_color_lookup_table.count; ++s)
        add(mesh.render_color_lookup_table[s].runs.data,
            mesh.render_color_lookup_table[s].runs.count * 12u);
    const unsigned int sizes[] = {mesh.get_octree_size_bytes(),
                                  mesh.get_uv_lookup_quadtree_size_bytes()};
    add(sizes, sizeof(sizes));
    return content;
}

template <typename Node> void collect(const Node *node, std::set<const void *> &records)
{
    if (!node)
        return;
    for (unsigned int i = 0; i < node->triangles.count; ++i)
        records.insert(node->triangles[i]);
    for (const Node *child : node->children)
        collect(child, records);
}

/// How many triangles of the mesh a tree holds, each counted once.
template <typename Node> std::size_t held_triangles(const Node *root)
{
    std::set<const void *> records;
    collect(root, records);
    return records.size();
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

/// Which of `told` were told in the course of a row. Bits, since live storage is being counted.
unsigned int told_bits = 0;

void note_message(const operation &op, const vesk_mesh &mesh)
{
    for (std::size_t i = 0; i < op.told.size() && mesh.error_stack.count > 0; ++i)
        if (op.told[i] && std::wcscmp(op.told[i], mesh.error_stack[0]) == 0)
            told_bits |= 1u << i;
}

bool is_told(const vesk_mesh &mesh, const operation &op, int nth, int result, bool is_exhausted)
{
    if (is_exhausted && mesh.error_stack.count == 0)
        return true; // the message could not be had either
    if (op.is_counted)
        return bool(has_message(mesh, op.told[static_cast<std::size_t>(nth)]));
    if (result != 0)
        return bool(has_message(mesh, nullptr));
    for (const wchar_t *message : op.told)
        if (has_message(mesh, message))
            return true;
    return false;
}

void expect_aftermath(const operation &op, vesk_mesh &mesh, const vesk_mesh &before)
{
    switch (op.after)
    {
    case aftermath::empty:
        EXPECT_TRUE(is_empty_mesh(mesh));
        break;
    case aftermath::half_loaded:
        EXPECT_FALSE(mesh.is_valid());
        EXPECT_TRUE(
            is_empty_mesh(mesh) ||
            (mesh.error_stack.count == 1 && std::wcsncmp(mesh.error_stack[0], L"Comp", 4) == 0) ||
            (mesh.error_stack.count == 0 && mesh.vertex_array));
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
    static mesh_source source = small_source();
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
            EXPECT_TRUE(is_told(mesh, op, nth, result, is_exhausted))
                << result << ": " << messages_of(mesh);
            if (result == -1)
            {
                EXPECT_TRUE(is_empty_mesh(mesh) && has_message(mesh, nullptr));
            }
            else if (result == 0)
                expect_aftermath(op, mesh, before);
            op.inspect(mesh, nth);
            note_message(op, mesh);
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

/// The number of allocations that were made to fail.
int fail_each(const operation &op)
{
    SCOPED_TRACE(op.name);
    std::string reference;
    {
        owned_mesh mesh(small_source());
        op.prepare(mesh);
        EXPECT_EQ(op.run(mesh), 1); // the FBX reader keeps a table from its first load on
        reference = content_of(mesh);
    }
    told_bits = 0;
    int points = 0;
    for (const bool is_exhausted : {false, true})
        for (int nth = 0;; ++nth)
        {
            SCOPED_TRACE(std::string(is_exhausted ? "from " : "at ") + std::to_string(nth));
            if (op.is_counted && static_cast<std::size_t>(nth) > op.told.size())
            {
                ADD_FAILURE() << "more allocations than messages";
                break;
            }
            if (!fails_at(op, nth, is_exhausted, reference))
            {
                EXPECT_TRUE(!op.is_counted || static_cast<std::size_t>(nth) == op.told.size());
                break;
            }
            ++points;
        }
    for (std::size_t i = 0; i < op.told.size(); ++i)
        EXPECT_TRUE(!op.told[i] || (told_bits >> i & 1)) << "never told: " << i;
    return points;
}

class operation_table
{
public:
    /// The caller adds what the row has beyond this.
    operation &add(const char *name, aftermath after, const messages &told,
                   const std::function<int(vesk_mesh &)> &run)
    {
        rows.emplace_back();
        operation &row = rows.back();
        row.name = name;
        row.after = after;
        row.told = told;
        row.run = run;
        return row;
    }

    void run() const
    {
        int points = 0;
        for (const operation &op : rows)
        {
            const int of_this = fail_each(op);
            std::printf("%-44s %5d\n", op.name, of_this);
            points += of_this;
        }
        std::printf("%-44s %5d\n", "allocations made to fail", points);
        testing::Test::RecordProperty("allocation_points", points);
    }

private:
    std::vector<operation> rows;
};

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
constexpr const wchar_t *no_tangents =
    L"Memory Allocation Error: Failed to allocate tangent array.";
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

    // Three lists, then two arrays for each channel.
    const messages of_channels = {create_uvs,        create_uvs, create_uvs,       create_uvs,
                                  create_uv_indices, create_uvs, create_uv_indices};
    const auto with_channels = [&of_channels](messages first)
    {
        first.insert(first.end(), of_channels.begin(), of_channels.end());
        return first;
    };
    operation_table table;
    table.add("create(counts)", aftermath::empty, with_channels({create_vertices, create_indices}),
              [&](vesk_mesh &mesh)
              {
                  const int result = mesh.create(from.vertex_count(), from.index_count(), uv_data);
                  for (unsigned int w = 0; w < mesh.index_count; ++w) // the host's to write
                      if (w % 7 < 3 || w % 7 == 6)
                          mesh.index_array[w] = from.indices[w];
                  return result;
              });
    table.add("create(arrays)", aftermath::empty,
              with_channels({create_vertices, create_indices, create_subsets}),
              [&](vesk_mesh &mesh)
              {
                  return mesh.create(from.vertices.data(), from.indices.data(), from.vertex_count(),
                                     from.index_count(), uv_data, subsets);
              });
    table.add("create(mesh)", aftermath::empty,
              with_channels({create_vertices, create_indices, create_subsets,
                             L"Memory Allocation Error: Failed to allocate mesh tangent array."}),
              [&](vesk_mesh &mesh) { return mesh.create(other); });

    operation &lent = table.add("set_instance_geometry", aftermath::complete, {nullptr},
                                [&](vesk_mesh &mesh)
                                {
                                    mesh.set_instance_geometry(
                                        lender.vertex_array, lender.uv_array, lender.index_array,
                                        lender.vertex_count, lender.uv_count, lender.index_count,
                                        lender.subset_lookup_table);
                                    return 1;
                                });
    lent.inspect = [&](vesk_mesh &mesh, int)
    {
        EXPECT_EQ(mesh.get_subset_count(), 0u);
        EXPECT_EQ(mesh.vertex_array, lender.vertex_array);
        EXPECT_EQ(mesh.instance_geometry, 1);
    };
    table.run();
}

TEST(AllocationFaults, Files)
{
    const wchar_t *const vertices = L"Memory Allocation Error: Failed allocate vertex array.";
    const wchar_t *const uvs = L"Memory Allocation Error: Failed allocate uv array.";
    const wchar_t *const uv_indices = L"Memory Allocation Error: Failed allocate uv index array.";
    const wchar_t *const indices = L"Memory Allocation Error: Failed allocate index array.";
    const wchar_t *const tangents = L"Memory Allocation Error: Failed allocate tangent array.";
    owned_mesh mesh(small_source());
    test_random random(3);
    add_random_tangents(mesh, random, mesh.index_count / 7 * 3);
    const temp_file plain, packed, old;
    plain.set_bytes(saved(mesh, 0));
    packed.set_bytes(saved(mesh, 1));
    old.set_bytes(legacy_bytes(mesh));

    // The lists of channels count as their arrays; the subset table grows by 1, 2, 4, 8.
    const messages of_plain = {uvs, vertices,   indices,  uvs,     uv_indices, uvs,     uv_indices,
                               uvs, uv_indices, tangents, indices, indices,    indices, indices};
    const messages of_packed = {
        uvs,
        vertices,
        indices,
        uvs,
        uv_indices,
        uvs,
        uv_indices,
        uvs,
        uv_indices,
        tangents,
        L"Compression Error: Failed to decompress vertices from file.",
        L"Compression Error: Failed to decompress uv arrays from file.",
        L"Compression Error: Failed to decompress uv arrays from file.",
        L"Compression Error: Failed to decompress uv index arrays from file.",
        L"Compression Error: Failed to decompress uv index arrays from file.",
        L"Compression Error: Failed to decompress indices from file.",
        indices,
        indices,
        indices,
        indices,
        L"Compression Error: Failed to decompress tangents from file."};
    const messages of_old = {vertices, uvs,      uv_indices, uvs,     uvs,     uv_indices,
                             indices,  tangents, indices,    indices, indices, indices};
    operation_table table;
    table.add("load_binary, plain", aftermath::empty, of_plain,
              [&](vesk_mesh &to) { return to.load_binary(plain.wide()); });
    table.add("load_binary, compressed", aftermath::half_loaded, of_packed,
              [&](vesk_mesh &to) { return to.load_binary(packed.wide()); });
    table.add("load_binary, first layout", aftermath::empty, of_old,
              [&](vesk_mesh &to) { return to.load_binary(old.wide()); });

    const wchar_t *const save_uvs = L"Compression Error: Failed to compress uv arrays to file.";
    const wchar_t *const save_uv_indices =
        L"Compression Error: Failed to compress uv indices to file.";
    const temp_file target;
    table
        .add("save_binary, compressed", aftermath::as_before,
             {L"Compression Error: Failed to compress vertices to file.", save_uvs, save_uvs,
              save_uv_indices, save_uv_indices,
              L"Compression Error: Failed to compress indices to file.",
              L"Compression Error: Failed to compress tangents to file."},
             [&](vesk_mesh &from) { return from.save_binary(target.wide(), 1); })
        .prepare = [](vesk_mesh &from) { from.generate_tangents(); };
    table.add("save_binary, plain", aftermath::as_before, {},
              [&](vesk_mesh &from) { return from.save_binary(target.wide(), 0); });

    table.add("chunk stream", aftermath::as_before, {nullptr, nullptr},
              [&](vesk_mesh &from)
              {
                  std::FILE *const file = std::tmpfile();
                  unsigned char bytes[24] = {};
                  int result = vesk_compress_bytes_to_file_lz4(from.vertex_array, 24, file);
                  EXPECT_EQ(std::ftell(file) > 0, result == 1);
                  std::rewind(file);
                  if (result == 1)
                      result = vesk_decompress_bytes_from_file_lz4(bytes, 24, file);
                  EXPECT_EQ(std::memcmp(bytes, static_cast<void *>(from.vertex_array), 24) == 0,
                            result == 1);
                  std::fclose(file);
                  return result;
              });
    table.run();
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

    operation_table table;
    std::vector<std::unique_ptr<temp_file>> files;
    const auto name_of = [](const fbx_encoding &encoding)
    {
        return encoding.text       ? "load_from_file, text"
               : encoding.deflated ? "load_from_file, deflated"
                                   : "load_from_file, binary";
    };
    for (const fbx_encoding &encoding : all_fbx_encodings())
    {
        files.push_back(std::make_unique<temp_file>());
        const std::string bytes = scene.write(encoding);
        files.back()->set_bytes(byte_vector(bytes.begin(), bytes.end()));
        const wchar_t *const path = files.back()->wide();
        operation &row =
            table.add(name_of(encoding), aftermath::empty,
                      {create_indices, create_vertices,
                       L"Memory Allocation Error: Failed to allocate mesh uv array.",
                       L"Memory Allocation Error: Failed to allocate mesh uv index array.",
                       // Of the reader below the import.
                       L"Failed to initialize FBX importer.",
                       L"Failed to import FBX. Import(fbx_scene) failed.",
                       L"Failed to triangulate fbx_mesh."},
                      [path](vesk_mesh &mesh) { return mesh.load_from_file(path); });
        row.may_throw = true;
        row.is_counted = false;
    }
    table.run();
}

TEST(AllocationFaults, Deriving)
{
    operation_table table;
    const messages of_tangents = {no_tangents,
                                  L"Memory Allocation Error: Failed to allocate bi_normal array."};
    const auto has_no_tangents = [](vesk_mesh &mesh, int)
    {
        EXPECT_EQ(mesh.tangent_array, nullptr);
        EXPECT_EQ(mesh.tangent_count, 0u);
    };
    table
        .add("generate_tangents", aftermath::as_before, of_tangents,
             [](vesk_mesh &mesh) { return mesh.generate_tangents(); })
        .inspect = has_no_tangents;
    operation &again =
        table.add("generate_tangents over old ones", aftermath::complete, of_tangents,
                  [](vesk_mesh &mesh) { return mesh.generate_tangents(); });
    again.prepare = [](vesk_mesh &mesh) { mesh.generate_tangents(); };
    again.inspect = has_no_tangents; // the old ones go in any case
    operation &rotate = table.add("rotate", aftermath::complete, of_tangents,
                                  [](vesk_mesh &mesh)
                                  {
                                      mesh.rotate(vesk_vector3(1.0f, 2.0f, 3.0f));
                                      return 1;
                                  });
    rotate.can_repeat = false;
    rotate.inspect = [&](vesk_mesh &mesh, int nth)
    {
        has_no_tangents(mesh, nth);
        owned_mesh turned(small_source());
        turned.rotate(vesk_vector3(1.0f, 2.0f, 3.0f));
        turned.free_tangents();
        EXPECT_TRUE(same_mesh(mesh, turned));
    };

    // Normals are the same, memory or not.
    owned_mesh smooth(small_source());
    smooth.generate_normals();
    operation &normals = table.add("generate_normals", aftermath::complete, {},
                                   [](vesk_mesh &mesh)
                                   {
                                       mesh.generate_normals();
                                       return 1;
                                   });
    normals.is_counted = false;
    normals.always_works = true;
    normals.can_repeat = false;
    normals.inspect = [&](vesk_mesh &mesh, int) { EXPECT_TRUE(same_mesh(mesh, smooth)); };

    table
        .add("generate_render_index_array", aftermath::as_before,
             {L"Memory Allocation Error: Failed to allocate mesh render index array."},
             [](vesk_mesh &mesh) { return mesh.generate_render_index_array(); })
        .inspect = [](vesk_mesh &mesh, int) { EXPECT_EQ(mesh.render_index_array, nullptr); };

    vesk_list<unsigned long> colors;
    for (unsigned int i = 0; i < 40; ++i)
        colors.push_back(i % 7);
    operation &sort =
        table.add("sort_render_index_by_subset_color", aftermath::as_before, {nullptr},
                  [&](vesk_mesh &mesh) { return mesh.sort_render_index_by_subset_color(colors); });
    sort.is_counted = false;
    sort.prepare = [&](vesk_mesh &mesh)
    {
        mesh.generate_render_index_array();
        mesh.sort_render_index_by_subset_color(colors);
    };
    sort.inspect = [](vesk_mesh &mesh, int)
    {
        owned_mesh fresh(small_source());
        fresh.generate_render_index_array();
        EXPECT_EQ(content_of(mesh), content_of(fresh)); // in record order, and no table
        EXPECT_EQ(mesh.render_color_lookup_table.count, 0u);
    };
    table.run();
}

TEST(AllocationFaults, Trees)
{
    vesk_list<unsigned int> first_two;
    assign_list(first_two, {0u, 1u});
    owned_mesh model(small_source());
    const std::size_t of_two = model.subset_lookup_table[1] + model.subset_lookup_table[3];
    operation_table table;
    for (const vesk_list<unsigned int> *subsets : {(vesk_list<unsigned int> *)nullptr, &first_two})
    {
        const std::size_t expected = subsets ? of_two : 40u;
        const messages of_octree = {
            L"Memory Allocation Error: Failed to allocate octree root node."};
        operation &octree = table.add(subsets ? "generate_octree, subsets" : "generate_octree",
                                      aftermath::as_before, of_octree,
                                      [subsets](vesk_mesh &mesh)
                                      { return mesh.generate_octree(5, subsets, nullptr); });
        octree.is_counted = false;
        octree.inspect = [expected](vesk_mesh &mesh, int)
        {
            // A failure costs depth somewhere, or the tree, and never a triangle.
            EXPECT_TRUE(!mesh.octree || held_triangles(mesh.octree) == expected);
        };

        const messages of_quadtree = {
            L"Memory Allocation Error: Failed to allocate uv lookup vertex array.",
            L"Memory Allocation Error: Failed to allocate uv lookup index array.",
            L"Memory Allocation Error: Failed to allocate quadtree root node."};
        operation &quadtree = table.add(
            subsets ? "generate_uv_lookup_quadtree, subsets" : "generate_uv_lookup_quadtree",
            aftermath::as_before, of_quadtree,
            [subsets](vesk_mesh &mesh)
            { return mesh.generate_uv_lookup_quadtree(64, 64, 5, 0, 0, subsets, nullptr); });
        quadtree.is_counted = false;
        quadtree.inspect = [expected](vesk_mesh &mesh, int)
        {
            EXPECT_TRUE(!mesh.uv_lookup_root || held_triangles(mesh.uv_lookup_root) == expected);
            // Without a root the arrays may stay until the next generation.
            EXPECT_TRUE(mesh.uv_lookup_vertex_count == 0 ||
                        (mesh.uv_lookup_vertex_array && mesh.uv_lookup_index_array));
        };
    }
    table.run();
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

    /// Whether each hit here is, with all three of its values, among those.
    bool is_part_of(const hit_lists &all) const
    {
        if (triangles.count != distances.count || barycentrics.count != distances.count)
            return false;
        unsigned int next = 0;
        for (unsigned int i = 0; i < distances.count; ++i, ++next)
        {
            while (next < all.distances.count &&
                   !(all.triangles[next] == triangles[i] &&
                     same_bits(all.distances[next], distances[i]) &&
                     same_bits(all.barycentrics[next], barycentrics[i])))
                ++next;
            if (next >= all.distances.count)
                return false;
        }
        return true;
    }
};
} // namespace

TEST(AllocationFaults, Queries)
{
    operation_table table;
    for (const bool is_line : {false, true})
    {
        operation &query =
            table.add(is_line ? "is_line_intersect, all hits" : "is_ray_intersect, all hits",
                      aftermath::complete, {},
                      [is_line](vesk_mesh &mesh)
                      {
                          hit_lists hits;
                          const int result = hits.ask(mesh, is_line);
                          allocation_failed(); // from here on all of them work
                          hit_lists all;
                          all.ask(mesh, is_line);
                          EXPECT_GT(all.distances.count, 2u);
                          EXPECT_TRUE(hits.is_part_of(all));
                          return result;
                      });
        query.is_counted = false;
        query.always_works = true;
        query.prepare = [](vesk_mesh &mesh) { mesh.generate_octree(2, nullptr, nullptr); };
    }
    table.run();
}

TEST(AllocationFaults, ListsAndFieldCopies)
{
    operation_table table;
    const auto fill_up = [](vesk_mesh &mesh) { mesh.subset_lookup_table.trim(); };
    operation &push = table.add("add_subset_lookup_table_entry", aftermath::complete, {nullptr},
                                [](vesk_mesh &mesh)
                                {
                                    mesh.add_subset_lookup_table_entry(7, 9);
                                    return 1;
                                });
    push.prepare = fill_up;
    push.inspect = [](vesk_mesh &mesh, int) { EXPECT_EQ(mesh.subset_lookup_table.count, 6u); };

    operation &grow = table.add("list: push_back", aftermath::as_before, {nullptr},
                                [](vesk_mesh &mesh)
                                {
                                    vesk_list<unsigned int> &list = mesh.subset_lookup_table;
                                    list.push_back(list[1]); // its own element
                                    return int(list.count == 7 && list[6] == list[1]);
                                });
    grow.prepare = fill_up;
    table.add("list: set_size", aftermath::as_before, {nullptr},
              [](vesk_mesh &mesh)
              {
                  mesh.subset_lookup_table.set_size(100);
                  return int(mesh.subset_lookup_table.size == 100);
              });
    table.add("list: assignment", aftermath::as_before, {nullptr},
              [](vesk_mesh &mesh)
              {
                  vesk_list<unsigned int> copy;
                  copy = mesh.subset_lookup_table;
                  EXPECT_TRUE(copy.data || copy.size + copy.count == 0);
                  return int(copy.count == 6);
              });

    const auto has_all = [](const vesk_mesh &copy, const vesk_mesh &mesh)
    {
        return copy.subset_lookup_table.count == mesh.subset_lookup_table.count &&
               copy.uv_channel_arrays.count == 2 && copy.uv_channel_counts.count == 2 &&
               copy.uv_index_arrays.count == 2 && copy.render_color_lookup_table.count == 3 &&
               copy.render_color_lookup_table[0].runs.count > 0;
    };
    const auto sort = [](vesk_mesh &mesh)
    {
        vesk_list<unsigned long> colors;
        for (unsigned int i = 0; i < 40; ++i)
            colors.push_back(i % 2);
        mesh.generate_render_index_array();
        mesh.sort_render_index_by_subset_color(colors);
    };
    operation &construct = table.add("copy constructor", aftermath::as_before, {},
                                     [&](vesk_mesh &mesh)
                                     {
                                         const vesk_mesh copy(mesh);
                                         EXPECT_EQ(copy.vertex_array, mesh.vertex_array);
                                         return int(has_all(copy, mesh));
                                     });
    construct.told = {nullptr};
    construct.is_counted = false;
    construct.prepare = sort;
    operation &assign = table.add("operator=", aftermath::as_before, {nullptr},
                                  [&](vesk_mesh &mesh)
                                  {
                                      vesk_mesh copy;
                                      copy = mesh;
                                      EXPECT_EQ(copy.vertex_array, mesh.vertex_array);
                                      return int(has_all(copy, mesh));
                                  });
    assign.is_counted = false;
    assign.prepare = sort;
    table.run();
}
