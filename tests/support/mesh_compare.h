#pragma once

#include "vesk/mesh.h"

#include <gtest/gtest.h>

/// Whether two meshes show the same vertices, records, channels, current channel, subsets,
/// tangents and box, to the last bit; the message names the first field that differs. Render
/// index, trees, flags and messages are not looked at. UV counts and current UVs are.
::testing::AssertionResult same_mesh(const vesk_mesh &a, const vesk_mesh &b);

/// Whether the mesh is in the state of a new one, apart from messages.
::testing::AssertionResult is_empty_mesh(const vesk_mesh &mesh);

/// Whether the error stack holds exactly this message; null for none at all.
::testing::AssertionResult has_message(const vesk_mesh &mesh, const wchar_t *message);
