#pragma once

#include "vesk/export.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>

class vesk_vector2;
struct vesk_octree_triangle_s;
struct vesk_uv_lookup_triangle_s;
struct vesk_triangle_color_data_s;
struct vesk_subset_color_lookup_s;

/// The library's one container: a growable array.
///
/// A list owns its storage, and not what pointer elements point at. No operation reports
/// failure, throws or checks an index. Exhausted memory shows in the fields alone: `set_size`
/// then changes nothing, `push_back` drops the element and leaves `count`, and `operator=`
/// leaves the target empty.
///
/// New storage holds what default initialisation of `T` gives: indeterminate values for numbers
/// and pointers, zero vectors for `vesk_vector2`, empty records for records that hold lists.
/// Growth moves elements by one block copy, so `T` must not hold pointers into itself.
///
/// A list belongs to one thread at a time; reading it from several threads is safe while nobody
/// writes.
template <typename T> class vesk_list
{
public:
    T *data;            ///< element storage, null when the list has none
    unsigned int size;  ///< capacity of the storage in elements
    unsigned int count; ///< elements in use
    int reversed;       ///< non-zero: `operator[]` and `at` count from the last element backwards

    /// An empty list without storage.
    vesk_list();

    /// Same as `clear`.
    ~vesk_list();

    /// There is no copying constructor: `operator=` is the only copying operation.
    vesk_list(const vesk_list &) = delete;

    /// Deep copy of storage: takes the capacity and the elements of `other`, not `reversed`.
    /// Self-assignment changes nothing. The target is empty when storage cannot be had.
    void operator=(const vesk_list &other);

    /// The element at `data[i]`, or at `data[count - 1 - i]` when `reversed` is non-zero.
    T &operator[](unsigned int i);
    /// @copydoc operator[](unsigned int)
    const T &operator[](unsigned int i) const;
    /// Same as the const `operator[]`, without a range check either.
    const T &at(unsigned int i) const;

    /// Appends at `data[count]`. Capacity runs 1, 2, 4, 8 and so on. `value` may be an element
    /// of the list itself. The element is dropped when the list cannot grow.
    void push_back(const T &value);

    /// Takes 1 from `count`; storage stays. Not for an empty list.
    void pop_back();

    /// Releases the storage; `data` null, `size` and `count` 0.
    void clear();

    /// Changes the capacity to exactly `new_size`, which is 0 (same as `clear`) or at least
    /// `count`. `count` stays. Nothing changes when storage cannot be had.
    void set_size(unsigned int new_size);

    /// Declares the whole storage used: `count` becomes `size`.
    void set_count_to_size();

    /// Capacity becomes exactly `count`; an empty list loses its storage.
    void trim();

    /// `count`.
    unsigned int get_count() const;

    /// `data`, in stored order whatever `reversed` says.
    T *get_data_pointer();

private:
    static T *allocate(unsigned int element_count);
    static void construct(T *storage, unsigned int first, unsigned int last);
    static void destroy(T *storage, unsigned int first, unsigned int last);
    static void release(T *storage);
    static void copy(T *to, const T *from, unsigned int element_count);
};

template <typename T> vesk_list<T>::vesk_list() : data(nullptr), size(0), count(0), reversed(0) {}

template <typename T> vesk_list<T>::~vesk_list()
{
    clear();
}

template <typename T> void vesk_list<T>::operator=(const vesk_list &other)
{
    if (this == &other)
        return;

    clear();
    if (!other.data)
        return;

    T *storage = allocate(other.size);
    if (!storage)
        return;

    construct(storage, 0, other.size);
    copy(storage, other.data, other.count);
    data = storage;
    size = other.size;
    count = other.count;
}

template <typename T> T &vesk_list<T>::operator[](unsigned int i)
{
    return data[reversed ? count - 1 - i : i];
}

template <typename T> const T &vesk_list<T>::operator[](unsigned int i) const
{
    return data[reversed ? count - 1 - i : i];
}

