# MinGW: exceptions and streams cross the edge of our DLL only when library and host share one
# runtime of the compiler, so its DLLs stand beside ours, in the build tree and installed.

set(gcc_runtime)
foreach(name libgcc_s_seh-1 libgcc_s_dw2-1 libstdc++-6 libwinpthread-1)
    execute_process(
        COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}.dll
        OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    if(IS_ABSOLUTE "${path}")  # a compiler has one libgcc; what it lacks it answers by the bare name
        list(APPEND gcc_runtime "${path}")
    endif()
endforeach()

# Windows looks for DLLs in the directory of the program.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
file(COPY ${gcc_runtime} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
install(FILES ${gcc_runtime} DESTINATION ${CMAKE_INSTALL_BINDIR})
