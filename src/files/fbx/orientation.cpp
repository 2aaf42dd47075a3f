#include "files/fbx/orientation.h"

namespace vesk_fbx
{
namespace
{
/// A sum of doubles kept exactly, as parts of growing size that do not overlap.
struct expansion
{
    double parts[12];
    int count = 0;

    void add(double value)
    {
        double carry = value;
        for (int i = 0; i < count; ++i)
        {
            const double sum = carry + parts[i];
            const double virtual_part = sum - carry;
            parts[i] = (carry - (sum - virtual_part)) + (parts[i] - virtual_part);
            carry = sum;
        }
        parts[count++] = carry;
    }

    void add_product(double a, double b)
    {
        const double product = a * b;
        const half_pair s = split(a);
        const half_pair t = split(b);
        // The rounding error of the product, from the exact products of the halves.
        const double error =
            s.low * t.low - (((product - s.high * t.high) - s.low * t.high) - s.high * t.low);
        add(error);
        add(product);
    }

    /// The sign of the largest part that is not zero is that of the sum.
    int sign() const
    {
        for (int i = count; i-- > 0;)
            if (parts[i] != 0.0)
                return parts[i] > 0.0 ? 1 : -1;
        return 0;
    }

private:
    struct half_pair
    {
        double high, low;
    };

    /// Two halves of 26 bits, whose products are exact (Dekker 1971).
    static half_pair split(double value)
    {
        const double shifted = value * 134217729.0;
        const double high = shifted - (shifted - value);
        return {high, value - high};
    }
};
} // namespace

int exact_orientation(const vector2 &a, const vector2 &b, const vector2 &c)
{
    // The determinant multiplied out, where no difference is rounded; c.x * c.y cancels.
    expansion sum;
    sum.add_product(a.x, b.y);
    sum.add_product(-a.x, c.y);
    sum.add_product(-c.x, b.y);
    sum.add_product(-a.y, b.x);
    sum.add_product(a.y, c.x);
    sum.add_product(c.y, b.x);
    return sum.sign();
}
} // namespace vesk_fbx
