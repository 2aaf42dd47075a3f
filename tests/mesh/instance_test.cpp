#include "support/mesh_builder.h"
#include "support/mesh_compare.h"

#include <functional>

namespace
{
/// Everything that a mesh can lend, in memory of the test: a write by the library changes it and
/// a release of it is a fault that the sanitizers and the heap report.
struct lender
{
    owned_mesh mesh; // an ordinary mesh; its arrays and the ones below are lent
    std::vector<vesk_mesh_tangent_s> tangents;
    std::vector<vesk_vector3> lookup_vertices;
    std::vector<unsigned int> lookup_indices;
    alignas(16) unsigned char nodes[2][256] = {}; // two nodes without children or triangles
    const vesk_uv_lookup_node_s *lookup_root = reinterpret_cast<vesk_uv_lookup_node_s *>(nodes[0]);
    const vesk_octree_node_s *octree_root = reinterpret_cast<vesk_octree_node_s *>(nodes[1]);

    owned_mesh reference; // what the mesh looked like before it lent anything

    explicit lender(const mesh_source &source)
        : mesh(source)
        , tangents(source.triangle_count() * 3)
        , lookup_vertices(3, vesk_vector3(1.0f, 2.0f, 3.0f))
        , lookup_indices(7, 0)
        , reference(source)
    {
        for (vesk_mesh_tangent_s &record : tangents)
            record.tangent.z = record.handedness = 1.0f;
    }

    void lend_everything(vesk_mesh &borrower) const
    {
        lend_geometry(mesh, borrower);
        borrower.set_instance_tangents(tangents.data(), static_cast<unsigned int>(tangents.size()));
        borrower.set_instance_uv_lookup_quadtree(lookup_vertices.data(), lookup_indices.data(), 3,
                                                 7, lookup_root, 64, 32);
        borrower.set_instance_octree(octree_root);
    }

    void expect_untouched() const
    {
        EXPECT_TRUE(same_mesh(mesh, reference));
        for (const vesk_mesh_tangent_s &record : tangents)
            ASSERT_TRUE(record.tangent.z == 1.0f && record.handedness == 1.0f);
        EXPECT_EQ(lookup_vertices[2].z, 3.0f);
        for (const unsigned char byte : nodes[0])
            ASSERT_EQ(byte, 0);
        for (const unsigned char byte : nodes[1])
            ASSERT_EQ(byte, 0);
    }
};

int flags_of(const vesk_mesh &mesh)
{
    return mesh.instance_geometry | mesh.instance_tangents << 1 | mesh.instance_uv_lookup << 2 |
           mesh.instance_octree << 3;
}
} // namespace

TEST(MeshInstance, ShowsWhatItBorrows)
{
    mesh_source source = displaced_sphere(100, 2);
    split_subsets(source, 3);
    const lender from(source);
    owned_mesh borrower;
    from.lend_everything(borrower);

    EXPECT_EQ(flags_of(borrower), 15);
    EXPECT_EQ(borrower.is_valid(), 1);
    EXPECT_TRUE(borrower.get_vertex_array() == from.mesh.get_vertex_array() &&
                borrower.get_uv_array() == from.mesh.get_uv_array() &&
                borrower.get_index_array() == from.mesh.get_index_array());
    EXPECT_EQ(borrower.get_uv_count(), from.mesh.get_uv_count());
    EXPECT_EQ(borrower.get_tangent_array(), from.tangents.data());
    EXPECT_EQ(borrower.get_tangent_count(), source.triangle_count() * 3);
    EXPECT_EQ(borrower.get_octree(), from.octree_root);
    EXPECT_EQ(borrower.get_subset_count(), 3u);
    EXPECT_NE(borrower.subset_lookup_table.data, from.mesh.subset_lookup_table.data);
    EXPECT_TRUE(borrower.bounding_box_min == from.mesh.bounding_box_min);
    EXPECT_TRUE(borrower.bounding_box_max == from.mesh.bounding_box_max);
    EXPECT_EQ(borrower.get_uv_channel_count(), 1u);
    EXPECT_EQ(borrower.uv_channel_arrays.count, 0u);

    const vesk_vector3 *vertices;
    const unsigned int *indices;
    const vesk_uv_lookup_node_s *root;
    unsigned int vertex_count, index_count, width, height;
    borrower.get_uv_lookup_quadtree(&vertices, &indices, vertex_count, index_count, &root, width,
                                    height);
    EXPECT_TRUE(vertices == from.lookup_vertices.data() && indices == from.lookup_indices.data() &&
                root == from.lookup_root);
    EXPECT_TRUE(vertex_count == 3 && index_count == 7 && width == 64 && height == 32);
}

