# Debian's cross compiler g++-mipsel-linux-gnu with libsqlite3-dev:mipsel beside it. For a router
# vendor's tree pass -DCMAKE_CXX_COMPILER=... and -DCMAKE_SYSROOT=... instead.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mips)
set(CMAKE_LIBRARY_ARCHITECTURE mipsel-linux-gnu)
set(CMAKE_CXX_COMPILER mipsel-linux-gnu-g++ CACHE FILEPATH "C++ cross compiler")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
