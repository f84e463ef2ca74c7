set(triplet mipsel-linux-gnu)
set(processor mips)
set(emulator qemu-mipsel)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
