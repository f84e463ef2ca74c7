# Debian's cross compiler g++-arm-linux-gnueabihf with libsqlite3-dev:armhf beside it. For a router
# vendor's tree pass -DCMAKE_CXX_COMPILER=... and -DCMAKE_SYSROOT=... instead.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++ CACHE FILEPATH "C++ cross compiler")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
