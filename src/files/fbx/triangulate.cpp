#include "files/fbx/triangulate.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace vesk_fbx
{
namespace
{
// Looks at corners and rectangles that a polygon may cost, for each of its corners. Outlines from
// real files need some dozens to two hundred.
constexpr std::int64_t work_per_corner = 1000;
constexpr std::int64_t most_work = 1000000000;

/// The largest coordinate; a NaN or an infinity when one is among them.
double largest_coordinate(const vector3 *corners, int corner_count)
{
    double largest = 0.0;
    double no_number = 0.0; // the difference of a number with itself is 0, of anything else NaN
    for (int i = 0; i < corner_count; ++i)
    {
        const vector3 &p = corners[i];
        largest = std::max(largest, std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)}));
        no_number += (p.x - p.x) + (p.y - p.y) + (p.z - p.z);
    }
    return largest + no_number;
}

/// Zero for what is no number, all others brought near 1 by a power of two.
double tamed(double value, int exponent)
{
    return std::isfinite(value) ? std::scalbn(value, exponent) : 0.0;
}

/// The polygon's area on each of the coordinate planes, twice and signed (Newell).
vector3 area_vector(const vector3 *corners, int corner_count)
{
    const vector3 &origin = corners[0];
    vector3 sum;
    vector3 p;
    for (int i = 1; i < corner_count; ++i)
    {
        const vector3 q = {corners[i].x - origin.x, corners[i].y - origin.y,
                           corners[i].z - origin.z};
        sum.x += p.y * q.z - p.z * q.y;
        sum.y += p.z * q.x - p.x * q.z;
        sum.z += p.x * q.y - p.y * q.x;
        p = q;
    }
    return sum;
}
} // namespace

void polygon_splitter::split(const vector3 *corners, int corner_count, int *triangles)
{
    if (corner_count == 3)
    {
        for (int i = 0; i < 3; ++i)
            triangles[i] = i;
    }
    if (corner_count <= 3)
        return;

    if (!is_tame(largest_coordinate(corners, corner_count)))
        corners = tame(corners, corner_count);
    if (corner_count == 4)
    {
        split_quadrangle(corners, triangles);
        return;
    }
    project(corners, corner_count);
    clip_ears(triangles);
}

const vector3 *polygon_splitter::tame(const vector3 *corners, int corner_count)
{
    m_tamed.assign(corners, corners + corner_count);
    double largest = 0.0;
    for (const vector3 &p : m_tamed)
        for (const double value : {p.x, p.y, p.z})
            largest = std::max(largest, std::fabs(tamed(value, 0)));
    const int exponent = largest > 0.0 ? -std::ilogb(largest) : 0;
    for (vector3 &p : m_tamed)
        p = {tamed(p.x, exponent), tamed(p.y, exponent), tamed(p.z, exponent)};
    return m_tamed.data();
}

void polygon_splitter::project(const vector3 *corners, int corner_count)
{
    const plane_view view(area_vector(corners, corner_count));
    m_corners.resize(corner_count);
    for (int i = 0; i < corner_count; ++i)
    {
        const double xyz[3] = {corners[i].x, corners[i].y, corners[i].z};
        m_corners[i].position = view.get(xyz);
    }
}

int polygon_splitter::side(int a, int b, int c) const
{
    return orientation(m_corners[a].position, m_corners[b].position, m_corners[c].position);
}

void polygon_splitter::split_quadrangle(const vector3 *corners, int *triangles)
{
    double xyz[4][3];
    for (int i = 0; i < 4; ++i)
    {
        xyz[i][0] = corners[i].x;
        xyz[i][1] = corners[i].y;
        xyz[i][2] = corners[i].z;
    }
    const quadrangle_cut &cut = cut_quadrangle({xyz[0], xyz[1], xyz[2], xyz[3]});
    std::copy(std::begin(cut), std::end(cut), triangles);
}

void polygon_splitter::clip_ears(int *triangles)
{
    m_output = triangles;
    link_corners();
    order_corners();
    build_rectangles();
    m_work_left = std::min(most_work, work_per_corner * m_alive_count);

    for (int i = 0; i < m_corners.count(); ++i)
        if (m_alive_count > 3 && m_corners[i].alive && is_fold(i))
            cut_off_with_folds(i);
    for (strictness how : {strictness::no_touching, strictness::no_overlap, strictness::no_area})
    {
        queue_all();
        run_queue(how);
    }
    while (m_alive_count > 3)
    {
        // Every polygon that does not cross itself has an ear. This one does, or is too much work.
        cut_off_with_folds(corner_to_force());
        run_queue(strictness::no_area);
    }

    const corner &last = m_corners[m_last_changed];
    *m_output++ = last.previous;
    *m_output++ = m_last_changed;
    *m_output++ = last.next;
}

void polygon_splitter::link_corners()
{
    m_alive_count = m_corners.count();
    m_pass = 0;
    m_last_changed = 0;
    m_queue.clear();
    m_next_queue.clear();
    for (int i = 0; i < m_alive_count; ++i)
    {
        corner &k = m_corners[i];
        k.previous = i > 0 ? i - 1 : m_alive_count - 1;
        k.next = i + 1 < m_alive_count ? i + 1 : 0;
        k.waits_at = k.waiting = k.previous_waiting = k.next_waiting = -1;
        k.changed_in = 0;
        k.alive = true;
        k.queued = false;
    }
    for (int i = 0; i < m_alive_count; ++i)
        m_corners[i].blocking = is_blocking(i);
}

