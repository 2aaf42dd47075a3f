#pragma once

#include "vesk/list.h"
#include "vesk/mesh_records.h"
#include "vesk/octree.h"
#include "vesk/uv_lookup.h"
#include "vesk/vector.h"

/// A triangle mesh with everything derived from it.
///
/// **Filling.** A new mesh is empty. `create`, `load_binary`, `load_from_file` and
/// `set_instance_geometry` fill it; each first releases the former content and clears the error
/// stack, so a mesh can be refilled at any time. After a failed filling the mesh is empty and
/// holds the message.
///
/// **Triangles.** `index_array` holds seven words a triangle: three vertex indexes, three UV
/// indexes of the current channel, and the record's own word offset. `index_count` counts words.
/// A corner is numbered `triangle * 3 + corner`. A subset is a contiguous stretch of records.
///
/// **Derived data.** Render index, tangents, octree and UV lookup quadtree are made by explicit
/// calls, and they do not follow later changes of the mesh: the host generates again what it
/// still uses. `rotate` alone regenerates tangents.
///
/// **Ownership.** A mesh owns its arrays unless the `instance_` flag of the group is set: then it
/// borrows them, never writes and never releases them, and the lender has to outlive it.
/// The destructor releases list storage only: call `free` before a mesh that holds anything is
/// destroyed. Arrays are released by the mesh alone, since it allocates them in its own way.
///
/// **Errors.** Operations that can fail return 1, or 0 with one message pushed on the error
/// stack, oldest first. Only `free` and the filling operations clear the stack. Arguments are not
/// validated: null pointers, indexes out of range and counts that do not fit are the caller's to
/// avoid.
///
/// **Threads.** A mesh belongs to one thread at a time. Const operations may run on many threads
/// at once while nobody writes to the mesh.
class VESK_API vesk_mesh
{
public:
    int instance_geometry;  ///< non-zero: vertices, UVs and triangle records are borrowed
    int instance_tangents;  ///< non-zero: `tangent_array` is borrowed
    int instance_uv_lookup; ///< non-zero: the arrays and the root of the quadtree are borrowed
    int instance_octree;    ///< non-zero: `octree` is borrowed

    vesk_3d_vertex_s *vertex_array; ///< `vertex_count` vertices
    vesk_vector2 *uv_array;         ///< the UVs of the current channel, never an array of its own
    unsigned int *index_array;      ///< triangle records, `index_count` words

    /// Pairs: the word offset of a subset's first record, and its number of triangles.
    vesk_list<unsigned int> subset_lookup_table;
    vesk_list<vesk_vector2 *> uv_channel_arrays; ///< for each channel, its UVs; owned
    vesk_list<unsigned int> uv_channel_counts;   ///< for each channel, its number of UVs
    /// For each channel, three UV indexes for each triangle, in record order; owned.
    vesk_list<unsigned int *> uv_index_arrays;

    unsigned int cur_uv_channel; ///< number of the current channel, also when out of range
    unsigned int vertex_count;   ///< entries of `vertex_array`
    unsigned int uv_count;       ///< entries of `uv_array` when it is a real channel
    unsigned int index_count;    ///< words of `index_array`, seven a triangle

    vesk_vector3 bounding_box_min; ///< smallest corner
    vesk_vector3 bounding_box_max; ///< largest corner

    unsigned int *render_index_array; ///< three vertex indexes a triangle, or null
    /// The colour runs of each subset; empty before the first sort.
    vesk_list<vesk_subset_color_lookup_s> render_color_lookup_table;

    vesk_mesh_tangent_s *tangent_array; ///< one record for each triangle corner, or null
    unsigned int tangent_count;         ///< entries of `tangent_array`

    unsigned int uv_lookup_width;          ///< width of the quadtree's raster, in texels
    unsigned int uv_lookup_height;         ///< height of the quadtree's raster, in texels
    unsigned int uv_lookup_vertex_count;   ///< entries of `uv_lookup_vertex_array`
    unsigned int uv_lookup_index_count;    ///< words of `uv_lookup_index_array`
    vesk_vector3 *uv_lookup_vertex_array;  ///< corners in raster space, three a triangle
    unsigned int *uv_lookup_index_array;   ///< lookup records, seven words a triangle
    vesk_uv_lookup_node_s *uv_lookup_root; ///< root of the quadtree, or null