template <typename T> const T &vesk_list<T>::at(unsigned int i) const
{
    return (*this)[i];
}

template <typename T> void vesk_list<T>::push_back(const T &value)
{
    if (count < size)
    {
        data[count] = value;
        ++count;
        return;
    }
    if (size > UINT32_MAX / 2)
        return;

    // The value may stand in the storage that growth releases: its place is found again behind it.
    const bool is_own = data && &value >= data && &value < data + count;
    const std::size_t own_index = is_own ? static_cast<std::size_t>(&value - data) : 0;

    set_size(size == 0 ? 1 : size * 2);
    if (count == size)
        return;

    data[count] = is_own ? data[own_index] : value;
    ++count;
}

template <typename T> void vesk_list<T>::pop_back()
{
    --count;
}

template <typename T> void vesk_list<T>::clear()
{
    if (data)
    {
        destroy(data, 0, size);
        release(data);
    }
    data = nullptr;
    size = 0;
    count = 0;
}

template <typename T> void vesk_list<T>::set_size(unsigned int new_size)
{
    if (new_size == 0)
    {
        clear();
        return;
    }

    T *storage = allocate(new_size);
    if (!storage)
        return;

    // What moves keeps its inner storage, so it is neither constructed here nor destroyed there.
    const unsigned int moved = count < new_size ? count : new_size;
    if (data)
    {
        if (moved)
            std::memcpy(static_cast<void *>(storage), static_cast<const void *>(data),
                        sizeof(T) * moved);
        destroy(data, moved, size);
        release(data);
    }
    construct(storage, moved, new_size);
    data = storage;
    size = new_size;
}

template <typename T> void vesk_list<T>::set_count_to_size()
{
    count = size;
}

template <typename T> void vesk_list<T>::trim()
{
    set_size(count);
}

template <typename T> unsigned int vesk_list<T>::get_count() const
{
    return count;
}

template <typename T> T *vesk_list<T>::get_data_pointer()
{
    return data;
}

template <typename T> T *vesk_list<T>::allocate(unsigned int element_count)
{
    if (element_count > (PTRDIFF_MAX - 16) / sizeof(T))
        return nullptr;
    return static_cast<T *>(::operator new[](sizeof(T) * element_count, std::nothrow));
}

template <typename T>
void vesk_list<T>::construct(T *storage, unsigned int first, unsigned int last)
{
    if constexpr (!std::is_trivially_default_constructible<T>::value)
        for (unsigned int i = first; i < last; ++i)
            ::new (static_cast<void *>(storage + i)) T;
}

template <typename T> void vesk_list<T>::destroy(T *storage, unsigned int first, unsigned int last)
{
    if constexpr (!std::is_trivially_destructible<T>::value)
        for (unsigned int i = last; i > first; --i)
            storage[i - 1].~T();
}

template <typename T> void vesk_list<T>::release(T *storage)
{
    ::operator delete[](static_cast<void *>(storage));
}

template <typename T> void vesk_list<T>::copy(T *to, const T *from, unsigned int element_count)
{
    for (unsigned int i = 0; i < element_count; ++i)
        to[i] = from[i];
}

#if defined(VESK_EXTERN)
extern template class VESK_EXTERN vesk_list<unsigned int>;
extern template class VESK_EXTERN vesk_list<unsigned long>;
extern template class VESK_EXTERN vesk_list<float>;
extern template class VESK_EXTERN vesk_list<vesk_vector2>;
extern template class VESK_EXTERN vesk_list<wchar_t *>;
extern template class VESK_EXTERN vesk_list<vesk_vector2 *>;
extern template class VESK_EXTERN vesk_list<unsigned int *>;
extern template class VESK_EXTERN vesk_list<vesk_octree_triangle_s *>;
extern template class VESK_EXTERN vesk_list<vesk_uv_lookup_triangle_s *>;
extern template class VESK_EXTERN vesk_list<vesk_triangle_color_data_s>;
extern template class VESK_EXTERN vesk_list<vesk_subset_color_lookup_s>;
#endif
