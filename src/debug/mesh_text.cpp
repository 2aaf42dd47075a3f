#include "debug/subset_of_triangle.h"
#include "debug/text_file.h"
#include "vesk/debug_write.h"

namespace
{
// OBJ counts from 1, and an index may be any word.
unsigned long long one_based(unsigned int index)
{
    return index + 1ull;
}

void write_obj(const vesk_mesh &mesh, vesk_text_file &file)
{
    const unsigned int vertex_count = mesh.vertex_array ? mesh.vertex_count : 0;
    for (unsigned int v = 0; v < vertex_count; ++v)
        file << "v " << mesh.vertex_array[v].position << "\n";
    for (unsigned int v = 0; v < vertex_count; ++v)
        file << "vn " << mesh.vertex_array[v].normal << "\n";
    const unsigned int uv_count = mesh.uv_array ? mesh.uv_count : 0;
    for (unsigned int uv = 0; uv < uv_count; ++uv)
        file << "vt " << mesh.uv_array[uv] << "\n";

    const std::vector<int> subset_of = vesk_debug_subset_of_triangle(mesh);
    for (std::size_t t = 0; t < subset_of.size(); ++t)
    {
        if (t == 0 || subset_of[t] != subset_of[t - 1])
        {
            if (subset_of[t] < 0)
                file << "g no_subset\n";
            else
                file << "g subset_" << subset_of[t] << "\n";
        }
        const unsigned int *record = mesh.index_array + t * 7;
        file << "f";
        for (unsigned int c = 0; c < 3; ++c)
        {
            file << " " << one_based(record[c]) << "/";
            if (uv_count > 0)
                file << one_based(record[3 + c]);
            file << "/" << one_based(record[c]);
        }
        file << "\n";
    }
}

void write_ply(const vesk_mesh &mesh, vesk_text_file &file)
{
    const unsigned int vertex_count = mesh.vertex_array ? mesh.vertex_count : 0;
    const unsigned int uv_count = mesh.uv_array ? mesh.uv_count : 0;
    const std::vector<int> subset_of = vesk_debug_subset_of_triangle(mesh);
    file << "ply\nformat ascii 1.0\nelement vertex " << vertex_count
         << "\nproperty float x\nproperty float y\nproperty float z"
            "\nproperty float nx\nproperty float ny\nproperty float nz\nelement face "
         << subset_of.size()
         << "\nproperty list uchar uint vertex_indices\nproperty list uchar float texcoord"
            "\nproperty int subset\nend_header\n";
    for (unsigned int v = 0; v < vertex_count; ++v)
        file << mesh.vertex_array[v].position << " " << mesh.vertex_array[v].normal << "\n";
    for (std::size_t t = 0; t < subset_of.size(); ++t)
    {
        const unsigned int *record = mesh.index_array + t * 7;
        file << "3 " << record[0] << " " << record[1] << " " << record[2] << " 6";
        for (unsigned int c = 3; c < 6; ++c)
            file << " " << (record[c] < uv_count ? mesh.uv_array[record[c]] : vesk_vector2());
        file << " " << subset_of[t] << "\n";
    }
}
} // namespace

int vesk_debug_write_obj(const vesk_mesh &mesh, const wchar_t *path)
{
    return vesk_write_text(path, [&mesh](vesk_text_file &file) { write_obj(mesh, file); });
}

int vesk_debug_write_ply(const vesk_mesh &mesh, const wchar_t *path)
{
    return vesk_write_text(path, [&mesh](vesk_text_file &file) { write_ply(mesh, file); });
}
