# What makes a fault in memory end the program instead of serving somebody: the flags that dpkg-buildflags gives with hardening=+all, and
# those which it gives since Debian 13. They are in every optimised build, so that what is tested is what is shipped. The sanitizers' builds
# have checks of their own, and the fortified functions need an optimising compiler.

include(CheckCXXCompilerFlag)
include(CheckPIESupported)

option(VELMORA_HARDENING "Compile and link optimised builds with the hardening that distributions ask for" ON)
if(NOT VELMORA_HARDENING OR VELMORA_SANITIZE OR NOT CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
    return()
endif()

# Without this, only the compiler's own default makes a program one that can lie anywhere.
check_pie_supported(LANGUAGES CXX)
add_compile_options(-fstack-protector-strong -Wformat -Werror=format-security)
# Not every processor has these.
foreach(flag -fstack-clash-protection -fcf-protection -mbranch-protection=standard)
    string(MAKE_C_IDENTIFIER "VELMORA_HAS${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
        add_compile_options(${flag})
    endif()
endforeach()
# A distribution that gives a level of its own keeps it. Some compilers have one built in, which would be defined twice.
if(NOT CMAKE_CXX_FLAGS MATCHES "_FORTIFY_SOURCE")
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()
if(NOT APPLE)
    add_link_options(-Wl,-z,relro -Wl,-z,now)
endif()
