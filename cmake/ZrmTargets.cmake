# Settings that every target of ours shares, and the function that adds one library.

set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# The module exports its init function only; the libraries inside it are nobody else's business.
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug or Release" FORCE)
endif()

add_library(zrm_flags INTERFACE)
target_compile_options(zrm_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow
    -Wno-sign-conversion # clang counts it in -Wconversion, g++ does not
    # The queues of the task system use fences, which the thread sanitizer doesn't know.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>
    # A fused multiply-add rounds once where two operations round twice: the bytes of a file would depend on the compiler.
    -ffp-contract=off
    # Exceptions carry __FILE__; what a script sees is the path under this root, wherever the project was built.
    "-fmacro-prefix-map=${CMAKE_CURRENT_SOURCE_DIR}/=")

# zrm_glob(<variable> <pattern>...) lists the sources below the root; a file that is added or removed re-runs CMake.
function(zrm_glob variable)
    list(TRANSFORM ARGN PREPEND "${PROJECT_SOURCE_DIR}/")
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${ARGN})
    list(SORT sources)
    set(${variable} "${sources}" PARENT_SCOPE)
endfunction()

# zrm_add_library(<name> ROOT <include folder> SOURCES <pattern>... [LINK <target>...] [USE <target>...])
# A static library. LINK names what its headers include and so its users need too, USE what its sources alone do. A
# folder that has headers only yet becomes a library with a single empty source.
function(zrm_add_library name)
    cmake_parse_arguments(arg "" "ROOT" "SOURCES;LINK;USE" ${ARGN})
    zrm_glob(sources ${arg_SOURCES})
    if(NOT sources)
        set(sources "${PROJECT_BINARY_DIR}/empty.cpp")
        file(CONFIGURE OUTPUT "${sources}" CONTENT "")
    endif()
    add_library(${name} STATIC ${sources})
    target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/${arg_ROOT}")
    target_link_libraries(${name} PUBLIC ${arg_LINK} PRIVATE ${arg_USE} zrm_flags)
endfunction()
