#pragma once

#include "support/command_line.h"
#include "vesk/vesk.h"

// Options that several programs have.

/// Where the camera stands by default, as seen from the mesh.
inline const vesk_vector3 default_view(-0.35f, 0.42f, 1.0f);

/// The size of a picture or texture.
struct raster_size
{
    unsigned int width;
    unsigned int height;
};

/// `--size WxH`, up to 16384 either way.
raster_size take_size(command_line &line, const raster_size &fallback);

/// An option of three finite numbers, "X,Y,Z". Whether it is there.
bool take_vector(command_line &line, const char *name, vesk_vector3 &target);

/// `--from X,Y,Z`, not zero: where the camera stands.
vesk_vector3 take_view(command_line &line);

/// `--channel N`, if it is there.
std::optional<unsigned int> take_channel(command_line &line);

/// Makes a channel current; the last one when none is given. False, with a message on standard
/// error, when the mesh has no such channel.
bool select_channel(const char *program, vesk_mesh &mesh, std::optional<unsigned int> channel);
