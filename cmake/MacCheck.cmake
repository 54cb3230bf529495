# A toolchain that compiles for a Mac on Linux, to check types and names; scripts/check-mac unpacks it and says where it is. What it makes
# has been given no header and no library of Apple's, and runs nowhere.

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VELMORA_MAC_TOOLS VELMORA_MAC_ARCHITECTURE)
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${VELMORA_MAC_ARCHITECTURE})
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "" CACHE STRING "" FORCE)

set(llvm ${VELMORA_MAC_TOOLS}/usr/lib/llvm-19)
foreach(language CXX OBJCXX)
    set(CMAKE_${language}_COMPILER ${llvm}/bin/clang++)
    set(CMAKE_${language}_COMPILER_TARGET ${VELMORA_MAC_ARCHITECTURE}-apple-macos14)
endforeach()
set(CMAKE_AR ${llvm}/bin/llvm-ar CACHE FILEPATH "")
set(CMAKE_RANLIB ${llvm}/bin/llvm-ranlib CACHE FILEPATH "")
set(CMAKE_INSTALL_NAME_TOOL ${llvm}/bin/llvm-install-name-tool CACHE FILEPATH "")
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

# The frameworks as this project declares them, the C++ library of LLVM, musl's C library with what an Apple target needs besides.
set(source ${CMAKE_CURRENT_LIST_DIR}/..)
set(headers
    "-nostdinc -nostdinc++ -isystem ${source}/platform/mac/declarations -isystem ${llvm}/include/c++/v1 -isystem ${source}/tests/platform/mac/system"
    "-isystem ${llvm}/lib/clang/19/include -isystem ${VELMORA_MAC_TOOLS}/usr/include/x86_64-linux-musl -D_GNU_SOURCE")
string(JOIN " " headers ${headers})
set(CMAKE_CXX_FLAGS_INIT "${headers}")
set(CMAKE_OBJCXX_FLAGS_INIT "${headers}")
