# movane_flags: how everything of ours is compiled.
#
# Results are exact on every target, so floating-point contraction is off everywhere and 32-bit
# x86 computes with SSE2 as 64-bit does.

add_library(movane_flags INTERFACE)
target_compile_options(movane_flags INTERFACE
    -ffp-contract=off
    -Wall -Wextra -Wconversion -Wshadow
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
    # GCC 12 sees overlaps in std::string that cannot be.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>
    $<$<BOOL:${MOVANE_WERROR}>:-Werror>)

if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "86|AMD64")
    target_compile_options(movane_flags INTERFACE -msse2 -mfpmath=sse)
    if(WIN32)
        # Hosts built by other compilers align the stack to 4 bytes only.
        target_compile_options(movane_flags INTERFACE -mstackrealign)
    endif()
endif()

if(MOVANE_SANITIZE)
    target_compile_options(movane_flags INTERFACE
        -fsanitize=${MOVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(movane_flags INTERFACE -fsanitize=${MOVANE_SANITIZE})
endif()
