# Every library that the C++ code uses, as an imported target. What is missing is named by its Debian package.

function(zrm_need found what package)
    if(NOT ${found})
        message(FATAL_ERROR "${what} was not found. On Debian: apt-get install ${package}")
    endif()
endfunction()

# zrm_header_target(<target> <header> <package> [LIBRARY <name>] [SUFFIXES <folder>...])
# For packages whose CMake files are missing or differ between Debian releases.
function(zrm_header_target target header package)
    cmake_parse_arguments(arg "" "LIBRARY" "SUFFIXES" ${ARGN})
    string(MAKE_C_IDENTIFIER "${target}" id)
    string(TOUPPER "${id}" id)
    find_path(${id}_INCLUDE_DIR ${header} PATH_SUFFIXES ${arg_SUFFIXES})
    zrm_need(${id}_INCLUDE_DIR "${header}" ${package})
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} SYSTEM INTERFACE "${${id}_INCLUDE_DIR}")
    if(arg_LIBRARY)
        find_library(${id}_LIBRARY ${arg_LIBRARY})
        zrm_need(${id}_LIBRARY "lib${arg_LIBRARY}" ${package})
        target_link_libraries(${target} INTERFACE "${${id}_LIBRARY}")
    endif()
endfunction()

find_package(Threads REQUIRED)

find_package(fmt 9 CONFIG QUIET)
zrm_need(fmt_FOUND "fmt" libfmt-dev)

find_package(Boost 1.74 CONFIG QUIET COMPONENTS headers)
zrm_need(Boost_FOUND "Boost.Container" libboost-container-dev)

find_package(ZLIB QUIET)
zrm_need(ZLIB_FOUND "zlib" zlib1g-dev)

find_package(meshoptimizer CONFIG QUIET)
zrm_need(meshoptimizer_FOUND "meshoptimizer" libmeshoptimizer-dev)

zrm_header_target(zrm::zstd zstd.h libzstd-dev LIBRARY zstd)

# Only the value types osg::Vec2f, Vec3f and Vec4f are used, and these live in headers alone.
zrm_header_target(zrm::osg osg/Vec3f libopenscenegraph-dev)

# Debian 12 has no package of parallel-hashmap; `./dev setup` unpacks the next release's below build/deps.
set(PHMAP_INCLUDE_DIR "" CACHE PATH "Folder that holds parallel_hashmap/phmap.h")
find_path(ZRM_PHMAP_INCLUDE_DIR parallel_hashmap/phmap.h
    HINTS "${PHMAP_INCLUDE_DIR}" "${PROJECT_SOURCE_DIR}/build/deps/usr/include")
zrm_need(ZRM_PHMAP_INCLUDE_DIR "parallel_hashmap/phmap.h"
    "libparallel-hashmap-dev (Debian 13), or run ./dev setup and pass -DPHMAP_INCLUDE_DIR=build/deps/usr/include")
add_library(zrm::phmap INTERFACE IMPORTED GLOBAL)
target_include_directories(zrm::phmap SYSTEM INTERFACE "${ZRM_PHMAP_INCLUDE_DIR}")

if(ZRM_BUILD_MODULE)
    # The environment that ./dev sets up serves a plain cmake run too.
    if(NOT DEFINED Python_EXECUTABLE AND EXISTS "${PROJECT_SOURCE_DIR}/build/venv/bin/python")
        set(Python_EXECUTABLE "${PROJECT_SOURCE_DIR}/build/venv/bin/python")
    endif()
    find_package(Python 3.13...<3.14 QUIET COMPONENTS Interpreter Development.Module)
    zrm_need(Python_FOUND "Python 3.13 with its headers"
        "python3.13-dev (Debian 13), or pass -DPython_EXECUTABLE=..., or -DZRM_BUILD_MODULE=OFF for the libraries alone")
    if(NOT pybind11_DIR)
        execute_process(COMMAND "${Python_EXECUTABLE}" -m pybind11 --cmakedir
            OUTPUT_VARIABLE pybind11_DIR OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    endif()
    set(PYBIND11_FINDPYTHON ON)
    find_package(pybind11 3 CONFIG QUIET)
    if(NOT pybind11_FOUND)
        message(FATAL_ERROR "pybind11 3 was not found. From PyPI: ${Python_EXECUTABLE} -m pip install 'pybind11>=3'")
    endif()
endif()

if(ZRM_BUILD_TESTS)
    find_package(GTest CONFIG QUIET)
    zrm_need(GTest_FOUND "GoogleTest" libgtest-dev)
endif()
if(ZRM_BUILD_BENCHMARKS)
    find_package(benchmark CONFIG QUIET) # optional: without it only benchmarks that bring their own main() are built
endif()
