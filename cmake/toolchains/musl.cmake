# This machine's processor with the C library musl: Debian's musl-tools make a C compiler of gcc, here
# they make a C++ one. Only headers of the C++ library are used; they were set up for another C
# library, and ask for its version. SQLite is from build/sysroot/musl (cmake/cross/sqlite).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${CMAKE_HOST_SYSTEM_PROCESSOR})
set(CMAKE_CXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/musl-g++ CACHE FILEPATH "C++ compiler")
# Link-time optimisation wants gcc's own, which are found by the compiler's name otherwise.
set(CMAKE_CXX_COMPILER_AR gcc-ar)
set(CMAKE_CXX_COMPILER_RANLIB gcc-ranlib)
cmake_path(SET backhaul_sysroot NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/musl)
set(CMAKE_LIBRARY_ARCHITECTURE musl)
set(CMAKE_FIND_ROOT_PATH ${backhaul_sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
