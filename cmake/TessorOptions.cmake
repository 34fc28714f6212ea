# Compiler options that every target of the project shares.

find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # The sloppiness lets ccache work with precompiled headers.
    set(CMAKE_CXX_COMPILER_LAUNCHER env "CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime"
                                    ${CCACHE})
endif()

function(tessor_target_options target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Werror -ffp-contract=off
                           "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        target_compile_options(${target} PRIVATE -fpch-validate-input-files-content -Wno-gnu-zero-variadic-macro-arguments)
    else()
        target_compile_options(${target} PRIVATE -fpch-preprocess)
    endif()
    if(TESSOR_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${TESSOR_SANITIZE} -fno-omit-frame-pointer
                                                 -fno-sanitize-recover=all)
        # the checks keep loops from being vectorised, of which clang would warn
        if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
            target_compile_options(${target} PRIVATE -Wno-pass-failed)
        endif()
        target_link_options(${target} PRIVATE -fsanitize=${TESSOR_SANITIZE})
    endif()
    if(TESSOR_FUZZ)
        target_compile_options(${target} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
endfunction()

# A source that stands for each instruction set: loops that the compiler vectorises, in every build. No precompiled
# header: its flags are others.
function(tessor_kernels stem)
    set_source_files_properties(${stem}Baseline.cpp ${stem}Avx2.cpp PROPERTIES SKIP_PRECOMPILE_HEADERS ON
                                COMPILE_OPTIONS "-O3")
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
        set_source_files_properties(${stem}Avx2.cpp PROPERTIES COMPILE_OPTIONS "-O3;-mavx2")
    endif()
endfunction()
