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
