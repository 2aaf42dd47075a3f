#include "vesk/mesh.h"

#include "foundation/alloc.h"

#include <cwchar>

void vesk_mesh::___push_error(const wchar_t *message)
{
    const unsigned int count_before = error_stack.count;
    error_stack.push_back(nullptr);
    if (error_stack.count == count_before)
        return; // the list could not grow: the message is lost, as when its copy cannot be had

    const std::size_t length = std::wcslen(message) + 1;
    wchar_t *copy = vesk_alloc_array<wchar_t>(length);
    error_stack[error_stack.reversed ? 0 : count_before] = copy;
    if (!copy)
    {
        error_stack.pop_back();
        return;
    }
    std::wmemcpy(copy, message, length);
}

void vesk_mesh::___clear_error_stack()
{
    for (unsigned int i = 0; i < error_stack.count; ++i)
        vesk_free_array(error_stack[i]);
    error_stack.clear();
}
