#include "support/mesh_builder.h"

#include <cmath>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace
{
vesk_vector3 unit_length(const vesk_vector3 &v)
{
    const double length = std::sqrt(double(v.x) * double(v.x) + double(v.y) * double(v.y) +
                                    double(v.z) * double(v.z));
    if (!(length > 0.0))
        return vesk_vector3(0.0f, 1.0f, 0.0f);
    return vesk_vector3(float(v.x / length), float(v.y / length), float(v.z / length));
}

/// The square [-1, 1] x [-1, 1] folded onto the unit sphere by way of an octahedron.
vesk_vector3 octahedral_direction(float u, float v)
{
    const float z = 1.0f - std::fabs(u) - std::fabs(v);
    if (z >= 0.0f)
        return unit_length(vesk_vector3(u, v, z));
    return unit_length(vesk_vector3((1.0f - std::fabs(v)) * (u < 0.0f ? -1.0f : 1.0f),
                                    (1.0f - std::fabs(u)) * (v < 0.0f ? -1.0f : 1.0f), z));
}

/// A distance that depends on the direction alone, so that doubled positions stay together.
float bumpy_radius(const vesk_vector3 &d)
{
    return 1.0f + 0.25f * (d.x * d.y + d.y * d.z * d.z) + 0.125f * d.x * d.x * d.z;
}

/// Channels whose UVs belong to vertices: (u, v) of the vertex, turned and shifted by channel.
void add_vertex_channels(mesh_source &source, const std::vector<vesk_vector2> &uvs,
                         unsigned int channel_count)
{
    for (unsigned int channel = 0; channel < channel_count; ++channel)
    {
        channel_source made;
        // Later channels are longer: a channel's count is its own.
        made.uvs.resize(channel, vesk_vector2(-1.0f, float(channel)));
        for (const vesk_vector2 &uv : uvs)
            made.uvs.push_back(channel % 2 == 0 ? uv : vesk_vector2(uv.y, 1.0f - uv.x));
        for (unsigned int t = 0; t < source.triangle_count(); ++t)
            for (unsigned int c = 0; c < 3; ++c)
                made.indices.push_back(source.indices[t * 7 + c] + channel);
        source.channels.push_back(made);
    }
}

/// A random UV for every corner in each channel.
mesh_source with_random_channels(mesh_source source, test_random &random,
                                 unsigned int channel_count = 1)
{
    const unsigned int corner_count = source.triangle_count() * 3;
    source.channels.resize(channel_count);
    for (unsigned int channel = 0; channel < channel_count; ++channel)
    {
        for (unsigned int i = 0; i < corner_count + channel; ++i)
        {
            const float u = random.unit();
            const float v = random.unit();
            source.channels[channel].uvs.emplace_back(u, v);
        }
        for (unsigned int i = 0; i < corner_count; ++i)
            source.channels[channel].indices.push_back(i + channel);
    }
    split_subsets(source, 1);
    return source;
}

vesk_vector3 random_normal(test_random &random)
{
    return unit_length(random.point(-1.0f, 1.0f));
}

/// Three new vertices and the triangle between them.
void add_free_triangle(mesh_source &source, test_random &random, const vesk_vector3 &p0,
                       const vesk_vector3 &p1, const vesk_vector3 &p2)
{
    const unsigned int a = source.add_vertex(p0, random_normal(random));
    const unsigned int b = source.add_vertex(p1, random_normal(random));
    const unsigned int c = source.add_vertex(p2, random_normal(random));
    source.add_triangle(a, b, c);
}

/// Triangle number `kind` of the ways to be degenerate.
void add_degenerate_triangle(mesh_source &source, test_random &random, unsigned int kind)
{
    vesk_vector3 p = random.point(-1.0f, 1.0f);
    vesk_vector3 q = random.point(-1.0f, 1.0f);
    vesk_vector3 r = random.point(-1.0f, 1.0f);
    const unsigned int made = source.vertex_count();
    switch (kind)
    {
    case 0: // a point
        q = r = p;
        break;
    case 1: // a line with a repeated end
        r = q;
        break;
    case 2: // a line of three points
        p.y = p.z = q.y = q.z = r.y = r.z = 0.0f;
        break;
    case 3: // one vertex three times
        source.add_vertex(p, random_normal(random));
        return source.add_triangle(made, made, made);
    case 4: // a sliver
        r = vesk_vector3(q.x, q.y + 1.0f / 16777216.0f, q.z);
        break;
    case 5: // in a coordinate plane, with zeros of either sign
        p.y = r.y = 0.0f;
        q.y = r.z = -0.0f;
        break;
    case 6: // the vertices of the triangle before, turned around
        if (made >= 3)
            return source.add_triangle(made - 1, made - 2, made - 3);
        break;
    default:
        break;
    }
    add_free_triangle(source, random, p, q, r);
}
} // namespace

