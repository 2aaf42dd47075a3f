#pragma once

/// @file
/// Visibility of the exported face, and how its inline part is built.
///
/// `VESK_API` marks what the shared library exports. `VESK_KIT` marks the kit of small value
/// types and functions: they are inline in the headers, so that a host's inner loop pays no
/// call, and exported as well. A host that defines `VESK_NO_INLINE` before it includes a vesk
/// header gets calls into the library instead of the inline code. That is the choice for a host
/// whose own flags (fused multiply-add, fast-math) would change the bits of inlined arithmetic.
///
/// What the flags of a host can change, and what cannot be changed, is told in docs/numbers.md.
///
/// `VESK_BUILDING` is defined while the library itself is compiled, `VESK_EMIT_KIT` in the one
/// source of each family that puts the inline functions into the library.

// The library is built with its inline functions whatever the host around it wants.
#if defined(VESK_BUILDING)
#undef VESK_NO_INLINE
#endif

/// @def VESK_API
/// On a declaration: exported from the shared library, whose code alone runs.

/// @def VESK_EXTERN
/// On a declaration of a list instantiation that the library exports; undefined while a DLL is
/// built, which has no such declarations.

/// @def VESK_INSTANCE
/// On the instantiation itself, in the library's own source.

#if defined(_WIN32) && defined(VESK_BUILDING)
#define VESK_API __declspec(dllexport)
#define VESK_INSTANCE VESK_API // on the instantiation; no extern template while building
#elif defined(_WIN32)
#define VESK_API __declspec(dllimport)
#define VESK_EXTERN VESK_API
#else
#define VESK_API __attribute__((visibility("default")))
#define VESK_EXTERN VESK_API
#define VESK_INSTANCE
#endif

/// @def VESK_KIT
/// On a declaration: inline in the host unless it defines `VESK_NO_INLINE`, and exported as well.

// A DLL's host has the inline code at hand and needs no import for it.
#if defined(_WIN32) && !defined(VESK_BUILDING) && !defined(VESK_NO_INLINE)
#define VESK_KIT
#else
#define VESK_KIT VESK_API
#endif

/// @def VESK_INLINE
/// On the definition of what `VESK_KIT` declares.

#if defined(VESK_EMIT_KIT) && defined(__clang__) && !defined(_WIN32)
// Of an inline constructor clang keeps only the variant that derived classes call.
#define VESK_INLINE __attribute__((weak))
#elif defined(VESK_EMIT_KIT) && defined(__GNUC__)
#define VESK_INLINE inline __attribute__((used))
#else
#define VESK_INLINE inline
#endif
