#include "support/picture.h"

#include <cstdio>
#include <cstring>
#include <png.h>

picture::picture(unsigned int new_width, unsigned int new_height)
    : width(new_width)
    , height(new_height)
    , pixels(static_cast<std::size_t>(new_width) * new_height * 3)
{
}

unsigned char *picture::at(unsigned int column, unsigned int row)
{
    return pixels.data() + (static_cast<std::size_t>(row) * width + column) * 3;
}

const unsigned char *picture::at(unsigned int column, unsigned int row) const
{
    return pixels.data() + (static_cast<std::size_t>(row) * width + column) * 3;
}

namespace
{
unsigned char to_byte(float part)
{
    if (!(part > 0.0f))
        return 0;
    return static_cast<unsigned char>(part >= 1.0f ? 255.0f : part * 255.0f + 0.5f);
}
} // namespace

void picture::set(unsigned int column, unsigned int row, float red, float green, float blue)
{
    unsigned char *pixel = at(column, row);
    pixel[0] = to_byte(red);
    pixel[1] = to_byte(green);
    pixel[2] = to_byte(blue);
}

bool picture::write_png(const char *path) const
{
    png_image image;
    std::memset(&image, 0, sizeof(image));
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = PNG_FORMAT_RGB;
    return png_image_write_to_file(&image, path, 0, pixels.data(), 0, nullptr) != 0;
}

unsigned long long picture::digest() const
{
    unsigned long long hash = 1469598103934665603ull;
    const auto fold = [&hash](unsigned int byte) { hash = (hash ^ byte) * 1099511628211ull; };
    for (const unsigned int number : {width, height})
        for (unsigned int shift = 0; shift < 32; shift += 8)
            fold(number >> shift & 0xFFu);
    for (const unsigned char byte : pixels)
        fold(byte);
    return hash;
}