test_random::test_random(std::uint64_t seed) : state(seed * 2u + 1u)
{
    next();
    next();
}

std::uint32_t test_random::next()
{
    const std::uint64_t old = state;
    state = old * 6364136223846793005u + 1442695040888963407u;
    const std::uint32_t mixed = std::uint32_t(((old >> 18) ^ old) >> 27);
    const std::uint32_t turn = std::uint32_t(old >> 59);
    return mixed >> turn | mixed << ((32u - turn) & 31u);
}

std::uint32_t test_random::below(std::uint32_t count)
{
    return std::uint32_t(std::uint64_t(next()) * count >> 32);
}

float test_random::unit()
{
    return float(next() >> 8) * (1.0f / 16777216.0f);
}

float test_random::between(float low, float high)
{
    return low + (high - low) * unit();
}

vesk_vector3 test_random::point(float low, float high)
{
    const float x = between(low, high);
    const float y = between(low, high);
    const float z = between(low, high);
    return vesk_vector3(x, y, z);
}

float test_random::odd()
{
    static const std::uint32_t patterns[] = {
        0x7FC00000u, 0xFFC00001u, 0x7F800000u, 0xFF800000u, // NaN, infinities
        0x7F7FFFFFu, 0xFF7FFFFFu, 0x7E800000u, 0x5F000000u, // huge
        0x00000001u, 0x807FFFFFu, 0x00800000u, 0x1F000000u, // denormal and tiny
        0x00000000u, 0x80000000u,                           // zeros
    };
    float value;
    std::memcpy(&value, &patterns[below(sizeof(patterns) / sizeof(patterns[0]))], sizeof(value));
    return value;
}

unsigned int mesh_source::add_vertex(const vesk_vector3 &position, const vesk_vector3 &normal)
{
    vesk_3d_vertex_s vertex;
    vertex.position = position;
    vertex.normal = normal;
    vertices.push_back(vertex);
    return vertex_count() - 1;
}

void mesh_source::add_triangle(unsigned int a, unsigned int b, unsigned int c)
{
    const unsigned int offset = index_count();
    // Words 3 to 5 are for the mesh to write.
    indices.insert(indices.end(), {a, b, c, 0xDDDDDDDDu, 0xDDDDDDDDu, 0xDDDDDDDDu, offset});
}

vesk_mesh_uv_data_s mesh_source::uv_data()
{
    uv_arrays.clear();
    uv_counts.clear();
    uv_index_arrays.clear();
    for (channel_source &channel : channels)
    {
        uv_arrays.push_back(channel.uvs.data());
        uv_counts.push_back(static_cast<unsigned int>(channel.uvs.size()));
        uv_index_arrays.push_back(channel.indices.data());
    }
    vesk_mesh_uv_data_s data;
    data.channel_count = static_cast<unsigned int>(channels.size());
    data.uv_arrays = uv_arrays.data();
    data.uv_counts = uv_counts.data();
    data.uv_index_arrays = uv_index_arrays.data();
    return data;
}

int mesh_source::fill(vesk_mesh &mesh)
{
    vesk_list<unsigned int> table;
    assign_list(table, subsets);
    return mesh.create(vertices.data(), indices.data(), vertex_count(), index_count(), uv_data(),
                       table);
}

