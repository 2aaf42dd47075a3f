#include "files/fbx/document.h"

#include <cstdint>
#include <vector>

// Any bytes as an FBX file: the whole tree is walked and everything in it decoded.

using namespace vesk_fbx;

namespace
{
void decode(const document &doc, const record &r)
{
    number_array<double> reals;
    number_array<int> integers;
    const bool both = doc.read_numbers(r, reals);
    if (doc.read_numbers(r, integers) != both || integers.count != reals.count)
        __builtin_trap(); // the kind asked for decides on no more than the conversion
    double sum = 0.0;
    for (std::size_t i = 0; both && i < reals.count; ++i)
        sum += reals[i] + integers[i];
    for (std::uint32_t i = 0; i < 8; ++i)
    {
        std::string_view text;
        std::int64_t integer = 0;
        double real = 0.0;
        if (doc.get_text(r, i, text))
            for (const char c : text)
                sum += c;
        if (doc.get_integer(r, i, integer) != doc.get_real(r, i, real))
            __builtin_trap();
        sum += real + static_cast<double>(integer);
    }
    volatile double used = sum;
    static_cast<void>(used);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    document doc;
    if (doc.open_bytes({reinterpret_cast<const char *>(data), size}) != load_result::ok ||
        doc.parse() != load_result::ok)
        return 0;
    std::vector<const record *> pending = {doc.first_record()};
    while (!pending.empty())
    {
        const record *const r = pending.back();
        pending.pop_back();
        if (r == nullptr)
            continue;
        decode(doc, *r);
        pending.push_back(r->next);
        pending.push_back(r->first_child);
    }
    return 0;
}
