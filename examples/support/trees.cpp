#include "support/trees.h"

#include "support/console.h"
#include "vesk/cancel_scope.h"

namespace
{
/// A depth that leaves about ten triangles a leaf on a surface: each level has four times as
/// many boxes along it.
unsigned int depth_for(const vesk_mesh &mesh)
{
    unsigned int depth = 1;
    for (unsigned int left = mesh.get_index_count() / 7; left > 10; left /= 4)
        ++depth;
    return depth;
}

/// Runs `build` with a callback that ticks a bar at every poll.
template <typename Build> bool build_with_bar(const char *program, const char *label,
                                              const vesk_mesh &mesh, const Build &build)
{
    progress_bar bar(label);
    auto poll = [&bar]
    {
        bar.tick();
        return 0;
    };
    const vesk_cancel_scope scope(poll);
    const bool built = build(scope.callback()) != 0;
    if (!built)
        print_errors(program, mesh);
    return built;
}
} // namespace

bool build_octree(const char *program, vesk_mesh &mesh, const vesk_list<unsigned int> *subsets)
{
    return build_with_bar(program, "octree", mesh,
                          [&mesh, subsets](int (*poll)())
                          { return mesh.generate_octree(depth_for(mesh), subsets, poll); });
}

bool build_quadtree(const char *program, vesk_mesh &mesh, unsigned int width, unsigned int height,
                    const vesk_list<unsigned int> *subsets)
{
    return build_with_bar(program, "quadtree", mesh,
                          [&mesh, width, height, subsets](int (*poll)()) {
                              return mesh.generate_uv_lookup_quadtree(
                                  width, height, depth_for(mesh), 0, 0, subsets, poll);
                          });
}