    /// Root of the octree, or null. An own tree is for reading: its nodes and lists lie in storage
    /// that the mesh releases as a whole, so a host never destroys, grows or releases one of them,
    /// and copies a node by assignment. A tree of the host's own nodes is lent by
    /// `set_instance_octree` and never put here with `instance_octree` at 0. The same goes for
    /// `uv_lookup_root`.
    vesk_octree_node_s *octree;

    vesk_list<wchar_t *> error_stack; ///< messages, oldest first; each string is the mesh's own

    /// @name Lifecycle
    /// @{

    /// An empty mesh.
    vesk_mesh();

    /// Field copy: both objects refer to the same arrays afterwards, and only one of them may run
    /// `free` or refill. Lists get storage of their own; when memory is short for one, it is empty
    /// in the copy, the three lists of channels all together. For an independent mesh use
    /// `create(other)`.
    vesk_mesh(const vesk_mesh &other);

    /// Releases the storage of the lists and nothing else: call `free` first.
    ~vesk_mesh();

    /// Field copy, like the copy constructor. Releases nothing that the target held before.
    /// Assigning a mesh to itself changes nothing.
    vesk_mesh &operator=(const vesk_mesh &other);

    /// The empty state, without releasing any array: what the mesh held is forgotten. The error
    /// stack stays.
    void reset();

    /// Releases everything, messages included. The mesh is empty afterwards.
    void free();

    /// Releases the render index and clears its colour table.
    void free_render_index_array();

    /// Releases own tangents, lets borrowed ones go.
    void free_tangents();

    /// 1 when there are vertices, UVs, triangles and subsets, none of them zero in number.
    int is_valid() const;

    /// @}
    /// @name Filling
    /// @{

    /// Makes room for a mesh that the host writes itself: zero vertices, triangle records that
    /// are not initialised but for their UV indexes, and the channels of `uv_data`. There are no
    /// subsets and the box is zero.
    ///
    /// @param new_vertex_count vertices
    /// @param new_index_count words, seven a triangle
    /// @param uv_data copied
    /// @return 1, or 0 with an empty mesh and one message:
    ///   - "Memory Allocation Error: Failed to allocate mesh vertex array."
    ///   - "Memory Allocation Error: Failed to allocate mesh index array."
    ///   - "Memory Allocation Error: Failed to allocate uv array."
    ///   - "Memory Allocation Error: Failed to allocate  uv index array."
    ///
    /// Storage for the channel lists that cannot be had counts as a channel's UV array.
    int create(unsigned int new_vertex_count, unsigned int new_index_count,
               const vesk_mesh_uv_data_s &uv_data);

    /// A mesh from arrays; everything is copied. Words 3 to 5 of the records are rewritten from
    /// channel 0. The bounding box is computed.
    ///
    /// @param vertices `new_vertex_count` vertices
    /// @param indices `new_index_count` words, seven a triangle
    /// @param new_vertex_count vertices
    /// @param new_index_count words
    /// @param uv_data channels
    /// @param subsets pairs in the form of `subset_lookup_table`
    /// @return 1, or 0 with an empty mesh and one of the messages of the other form, or
    ///   - "Memory Allocation Error: Failed to allocate mesh subset lookup table."
    int create(const vesk_3d_vertex_s *vertices, const unsigned int *indices,
               unsigned int new_vertex_count, unsigned int new_index_count,
               const vesk_mesh_uv_data_s &uv_data, const vesk_list<unsigned int> &subsets);

    /// A deep copy of geometry, channels, current channel, subsets, tangents and box, owned
    /// whatever `other` borrowed: an instance gives a mesh without channels. Render index, trees
    /// and messages are not copied. When the current channel is out of range, `uv_count` is 0 in
    /// the copy whatever `other` kept there. A mesh that is copied to itself loses everything,
    /// with a result of 1.
    ///
    /// @return 1, or 0 with an empty mesh and one of the messages of the other forms, or
    ///   - "Memory Allocation Error: Failed to allocate mesh tangent array."
    int create(const vesk_mesh &other);

