#pragma once

#include "vesk/mesh.h"

#include <cstdint>
#include <vector>

/// @file
/// Meshes for tests and benchmarks. Everything here is the same on every platform: numbers come
/// from a generator of our own, floats from integers, and the only roots are correctly rounded.

/// A small generator of random numbers (PCG, 32 bits out of 64).
class test_random
{
public:
    explicit test_random(std::uint64_t seed);

    std::uint32_t next();                     ///< 32 random bits
    std::uint32_t below(std::uint32_t count); ///< 0 to `count - 1`
    float unit();                             ///< a multiple of 2^-24 in [0, 1)
    float between(float low, float high);     ///< low + (high - low) * unit()
    vesk_vector3 point(float low, float high);
    float odd(); ///< a NaN, infinite, huge, tiny, denormal, or a zero of either sign

private:
    std::uint64_t state;
};

/// One UV channel before it goes into a mesh.
struct channel_source
{
    std::vector<vesk_vector2> uvs;
    std::vector<unsigned int> indices; ///< three for each triangle
};

/// A mesh before it goes into a `vesk_mesh`; tests change it at will in between.
struct mesh_source
{
    std::vector<vesk_3d_vertex_s> vertices;
    std::vector<unsigned int> indices; ///< seven words for each triangle
    std::vector<channel_source> channels;
    std::vector<unsigned int> subsets; ///< pairs as in `subset_lookup_table`

    unsigned int vertex_count() const
    {
        return static_cast<unsigned int>(vertices.size());
    }
    unsigned int index_count() const
    {
        return static_cast<unsigned int>(indices.size());
    }
    unsigned int triangle_count() const
    {
        return index_count() / 7;
    }

    unsigned int add_vertex(const vesk_vector3 &position, const vesk_vector3 &normal);
    void add_triangle(unsigned int a, unsigned int b, unsigned int c);

    /// The channels in the form that `create` takes; they stay in this object.
    vesk_mesh_uv_data_s uv_data();

    /// `mesh.create` with everything in here.
    int fill(vesk_mesh &mesh);

private:
    std::vector<vesk_vector2 *> uv_arrays;
    std::vector<unsigned int> uv_counts;
    std::vector<unsigned int *> uv_index_arrays;
};

/// A mesh that frees what it holds when the test ends.
struct owned_mesh : vesk_mesh
{
    owned_mesh();
    explicit owned_mesh(mesh_source source); ///< filled; throws when `create` gives 0
    ~owned_mesh();
    owned_mesh(const owned_mesh &) = delete;
    owned_mesh &operator=(const owned_mesh &) = delete;
};

/// Lends the geometry of one mesh to another.
inline void lend_geometry(const vesk_mesh &lender, vesk_mesh &borrower)
{
    borrower.set_instance_geometry(lender.vertex_array, lender.uv_array, lender.index_array,
                                   lender.vertex_count, lender.uv_count, lender.index_count,
                                   lender.subset_lookup_table);
}

/// A list with the given elements.
template <typename T> void assign_list(vesk_list<T> &list, const std::vector<T> &values)
{
    list.clear();
    for (const T &value : values)
        list.push_back(value);
}

// Every builder gives valid indexes, one subset over all triangles and, unless it takes a number
// of channels, one channel.

/// Triangles that have nothing in common: three vertices each, anywhere in [-1, 1), with random
/// normals of about unit length and random UVs.
mesh_source random_soup(std::uint64_t seed, unsigned int triangle_count,
                        unsigned int channel_count = 1);

/// Triangles over a small pool of shared vertices and positions: every vertex is in many
/// triangles, and several vertices stand at one position.
mesh_source random_web(std::uint64_t seed, unsigned int triangle_count, unsigned int vertex_count);

/// A flat grid in x and z over [0, 1], two triangles a cell, facing +y, UVs as positions.
mesh_source grid(unsigned int columns, unsigned int rows, unsigned int channel_count = 1);

/// A closed, bumpy sphere of at least `triangle_count` triangles (twice a square number) around
/// the origin: an octahedral map with shared vertices, a seam of doubled positions along its edge
/// (signed zeros among them), and UVs that unfold it onto the unit square.
mesh_source displaced_sphere(unsigned int triangle_count, unsigned int channel_count = 1);

/// Small triangles crowded into a few clusters whose sizes differ by powers of two.
mesh_source clustered(std::uint64_t seed, unsigned int triangle_count);

/// Random triangles, most of them degenerate in some way: points, lines, repeated vertices,
/// slivers, coplanar copies, positions that differ in the sign of zero only, UVs without area.
mesh_source degenerate(std::uint64_t seed, unsigned int triangle_count);

/// A soup in which some floats are NaN, infinite, huge, denormal or signed zeros.
mesh_source nan_bearing(std::uint64_t seed, unsigned int triangle_count);

/// Cuts the records into `subset_count` subsets of about equal size, in record order.
void split_subsets(mesh_source &source, unsigned int subset_count);

/// Cuts the records into random stretches and names them in random order; some stay unnamed and
/// some subsets are empty.
void scatter_subsets(mesh_source &source, std::uint64_t seed);
