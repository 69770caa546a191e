# Kernel files: the suffix of the file selects its flags.
#
# fir_avx2.cpp is compiled for AVX2, fir_sse41.cpp for SSE4.1, fir_scalar.cpp for the baseline of
# the target. Nothing else lists them. Targets that are not x86 get the scalar files alone.

set(kernel_flags_scalar)
set(kernel_flags_sse41 -msse4.1)
set(kernel_flags_avx2 -mavx2)

if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "86|AMD64")
    set(MOVANE_SCALAR_ONLY ON)
endif()
if(MOVANE_SCALAR_ONLY)
    add_compile_definitions(MOVANE_SCALAR_ONLY)
endif()

function(movane_kernel_sources result)
    file(GLOB files CONFIGURE_DEPENDS Private/Kernels/*.cpp)
    if(MOVANE_SCALAR_ONLY)
        list(FILTER files EXCLUDE REGEX "_(sse41|avx2)\\.cpp$")
    endif()
    foreach(file IN LISTS files)
        if(file MATCHES "_(scalar|sse41|avx2)\\.cpp$")
            set_property(SOURCE ${file} APPEND PROPERTY COMPILE_OPTIONS
                $<$<NOT:$<CONFIG:Debug>>:-O3> ${kernel_flags_${CMAKE_MATCH_1}})
        endif()
    endforeach()
    set(${result} ${files} PARENT_SCOPE)
endfunction()
