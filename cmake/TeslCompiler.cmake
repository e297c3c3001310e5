# SPDX-License-Identifier: GPL-2.0-or-later
# Compiler settings shared by every target.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE_PROGRAM})
endif()

# Sources are named from the top of the tree in trace lines and messages. The compiler cache hands the compiler
# relative names, so the prefix to cut depends on it; an absolute one would keep two checkouts from sharing the cache.
if(CMAKE_CXX_COMPILER_LAUNCHER)
    file(RELATIVE_PATH TESL_SOURCE_PREFIX ${CMAKE_BINARY_DIR} ${CMAKE_SOURCE_DIR})
else()
    set(TESL_SOURCE_PREFIX ${CMAKE_SOURCE_DIR})
endif()
string(REGEX REPLACE "/$" "" TESL_SOURCE_PREFIX "${TESL_SOURCE_PREFIX}")
add_compile_options(-fmacro-prefix-map=${TESL_SOURCE_PREFIX}/=)

# Linked by every target of ours; third-party headers come in as system headers.
add_library(tesl_options INTERFACE)
target_compile_options(tesl_options INTERFACE
    -Wall -Wextra -Wconversion -Wshadow -Werror -fstack-protector-strong)
# GCC 12 takes short texts put together at -O3 for overlapping copies.
target_compile_options(tesl_options INTERFACE $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-restrict>)
target_compile_definitions(tesl_options INTERFACE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
target_link_options(tesl_options INTERFACE -Wl,-z,relro,-z,now -Wl,--no-undefined)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(tesl_options INTERFACE -Wthread-safety -Wno-error=unused-command-line-argument)
endif()
if(TESL_SANITIZE)
    add_compile_options(-fsanitize=${TESL_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${TESL_SANITIZE})
endif()
if(TESL_FUZZ)
    # Coverage for the fuzzers, and an end at the first fault that a sanitizer sees.
    add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()
