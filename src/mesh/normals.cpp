#include "vesk/mesh.h"

#include "foundation/scratch.h"
#include "mesh/repeated_normalize.h"

#include <algorithm>
#include <cstdint>

// The result is that of a plain double loop: every vertex looks at every triangle, adds its face
// normal when one of the corners lies at the vertex's position, and normalises either way. Two
// things make it cheap. Vertices at one position meet the same triangles, so a position has one
// running normal, which a triangle finds through a hash of its corners. And the triangles in
// between, which only normalise, are made up for in one go when the next touching one comes.
//
// One pass over the triangles does this for all positions that have a place in working memory.
// Without working memory the same pass runs over blocks of positions that fit on the stack, once
// for each block.

namespace
{
constexpr std::uint32_t none = 0xFFFFFFFFu;

// The normal of a position on the way through the triangles.
struct running_normal
{
    float normal[3];
    std::uint32_t last_triangle; // the last one that touched, or `none`

    // Minus zero plus anything is that thing to the bit, so the first face normal is added like
    // all others and still replaces what was there.
    void clear()
    {
        normal[0] = normal[1] = normal[2] = -0.0f;
        last_triangle = none;
    }
};

static_assert(sizeof(running_normal) == sizeof(vesk_float4), "moved as one register");

vesk_float4 xyz_of(const running_normal &running)
{
    const vesk_mask4 xyz = {-1, -1, -1, 0};
    vesk_float4 lanes;
    std::memcpy(&lanes, &running, sizeof(lanes));
    return vesk_select4(xyz, lanes, vesk_float4{});
}

// One 16-byte store, so that the next touch, often right behind, loads it back without a stall.
void store(running_normal &running, vesk_float4 normal, std::uint32_t triangle)
{
    const vesk_mask4 last = {0, 0, 0, static_cast<int>(triangle)};
    const vesk_float4 lanes = (vesk_float4)((vesk_mask4)normal | last);
    std::memcpy(&running, &lanes, sizeof(running));
}

vesk_float4 normalized_often(vesk_float4 v, std::uint32_t rounds)
{
    if (rounds == 0)
        return v;
    // A third of all vectors moves in the first round, which nothing can predict, and one in fifty
    // in the second. So the first is done without asking.
    v = vesk_normalize_lanes(v);
    return rounds == 1 || vesk_is_settled(v) ? v : vesk_normalize_repeatedly(v, rounds - 1);
}

void touch(running_normal &running, vesk_float4 face_normal, std::uint32_t triangle)
{
    vesk_float4 normal = xyz_of(running);
    if (running.last_triangle != none)
        normal = normalized_often(normal, triangle - running.last_triangle - 1);
    store(running, vesk_normalize_lanes(normal + face_normal), triangle);
}

// The state after the last triangle, as it is written to vertices.
void finish(running_normal &running, std::uint32_t triangle_count)
{
    if (running.last_triangle == none)
        return;
    const std::uint32_t rounds = triangle_count - running.last_triangle - 1;
    store(running, normalized_often(xyz_of(running), rounds), running.last_triangle);
}

void write_normal(vesk_3d_vertex_s &vertex, const running_normal *running,
                  std::uint32_t triangle_count)
{
    vesk_vector3 &normal = vertex.normal;
    // The analyzer doubts what the numbering fills: a slot for each vertex, a record for each slot.
    if (running && running->last_triangle != none) // NOLINT(clang-analyzer-core.*)
    {
        std::memcpy(static_cast<void *>(&normal), running->normal, sizeof(normal));
        return;
    }
    // Nothing touched this vertex: only the normalising is left of the triangles.
    const vesk_float4 own = {normal.x, normal.y, normal.z, 0.0f};
    const vesk_float4 last = normalized_often(own, triangle_count);
    normal = vesk_vector3(last[0], last[1], last[2]);
}

// Passes all triangles by `running`; `slot_of(vertex index)` gives a corner's place in it, or
// `none` for a corner that has none.
template <typename slot_finder>
void replay_triangles(const vesk_mesh &mesh, running_normal *running, const slot_finder &slot_of)
{
    const std::uint32_t triangle_count = mesh.index_count / 7;
    const vesk_3d_vertex_s *vertices = mesh.vertex_array;
    for (std::uint32_t t = 0; t < triangle_count; ++t)
    {
        const unsigned int *corners = mesh.index_array + std::size_t(t) * 7;
        const std::uint32_t slots[3] = {slot_of(corners[0]), slot_of(corners[1]),
                                        slot_of(corners[2])};
        if ((slots[0] & slots[1] & slots[2]) == none)
            continue;

        const vesk_vector3 &p0 = vertices[corners[0]].position;
        const vesk_vector3 &p1 = vertices[corners[1]].position;
        const vesk_vector3 &p2 = vertices[corners[2]].position;
        const vesk_vector3 n = vesk_vec_cross_product(p1 - p2, p0 - p1);
        const vesk_float4 face_normal = {n.x, n.y, n.z, 0.0f};

        // A triangle counts once for a position, however many of its corners lie there.
        if (slots[0] != none)
            touch(running[slots[0]], face_normal, t);
        if (slots[1] != none && slots[1] != slots[0])
            touch(running[slots[1]], face_normal, t);
        if (slots[2] != none && slots[2] != slots[0] && slots[2] != slots[1])
            touch(running[slots[2]], face_normal, t);
    }
}

bool same_position(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

// A NaN makes a position that equals none, not even itself.
bool equals_itself(const vesk_vector3 &position)
{
    return same_position(position, position);
}

// Equal for positions that compare equal: adding 0.0f turns -0.0f into 0.0f.
std::uint64_t hash_of(const vesk_vector3 &position)
{
    const float unsigned_zeros[3] = {position.x + 0.0f, position.y + 0.0f, position.z + 0.0f};
    std::uint32_t bits[3];
    std::memcpy(bits, unsigned_zeros, sizeof(bits));
    std::uint64_t hash = (bits[0] | std::uint64_t(bits[1]) << 32) * 0x9E3779B97F4A7C15u;
    hash = (hash ^ hash >> 32 ^ bits[2]) * 0xD6E8FEB86659FD93u;
    return hash ^ hash >> 32;
}

struct position_entry
{
    std::uint32_t hash; // the upper half, as a first look before the vertex is fetched
    std::uint32_t vertex;
};

// Gives each distinct position a slot, numbered from 0 in the order of the vertices.
class position_numbering
{
public:
    // The table has a power of two of entries and never gets full.
    position_numbering(const vesk_mesh &numbered, position_entry *entries, std::size_t entry_count)
        : mesh(numbered)
        , table(entries)
        , mask(entry_count - 1)
    {
        for (std::size_t i = 0; i < entry_count; ++i)
            table[i].vertex = none;
    }

    // Writes the slots of all vertices; the number of slots.
    std::uint32_t run(std::uint32_t *slots)
    {
        // Hashes come first for some vertices at a time, so that the cache misses of the table
        // overlap: twice as fast on a million triangles.
        constexpr std::uint32_t batch = 32;
        std::uint64_t hashes[batch];
        std::uint32_t slot_count = 0;
        for (std::uint32_t first = 0; first < mesh.vertex_count;)
        {
            const std::uint32_t count = std::min(batch, mesh.vertex_count - first);
            for (std::uint32_t i = 0; i < count; ++i)
            {
                hashes[i] = hash_of(mesh.vertex_array[first + i].position);
                __builtin_prefetch(&table[static_cast<std::size_t>(hashes[i]) & mask], 1);
            }
            for (std::uint32_t i = 0; i < count; ++i)
                slots[first + i] = slot_for(first + i, hashes[i], slots, slot_count);
            first += count;
        }
        return slot_count;
    }

private:
    std::uint32_t slot_for(std::uint32_t vertex, std::uint64_t hash, const std::uint32_t *slots,
                           std::uint32_t &slot_count)
    {
        const vesk_vector3 &position = mesh.vertex_array[vertex].position;
        if (!equals_itself(position))
            return none;
        const std::uint32_t upper = static_cast<std::uint32_t>(hash >> 32);
        std::size_t at = static_cast<std::size_t>(hash) & mask;
        for (; table[at].vertex != none; at = (at + 1) & mask)
            if (table[at].hash == upper &&
                same_position(mesh.vertex_array[table[at].vertex].position, position))
                return slots[table[at].vertex];
        table[at] = {upper, vertex};
        return slot_count++;
    }

    const vesk_mesh &mesh;
    position_entry *table;
    std::size_t mask;
};

// Entries of a table that stays at most half full, or 0 when their number is beyond all memory.
std::size_t table_size_for(std::uint32_t vertex_count)
{
    std::uint64_t size = 16;
    while (size / 2 < vertex_count)
        size *= 2;
    return size <= SIZE_MAX / sizeof(position_entry) ? static_cast<std::size_t>(size) : 0;
}

// All positions at once; false with nothing changed when memory is short.
bool generate_in_memory(vesk_mesh &mesh)
{
    const std::uint32_t triangle_count = mesh.index_count / 7;
    vesk_scratch<std::uint32_t> slots(mesh.vertex_count);
    if (!slots.data)
        return false;

    std::uint32_t position_count;
    {
        const std::size_t table_size = table_size_for(mesh.vertex_count);
        vesk_scratch<position_entry> table(table_size);
        if (!table.data || table_size == 0)
            return false;
        position_count = position_numbering(mesh, table.data, table_size).run(slots.data);
    }

    vesk_scratch<running_normal> running(position_count);
    if (!running.data)
        return false;
    for (std::uint32_t p = 0; p < position_count; ++p)
        running.data[p].clear();

    const std::uint32_t *slot_of_vertex = slots.data;
    replay_triangles(mesh, running.data,
                     [slot_of_vertex](unsigned int vertex) { return slot_of_vertex[vertex]; });

    for (std::uint32_t p = 0; p < position_count; ++p)
        finish(running.data[p], triangle_count);
    for (std::uint32_t v = 0; v < mesh.vertex_count; ++v)
        write_normal(mesh.vertex_array[v],
                     slots.data[v] != none // NOLINT(clang-analyzer-core.*): as in write_normal
                         ? &running.data[slots.data[v]]
                         : nullptr,
                     triangle_count);
    return true;
}

// The positions of a stretch of vertices, with their running normals: 18 KB of stack.
class position_block
{
public:
    static constexpr std::uint32_t capacity = 512;

    // Takes vertices from `first` on until their distinct positions fill the block; the end of
    // the stretch.
    std::uint32_t fill(const vesk_mesh &mesh, std::uint32_t first)
    {
        for (std::uint16_t &entry : table)
            entry = empty;
        count = 0;
        std::uint32_t v = first;
        for (; v < mesh.vertex_count; ++v)
        {
            const vesk_vector3 &position = mesh.vertex_array[v].position;
            if (!equals_itself(position))
                continue;
            const std::uint32_t at = entry_of(position);
            if (table[at] != empty)
                continue;
            if (count == capacity)
                break;
            store_position(position);
            running[count].clear();
            table[at] = static_cast<std::uint16_t>(count++);
        }
        return v;
    }

    std::uint32_t slot_of(const vesk_vector3 &position) const
    {
        const std::uint16_t slot = table[entry_of(position)];
        return slot == empty ? none : slot;
    }

    running_normal *normals()
    {
        return running;
    }

    std::uint32_t size() const
    {
        return count;
    }

private:
    static constexpr std::uint32_t table_size = 2 * capacity;
    static constexpr std::uint16_t empty = 0xFFFF;

    // Where a position stands in the table, or the empty entry where it belongs. One with a NaN
    // equals none of the block and ends at an empty entry too.
    std::uint32_t entry_of(const vesk_vector3 &position) const
    {
        std::uint32_t at = static_cast<std::uint32_t>(hash_of(position)) & (table_size - 1);
        while (table[at] != empty && !holds(table[at], position))
            at = (at + 1) & (table_size - 1);
        return at;
    }

    bool holds(std::uint32_t slot, const vesk_vector3 &position) const
    {
        const float *p = positions[slot];
        return p[0] == position.x && p[1] == position.y && p[2] == position.z;
    }

    void store_position(const vesk_vector3 &position)
    {
        positions[count][0] = position.x;
        positions[count][1] = position.y;
        positions[count][2] = position.z;
    }

    running_normal running[capacity];
    float positions[capacity][3];
    std::uint16_t table[table_size];
    std::uint32_t count;
};

// One pass over the triangles for each block of positions, without any allocation.
void generate_in_blocks(vesk_mesh &mesh)
{
    const std::uint32_t triangle_count = mesh.index_count / 7;
    vesk_3d_vertex_s *vertices = mesh.vertex_array;
    position_block block;
    for (std::uint32_t first = 0; first < mesh.vertex_count;)
    {
        const std::uint32_t end = block.fill(mesh, first);
        replay_triangles(mesh, block.normals(),
                         [&block, vertices](unsigned int vertex)
                         { return block.slot_of(vertices[vertex].position); });
        for (std::uint32_t p = 0; p < block.size(); ++p)
            finish(block.normals()[p], triangle_count);
        for (std::uint32_t v = first; v < end; ++v)
        {
            const std::uint32_t slot = block.slot_of(vertices[v].position);
            write_normal(vertices[v], slot != none ? &block.normals()[slot] : nullptr,
                         triangle_count);
        }
        first = end;
    }
}
} // namespace

void vesk_mesh::generate_normals()
{
    if (instance_geometry || index_count < 7)
        return;

    // Up to one block's worth of vertices the stack does it in one pass. Beyond that each further
    // block costs a pass, so working memory takes over, unless it cannot be had.
    if (vertex_count <= position_block::capacity || !generate_in_memory(*this))
        generate_in_blocks(*this);
}