TEST(MeshInstance, NoOperationWritesOrReleasesWhatIsBorrowed)
{
    mesh_source source = displaced_sphere(50, 2);
    const lender from(source);
    mesh_source other_source = grid(1, 1);
    const vesk_list<unsigned int> no_subsets;

    struct row
    {
        const char *what;
        std::function<void(vesk_mesh &)> operation;
        int flags; // afterwards
    };
    const row rows[] = {
        {"free", [](vesk_mesh &m) { m.free(); }, 0},
        {"create", [&](vesk_mesh &m) { other_source.fill(m); }, 0},
        {"create a copy", [&](vesk_mesh &m) { m.create(from.mesh); }, 0},
        {"create from itself", [](vesk_mesh &m) { m.create(m); }, 0},
        {"borrow nothing",
         [&](vesk_mesh &m)
         {
             m.set_instance_geometry(nullptr, nullptr, nullptr, 9, 9, 7, no_subsets);
             EXPECT_EQ(m.is_valid(), 0);
         },
         1},
        {"borrow tangents again",
         [&](vesk_mesh &m) { m.set_instance_tangents(from.tangents.data(), 3); }, 15},
        {"borrow no octree", [](vesk_mesh &m) { m.set_instance_octree(nullptr); }, 15},
        {"free_tangents", [](vesk_mesh &m) { m.free_tangents(); }, 13},
        {"free_uv_lookup_quadtree", [](vesk_mesh &m) { m.free_uv_lookup_quadtree(); }, 11},
        {"free_octree", [](vesk_mesh &m) { m.free_octree(); }, 7},
        {"set_uv_channel",
         [](vesk_mesh &m)
         {
             m.set_uv_channel(1);
             EXPECT_EQ(m.get_cur_uv_channel(), 0u);
             EXPECT_EQ(m.cur_uv_channel, 0u);
         },
         15},
        {"transforms",
         [&](vesk_mesh &m)
         {
             m.position(vesk_vector3(1.0f, 2.0f, 3.0f));
             m.scale(2.0f);
             m.scale(vesk_vector3(2.0f, 3.0f, 4.0f));
             m.position_and_scale(vesk_vector3(1.0f, 1.0f, 1.0f), 2.0f);
             m.rotate(vesk_vector3(1.0f, 0.5f, 0.25f));
             vesk_vector3 offset(7, 7, 7);
             float factor = 7;
             m.center_and_enforce_size(5.0f, &offset, &factor);
             EXPECT_TRUE(offset == vesk_vector3(7, 7, 7) && factor == 7);
             EXPECT_TRUE(m.bounding_box_min == from.mesh.bounding_box_min &&
                         m.bounding_box_max == from.mesh.bounding_box_max);
             EXPECT_EQ(m.get_tangent_array(), from.tangents.data());
         },
         15},
        {"generate_normals", [](vesk_mesh &m) { m.generate_normals(); }, 15},
        {"generate_tangents",
         [&](vesk_mesh &m)
         {
             ASSERT_EQ(m.generate_tangents(), 1);
             EXPECT_NE(m.get_tangent_array(), from.tangents.data());
         },
         13},
        {"generate_octree, borrowed",
         [&](vesk_mesh &m)
         {
             EXPECT_EQ(m.generate_octree(3, nullptr, nullptr), 0);
             EXPECT_TRUE(has_message(m, nullptr));
             EXPECT_EQ(m.get_octree(), from.octree_root);
         },
         15},
        {"generate_octree, own",
         [](vesk_mesh &m)
         {
             m.free_octree();
             EXPECT_EQ(m.generate_octree(3, nullptr, nullptr), 1);
         },
         7},
        {"generate_uv_lookup_quadtree",
         [](vesk_mesh &m)
         { EXPECT_EQ(m.generate_uv_lookup_quadtree(16, 16, 3, 0, 0, nullptr, nullptr), 1); },
         11},
        {"render index",
         [&](vesk_mesh &m)
         {
             vesk_list<unsigned long> colors;
             assign_list(colors, std::vector<unsigned long>(source.triangle_count(), 1));
             colors[0] = 2;
             ASSERT_EQ(m.generate_render_index_array(), 1);
             ASSERT_EQ(m.sort_render_index_by_subset_color(colors), 1);
             EXPECT_EQ(m.get_render_index_array()[0], source.indices[7]);
         },
         15},
    };
    for (const row &expected : rows)
    {
        SCOPED_TRACE(expected.what);
        owned_mesh borrower;
        from.lend_everything(borrower);
        expected.operation(borrower);
        EXPECT_EQ(flags_of(borrower), expected.flags);
        from.expect_untouched();
        borrower.free();
        EXPECT_TRUE(is_empty_mesh(borrower));
        from.expect_untouched();
    }
}

TEST(MeshInstance, OwnDataIsReleasedBeforeBorrowing)
{
    mesh_source source = grid(2, 2);
    const lender from(source);
    owned_mesh mesh(source); // what it owns is lost here, or the leak check speaks
    mesh.tangent_count = 2;
    mesh.tangent_array =
        static_cast<vesk_mesh_tangent_s *>(::operator new[](2 * sizeof(vesk_mesh_tangent_s)));
    mesh.set_instance_tangents(from.tangents.data(), 1);
    EXPECT_EQ(flags_of(mesh), 2);
    EXPECT_EQ(mesh.get_tangent_count(), 1u);
    ASSERT_EQ(mesh.generate_render_index_array(), 1);
    lend_geometry(from.mesh, mesh);
    EXPECT_EQ(flags_of(mesh), 1);
    EXPECT_EQ(mesh.get_tangent_array(), nullptr);
    EXPECT_EQ(mesh.get_render_index_count(), 0u);
}

TEST(MeshInstance, DeepCopyOwnsWhatItsSourceShows)
{
    mesh_source source = displaced_sphere(50, 2);
    const lender from(source);
    owned_mesh copy;
    {
        owned_mesh borrower;
        from.lend_everything(borrower);
        ASSERT_EQ(copy.create(borrower), 1);
    }
    EXPECT_EQ(flags_of(copy), 0);
    EXPECT_EQ(copy.get_tangent_count(), source.triangle_count() * 3);
    EXPECT_NE(copy.get_tangent_array(), from.tangents.data());
    EXPECT_EQ(copy.get_octree(), nullptr);

    mesh_source without_channels = source;
    without_channels.channels.clear();
    owned_mesh expected(without_channels);
    copy.free_tangents();
    EXPECT_TRUE(same_mesh(copy, expected));
}
