set(triplet mips-linux-gnu)
set(processor mips)
set(emulator qemu-mips)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
