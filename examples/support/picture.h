#pragma once

#include <cstddef>
#include <vector>

/// An 8-bit RGB picture, row after row from the top.
struct picture
{
    unsigned int width;
    unsigned int height;
    std::vector<unsigned char> pixels; ///< three bytes a pixel

    picture(unsigned int new_width, unsigned int new_height);

    /// The three bytes of a pixel.
    unsigned char *at(unsigned int column, unsigned int row);
    /// @copydoc at
    const unsigned char *at(unsigned int column, unsigned int row) const;

    /// Stores a colour, each part from 0 to 1.
    void set(unsigned int column, unsigned int row, float red, float green, float blue);

    /// Writes a PNG file. False when that fails.
    bool write_png(const char *path) const;

    /// FNV-1a over size and pixels: results are exact, so pictures can be compared by it.
    unsigned long long digest() const;
};
