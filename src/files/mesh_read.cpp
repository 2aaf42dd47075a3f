#include "vesk/mesh.h"

#include "files/chunk_stream.h"
#include "files/file_stream.h"
#include "files/mesh_format.h"
#include "foundation/alloc.h"

#include <cstring>

namespace
{
/// What a compressed byte can stand for at most.
constexpr std::uint64_t largest_expansion = 255;
/// Compressed sections that claim no more than this need no proof in the file's size: a stream
/// that turns out short is then told by its section's own message.
constexpr std::uint64_t unproved_bytes = 0x100000;

constexpr std::uint64_t subset_bytes = 2 * sizeof(unsigned int);

constexpr const wchar_t *short_file = L"Failed to read file.";
constexpr const wchar_t *no_vertex_memory =
    L"Memory Allocation Error: Failed allocate vertex array.";
constexpr const wchar_t *no_uv_memory = L"Memory Allocation Error: Failed allocate uv array.";
constexpr const wchar_t *no_uv_index_memory =
    L"Memory Allocation Error: Failed allocate uv index array.";
constexpr const wchar_t *no_index_memory = L"Memory Allocation Error: Failed allocate index array.";
constexpr const wchar_t *no_tangent_memory =
    L"Memory Allocation Error: Failed allocate tangent array.";

/// Bytes that a file still holds, and what its counts claim of them.
class byte_budget
{
public:
    explicit byte_budget(std::uint64_t bytes) : left(bytes) {}

    /// Takes `count` things of `bytes` each. False, with nothing taken, when they do not fit.
    bool take(std::uint64_t count, std::uint64_t bytes)
    {
        if (bytes != 0 && count > left / bytes)
            return false;
        left -= count * bytes;
        return true;
    }

    /// What is left, once it is decompressed.
    byte_budget expanded() const
    {
        const std::uint64_t bytes =
            left > UINT64_MAX / largest_expansion ? UINT64_MAX : left * largest_expansion;
        return byte_budget(bytes > unproved_bytes ? bytes : unproved_bytes);
    }

private:
    std::uint64_t left;
};

/// Storage for a list that is empty so far, all of it in use. False when memory is short.
template <typename T> bool fill_list(vesk_list<T> &list, unsigned int count)
{
    list.set_size(count);
    list.set_count_to_size();
    return list.count == count;
}

/// The file behind a mesh that is being filled. Every operation gives false at a failure and
/// leaves its message.
class mesh_input
{
public:
    explicit mesh_input(std::FILE *source) : file(source), budget(vesk_bytes_left(source)) {}

    template <typename... Words> bool read_words(Words &...words)
    {
        return (read_word(words) && ...);
    }
    bool read_box(vesk_mesh &mesh);

    /// One section. After a stream that failed the file is not read any more, and sections are
    /// zero: in a mesh that stays half loaded every value is one of the file's or zero.
    bool read_section(void *words, std::uint64_t word_count, const wchar_t *message);
    bool read_subsets(vesk_mesh &mesh, unsigned int subset_count);

    bool fail(const wchar_t *message)
    {
        failure = message;
        return false;
    }

