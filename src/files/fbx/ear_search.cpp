#include "files/fbx/triangulate.h"

#include <algorithm>
#include <limits>

// Whether anything lies in the triangle that would be cut off a polygon.

namespace vesk_fbx
{
namespace
{
constexpr int run_length = 16; // corners under one leaf of the tree

/// A number's 16 bits with a gap before each, half of a place on the Z-order curve.
std::uint64_t spread_bits(double value)
{
    std::uint32_t bits = static_cast<std::uint32_t>(value);
    bits = (bits | bits << 8) & 0x00FF00FFu;
    bits = (bits | bits << 4) & 0x0F0F0F0Fu;
    bits = (bits | bits << 2) & 0x33333333u;
    bits = (bits | bits << 1) & 0x55555555u;
    return bits;
}
} // namespace

// The tree of rectangles stands on stretches of a curve through the plane, so that a small ear
// meets few of them however the outline winds.

void polygon_splitter::order_corners()
{
    rectangle all = point_rectangle(0);
    for (int i = 1; i < m_alive_count; ++i)
        all = joined(all, point_rectangle(i));
    const double width = std::max(all.max_x - all.min_x, all.max_y - all.min_y);
    const double scale = width > 0.0 ? 65535.0 / width : 0.0;

    m_order.resize(m_corners.count());
    for (int i = 0; i < m_alive_count; ++i)
    {
        const vector2 &p = m_corners[i].position;
        const std::uint64_t code =
            spread_bits((p.x - all.min_x) * scale) | spread_bits((p.y - all.min_y) * scale) << 1;
        m_order[i] = code << 32 | static_cast<std::uint32_t>(i);
    }
    if (m_alive_count > run_length)
        std::sort(m_order.begin(), m_order.end());
    for (int slot = 0; slot < m_alive_count; ++slot)
        m_corners[corner_at(slot)].slot = slot;
}

int polygon_splitter::corner_at(int slot) const
{
    return static_cast<int>(m_order[slot] & 0xFFFFFFFFu);
}

polygon_splitter::rectangle polygon_splitter::point_rectangle(int i) const
{
    const vector2 &p = m_corners[i].position;
    return {p.x, p.y, p.x, p.y};
}

void polygon_splitter::build_rectangles()
{
    m_run_count = 1;
    while (m_run_count * run_length < m_alive_count)
        m_run_count *= 2;
    m_rectangles.resize(m_run_count * 2);
    for (int run = 0; run < m_run_count; ++run)
        m_rectangles[m_run_count + run] = run_rectangle(run);
    for (int node = m_run_count - 1; node > 0; --node)
        m_rectangles[node] = joined(m_rectangles[2 * node], m_rectangles[2 * node + 1]);
}

polygon_splitter::rectangle polygon_splitter::joined(const rectangle &a, const rectangle &b)
{
    return {std::min(a.min_x, b.min_x), std::min(a.min_y, b.min_y), std::max(a.max_x, b.max_x),
            std::max(a.max_y, b.max_y)};
}

polygon_splitter::rectangle polygon_splitter::run_rectangle(int run) const
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    rectangle r = {infinity, infinity, -infinity, -infinity};
    const int end = std::min((run + 1) * run_length, m_corners.count());
    for (int slot = run * run_length; slot < end; ++slot)
    {
        const int i = corner_at(slot);
        if (m_corners[i].blocking)
            r = joined(r, point_rectangle(i));
    }
    return r;
}

void polygon_splitter::update_rectangles(int i)
{
    const int run = m_corners[i].slot / run_length;
    int node = m_run_count + run;
    rectangle r = run_rectangle(run);
    while (!same(m_rectangles[node], r))
    {
        m_rectangles[node] = r;
        node /= 2;
        if (node == 0)
            break;
        r = joined(m_rectangles[2 * node], m_rectangles[2 * node + 1]);
    }
}

bool polygon_splitter::same(const rectangle &a, const rectangle &b)
{
    return a.min_x == b.min_x && a.min_y == b.min_y && a.max_x == b.max_x && a.max_y == b.max_y;
}

int polygon_splitter::find_blocker(const ear &e, strictness how)
{
    int stack[64];
    int depth = 0;
    stack[depth++] = 1;
    while (depth > 0)
    {
        const int node = stack[--depth];
        --m_work_left;
        if (!may_overlap(e, m_rectangles[node]))
            continue;
        if (node < m_run_count)
        {
            stack[depth++] = 2 * node + 1;
            stack[depth++] = 2 * node;
            continue;
        }
        const int blocker = find_blocker_in_run(e, node - m_run_count, how);
        if (blocker >= 0)
            return blocker;
    }
    return -1;
}

int polygon_splitter::find_blocker_in_run(const ear &e, int run, strictness how)
{
    const int end = std::min((run + 1) * run_length, m_corners.count());
    m_work_left -= run_length;
    for (int slot = run * run_length; slot < end; ++slot)
    {
        const int i = corner_at(slot);
        if (m_corners[i].blocking && blocks(i, e, how))
            return i;
    }
    return -1;
}

/// False when the whole rectangle lies beyond one side of the ear.
bool polygon_splitter::may_overlap(const ear &e, const rectangle &r) const
{
    const vector2 p[3] = {m_corners[e.a].position, m_corners[e.b].position,
                          m_corners[e.c].position};
    if (std::max({p[0].x, p[1].x, p[2].x}) < r.min_x ||
        std::min({p[0].x, p[1].x, p[2].x}) > r.max_x)
        return false;
    if (std::max({p[0].y, p[1].y, p[2].y}) < r.min_y ||
        std::min({p[0].y, p[1].y, p[2].y}) > r.max_y)
        return false;
    for (int i = 0; i < 3; ++i)
    {
        const vector2 &from = p[i];
        const vector2 &to = p[(i + 1) % 3];
        const vector2 innermost = {to.y > from.y ? r.min_x : r.max_x,
                                   to.x > from.x ? r.max_y : r.min_y};
        if (certain_orientation(from, to, innermost) < 0)
            return false;
    }
    return true;
}

/// True when the outline runs through the inside of the ear at corner `v`. A corner on the ear's
/// rim or on one of its points does no harm as long as none of its sides leads inwards.
bool polygon_splitter::blocks(int v, const ear &e, strictness how) const
{
    if (v == e.a || v == e.b || v == e.c)
        return false;
    const int rim[3][2] = {{e.a, e.b}, {e.b, e.c}, {e.c, e.a}};
    int where[3];
    for (int i = 0; i < 3; ++i)
    {
        where[i] = side(rim[i][0], rim[i][1], v);
        if (where[i] < 0)
            return false;
    }
    const bool on_outline = where[0] == 0 || where[1] == 0;
    if (!on_outline && (where[2] > 0 || how == strictness::no_touching))
        return true;

    // At the ear's tip, sides that run back along both of the ear's own are either a slit, with the
    // outline's inside around it, or what is left between two parts that were cut off: nothing. An
    // ear stands well back until no other is left.
    const bool at_tip = where[0] == 0 && where[1] == 0;
    if (at_tip && how != strictness::no_area && side(e.a, e.b, m_corners[v].next) == 0 &&
        side(e.b, e.c, m_corners[v].previous) == 0)
        return true;

    for (int neighbour : {m_corners[v].previous, m_corners[v].next})
    {
        bool leads_inwards = true;
        for (int i = 0; i < 3; ++i)
            if (where[i] == 0 && side(rim[i][0], rim[i][1], neighbour) <= 0)
                leads_inwards = false;
        if (leads_inwards)
            return true;
    }
    return false;
}
} // namespace vesk_fbx
