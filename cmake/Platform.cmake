# The one place that says which platform is built for; what differs asks VELMORA_PLATFORM.

if(APPLE)
    set(host_platform mac)
else()
    set(host_platform linux)
endif()
set(VELMORA_PLATFORM ${host_platform} CACHE STRING "The platform whose back end is built: linux or mac")
set_property(CACHE VELMORA_PLATFORM PROPERTY STRINGS linux mac)
if(NOT VELMORA_PLATFORM MATCHES "^(linux|mac)$")
    message(FATAL_ERROR "VELMORA_PLATFORM is ${VELMORA_PLATFORM}; it has to be linux or mac")
endif()

# What stands on Qt is not portable yet: for a Mac the libraries below it are built, without a program.
set(VELMORA_WITH_QT ON)
if(VELMORA_PLATFORM STREQUAL "mac")
    set(VELMORA_WITH_QT OFF)
endif()
