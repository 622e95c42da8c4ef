# Every library that the C++ code uses, as an imported target. Before that, all that is missing is told at once, together
# with the one command that brings it.

set(missing "")
set(packages "")

# zrm_need(<variable> <what> <package>): notes what is missing when the variable is false.
macro(zrm_need found what package)
    if(NOT ${found})
        string(APPEND missing "  ${what} (${package})\n")
        list(APPEND packages ${package})
    endif()
endmacro()

include(CheckLanguage)
check_language(CXX)
zrm_need(CMAKE_CXX_COMPILER "a C++ compiler" g++)
if(CMAKE_CXX_COMPILER)
    enable_language(CXX)
endif()

if(ZRM_BUILD_MODULE)
    # The environment that ./dev sets up serves a plain cmake run too.
    if(NOT DEFINED Python_EXECUTABLE AND EXISTS "${PROJECT_SOURCE_DIR}/build/venv/bin/python")
        set(Python_EXECUTABLE "${PROJECT_SOURCE_DIR}/build/venv/bin/python")
    endif()
    find_package(Python 3.13...<3.14 QUIET COMPONENTS Interpreter Development.Module)
    zrm_need(Python_FOUND "Python 3.13 with its headers" python3.13-dev)
endif()

# Libraries come from the system or CMAKE_PREFIX_PATH. CMake would also look beside each folder of PATH, where another
# distribution (Conda's, say) keeps libraries of its own that a script's interpreter could not load later.
set(CMAKE_FIND_USE_SYSTEM_ENVIRONMENT_PATH OFF)
# Debian 12 has no package of parallel-hashmap; ./dev unpacks the next release's here.
list(APPEND CMAKE_PREFIX_PATH "${PROJECT_SOURCE_DIR}/build/deps/usr")

set(table "${CMAKE_CURRENT_LIST_DIR}/libraries.txt")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${table}")
file(STRINGS "${table}" libraries REGEX "^[^#]")
if(ZRM_BUILD_TESTS)
    list(APPEND libraries "gtest/gtest.h libgtest-dev")
endif()
foreach(line IN LISTS libraries)
    separate_arguments(line UNIX_COMMAND "${line}")
    list(POP_FRONT line header package)
    string(MAKE_C_IDENTIFIER "ZRM_DIR_OF_${header}" folder)
    find_path(${folder} ${header} PATH_SUFFIXES ${line})
    mark_as_advanced(${folder})
    zrm_need(${folder} ${header} ${package})
endforeach()

if(packages)
    list(JOIN packages " " command)
    set(command "One command brings it all, on Debian and as root:\n  apt-get install ${command}\n")
    cmake_host_system_information(RESULT system QUERY DISTRIB_INFO)
    if("libparallel-hashmap-dev" IN_LIST packages AND "${system_ID}-${system_VERSION_ID}" STREQUAL "debian-12")
        set(extent "")
        if(NOT ZRM_BUILD_TESTS)
            set(extent " libraries")
        endif()
        set(command "One command brings it all (this release's apt has no libparallel-hashmap-dev):\n  ./dev setup${extent}\n")
    endif()
    message(FATAL_ERROR "Missing (and the Debian packages that have it):\n${missing}${command}")
endif()

# zrm_header_target(<target> <header> [<library>]): for packages whose CMake files are missing or differ between releases.
function(zrm_header_target target header)
    string(MAKE_C_IDENTIFIER "ZRM_DIR_OF_${header}" folder)
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} SYSTEM INTERFACE "${${folder}}")
    foreach(library IN LISTS ARGN)
        find_library(ZRM_LIB_${library} ${library} REQUIRED)
        mark_as_advanced(ZRM_LIB_${library})
        target_link_libraries(${target} INTERFACE "${ZRM_LIB_${library}}")
    endforeach()
endfunction()

find_package(Threads REQUIRED)
find_package(fmt 9 CONFIG REQUIRED)
find_package(Boost 1.74 CONFIG REQUIRED COMPONENTS headers)
find_package(ZLIB REQUIRED)
find_package(meshoptimizer CONFIG REQUIRED)
zrm_header_target(zrm::concurrentqueue concurrentqueue.h)
zrm_header_target(zrm::stb stb/stb_sprintf.h)
zrm_header_target(zrm::zstd zstd.h zstd)
# Only the value types osg::Vec2f, Vec3f and Vec4f are used, and these live in headers alone.
zrm_header_target(zrm::osg osg/Vec3f)
zrm_header_target(zrm::phmap parallel_hashmap/phmap.h)

# Stack traces: the standard library's where the compiler was built with them, else Boost's.
include(CheckCXXSourceCompiles)
add_library(zrm::stacktrace INTERFACE IMPORTED GLOBAL)
foreach(library IN ITEMS stdc++exp stdc++_libbacktrace)
    set(CMAKE_REQUIRED_FLAGS -std=c++23)
    set(CMAKE_REQUIRED_LIBRARIES ${library})
    string(MAKE_C_IDENTIFIER "ZRM_STACKTRACE_${library}" works)
    check_cxx_source_compiles("#include <stacktrace>
        int main() { return static_cast<int>(std::to_string(std::stacktrace::current()).size()); }" ${works})
    unset(CMAKE_REQUIRED_FLAGS)
    unset(CMAKE_REQUIRED_LIBRARIES)
    if(${works})
        target_compile_definitions(zrm::stacktrace INTERFACE ZR_STD_STACKTRACE)
        target_link_libraries(zrm::stacktrace INTERFACE ${library})
        break()
    endif()
endforeach()

if(ZRM_BUILD_TESTS)
    find_package(GTest CONFIG REQUIRED)
endif()

if(ZRM_BUILD_MODULE)
    if(NOT pybind11_DIR)
        # Its command line (-m pybind11 --cmakedir) would quote a path that has blanks.
        execute_process(COMMAND "${Python_EXECUTABLE}" -c "import pybind11; print(pybind11.get_cmake_dir())"
            OUTPUT_VARIABLE pybind11_DIR OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    endif()
    set(PYBIND11_FINDPYTHON ON)
    find_package(pybind11 3 CONFIG QUIET)
    if(NOT pybind11_FOUND)
        message(FATAL_ERROR "pybind11 3 was not found. From PyPI: ${Python_EXECUTABLE} -m pip install 'pybind11>=3'")
    endif()
endif()
unset(CMAKE_FIND_USE_SYSTEM_ENVIRONMENT_PATH)