    /// Reads a mesh from a file that `save_binary` wrote, of this version or any older one. The
    /// bounding box is the file's. Older files hold one channel; `cur_uv_channel` is then 0.
    ///
    /// The file is not trusted: its counts together are held against its size before anything is
    /// allocated, with 255 bytes for a compressed one. Vertex and UV indexes are not checked;
    /// `vesk_mesh_validate` does that. Bytes behind the mesh are ignored. Pipes and devices, whose
    /// size cannot be told, are refused like a file that ends early.
    ///
    /// @param path as for `save_binary`
    /// @return 1, or 0 with an empty mesh and one message:
    ///   - "Failed to open file."
    ///   - "Failed to read file.": the file ends early or claims more than it can hold
    ///   - "Memory Allocation Error: Failed allocate vertex array.", "... uv array.",
    ///     "... uv index array.", "... index array.", "... tangent array." The lists of channels
    ///     count as their arrays, and the subset table as the index array.
    ///
    ///   or 0 with a mesh that is half loaded (`is_valid` gives 0; `free` or refill it): all
    ///   arrays are there, what was read stays in them, and the rest is zero:
    ///   - "Compression Error: Failed to decompress vertices from file.", "... uv arrays ...",
    ///     "... uv index arrays ...", "... indices ...", "... tangents ..."
    ///
    /// A compressed section that yields less than its count says is no failure; its rest is zero.
    /// Cost: one read for each section into storage that is not cleared before, and one pass over
    /// the records for the current channel. Compressed, 2 MiB more memory while it reads.
    int load_binary(const wchar_t *path);

    /// Reads the scene of an FBX file: every mesh node becomes one subset, positions and normals
    /// are baked into one space that mirrors the scene in x, UV layers become channels.
    ///
    /// One import at a time in the process. Exhausted memory in the working arrays throws
    /// `std::bad_alloc`, with the mesh empty and nothing leaked.
    ///
    /// @return 1, or 0 with an empty mesh and one message:
    ///   - "Failed to initialize FBX importer.": no such file, or no known format
    ///   - "Failed to import FBX. Not a valid FBX file.": another 3D format
    ///   - "Failed to import FBX. Import(fbx_scene) failed.": FBX, but broken, or short of memory
    ///   - "Failed to find any meshes in the FBX scene."
    ///   - "Failed to triangulate fbx_mesh."
    ///   - "Not enough FBX uv indices for triangles."
    ///   - "Memory Allocation Error: Failed to allocate mesh index array.", "... mesh uv array.",
    ///     "... mesh uv index array.", "... mesh vertex array."
    int load_from_file(const wchar_t *path);

    /// @}
    /// @name Borrowing from another mesh, or from any arrays of the right form
    /// Each call ends what was borrowed or owned before in its group.
    /// @{

    /// Fills the mesh with borrowed geometry; begins from an empty mesh like every filling. The
    /// subset table is copied (it stays empty, without a message, when memory is short) and the
    /// box computed. While it lasts, transforms, normal generation and `set_uv_channel` do
    /// nothing.
    void set_instance_geometry(const vesk_3d_vertex_s *vertices, const vesk_vector2 *uvs,
                               const unsigned int *indices, unsigned int new_vertex_count,
                               unsigned int new_uv_count, unsigned int new_index_count,
                               const vesk_list<unsigned int> &subsets);

    /// Borrows tangents.
    void set_instance_tangents(const vesk_mesh_tangent_s *tangents, unsigned int new_tangent_count);

    /// Borrows a quadtree; the arguments are those of `get_uv_lookup_quadtree`.
    void set_instance_uv_lookup_quadtree(const vesk_vector3 *vertices, const unsigned int *indices,
                                         unsigned int new_vertex_count,
                                         unsigned int new_index_count,
                                         const vesk_uv_lookup_node_s *root, unsigned int width,
                                         unsigned int height);

