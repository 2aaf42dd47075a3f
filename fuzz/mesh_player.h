#pragma once

#include "mesh_checks.h"

/// A mesh, a small model of what it has to show, and the public operations on both. What is the
/// host's duty is left to the fuzz targets: a borrower is freed before its lender changes.
struct mesh_player
{
    vesk_mesh mesh;
    struct
    {
        bool borrows_geometry, borrows_tangents, borrows_quadtree, borrows_octree;
        bool has_tangents, has_render_index, has_quadtree, has_octree;
        unsigned int vertex_count, triangle_count, channel_count, channel;
        unsigned int message_count;
    } expected = {};
    bool is_in_debt = false; ///< borrows, or did, from one that may change
    /// Polls that a build may use before it is stopped: deep trees over triangles that lie on each
    /// other are the host's wish, not a fault.
    unsigned int most_polls = 100000;

    /// The mesh shows what is expected, and is sound.
    void check() const;
    /// For what fills the mesh.
    void expect_only(unsigned int vertex_count, unsigned int triangle_count,
                     unsigned int channel_count);
    void free();

    // Operations of which there are several kinds, with the number of kinds.
    static constexpr unsigned int borrow_kinds = 4, derive_kinds = 6, transform_kinds = 6,
                                  release_kinds = 5; // the last one is `free`
    void borrow(const mesh_player &lender, unsigned int kind);
    void derive(unsigned int kind, byte_source &source);
    void transform(unsigned int kind, byte_source &source);
    void release(unsigned int kind);

    void copy(const mesh_player &from);
    /// Saved by `from`, loaded by this one.
    void pass_through_file(mesh_player &from, unsigned int compress);
    void load_nothing(bool is_mesh_file);
    void set_channel(unsigned int channel);
    /// A field copy shows the same and is dropped again.
    void copy_fields(byte_source &source) const;

private:
    void borrow_geometry(const mesh_player &lender);
    void sort_colors(byte_source &source);
    void build_octree(byte_source &source);
    void build_quadtree(byte_source &source);
    void rotate(const vesk_vector3 &angles);
};

/// Runs every operation on a mesh that was loaded: on itself, a copy and a borrower.
void run_every_operation(mesh_player &loaded, byte_source &source);
