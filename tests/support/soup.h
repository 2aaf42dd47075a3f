#pragma once

#include "support/mesh_builder.h"

#include <limits>
#include <memory>
#include <vector>

/// @file
/// Triangle soups that are hard on queries, and trees over them that no builder of the library
/// made.

/// How a soup's corners are chosen.
enum class soup_kind
{
    scattered,  ///< triangles of all sizes anywhere in the box of two units about the origin
    clustered,  ///< small triangles close together
    gridded,    ///< corners on whole and half numbers: rays run along edges and through corners
    degenerate, ///< points, slivers and copies among ordinary triangles
    special     ///< NaN, infinities, zeros of both signs, denormal and huge coordinates
};

constexpr soup_kind all_soup_kinds[] = {soup_kind::scattered, soup_kind::clustered,
                                        soup_kind::gridded, soup_kind::degenerate,
                                        soup_kind::special};

/// Random numbers of the kinds that the tests want; the seed decides everything.
class dice : public test_random
{
public:
    using test_random::test_random;

    vesk_vector3 point(float reach)
    {
        return test_random::point(-reach, reach);
    }

    /// A float that breaks careless code, or now and then an ordinary one.
    float special()
    {
        using limits = std::numeric_limits<float>;
        const float values[] = {0.0f,           -0.0f,          limits::quiet_NaN(),
                                1.0f,           -1.0f,          limits::infinity(),
                                3.0e38f,        -3.0e38f,       -limits::infinity(),
                                1.0e-40f,       -1.0e-40f,      limits::min(),
                                1.0e-20f,       1.0e20f,        0.5f,
                                between(-1, 1), between(-1, 1), between(-1, 1)};
        return values[below(sizeof(values) / sizeof(values[0]))];
    }
};

/// A mesh over arrays of the test's own, and the nodes of a host-built tree.
class soup
{
public:
    soup(soup_kind kind, unsigned int triangle_count, unsigned int seed) : random(seed)
    {
        for (unsigned int t = 0; t < triangle_count; ++t)
            add(kind);
        mesh.vertex_array = vertices.data();
        mesh.vertex_count = static_cast<unsigned int>(vertices.size());
        mesh.index_array = words.data();
        mesh.index_count = static_cast<unsigned int>(words.size());
        mesh.add_subset_lookup_table_entry(0, triangle_count / 2);
        mesh.add_subset_lookup_table_entry(triangle_count / 2 * 7,
                                           triangle_count - triangle_count / 2);
        mesh.calculate_bounding_box();
    }

    ~soup()
    {
        mesh.free_octree();
        mesh.reset();
    }

    soup(const soup &) = delete;
    soup &operator=(const soup &) = delete;

    vesk_octree_triangle_s *record(unsigned int triangle)
    {
        return reinterpret_cast<vesk_octree_triangle_s *>(&words[triangle * 7]);
    }

    unsigned int triangle_count() const
    {
        return static_cast<unsigned int>(words.size() / 7);
    }

    /// Lends the mesh a tree whose boxes, lists and children are drawn by lot: boxes that fit,
    /// that lie anywhere, that are inside out; a triangle in many nodes; lists read backwards.
    void lend_random_tree(unsigned int depth)
    {
        vesk_octree_aa_bounding_box_s box;
        box.min = vesk_vector3(-1.1f, -1.1f, -1.1f);
        box.max = vesk_vector3(1.1f, 1.1f, 1.1f);
        mesh.octree = random_node(box, depth);
        mesh.instance_octree = 1;
    }

    dice random;
    vesk_mesh mesh;
    std::vector<vesk_3d_vertex_s> vertices;
    std::vector<unsigned int> words;
    std::vector<std::unique_ptr<vesk_octree_node_s>> nodes;

private:
    void add(soup_kind kind)
    {
        const unsigned int first = static_cast<unsigned int>(vertices.size());
        vesk_vector3 corners[3];
        const vesk_vector3 centre = random.point(kind == soup_kind::clustered ? 0.1f : 1.0f);
        const float size = kind == soup_kind::clustered ? 0.05f : random.between(0.01f, 1.0f);
        for (vesk_vector3 &corner : corners)
            corner = centre + random.point(size);
        if (kind == soup_kind::gridded)
            for (vesk_vector3 &corner : corners)
                for (unsigned int axis = 0; axis < 3; ++axis)
                    corner[axis] = static_cast<float>(random.below(5)) * 0.5f - 1.0f;
        if (kind == soup_kind::degenerate && random.below(2))
        {
            corners[2] =
                random.below(2) ? corners[1] : corners[0] + (corners[1] - corners[0]) * 0.5f;
            if (random.below(2))
                corners[1] = corners[0];
        }
        if (kind == soup_kind::special && random.below(2))
            for (unsigned int changed = random.below(3); changed < 3; ++changed)
                corners[random.below(3)][random.below(3)] = random.special();

        for (const vesk_vector3 &corner : corners)
        {
            vertices.emplace_back();
            vertices.back().position = corner;
        }
        for (unsigned int c = 0; c < 3; ++c)
            words.push_back(kind == soup_kind::gridded && first >= 9 && random.below(3) == 0
                                ? random.below(first)
                                : first + c);
        for (unsigned int c = 0; c < 3; ++c)
            words.push_back(random.below(1000));
        words.push_back(static_cast<unsigned int>(words.size()) - 6);
    }

    vesk_octree_node_s *random_node(const vesk_octree_aa_bounding_box_s &box, unsigned int depth)
    {
        nodes.push_back(std::make_unique<vesk_octree_node_s>());
        vesk_octree_node_s *node = nodes.back().get();
        node->box = box;
        for (unsigned int left = random.below(14); left > 0; --left)
            node->triangles.push_back(record(random.below(triangle_count())));
        node->triangles.reversed = random.below(4) == 0;
        for (unsigned int i = 0; depth > 0 && i < 8; ++i)
            if (random.below(2))
                node->children[i] = random_node(child_box(box, i), depth - 1);
        return node;
    }

    vesk_octree_aa_bounding_box_s child_box(const vesk_octree_aa_bounding_box_s &box,
                                            unsigned int i)
    {
        vesk_octree_aa_bounding_box_s child;
        const vesk_vector3 half = (box.max - box.min) * 0.5f;
        child.min = box.min + vesk_vector3(i & 1u ? half.x : 0.0f, i & 4u ? half.y : 0.0f,
                                           i & 2u ? half.z : 0.0f);
        child.max = child.min + half;
        switch (random.below(8))
        {
        case 0:
            child.min = random.point(1.0f);
            break;
        case 1:
            child.max[random.below(3)] = random.special();
            break;
        default:
            break;
        }
        return child;
    }
};