    /// Borrows an octree. A null `root` leaves the mesh without a tree and still borrowing, so
    /// that `generate_octree` gives 0 until `free_octree`.
    void set_instance_octree(const vesk_octree_node_s *root);

    /// @}
    /// @name Getters: no side effects, no checks
    /// @{

    vesk_3d_vertex_s *get_vertex_array();                           ///< `vertex_array`
    const vesk_3d_vertex_s *get_vertex_array() const;               ///< `vertex_array`
    vesk_vector2 *get_uv_array();                                   ///< `uv_array`
    const vesk_vector2 *get_uv_array() const;                       ///< `uv_array`
    unsigned int *get_index_array();                                ///< `index_array`
    const unsigned int *get_index_array() const;                    ///< `index_array`
    vesk_mesh_tangent_s *get_tangent_array();                       ///< `tangent_array`
    const vesk_mesh_tangent_s *get_tangent_array() const;           ///< `tangent_array`
    const unsigned int *get_render_index_array() const;             ///< `render_index_array`
    const vesk_list<unsigned int> *get_subset_lookup_table() const; ///< the subset table

    /// Stores the address of `render_color_lookup_table` in `*table`.
    void get_render_color_lookup_table(const vesk_list<vesk_subset_color_lookup_s> **table) const;

    const vesk_octree_node_s *get_octree() const; ///< `octree`

    /// Copies the seven fields of the quadtree out, in the order that
    /// `set_instance_uv_lookup_quadtree` takes.
    void get_uv_lookup_quadtree(const vesk_vector3 **vertices, const unsigned int **indices,
                                unsigned int &out_vertex_count, unsigned int &out_index_count,
                                const vesk_uv_lookup_node_s **root, unsigned int &width,
                                unsigned int &height) const;

    unsigned int get_vertex_count() const;       ///< `vertex_count`
    unsigned int get_uv_count() const;           ///< `uv_count`
    unsigned int get_index_count() const;        ///< `index_count`, in words
    unsigned int get_subset_count() const;       ///< pairs in the subset table
    unsigned int get_tangent_count() const;      ///< `tangent_count`
    unsigned int get_render_index_count() const; ///< words of the render index; 0 without one
    unsigned int get_uv_channel_count() const;   ///< number of channels; 1 on an instance
    unsigned int get_cur_uv_channel() const;     ///< `cur_uv_channel`; 0 on an instance
    unsigned int get_uv_lookup_width() const;    ///< `uv_lookup_width`
    unsigned int get_uv_lookup_height() const;   ///< `uv_lookup_height`

    const vesk_list<wchar_t *> *get_error_stack() const; ///< messages, oldest first

    /// @}
    /// @name Bounding box and subsets
    /// @{

    /// Computes the box from all vertices; a NaN coordinate never enters it. Without vertices
    /// `bounding_box_min` is the largest float and `bounding_box_max` minus that, on each axis.
    void calculate_bounding_box();

    /// Copies the stored box out, without computing.
    void get_bounding_box(vesk_vector3 &min_corner, vesk_vector3 &max_corner);

    /// Drops all subsets.
    void clear_subset_lookup_table();

    /// Appends a subset: the word offset of its first record (a multiple of 7), and its number of
    /// triangles. Not checked against `index_count`. When memory is short nothing is appended.
    void add_subset_lookup_table_entry(unsigned int first_index, unsigned int triangle_count);

    /// @}
    /// @name UV channels
    /// @{

    /// Makes `channel` current: rewrites the UV words of all records. A number out of range is a
    /// state, not an error: every corner then reads one shared UV of (0, 0), and `uv_count` keeps
    /// what it was. Nothing happens on an instance. Tangents and quadtree stay as they are.
    /// Cost: one pass over the records.
    void set_uv_channel(unsigned int channel);

    /// @}
    /// @name Binary mesh file
    /// @{