    std::FILE *const file;
    byte_budget budget;
    bool compressed = false;
    bool half_loaded = false; ///< the failure is a stream's: the mesh keeps its arrays
    const wchar_t *failure = nullptr;

private:
    bool read_word(unsigned int &value)
    {
        return (budget.take(1, 4) && vesk_read_word(file, value)) || fail(short_file);
    }
    void read_stream(void *words, std::uint64_t word_count, const wchar_t *message);
};

bool mesh_input::read_box(vesk_mesh &mesh)
{
    if (!budget.take(2, sizeof(vesk_vector3)) ||
        !vesk_read_section(file, &mesh.bounding_box_min, 3) ||
        !vesk_read_section(file, &mesh.bounding_box_max, 3))
        return fail(short_file);
    return true;
}

bool mesh_input::read_section(void *words, std::uint64_t word_count, const wchar_t *message)
{
    if (half_loaded)
        std::memset(words, 0, static_cast<std::size_t>(word_count * 4));
    else if (compressed)
        read_stream(words, word_count, message);
    else if (!vesk_read_section(file, words, static_cast<std::size_t>(word_count)))
        return fail(short_file);
    return true;
}

void mesh_input::read_stream(void *words, std::uint64_t word_count, const wchar_t *message)
{
    std::uint64_t filled = 0;
    half_loaded =
        !vesk_read_chunk_stream(file, words, word_count * 4, vesk_behind_stream::used, filled);
    if (half_loaded)
        fail(message);
    // A stream may yield less than its section holds.
    std::memset(static_cast<char *>(words) + filled, 0,
                static_cast<std::size_t>(word_count * 4 - filled));
    if (vesk_host_swaps)
        vesk_swap_words(words, words, static_cast<std::size_t>(word_count));
}

bool mesh_input::read_subsets(vesk_mesh &mesh, unsigned int subset_count)
{
    if (half_loaded)
        return true;
    for (std::uint64_t word = 0; word < std::uint64_t(subset_count) * 2; ++word)
    {
        unsigned int value = 0;
        if (!vesk_read_word(file, value))
            return fail(short_file);
        mesh.subset_lookup_table.push_back(value);
        if (mesh.subset_lookup_table.count <= word)
            return fail(no_index_memory);
    }
    return true;
}

/// Makes room for channels without arrays yet; their counts may stand already.
bool add_channels(vesk_mesh &mesh, unsigned int channel_count, mesh_input &input)
{
    if (!fill_list(mesh.uv_channel_arrays, channel_count))
        return input.fail(no_uv_memory);
    for (unsigned int channel = 0; channel < channel_count; ++channel)
        mesh.uv_channel_arrays[channel] = nullptr;
    if (!fill_list(mesh.uv_index_arrays, channel_count))
        return input.fail(no_uv_index_memory);
    for (unsigned int channel = 0; channel < channel_count; ++channel)
        mesh.uv_index_arrays[channel] = nullptr;
    return true;
}

bool allocate_vertices(vesk_mesh &mesh, mesh_input &input)
{
    mesh.vertex_array = vesk_alloc_array<vesk_3d_vertex_s>(mesh.vertex_count);
    return mesh.vertex_array || input.fail(no_vertex_memory);
}

bool allocate_records(vesk_mesh &mesh, mesh_input &input)
{
    mesh.index_array = vesk_alloc_array<unsigned int>(mesh.index_count);
    return mesh.index_array || input.fail(no_index_memory);
}

bool allocate_channel(vesk_mesh &mesh, unsigned int channel, mesh_input &input)
{
    vesk_vector2 *&uvs = mesh.uv_channel_arrays[channel];
    uvs = vesk_alloc_array<vesk_vector2>(mesh.uv_channel_counts[channel]);
    if (!uvs)
        return input.fail(no_uv_memory);
    unsigned int *&uv_indices = mesh.uv_index_arrays[channel];
    uv_indices = vesk_alloc_array<unsigned int>(
        static_cast<std::size_t>(vesk_uv_index_words(mesh.index_count)));
    return uv_indices || input.fail(no_uv_index_memory);
}

bool allocate_tangents(vesk_mesh &mesh, mesh_input &input)
{
    if (mesh.tangent_count == 0)
        return true;
    mesh.tangent_array = vesk_alloc_array<vesk_mesh_tangent_s>(mesh.tangent_count);
    return mesh.tangent_array || input.fail(no_tangent_memory);
}

bool read_vertices(vesk_mesh &mesh, mesh_input &input)
{
    return input.read_section(mesh.vertex_array,
                              std::uint64_t(mesh.vertex_count) * vesk_vertex_words,
                              L"Compression Error: Failed to decompress vertices from file.");
}

bool read_uvs(vesk_mesh &mesh, unsigned int channel, mesh_input &input)
{
    return input.read_section(mesh.uv_channel_arrays[channel],
                              std::uint64_t(mesh.uv_channel_counts[channel]) * vesk_uv_words,
                              L"Compression Error: Failed to decompress uv arrays from file.");
}

bool read_uv_indices(vesk_mesh &mesh, unsigned int channel, mesh_input &input)
{
    return input.read_section(
        mesh.uv_index_arrays[channel], vesk_uv_index_words(mesh.index_count),
        L"Compression Error: Failed to decompress uv index arrays from file.");
}

bool read_records(vesk_mesh &mesh, mesh_input &input)
{
    return input.read_section(mesh.index_array, mesh.index_count,
                              L"Compression Error: Failed to decompress indices from file.");
}

bool read_tangents(vesk_mesh &mesh, mesh_input &input)
{
    return mesh.tangent_count == 0 ||
           input.read_section(mesh.tangent_array,
                              std::uint64_t(mesh.tangent_count) * vesk_tangent_words,
                              L"Compression Error: Failed to decompress tangents from file.");
}

/// The UV counts of all channels; the fields are held against the file before the list grows.
bool read_channel_counts(vesk_mesh &mesh, unsigned int channel_count, mesh_input &input)
{
    if (!byte_budget(input.budget).take(channel_count, 4))
        return input.fail(short_file);
    if (!fill_list(mesh.uv_channel_counts, channel_count))
        return input.fail(no_uv_memory);
    for (unsigned int channel = 0; channel < channel_count; ++channel)
        if (!input.read_words(mesh.uv_channel_counts[channel]))
            return false;
    return true;
}

/// Takes what the sections of both layouts claim.
bool take_sections(byte_budget &sections, const vesk_mesh &mesh)
{
    return sections.take(mesh.vertex_count, sizeof(vesk_3d_vertex_s)) &&
           sections.take(mesh.index_count, sizeof(unsigned int)) &&
           sections.take(mesh.tangent_count, sizeof(vesk_mesh_tangent_s));
}

/// Whether what is left of the file can hold what the counts claim, all sections together.
bool claims_fit(const vesk_mesh &mesh, unsigned int subset_count, const mesh_input &input)
{
    byte_budget plain = input.budget;
    if (!plain.take(subset_count, subset_bytes))
        return false;

    byte_budget sections = input.compressed ? plain.expanded() : plain;
    const unsigned int channel_count = mesh.uv_channel_counts.count;
    for (unsigned int channel = 0; channel < channel_count; ++channel)
        if (!sections.take(mesh.uv_channel_counts[channel], sizeof(vesk_vector2)))
            return false;
    return sections.take(channel_count, vesk_uv_index_words(mesh.index_count) * 4) &&
           take_sections(sections, mesh);
}

bool read_current_layout(vesk_mesh &mesh, mesh_input &input)
{
    unsigned int channel_count = 0;
    unsigned int subset_count = 0;
    if (!input.read_words(mesh.vertex_count, mesh.index_count, channel_count) ||
        !read_channel_counts(mesh, channel_count, input) ||
        !input.read_words(mesh.cur_uv_channel, mesh.tangent_count, subset_count) ||
        !input.read_box(mesh))
        return false;
    if (!claims_fit(mesh, subset_count, input))
        return input.fail(short_file);

    if (!allocate_vertices(mesh, input) || !allocate_records(mesh, input) ||
        !add_channels(mesh, channel_count, input))
        return false;
    for (unsigned int channel = 0; channel < channel_count; ++channel)
        if (!allocate_channel(mesh, channel, input))
            return false;
    if (!allocate_tangents(mesh, input) || !read_vertices(mesh, input))
        return false;
    for (unsigned int channel = 0; channel < channel_count; ++channel)
        if (!read_uvs(mesh, channel, input))
            return false;
    for (unsigned int channel = 0; channel < channel_count; ++channel)
        if (!read_uv_indices(mesh, channel, input))
            return false;
    if (!read_records(mesh, input) || !input.read_subsets(mesh, subset_count) ||
        !read_tangents(mesh, input))
        return false;
    if (!input.half_loaded)
        mesh.set_uv_channel(mesh.cur_uv_channel);
    return true;
}

/// The one channel's UV indexes, which old files hold in the triangle records alone.
void extract_uv_indices(vesk_mesh &mesh)
{
    unsigned int *uv_indices = mesh.uv_index_arrays[0];
    const std::size_t triangle_count = mesh.index_count / 7;
    for (std::size_t t = 0; t < triangle_count; ++t)
        std::memcpy(uv_indices + t * 3, mesh.index_array + t * 7 + 3, 3 * sizeof(unsigned int));
}

bool read_legacy_layout(vesk_mesh &mesh, mesh_input &input)
{
    unsigned int subset_count = 0;
    if (!input.read_words(mesh.vertex_count, mesh.uv_count, mesh.tangent_count, mesh.index_count,
                          subset_count) ||
        !input.read_box(mesh))
        return false;
    byte_budget claims = input.budget;
    if (!claims.take(subset_count, subset_bytes) ||
        !claims.take(mesh.uv_count, sizeof(vesk_vector2)) || !take_sections(claims, mesh))
        return input.fail(short_file);

    if (!allocate_vertices(mesh, input) || !add_channels(mesh, 1, input))
        return false;
    if (!fill_list(mesh.uv_channel_counts, 1))
        return input.fail(no_uv_memory);
    mesh.uv_channel_counts[0] = mesh.uv_count;
    if (!allocate_channel(mesh, 0, input) || !allocate_records(mesh, input) ||
        !allocate_tangents(mesh, input))
        return false;
    mesh.uv_array = mesh.uv_channel_arrays[0];

    if (!read_vertices(mesh, input) || !read_uvs(mesh, 0, input) || !read_records(mesh, input))
        return false;
    extract_uv_indices(mesh);
    return input.read_subsets(mesh, subset_count) && read_tangents(mesh, input);
}

/// Reads the head and goes on by layout. Whether all is well stands in `input`.
void read_mesh(vesk_mesh &mesh, mesh_input &input)
{
    unsigned int major = 0;
    unsigned int minor = 0;
    unsigned int revision = 0;
    unsigned int compressed = 0;
    if (!input.read_words(major, minor, revision) || (major >= 1 && !input.read_words(compressed)))
        return;

    if (major <= 1 && minor == 0 && revision <= 3)
    {
        // The word stands in files of version 1 and was never heeded.
        read_legacy_layout(mesh, input);
        return;
    }
    input.compressed = compressed != 0;
    read_current_layout(mesh, input);
}
} // namespace

int vesk_mesh::load_binary(const wchar_t *path)
{
    free_fail();
    ___clear_error_stack();

    std::FILE *file = vesk_open_file(path, vesk_open_mode::read);
    if (!file)
    {
        ___push_error(L"Failed to open file.");
        return 0;
    }

    mesh_input input(file);
    read_mesh(*this, input);
    std::fclose(file);
    if (!input.failure)
        return 1;

    if (!input.half_loaded)
        free_fail();
    ___push_error(input.failure);
    return 0;
}
