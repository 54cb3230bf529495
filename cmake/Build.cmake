# How everything is compiled: one standard, warnings as errors, sanitizers by preset.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# The program and the module it loads at first use are side by side; the module is found through the run path.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

option(VELMORA_TESTS "Build the tests" ON)
option(VELMORA_BENCHMARKS "Build the benchmarks" ON)
option(VELMORA_PRECOMPILED_HEADERS "Compile the headers that all tests share once" ON)
option(VELMORA_WERROR "Treat warnings as errors" ON)
set(VELMORA_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize takes them")

# g++ 12 takes the union inside tl::expected for uninitialised where it is not. Where several sources are compiled as one, it takes each
# for a header, whose types should not contain those of an anonymous namespace. Since 13 it takes every reference that a function of
# references returns for one to its arguments.
add_library(velmora_options INTERFACE)
target_include_directories(velmora_options INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_options(velmora_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align
    -Wundef -Wimplicit-fallthrough -Wdouble-promotion
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_GREATER_EQUAL:$<CXX_COMPILER_VERSION>,13>>:-Wno-dangling-reference>
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wno-subobject-linkage>
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety -Wno-gnu-zero-variadic-macro-arguments>
    $<$<BOOL:${VELMORA_WERROR}>:-Werror>)
if(VELMORA_SANITIZE)
    target_compile_options(velmora_options INTERFACE -fsanitize=${VELMORA_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(velmora_options INTERFACE -fsanitize=${VELMORA_SANITIZE})
endif()

# Fifty programs hold the same libraries, and a change of one source links most of them: lld takes a sixth of the time.
find_program(LLD_PROGRAM ld.lld)
if(LLD_PROGRAM)
    add_link_options(-fuse-ld=lld)
endif()

# Paths below the project count as relative, so that every clone and work tree on a machine shares one cache.
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=pch_defines,time_macros CCACHE_PCH_EXTSUM=1 ${CCACHE_PROGRAM})
endif()

# velmora_library(NAME SOURCES … [LINK …] [LINK_PRIVATE …]): one folder's static library.
function(velmora_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LINK;LINK_PRIVATE")
    add_library(${name} STATIC ${arg_SOURCES})
    target_link_libraries(${name} PUBLIC velmora_options ${arg_LINK} PRIVATE ${arg_LINK_PRIVATE})
endfunction()

# velmora_interface(NAME [LINK …]): a folder of headers.
function(velmora_interface name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "LINK")
    add_library(${name} INTERFACE)
    target_link_libraries(${name} INTERFACE velmora_options ${arg_LINK})
endfunction()