owned_mesh::owned_mesh() {}

owned_mesh::owned_mesh(mesh_source source)
{
    if (!source.fill(*this))
        throw std::runtime_error("a mesh of a test could not be created");
}

owned_mesh::~owned_mesh()
{
    free();
}

mesh_source random_soup(std::uint64_t seed, unsigned int triangle_count, unsigned int channel_count)
{
    test_random random(seed);
    mesh_source source;
    for (unsigned int t = 0; t < triangle_count; ++t)
    {
        const vesk_vector3 a = random.point(-1.0f, 1.0f);
        const vesk_vector3 b = random.point(-1.0f, 1.0f);
        const vesk_vector3 c = random.point(-1.0f, 1.0f);
        add_free_triangle(source, random, a, b, c);
    }
    return with_random_channels(source, random, channel_count);
}

mesh_source random_web(std::uint64_t seed, unsigned int triangle_count, unsigned int vertex_count)
{
    test_random random(seed);
    mesh_source source;
    for (unsigned int v = 0; v < vertex_count; ++v)
    {
        const bool again = v != 0 && random.below(4) == 0;
        const vesk_vector3 position =
            again ? source.vertices[random.below(v)].position : random.point(-1.0f, 1.0f);
        source.add_vertex(position, random_normal(random));
    }
    for (unsigned int t = 0; t < triangle_count; ++t)
    {
        const unsigned int a = random.below(vertex_count);
        const unsigned int b = random.below(vertex_count);
        const unsigned int c = random.below(vertex_count);
        source.add_triangle(a, b, c);
    }
    return with_random_channels(source, random);
}

mesh_source grid(unsigned int columns, unsigned int rows, unsigned int channel_count)
{
    mesh_source source;
    std::vector<vesk_vector2> uvs;
    for (unsigned int row = 0; row <= rows; ++row)
        for (unsigned int column = 0; column <= columns; ++column)
        {
            const float u = float(column) / float(columns);
            const float v = float(row) / float(rows);
            source.add_vertex(vesk_vector3(u, 0.0f, v), vesk_vector3(0.0f, 1.0f, 0.0f));
            uvs.emplace_back(u, v);
        }
    for (unsigned int row = 0; row < rows; ++row)
        for (unsigned int column = 0; column < columns; ++column)
        {
            const unsigned int a = row * (columns + 1) + column;
            const unsigned int b = a + columns + 1;
            source.add_triangle(a, b, a + 1);
            source.add_triangle(a + 1, b, b + 1);
        }
    add_vertex_channels(source, uvs, channel_count);
    split_subsets(source, 1);
    return source;
}

mesh_source displaced_sphere(unsigned int triangle_count, unsigned int channel_count)
{
    unsigned int edge = 2;
    while (2 * edge * edge < triangle_count)
        edge += 2; // even, so that the poles are vertices

    mesh_source source = grid(edge, edge, 0);
    std::vector<vesk_vector2> uvs;
    for (unsigned int v = 0; v < source.vertex_count(); ++v)
    {
        // From whole numbers, so that both sides of the seam get the same floats.
        const int column = static_cast<int>(v % (edge + 1) * 2) - static_cast<int>(edge);
        const int row = static_cast<int>(v / (edge + 1) * 2) - static_cast<int>(edge);
        const vesk_vector3 out =
            octahedral_direction(float(column) / float(edge), float(row) / float(edge));
        vesk_3d_vertex_s &vertex = source.vertices[v];
        const float radius = bumpy_radius(out);
        uvs.emplace_back(vertex.position.x, vertex.position.z);
        vertex.position = out * radius;
        vertex.normal = out;
    }
    // The map sees the grid from its other side. Diagonals run along the octahedron's edges: across
    // them, triangles beside the seam would be flat.
    source.indices.clear();
    for (unsigned int row = 0; row < edge; ++row)
        for (unsigned int column = 0; column < edge; ++column)
        {
            const unsigned int a = row * (edge + 1) + column;
            const unsigned int b = a + edge + 1;
            const bool rising = (row < edge / 2) != (column < edge / 2);
            source.add_triangle(a, a + 1, rising ? b + 1 : b);
            source.add_triangle(rising ? a : a + 1, b + 1, b);
        }
    add_vertex_channels(source, uvs, channel_count);
    return source;
}

