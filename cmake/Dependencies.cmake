# What comes from the distribution. Every package is named in scripts/packages too, which installs them.

find_package(Threads REQUIRED)
find_package(tl-expected REQUIRED)
if(VELMORA_PLATFORM STREQUAL "mac")
    return()
endif()

find_package(PkgConfig REQUIRED)
find_package(Qt6 6.4 REQUIRED COMPONENTS Core DBus Gui Qml Quick Svg Widgets)

pkg_check_modules(XCB REQUIRED IMPORTED_TARGET
    xcb xcb-composite xcb-damage xcb-shm xcb-xfixes xcb-randr xcb-res xcb-xinput)
pkg_check_modules(XKBCOMMON REQUIRED IMPORTED_TARGET xkbcommon)
pkg_check_modules(PIPEWIRE REQUIRED IMPORTED_TARGET libpipewire-0.3)
pkg_check_modules(MPV REQUIRED IMPORTED_TARGET mpv)
pkg_check_modules(PULSE REQUIRED IMPORTED_TARGET libpulse)
pkg_check_modules(LIBAV REQUIRED IMPORTED_TARGET libavcodec libavutil libswresample libswscale)
pkg_check_modules(LIBAVFORMAT REQUIRED IMPORTED_TARGET libavformat)
pkg_check_modules(LIBAVFILTER REQUIRED IMPORTED_TARGET libavfilter)

if(VELMORA_TESTS)
    find_package(GTest REQUIRED)
    pkg_check_modules(XCB_XTEST REQUIRED IMPORTED_TARGET xcb-xtest)
    pkg_check_modules(WEBP REQUIRED IMPORTED_TARGET libwebpdemux libwebp)
endif()
if(VELMORA_BENCHMARKS)
    find_package(benchmark REQUIRED)
endif()

# The headers of these libraries need not meet our warnings.
foreach(target PkgConfig::XCB PkgConfig::XCB_XTEST PkgConfig::XKBCOMMON PkgConfig::PIPEWIRE PkgConfig::MPV PkgConfig::PULSE PkgConfig::LIBAV
               PkgConfig::LIBAVFORMAT PkgConfig::LIBAVFILTER PkgConfig::WEBP)
    if(TARGET ${target})
        get_target_property(directories ${target} INTERFACE_INCLUDE_DIRECTORIES)
        if(directories)
            set_target_properties(${target} PROPERTIES INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${directories}")
        endif()
        # An old request for functions that today's C libraries have anyway; precompiled headers fit only what makes the same request.
        get_target_property(options ${target} INTERFACE_COMPILE_OPTIONS)
        if(options)
            list(REMOVE_ITEM options -D_REENTRANT)
            set_target_properties(${target} PROPERTIES INTERFACE_COMPILE_OPTIONS "${options}")
        endif()
    endif()
endforeach()