    /// Writes the mesh at `path`, little-endian, version 1.0.5. Render index and trees are not
    /// stored, and neither are borrowed UVs. A vertex, record or tangent array that is null has a
    /// count of 0 in the file, and an odd last word of the subset table is left out.
    ///
    /// @param path Unicode in the system's wide form; where the system has no wide paths it gets
    ///   UTF-8, whatever the locale, and what is not valid Unicode does not open. An existing
    ///   file is overwritten.
    /// @param compress other than 0: the large sections pass through the chunk stream. Stored as
    ///   it is.
    /// @return 1, or 0 with one message more (the partial file stays on disk):
    ///   - "Failed to open file."
    ///   - "Compression Error: Failed to compress vertices to file.", "... uv arrays ...",
    ///     "... uv indices ...", "... indices ...", "... tangents ..."
    ///
    /// Results of plain writes are not examined: a full disk gives 1. A compressed file with an
    /// empty vertex, record or channel array is written and cannot be loaded.
    /// Cost: one write for each section. Compressed, 2 MiB of memory while it writes.
    int save_binary(const wchar_t *path, int compress);

    /// @}
    /// @name Transforms: nothing happens on an instance
    /// `position`, `scale`, `position_and_scale` and `center_and_enforce_size` touch positions
    /// and the box, which they transform as two points: a negative factor turns it inside out.
    /// @{

    /// Adds `offset` to every position: a relative move.
    void position(const vesk_vector3 &offset);
    /// Multiplies every position by `factor`.
    void scale(float factor);
    /// Multiplies every position by `factors`, component by component.
    void scale(const vesk_vector3 &factors);
    /// New position: (old + `offset`) * `factor`.
    void position_and_scale(const vesk_vector3 &offset, float factor);
    /// New position: (old + `offset`) * `factors`, component by component.
    void position_and_scale(const vesk_vector3 &offset, const vesk_vector3 &factors);

    /// Moves the centre of the stored box to the origin and scales so that the farthest vertex
    /// lies at distance `size`: a radius, not a box edge. `size` of zero or less only centres.
    /// When no vertex lies off the centre the factor is 1.0f.
    ///
    /// @param size distance of the farthest vertex afterwards
    /// @param offset null, or where to write what was added to each position
    /// @param scale null, or where to write the factor that was applied after that
    void center_and_enforce_size(float size, vesk_vector3 *offset, float *scale);

    /// Turns positions and normals about X, then Y, then Z by `angles` in radians, right-handed.
    /// Generates tangents anew and computes the box. When memory for the tangents is short, the
    /// mesh has none and the message of `generate_tangents` is pushed. All three angles zero:
    /// nothing happens.
    void rotate(const vesk_vector3 &angles);

    /// @}
    /// @name Normals, tangents, render index
    /// @{

    /// Recomputes the normal of every vertex from the triangles that touch its position, in
    /// record order: the running normal is brought back to unit length before each triangle's
    /// area-sized normal is added. Smooth everywhere: vertices at one position get equal normals.
    /// Cannot fail.
    /// Cost: O(vertices + triangles), with at most 36 bytes of working memory a vertex; when that
    /// cannot be had, a pass over the triangles for each 512 positions, with the same result.
    void generate_normals();

    /// Generates a tangent and a handedness for each triangle corner from positions, normals and
    /// the current UVs (Lengyel's method, not averaged between triangles). A triangle without UV
    /// area gets zero tangents and +1.0f.
    ///
    /// @return 1, or 0 with no tangents and one message:
    ///   - "Memory Allocation Error: Failed to allocate tangent array."
    ///   - "Memory Allocation Error: Failed to allocate bi_normal array."
    /// Cost: O(triangles); 48 bytes a triangle, and 36 more for the length of the call.
    int generate_tangents();

    /// Extracts the three vertex indexes of each triangle into the render index, in record order.
    ///
    /// @return 1, or 0 with no render index and the message
    ///   "Memory Allocation Error: Failed to allocate mesh render index array."
    int generate_render_index_array();

    /// Reorders the render index so that triangles of one colour stand together in each subset,
    /// in ascending order of colour, and records the runs. `generate_render_index_array` comes
    /// before.
    ///
    /// @param colors one colour (its low 32 bits) for each triangle that the subset table reaches,
    ///   in the table's order
    /// @return 1; 0 without a message when there is no render index, when subsets lie on each other
    ///   and together name more triangles than the mesh has, or when memory for the sort cannot be
    ///   had: the table is then empty and the array as `generate_render_index_array` left it
    int sort_render_index_by_subset_color(const vesk_list<unsigned long> &colors);

