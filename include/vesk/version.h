#pragma once

#include "vesk/export.h"

/// @file
/// Version of the headers, and of the library that is loaded.

#define VESK_VERSION_MAJOR 1 ///< rises with a change that breaks hosts
#define VESK_VERSION_MINOR 0 ///< rises with an addition
#define VESK_VERSION_PATCH 0 ///< rises with a correction

/// The version of these headers as one number: major * 10000 + minor * 100 + patch.
#define VESK_VERSION (VESK_VERSION_MAJOR * 10000 + VESK_VERSION_MINOR * 100 + VESK_VERSION_PATCH)

/// The version of the library that runs, in the form of `VESK_VERSION`.
///
/// A host that loads the library at run time checks it once: headers and library fit together
/// when the major numbers agree and the library's number is not below `VESK_VERSION`.
/// @code
/// if (vesk_version() / 10000 != VESK_VERSION_MAJOR || vesk_version() < VESK_VERSION)
///     return report("vesk is too old or of another major version");
/// @endcode
VESK_API unsigned int vesk_version();
