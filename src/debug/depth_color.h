#pragma once

/// A colour, each part from 0 to 255.
struct vesk_debug_color
{
    int red;
    int green;
    int blue;
};

/// Colours of tree depths: they begin again behind the last one.
inline const vesk_debug_color &vesk_debug_depth_color(unsigned int depth)
{
    static const vesk_debug_color colors[] = {{40, 40, 48},   {120, 60, 170}, {50, 90, 200},
                                              {20, 150, 190}, {40, 160, 90},  {150, 170, 40},
                                              {220, 140, 30}, {210, 60, 50}};
    return colors[depth % (sizeof(colors) / sizeof(colors[0]))];
}