    /// @}
    /// @name Octree: rays and lines
    /// Without a tree every query answers 0; the closest forms then still set `distance` to the
    /// largest float. Positions are those of `vertex_array` at the moment, boxes those of the
    /// tree. The boxes of an own tree are taken to be what `split_into_eight` made of the root's:
    /// a host that wants other boxes lends a tree of its own, whose boxes are read as they stand.
    ///
    /// Queries push no messages and allocate nothing but the growth of the caller's lists. A hit
    /// that one of the three lists has no memory for enters none of them and still counts for
    /// the result. Limits are read once, before anything is written. Walks need about 13 KB of
    /// stack, and 4 KB more for every 70 levels that a tree is deeper than that, at the most.
    /// @{

    /// Builds the octree over all triangles, or over those of some subsets.
    ///
    /// @param max_depth levels below the root; 2147483648 and above count as negative
    /// @param subsets null for all triangles, else subset numbers; a number beyond the table
    ///   names no triangle
    /// @param cancel_callback null, or polled during the build: non-zero stops it
    /// @return 1 when there is a root afterwards, else 0: without a message while an octree is
    ///   borrowed, otherwise with no tree and one message:
    ///   - "Failed to add any triangles to the octree root node. Subsets not found."
    ///   - "Memory Allocation Error: Failed to allocate octree root node.": also for a negative
    ///     depth, fewer than 3 selected triangles of a larger mesh, and a stop at the first poll
    ///
    /// When memory is short below the root, triangles stay in the parent of the node that it was
    /// short for; none is lost. A corner with a NaN coordinate keeps its triangle out of the tree.
    ///
    /// Cost: about n log n. Nothing but `max_depth` bounds the depth: three triangles that share a
    /// spot split down to it, and once boxes have no size left, after 24 levels or so, every level
    /// may have eight times the nodes of the one above. Give such meshes a callback. No depth costs
    /// machine stack; each level takes about 450 bytes while it is built.
    int generate_octree(unsigned int max_depth, const vesk_list<unsigned int> *subsets,
                        int (*cancel_callback)(void));

    /// Releases an own octree, lets a borrowed one go.
    void free_octree();

    /// The sum of `get_size_bytes` over all nodes; 0 without a tree.
    unsigned int get_octree_size_bytes() const;

    /// Whether a ray hits anything. A hit behind the origin counts at its distance when the ray
    /// reaches the node that holds it. Both sides of a triangle count, edges and corners too.
    ///
    /// @param origin where the ray begins
    /// @param direction any length; parameters are multiples of it
    /// @param minimum_distance null, or a limit: hits with a smaller parameter do not count
    int is_ray_intersect(const vesk_vector3 &origin, const vesk_vector3 &direction,
                         float *minimum_distance) const;

    /// All hits of a ray, appended to the three parallel lists in the order of the walk. A
    /// triangle that stands in several nodes is reported for each of them.
    ///
    /// @param origin where the ray begins
    /// @param direction any length
    /// @param distances parameters, never negative
    /// @param triangles records in the `index_array` that the tree was built over
    /// @param barycentrics weights of the second and third corner
    /// @param minimum_distance null, or a limit: hits with a smaller parameter do not count
    /// @return 1 when there was a hit, else 0
    int is_ray_intersect(const vesk_vector3 &origin, const vesk_vector3 &direction,
                         vesk_list<float> &distances,
                         vesk_list<vesk_octree_triangle_s *> &triangles,
                         vesk_list<vesk_vector2> &barycentrics, float *minimum_distance) const;

