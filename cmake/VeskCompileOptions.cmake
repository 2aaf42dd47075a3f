# What every target of this repository is compiled with.

# One rounding for each operation on every target. x87 keeps extra bits, so 32-bit x86 needs SSE2.
add_library(vesk_exact_floats INTERFACE)
target_compile_options(vesk_exact_floats INTERFACE
    $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-ffp-contract=off>)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i[3-6]86|x86)$")
    target_compile_options(vesk_exact_floats INTERFACE -msse2 -mfpmath=sse)
endif()

add_library(vesk_warnings INTERFACE)
target_compile_options(vesk_warnings INTERFACE
    $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-Wall -Wextra -Wshadow -Wconversion>
    $<$<AND:$<BOOL:${VESK_WERROR}>,$<CXX_COMPILER_ID:GNU,Clang,AppleClang>>:-Werror>)

add_library(vesk_sanitizers INTERFACE)
if(VESK_SANITIZE)
    target_compile_options(vesk_sanitizers INTERFACE
        -fsanitize=${VESK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
    target_link_options(vesk_sanitizers INTERFACE -fsanitize=${VESK_SANITIZE})
endif()

# What keeps a fault in reading files from becoming an exploit. ELF only; Debian's compilers have
# a notion of some of these of their own.
add_library(vesk_hardening INTERFACE)
if(VESK_HARDEN AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
    target_compile_options(vesk_hardening INTERFACE
        -fstack-protector-strong
        $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
    target_link_options(vesk_hardening INTERFACE LINKER:-z,relro LINKER:-z,now)
endif()

# For targets of our own: library, tests, examples, benchmarks.
function(vesk_target_defaults target)
    target_compile_features(${target} PRIVATE cxx_std_17)
    target_link_libraries(${target} PRIVATE
        $<BUILD_INTERFACE:vesk_exact_floats>
        $<BUILD_INTERFACE:vesk_warnings>
        $<BUILD_INTERFACE:vesk_sanitizers>)
    set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
endfunction()
