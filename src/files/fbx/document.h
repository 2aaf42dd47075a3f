#pragma once

#include "files/fbx/number_array.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

// One tree for both encodings of FBX, binary and text. The tree holds structure only: a record
// knows where its values stand in the file's bytes, and nothing is decoded until it is asked for.
// So animation curves and embedded media cost a skip, and a claim of the file costs no memory.

namespace vesk_fbx
{
struct record
{
    std::string_view name;
    std::string_view values;       ///< encoded values, as they stand in the file
    std::uint32_t value_count = 0; ///< scalar values; an array counts as one value
    const record *first_child = nullptr;
    const record *next = nullptr; ///< next record of the same parent
};

enum class load_result
{
    not_readable, ///< no such file, a folder, an empty file, or nothing known
    other_format, ///< a known 3D format that is not FBX
    damaged,      ///< FBX, but broken
    ok
};

class document
{
public:
    document();
    ~document();
    document(const document &) = delete;
    document &operator=(const document &) = delete;

    /// Reads the head of the file and says what it is: `ok` stands for "is FBX" here.
    load_result open(const char *utf8_path);
    /// The same for the bytes of a file in memory, which are copied.
    load_result open_bytes(std::string_view bytes);

    /// Reads the whole file into the tree. Only after `open` gave `ok`, and once. Never recurses on
    /// depth that the file controls. May throw std::bad_alloc.
    ///
    /// The tree holds what a scene of meshes needs: top-level records and objects of other kinds
    /// are there, but without children (see record_tree.h).
    load_result parse();

    bool is_text() const;
    unsigned int version() const;       ///< 7400 for 7.4; 0 when the file does not say
    const record *first_record() const; ///< of the top level

    /// Children by name; null when there is none.
    static const record *find_child(const record &parent, std::string_view name);
    /// The next sibling of that name behind `r`.
    static const record *find_next(const record &r, std::string_view name);
    const record *find_top(std::string_view name) const;

    /// Scalar value number `i` of a record. False when it is missing or of another kind: any
    /// number converts to any number, text only to text. In text files a string is returned
    /// with its quotation marks taken off; bare words (`Y`, `T`) count as text.
    bool get_integer(const record &r, std::uint32_t i, std::int64_t &out) const;
    bool get_real(const record &r, std::uint32_t i, double &out) const;
    bool get_text(const record &r, std::uint32_t i, std::string_view &out) const;

    /// All numbers of a record, whatever way it writes them: one array value, many scalar
    /// values (6.1 binary), values in text, or a text array `*N { a: ... }` in a child record.
    /// Reals convert to integers by truncation, out-of-range ones to the nearest limit.
    /// False and no numbers when they are damaged; a record without numbers gives count 0 and true.
    /// Memory stays within a small multiple of the bytes that hold the numbers (deflate: at most
    /// about 1032 times); a long array that stands in the file as it does in memory is not copied,
    /// and keeps the file's bytes. May throw std::bad_alloc.
    bool read_numbers(const record &r, number_array<double> &out) const;
    bool read_numbers(const record &r, number_array<int> &out) const;

private:
    template <typename T> bool read_all(const record &r, number_array<T> &out) const;

    struct state;
    std::unique_ptr<state> m_state;
};
} // namespace vesk_fbx