    /// The hit of a ray with the least parameter; the first in walk order among equals.
    ///
    /// @param origin where the ray begins
    /// @param direction any length
    /// @param distance the parameter; the largest float when there is no hit
    /// @param triangle a copy of the record; kept when there is no hit
    /// @param barycentric weights of the second and third corner; kept when there is no hit
    /// @param minimum_distance null, or a limit: hits with a smaller parameter do not count
    /// @return 1 when there was a hit, else 0
    int is_ray_intersect_closest(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                 float &distance, vesk_octree_triangle_s &triangle,
                                 vesk_vector2 &barycentric, float *minimum_distance) const;

    /// Whether a line hits anything up to parameter `length`. Parameters keep their sign: a hit
    /// behind the origin passes unless `minimum_distance` stops it; a limit of 0.0f gives the
    /// segment alone. Other arguments as for rays.
    int is_line_intersect(const vesk_vector3 &origin, const vesk_vector3 &direction, float length,
                          float *minimum_distance) const;

    /// All hits of a line, in the manner of the ray form; parameters are signed.
    int is_line_intersect(const vesk_vector3 &origin, const vesk_vector3 &direction, float length,
                          vesk_list<float> &distances,
                          vesk_list<vesk_octree_triangle_s *> &triangles,
                          vesk_list<vesk_vector2> &barycentrics, float *minimum_distance) const;

    /// The hit of a line with the least signed parameter, in the manner of the ray form.
    int is_line_intersect_closest(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                  float length, float &distance, vesk_octree_triangle_s &triangle,
                                  vesk_vector2 &barycentric, float *minimum_distance) const;

    /// @}
    /// @name UV lookup: texels to triangles
    /// As with the octree, the rectangles of an own quadtree are taken to be what
    /// `split_into_four` made of the root's, and those of a borrowed one are read as they stand.
    /// @{

    /// Flattens the current UV channel into a raster and builds the quadtree over it.
    ///
    /// @param width raster width in texels
    /// @param height raster height in texels; row 0 is at the high end of V
    /// @param max_depth levels below the root; 2147483648 and above count as negative
    /// @param uv_offset_u added to each U before scaling
    /// @param uv_offset_v added to each V before scaling
    /// @param subsets null for all triangles, else subset numbers; a number beyond the table
    ///   names no triangle
    /// @param cancel_callback null, or polled during the build: non-zero stops it
    /// @return 1, or 0 without a root and with one message:
    ///   - "Memory Allocation Error: Failed to allocate uv lookup vertex array."
    ///   - "Memory Allocation Error: Failed to allocate uv lookup index array."
    ///   - "Failed to add any triangles to the octree root node. Subsets not found."
    ///   - "Memory Allocation Error: Failed to allocate quadtree root node.": also for a negative
    ///     depth, fewer than 3 gathered triangles of a larger mesh, and a stop at the first poll
    int generate_uv_lookup_quadtree(unsigned int width, unsigned int height, unsigned int max_depth,
                                    int uv_offset_u, int uv_offset_v,
                                    const vesk_list<unsigned int> *subsets,
                                    int (*cancel_callback)(void));

    /// Releases an own quadtree, lets a borrowed one go.
    void free_uv_lookup_quadtree();

    /// The sum of `get_size_bytes` over all nodes; 0 without a tree.
    unsigned int get_uv_lookup_quadtree_size_bytes() const;

    /// The first triangle, in the order of the walk, that covers a point of the raster.
    ///
    /// An own tree, its corners and its records are taken to be as they were built: rectangles
    /// follow from the root's, and three corners for each record lie on the plane y = 0. A host
    /// that wants others lends them, and they are read as they stand.
    ///
    /// @param point column and row; texel centres lie on whole numbers
    /// @param triangle a copy of the lookup record; kept when there is no hit
    /// @param barycentric weights of the second and third corner; no meaning without a hit
    /// @return 1 when a triangle was found, else 0; 0 without a tree
    int is_point_intersect_uv_lookup(const vesk_vector2 &point, vesk_uv_lookup_triangle_s &triangle,
                                     vesk_vector2 &barycentric) const;

    /// @}

protected:
    /// Releases everything but the error stack.
    void free_fail();

private:
    void ___calculate_min_max_bounding_box();
    void ___push_error(const wchar_t *message);
    void ___clear_error_stack();
};
