# Debian's cross compilers, with the target's SQLite below build/sysroot (cmake/cross/sqlite puts it
# there). Tests run under the processor's emulator. The file of a target sets `triplet`, `processor`
# and `emulator`, then includes this. For a router vendor's tree give CMake that tree's own file.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${processor})
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_CXX_COMPILER ${triplet}-g++ CACHE FILEPATH "C++ cross compiler")
cmake_path(SET backhaul_sysroot NORMALIZE
    ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/${triplet})
set(CMAKE_FIND_ROOT_PATH ${backhaul_sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L /usr/${triplet}
    -E LD_LIBRARY_PATH=${backhaul_sysroot}/usr/lib/${triplet})