mesh_source clustered(std::uint64_t seed, unsigned int triangle_count)
{
    test_random random(seed);
    vesk_vector3 centres[5];
    for (vesk_vector3 &centre : centres)
        centre = random.point(-1.0f, 1.0f);

    mesh_source source;
    for (unsigned int t = 0; t < triangle_count; ++t)
    {
        const unsigned int cluster = random.below(5);
        const float spread = 1.0f / float(4u << (3 * cluster)); // 1/4 down to 1/16384
        const vesk_vector3 centre = centres[cluster] + random.point(-spread, spread);
        vesk_vector3 corners[3];
        for (vesk_vector3 &corner : corners)
            corner = centre + random.point(-spread * 0.125f, spread * 0.125f);
        add_free_triangle(source, random, corners[0], corners[1], corners[2]);
    }
    return with_random_channels(source, random);
}

mesh_source degenerate(std::uint64_t seed, unsigned int triangle_count)
{
    test_random random(seed);
    mesh_source source;
    for (unsigned int t = 0; t < triangle_count; ++t)
        add_degenerate_triangle(source, random, random.below(8));
    source = with_random_channels(source, random);
    for (unsigned int t = 0; t < triangle_count; t += 3) // no area: a point, then a line
    {
        std::vector<unsigned int> &uv_indices = source.channels[0].indices;
        uv_indices[t * 3 + 1] = uv_indices[t * 3];
        if (t % 2 == 0)
            uv_indices[t * 3 + 2] = uv_indices[t * 3];
    }
    return source;
}

mesh_source nan_bearing(std::uint64_t seed, unsigned int triangle_count)
{
    mesh_source source = random_soup(seed, triangle_count);
    test_random random(seed + 1);
    for (vesk_3d_vertex_s &vertex : source.vertices)
    {
        if (random.below(8) == 0)
            vertex.position[random.below(3)] = random.odd();
        if (random.below(8) == 0)
            vertex.normal[random.below(3)] = random.odd();
    }
    for (vesk_vector2 &uv : source.channels[0].uvs)
        if (random.below(8) == 0)
            uv[random.below(2)] = random.odd();
    return source;
}

void split_subsets(mesh_source &source, unsigned int subset_count)
{
    source.subsets.clear();
    const std::uint64_t triangle_count = source.triangle_count();
    for (std::uint64_t s = 0; s < subset_count; ++s)
    {
        const auto first = static_cast<unsigned int>(s * triangle_count / subset_count);
        const auto last = static_cast<unsigned int>((s + 1) * triangle_count / subset_count);
        source.subsets.push_back(first * 7);
        source.subsets.push_back(last - first);
    }
}

void scatter_subsets(mesh_source &source, std::uint64_t seed)
{
    test_random random(seed);
    struct stretch
    {
        unsigned int first, count;
    };
    std::vector<stretch> stretches;
    const unsigned int triangle_count = source.triangle_count();
    for (unsigned int t = 0; t < triangle_count;)
    {
        unsigned int length = random.below(triangle_count / 4 + 2); // 0 makes an empty subset
        if (length > triangle_count - t)
            length = triangle_count - t;
        if (random.below(5) != 0)
            stretches.push_back({t * 7, length});
        t += length;
    }
    source.subsets.clear();
    while (!stretches.empty())
    {
        const std::size_t pick = random.below(static_cast<std::uint32_t>(stretches.size()));
        source.subsets.push_back(stretches[pick].first);
        source.subsets.push_back(stretches[pick].count);
        stretches[pick] = stretches.back();
        stretches.pop_back();
    }
}
