# The bodies of the platform seam: platform/<folder>/*.cpp for each folder that the system needs. posix holds what every
# POSIX system has, linux what only Linux has; together they define each function of the headers in platform/ once.

if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    set(platform_bodies posix linux)
else()
    message(FATAL_ERROR "There are no platform bodies for ${CMAKE_SYSTEM_NAME}: write Projects/Core/src/platform/<folder> "
        "for it, as posix and linux are written, and name the folder in cmake/ZrmPlatform.cmake.")
endif()

set(platform_sources ${platform_bodies})
list(TRANSFORM platform_sources REPLACE "(.+)" "Projects/Core/src/platform/\\1/*.cpp")
