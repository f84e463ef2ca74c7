# Helper programs and libraries of the lab. They are never sanitized: the preload module enters
# the daemon's process, and the stand-in tools run by the hundred in each test.

# Everything that the lab runs.
add_custom_target(lab_programs)

# backhaul_plain_library(<name> SOURCES <file>... [LIBS <target>...])
# The static library <name>, fit for plain programs, plain modules and tests.
function(backhaul_plain_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBS")
    add_library(${name} STATIC ${arg_SOURCES})
    backhaul_common(${name})
    target_link_libraries(${name} PUBLIC ${arg_LIBS} Threads::Threads)
endfunction()

# backhaul_plain_executable(<name> SOURCES <file>... [LIBS <target>...])
# The program <build>/lab/<name>.
function(backhaul_plain_executable name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBS")
    add_executable(${name} ${arg_SOURCES})
    backhaul_common(${name})
    target_link_libraries(${name} PRIVATE ${arg_LIBS} Threads::Threads)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lab)
    add_dependencies(lab_programs ${name})
endfunction()

# What makes a compilation one for the C library musl (Debian's musl-tools), whose programs start in a
# third of the time: the other C library asks the processor about its caches first, and on a virtual
# machine each question leaves the machine. Headers in the order that the C++ library wants: its own,
# then musl's, and the kernel's (for linux/ and asm/) after all others. Of the C++ library only headers
# are used. BACKHAUL_QUICK says whether this machine and this compiler can do it.
find_program(BACKHAUL_MUSL_GCC musl-gcc)
if(BACKHAUL_MUSL_GCC AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT CMAKE_TOOLCHAIN_FILE)
    set(cxx_headers ${CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES})
    list(FILTER cxx_headers INCLUDE REGEX "/c\\+\\+/")
    set(system_headers /usr/include /usr/include/${CMAKE_LIBRARY_ARCHITECTURE})
    list(TRANSFORM cxx_headers PREPEND "-isystem")
    list(TRANSFORM system_headers PREPEND "-idirafter")
    # What this wrapper of the C compiler puts behind the caller's words does the same for C++.
    file(STRINGS ${BACKHAUL_MUSL_GCC} musl_words REGEX "\"\\$@\"")
    string(REGEX REPLACE ".*\"\\$@\"" "" musl_words "${musl_words}")
    separate_arguments(musl_words UNIX_COMMAND "${musl_words}")
    set(BACKHAUL_QUICK_COMPILE ${musl_words} ${cxx_headers} ${system_headers}
        -include ${PROJECT_SOURCE_DIR}/cmake/toolchains/musl_libc.h -U_FORTIFY_SOURCE
        -D_GLIBCXX_EXTERN_TEMPLATE=0 -fno-exceptions -fno-rtti -fno-threadsafe-statics -O2)
    # Not every linker knows by itself that a static program has no dynamic linker.
    set(BACKHAUL_QUICK_LINK ${musl_words} -static -Wl,--no-dynamic-linker -nodefaultlibs)
    set(BACKHAUL_QUICK_LIBS -lc -lgcc -lc)
    file(WRITE ${PROJECT_BINARY_DIR}/quick/check.cpp
        "#include <linux/futex.h>\n#include <string>\n"
        "int main(int count, char** words) {\n"
        "    return static_cast<int>(std::string_view(words[count - 1]).find('x'));\n}\n")
    try_compile(BACKHAUL_QUICK ${PROJECT_BINARY_DIR}/quick ${PROJECT_BINARY_DIR}/quick/check.cpp
        COMPILE_DEFINITIONS ${BACKHAUL_QUICK_COMPILE} LINK_OPTIONS ${BACKHAUL_QUICK_LINK}
        LINK_LIBRARIES ${BACKHAUL_QUICK_LIBS} CXX_STANDARD 20 OUTPUT_VARIABLE log)
    if(NOT BACKHAUL_QUICK)
        message(STATUS "stand-in tools start slower than they could: no use of musl\n${log}")
    endif()
endif()

# backhaul_quick_executable(<name> SOURCES <file>... [LIBS <target>...])
# The program <build>/lab/<name>, which is started by the thousand: static, and of the C library that
# starts fastest. Its SOURCES are all of this project that it is made of; LIBS are others' libraries.
function(backhaul_quick_executable name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBS")
    if(BACKHAUL_QUICK)
        add_executable(${name} ${arg_SOURCES} ${PROJECT_SOURCE_DIR}/cmake/quick_runtime.cpp)
    else()
        add_executable(${name} ${arg_SOURCES})
    endif()
    backhaul_common(${name})
    target_link_libraries(${name} PRIVATE ${arg_LIBS})
    # Neither -pie nor -no-pie: compilers disagree on what either means beside -static.
    set_property(TARGET ${name} PROPERTY POSITION_INDEPENDENT_CODE)
    if(BACKHAUL_QUICK)
        target_compile_options(${name} PRIVATE ${BACKHAUL_QUICK_COMPILE})
        target_link_options(${name} PRIVATE ${BACKHAUL_QUICK_LINK})
        target_link_libraries(${name} PRIVATE ${BACKHAUL_QUICK_LIBS})
    else()
        target_link_options(${name} PRIVATE -static)
    endif()
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lab)
    add_dependencies(lab_programs ${name})
endfunction()

# backhaul_plain_module(<name> SOURCES <file>... [LIBS <target>...])
# The shared object <build>/lab/lib<name>.so, to be preloaded.
function(backhaul_plain_module name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBS")
    add_library(${name} MODULE ${arg_SOURCES})
    backhaul_common(${name})
    target_compile_options(${name} PRIVATE -fno-exceptions -fno-rtti)
    target_link_libraries(${name} PRIVATE ${arg_LIBS} ${CMAKE_DL_LIBS})
    set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lab)
    add_dependencies(lab_programs ${name})
endfunction()

# backhaul_embed(<header> [<NAME> <file>]...)
# A header with the bytes of each file as a std::string_view <NAME>, made anew when one changes. The
# target of the header's stem makes nothing else, for whoever only reads sources.
function(backhaul_embed header)
    set(files "")
    set(rest ${ARGN})
    while(rest)
        list(POP_FRONT rest name file)
        list(APPEND files ${file})
    endwhile()
    string(REPLACE ";" "|" list "${ARGN}")
    add_custom_command(OUTPUT ${header}
        COMMAND ${CMAKE_COMMAND} "-DHEADER=${header}" "-DLIST=${list}"
            -P ${PROJECT_SOURCE_DIR}/cmake/embed.cmake
        DEPENDS ${files} ${PROJECT_SOURCE_DIR}/cmake/embed.cmake
        COMMENT "Embedding ${header}" VERBATIM)
    cmake_path(GET header STEM stem)
    add_custom_target(${stem} DEPENDS ${header})
endfunction()
