#include "vesk/mesh.h"

#include "files/chunk_stream.h"
#include "files/file_stream.h"
#include "files/mesh_format.h"

namespace
{
constexpr unsigned int written_version[3] = {1, 0, 5};

/// Writes one mesh. The first section that does not compress ends the file.
class mesh_writer
{
public:
    mesh_writer(const vesk_mesh &source, int compress, std::FILE *target);

    /// Null, or the message of the section that failed.
    const wchar_t *write();

private:
    void write_head();
    void write_corner(const vesk_vector3 &corner);
    bool write_sections();
    bool write_section(const void *words, std::uint64_t word_count, const wchar_t *message);
    void write_subsets();

    const vesk_mesh &mesh;
    const unsigned int compressed;
    std::FILE *const file;
    // An array that is not there has no entries, whatever the mesh's count says: head and
    // sections agree, and nothing is read through a null pointer.
    const unsigned int vertex_count;
    const unsigned int index_count;
    const unsigned int tangent_count;
    const unsigned int subset_count;
    const wchar_t *failure = nullptr;
};

mesh_writer::mesh_writer(const vesk_mesh &source, int compress, std::FILE *target)
    : mesh(source)
    , compressed(static_cast<unsigned int>(compress))
    , file(target)
    , vertex_count(source.vertex_array ? source.vertex_count : 0)
    , index_count(source.index_array ? source.index_count : 0)
    , tangent_count(source.tangent_array ? source.tangent_count : 0)
    , subset_count(source.get_subset_count())
{
}

const wchar_t *mesh_writer::write()
{
    write_head();
    write_sections();
    return failure;
}

void mesh_writer::write_head()
{
    for (const unsigned int part : written_version)
        vesk_write_word(file, part);
    vesk_write_word(file, compressed);

    vesk_write_word(file, vertex_count);
    vesk_write_word(file, index_count);
    vesk_write_word(file, mesh.uv_channel_arrays.count);
    for (unsigned int channel = 0; channel < mesh.uv_channel_arrays.count; ++channel)
        vesk_write_word(file, mesh.uv_channel_counts[channel]);
    vesk_write_word(file, mesh.cur_uv_channel);
    vesk_write_word(file, tangent_count);
    vesk_write_word(file, subset_count);
    write_corner(mesh.bounding_box_min);
    write_corner(mesh.bounding_box_max);
}

void mesh_writer::write_corner(const vesk_vector3 &corner)
{
    vesk_write_section(file, &corner, 3);
}

bool mesh_writer::write_sections()
{
    const unsigned int channel_count = mesh.uv_channel_arrays.count;
    if (!write_section(mesh.vertex_array, std::uint64_t(vertex_count) * vesk_vertex_words,
                       L"Compression Error: Failed to compress vertices to file."))
        return false;
    for (unsigned int channel = 0; channel < channel_count; ++channel)
        if (!write_section(mesh.uv_channel_arrays[channel],
                           std::uint64_t(mesh.uv_channel_counts[channel]) * vesk_uv_words,
                           L"Compression Error: Failed to compress uv arrays to file."))
            return false;
    for (unsigned int channel = 0; channel < channel_count; ++channel)
        if (!write_section(mesh.uv_index_arrays[channel], vesk_uv_index_words(index_count),
                           L"Compression Error: Failed to compress uv indices to file."))
            return false;
    if (!write_section(mesh.index_array, index_count,
                       L"Compression Error: Failed to compress indices to file."))
        return false;
    write_subsets();
    return tangent_count == 0 ||
           write_section(mesh.tangent_array, std::uint64_t(tangent_count) * vesk_tangent_words,
                         L"Compression Error: Failed to compress tangents to file.");
}

bool mesh_writer::write_section(const void *words, std::uint64_t word_count, const wchar_t *message)
{
    if (!compressed)
    {
        vesk_write_section(file, words, static_cast<std::size_t>(word_count));
        return true;
    }
    if (!vesk_write_chunk_stream(file, words, word_count * 4))
        failure = message;
    return !failure;
}

void mesh_writer::write_subsets()
{
    // Pairs only: an odd word at the end of the table is no subset.
    for (unsigned int word = 0; word < subset_count * 2; ++word)
        vesk_write_word(file, mesh.subset_lookup_table[word]);
}
} // namespace

int vesk_mesh::save_binary(const wchar_t *path, int compress)
{
    std::FILE *file = vesk_open_file(path, vesk_open_mode::write);
    if (!file)
    {
        ___push_error(L"Failed to open file.");
        return 0;
    }

    const wchar_t *failure = mesh_writer(*this, compress, file).write();
    std::fclose(file);
    if (failure)
    {
        ___push_error(failure);
        return 0;
    }
    return 1;
}