bool polygon_splitter::is_blocking(int i) const
{
    // When corners lie in an ear, the one that is farthest from the diagonal is not convex.
    return side(m_corners[i].previous, i, m_corners[i].next) <= 0;
}

void polygon_splitter::update_blocking(int i)
{
    const bool blocking = m_corners[i].alive && is_blocking(i);
    if (blocking == m_corners[i].blocking)
        return;
    m_corners[i].blocking = blocking;
    update_rectangles(i);
}

// The queue. Cutting a corner off changes its two neighbours only, so each pass looks at those and
// at the corners that waited for them. A corner whose neighbour went away in this pass has its turn
// in the next one, which keeps the triangles from fanning out of one corner.

void polygon_splitter::queue_corner(int i)
{
    stop_waiting(i);
    if (m_corners[i].queued)
        return;
    m_corners[i].queued = true;
    m_next_queue.push_back(i);
}

void polygon_splitter::queue_all()
{
    int i = m_last_changed;
    for (int left = m_alive_count; left > 0; --left)
    {
        queue_corner(i);
        i = m_corners[i].next;
    }
}

void polygon_splitter::run_queue(strictness how)
{
    while (!m_next_queue.empty() && m_alive_count > 3 && m_work_left > 0)
    {
        m_queue.swap(m_next_queue);
        m_next_queue.clear();
        ++m_pass;
        for (int i : m_queue)
        {
            m_corners[i].queued = false;
            if (!m_corners[i].alive || m_alive_count == 3)
                continue;
            if (m_corners[i].changed_in == m_pass)
                queue_corner(i);
            else if (is_ear(i, how))
                cut_off_with_folds(i);
        }
    }
}

void polygon_splitter::wait_at(int i, int blocker)
{
    corner &k = m_corners[i];
    k.waits_at = blocker;
    k.previous_waiting = -1;
    k.next_waiting = m_corners[blocker].waiting;
    if (k.next_waiting >= 0)
        m_corners[k.next_waiting].previous_waiting = i;
    m_corners[blocker].waiting = i;
}

void polygon_splitter::stop_waiting(int i)
{
    corner &k = m_corners[i];
    if (k.waits_at < 0)
        return;
    if (k.previous_waiting >= 0)
        m_corners[k.previous_waiting].next_waiting = k.next_waiting;
    else
        m_corners[k.waits_at].waiting = k.next_waiting;
    if (k.next_waiting >= 0)
        m_corners[k.next_waiting].previous_waiting = k.previous_waiting;
    k.waits_at = -1;
}

void polygon_splitter::release_waiting(int i)
{
    while (m_corners[i].waiting >= 0)
        queue_corner(m_corners[i].waiting);
}

bool polygon_splitter::is_ear(int b, strictness how)
{
    const ear e = {m_corners[b].previous, b, m_corners[b].next};
    const int convex = side(e.a, e.b, e.c);
    --m_work_left;
    if (convex <= 0)
        return convex == 0 && how == strictness::no_area;

    const int blocker = find_blocker(e, how);
    if (blocker >= 0)
        wait_at(b, blocker);
    return blocker < 0;
}

void polygon_splitter::cut_off(int b)
{
    const int a = m_corners[b].previous;
    const int c = m_corners[b].next;
    *m_output++ = a;
    *m_output++ = b;
    *m_output++ = c;

    stop_waiting(b);
    m_corners[b].alive = false;
    --m_alive_count;
    m_corners[a].next = c;
    m_corners[c].previous = a;
    m_last_changed = c;
    update_blocking(b);
    release_waiting(b);
    for (int i : {a, c})
    {
        update_blocking(i);
        release_waiting(i);
        m_corners[i].changed_in = m_pass;
        queue_corner(i);
    }
}

/// True for a corner between coinciding points or at the tip of a spike without area.
bool polygon_splitter::is_fold(int b) const
{
    const vector2 &p = m_corners[b].position;
    const vector2 &a = m_corners[m_corners[b].previous].position;
    const vector2 &c = m_corners[m_corners[b].next].position;
    const bool opposite = (a.x < p.x && c.x > p.x) || (a.x > p.x && c.x < p.x) ||
                          (a.y < p.y && c.y > p.y) || (a.y > p.y && c.y < p.y);
    return !opposite && orientation(a, p, c) == 0;
}

/// Where an ear's diagonal runs along another side, the outline is left with stretches that run
/// back on themselves. They go at once: nothing later can tell their inside from their outside.
void polygon_splitter::cut_off_with_folds(int b)
{
    cut_off(b);
    while (m_alive_count > 3)
    {
        const int c = m_last_changed;
        const int a = m_corners[c].previous;
        if (is_fold(c))
            cut_off(c);
        else if (is_fold(a))
            cut_off(a);
        else
            break;
    }
}

int polygon_splitter::corner_to_force() const
{
    int i = m_last_changed;
    for (int step = 0; step < 16; ++step)
    {
        i = m_corners[i].next;
        if (!m_corners[i].blocking)
            return i;
    }
    return i;
}
} // namespace vesk_fbx
