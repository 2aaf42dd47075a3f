#pragma once

#include "files/fbx/orientation.h"
#include "files/fbx/transform.h"

#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace vesk_fbx
{
/// A vector for indices that are ints, as corner numbers are.
template <typename T> class int_indexed
{
public:
    T &operator[](int i)
    {
        return m_elements.data()[i];
    }
    const T &operator[](int i) const
    {
        return m_elements.data()[i];
    }
    int count() const
    {
        return static_cast<int>(m_elements.size());
    }
    void resize(int count)
    {
        m_elements.resize(static_cast<std::size_t>(count));
    }
    T *begin()
    {
        return m_elements.data();
    }
    T *end()
    {
        return m_elements.data() + m_elements.size();
    }

private:
    std::vector<T> m_elements;
};

/// Whether products of coordinates neither overflow nor vanish when the largest is of this size.
inline bool is_tame(double size)
{
    return size == 0.0 || (size > 1e-60 && size < 1e60);
}

/// The coordinates seen when looking along the axis of a polygon's largest area, mirrored where
/// needed so that it runs counter-clockwise. Leaving a coordinate out rounds nothing.
struct plane_view
{
    int u, v;
    bool mirrored;

    /// `area`: the polygon's on each of the coordinate planes.
    explicit plane_view(const vector3 &area)
    {
        const double x = std::fabs(area.x), y = std::fabs(area.y), z = std::fabs(area.z);
        const int axis = z >= x && z >= y ? 2 : y >= x ? 1 : 0;
        u = (axis + 1) % 3;
        v = (axis + 2) % 3;
        mirrored = (axis == 2 ? area.z : axis == 1 ? area.y : area.x) < 0.0;
    }
    vector2 get(const double *xyz) const
    {
        vector2 seen = {xyz[u], xyz[v]};
        if (mirrored)
            std::swap(seen.x, seen.y);
        return seen;
    }
};

/// The corners of the two triangles.
using quadrangle_cut = int[6];

/// Cuts a quadrangle along the only diagonal that lies inside, or else the shorter one. Each corner
/// points at its x, y and z.
const quadrangle_cut &cut_quadrangle(const double *const (&corners)[4]);

/// Cuts polygons into triangles between their own corners.
///
/// A polygon of n corners gives n - 2 triangles that run in the polygon's sense; each side belongs
/// to one triangle and each diagonal to two, once in each direction. A plane polygon that does not
/// cross itself is covered without overlap, concave ones and ones that touch themselves too. Bent,
/// degenerate and self-crossing polygons are cut in the plane of their area, as well as it goes.
/// The same polygon always gives the same triangles.
///
/// One object serves many polygons and keeps its working storage between them.
class polygon_splitter
{
public:
    /// Writes `3 * (corner_count - 2)` corner numbers to `triangles`; nothing for less than three
    /// corners. A triangle comes out as it is, a quadrangle is cut along its shorter diagonal or
    /// the only one that lies inside, larger polygons lose ear after ear. Throws std::bad_alloc.
    ///
    /// Cost: near O(n log n) for outlines as they occur. Work is bounded by a multiple of n;
    /// beyond it, where only a polygon made for it gets, the rest is cut without looking.
    void split(const vector3 *corners, int corner_count, int *triangles);

private:
    /// The smallest rectangle around the blocking corners of a leaf or below a node.
    struct rectangle
    {
        double min_x, min_y, max_x, max_y;
    };

    struct corner
    {
        vector2 position; ///< in the polygon's plane
        int previous, next;
        int slot;                           ///< its place in `m_order`
        int waits_at;                       ///< the corner that blocks this one as an ear, or -1
        int waiting;                        ///< first of those that this one blocks, or -1
        int previous_waiting, next_waiting; ///< neighbours in that list
        int changed_in;                     ///< the pass in which a neighbour was last cut off
        bool alive;
        bool blocking; ///< not convex: only such corners can lie in an ear
        bool queued;
    };

    /// A corner with its neighbours: the triangle that would be cut off.
    struct ear
    {
        int a, b, c;
    };

    /// What may be cut off, from picky to anything that helps.
    enum class strictness
    {
        no_touching, ///< an ear whose diagonal touches no other corner
        no_overlap,  ///< any ear
        no_area      ///< any ear, and corners without area
    };

    const vector3 *tame(const vector3 *corners, int corner_count);
    void project(const vector3 *corners, int corner_count);
    static void split_quadrangle(const vector3 *corners, int *triangles);
    void clip_ears(int *triangles);

    void link_corners();
    int side(int a, int b, int c) const;
    bool is_blocking(int i) const;
    void update_blocking(int i);

    static rectangle joined(const rectangle &a, const rectangle &b);
    static bool same(const rectangle &a, const rectangle &b);
    void order_corners();
    int corner_at(int slot) const;
    rectangle point_rectangle(int i) const;
    void build_rectangles();
    rectangle run_rectangle(int run) const;
    void update_rectangles(int i);

    void queue_corner(int i);
    void queue_all();
    void run_queue(strictness how);
    void wait_at(int i, int blocker);
    void stop_waiting(int i);
    void release_waiting(int i);

    bool is_ear(int b, strictness how);
    void cut_off(int b);
    bool is_fold(int b) const;
    void cut_off_with_folds(int b);
    int corner_to_force() const;

    int find_blocker(const ear &e, strictness how);
    int find_blocker_in_run(const ear &e, int run, strictness how);
    bool may_overlap(const ear &e, const rectangle &r) const;
    bool blocks(int v, const ear &e, strictness how) const;

    std::vector<vector3> m_tamed; ///< corners whose coordinates were too extreme to work with
    int_indexed<corner> m_corners;
    int_indexed<std::uint64_t> m_order;  ///< place on a curve through the plane, corner number
    int_indexed<rectangle> m_rectangles; ///< a tree: below node i stand 2i and 2i + 1
    std::vector<int> m_queue, m_next_queue;
    int m_run_count = 0; ///< leaves of the tree, a power of two
    int m_alive_count = 0;
    int m_pass = 0;
    int m_last_changed = 0; ///< a live corner beside the last one cut off
    std::int64_t m_work_left = 0;
    int *m_output = nullptr;
};
} // namespace vesk_fbx
