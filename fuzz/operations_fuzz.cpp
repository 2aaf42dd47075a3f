#include "mesh_player.h"
#include "support/mesh_builder.h"

#include <algorithm>

// Random sequences of public operations on two meshes, each held against its model after each step;
// nothing that is borrowed may have changed. The second mesh may borrow from the first, both from a
// third that stands still.

namespace
{
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

void fill(mesh_player &p, byte_source &source)
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

void change_subsets(mesh_player &p, byte_source &source)
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

struct game
{
    mesh_player rock; ///< lends to both and never changes
    mesh_player players[2];

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
        rock.check();
    }
    ~game()
    {
        for (mesh_player *p : {&players[1], &players[0], &rock})
            p->free();
    }
    game(const game &) = delete;
    game &operator=(const game &) = delete;

    void change(unsigned int number, unsigned int operation, byte_source &source)
    {
        mesh_player &p = players[number];
        if (number == 0 && players[1].is_in_debt)
            players[1].free();
        const bool from_rock = number == 0 || source.below(2);
        const mesh_player &lender = from_rock ? rock : players[0];
        switch (operation)
        {
        case 0:
            return fill(p, source);
        case 1:
            return p.copy(source.below(8) == 0 ? p : lender);
        case 2:
        {
            mesh_player &from = players[source.below(2)];
            return p.pass_through_file(from, source.below(2));
        }
        case 3:
            return p.load_nothing(source.below(2));
        case 4:
        case 5:
            p.borrow(lender, source.below(p.borrow_kinds));
            p.is_in_debt |= !from_rock;
            break;
        case 6:
        case 7:
        case 8:
            return p.derive(source.below(p.derive_kinds), source);
        case 9:
            return p.transform(source.below(p.transform_kinds), source);
        case 10:
            return p.release(source.below(p.release_kinds));
        case 11:
            return p.set_channel(source.below(4));
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
            players[number].copy_fields(source);
        else
            change(number, operation, source);
        players[0].check();
        players[1].check();
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
