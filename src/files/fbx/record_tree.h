#pragma once

#include "files/fbx/document.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

// What the readers of both encodings build a document's tree with.

namespace vesk_fbx
{
/// Whether a child of `parent` (null at the top level) is looked into. The import needs models,
/// geometries and node attributes, the templates and the connections; animation curves, poses and
/// embedded media, which make up most of many files, are skipped as a whole.
inline bool has_wanted_children(const record *parent, std::string_view name)
{
    if (parent == nullptr)
        return name == "Objects" || name == "Connections" || name == "Definitions" ||
               name == "FBXHeaderExtension";
    if (parent->name == "FBXHeaderExtension")
        return false;
    if (parent->name == "Objects")
        return name == "Model" || name == "Geometry" || name == "NodeAttribute";
    return true;
}

/// Owns all records of a document. Records are linked by plain pointers and released block by
/// block, so that a tree of any depth goes away without recursion.
class record_arena
{
public:
    /// Sets how many records a file of that size may have: a record of text may be as short as two
    /// bytes, and a file full of those would cost 28 times its size. Real files stay far below,
    /// with 20 bytes a record and more.
    void set_limit_for_file(std::size_t file_bytes)
    {
        m_limit = (std::size_t{1} << 18) + file_bytes / 8;
    }

    /// A new record, linked where `link` says, which moves on to the place of its next sibling.
    /// Null when the file has too many.
    record *append(const record **&link)
    {
        if (m_free == 0 && !add_block())
            return nullptr;
        record *const added = m_next;
        ++m_next;
        --m_free;
        *link = added;
        link = &added->next;
        return added;
    }

private:
    bool add_block()
    {
        const std::size_t count = std::min(m_limit - m_count, std::max(m_count, first_block));
        if (count == 0)
            return false;
        std::unique_ptr<record[]> block(new record[count]);
        m_next = block.get();
        m_blocks.push_back(std::move(block));
        m_free = count;
        m_count += count;
        return true;
    }

    static constexpr std::size_t first_block = 256;

    std::vector<std::unique_ptr<record[]>> m_blocks;
    record *m_next = nullptr;
    std::size_t m_free = 0;
    std::size_t m_count = 0;
    std::size_t m_limit = 0;
};
} // namespace vesk_fbx
