#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <utility>

namespace vesk_fbx
{
/// Numbers at any address, owned by somebody else.
template <typename T> struct number_view
{
    const char *bytes = nullptr;
    std::size_t count = 0;

    T operator[](std::size_t i) const
    {
        T value;
        std::memcpy(&value, bytes + i * sizeof(T), sizeof(T));
        return value;
    }
};

/// Numbers of a file: an array of their own, without the zeroing pass of std::vector, or the bytes
/// of the file itself, which then stay as long as the array does.
template <typename T> class number_array : public number_view<T>
{
public:
    /// `new_count` numbers to be written. Throws std::bad_alloc.
    T *allocate(std::size_t new_count)
    {
        clear();
        m_own.reset(new T[new_count]);
        this->bytes = reinterpret_cast<const char *>(m_own.get());
        this->count = new_count;
        return m_own.get();
    }
    void refer_to(const char *file_bytes, std::size_t new_count, std::shared_ptr<const char[]> file)
    {
        clear();
        m_file = std::move(file);
        this->bytes = file_bytes;
        this->count = new_count;
    }
    void clear()
    {
        m_own.reset();
        m_file.reset();
        static_cast<number_view<T> &>(*this) = {};
    }

private:
    std::unique_ptr<T[]> m_own;
    std::shared_ptr<const char[]> m_file;
};
} // namespace vesk_fbx
