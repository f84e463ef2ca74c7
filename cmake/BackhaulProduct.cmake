# The daemon and the rooms that it is made of.

# What a router's flash and memory pay for and the daemon does not use: tables for exceptions, locks
# around the making of local statics, a C++ library (of which it calls nothing), a table to call the C
# library through when it is bound late, empty pages between the parts of the program. Every
# processor's tools know these words.
add_library(backhaul_small INTERFACE)
if(BACKHAUL_SMALL)
    target_compile_options(backhaul_small INTERFACE
        -fno-threadsafe-statics -fno-unwind-tables -fno-asynchronous-unwind-tables -fno-plt)
    target_link_options(backhaul_small INTERFACE -Wl,--as-needed -Wl,-z,noseparate-code)
endif()

# backhaul_room(<name> SOURCES <file>... [USES <room>...] [LIBS <target>...])
# The static library backhaul_<name> of the folder <name>. USES names every room whose headers it
# includes; all of them are lower in the house, so a room must have been added before it is used.
# LIBS are libraries from outside that this room alone needs. Includes that are not declared, and
# circles of files, are found by the test docs.rooms_are_as_declared.
function(backhaul_room name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES;LIBS")
    set(target backhaul_${name})
    add_library(${target} STATIC ${arg_SOURCES})
    backhaul_common(${target})
    target_compile_options(${target} PRIVATE -fno-exceptions -fno-rtti)
    target_link_libraries(${target} PRIVATE
        backhaul_instrumented backhaul_small ${arg_LIBS} Threads::Threads)
    foreach(lower IN LISTS arg_USES)
        if(NOT TARGET backhaul_${lower})
            message(FATAL_ERROR "room ${name} uses ${lower}, which is not below it")
        endif()
        target_link_libraries(${target} PRIVATE backhaul_${lower})
    endforeach()
    string(JOIN " " line ${name} ${arg_USES})
    set_property(GLOBAL APPEND_STRING PROPERTY BACKHAUL_ROOMS "${line}\n")
endfunction()

# What a daemon has besides where executed lines are counted.
if(BACKHAUL_COVERAGE)
    add_library(backhaul_coverage_end OBJECT ${PROJECT_SOURCE_DIR}/cmake/coverage_end.cpp)
    backhaul_common(backhaul_coverage_end)
endif()

# backhaul_daemon(<name> SOURCES <file>... USES <room>...)
# The daemon itself, at <build>/<name>.
function(backhaul_daemon name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
    add_executable(${name} ${arg_SOURCES})
    backhaul_common(${name})
    target_compile_options(${name} PRIVATE -fno-exceptions -fno-rtti)
    target_link_libraries(${name} PRIVATE
        backhaul_instrumented backhaul_small Threads::Threads)
    if(BACKHAUL_COVERAGE)
        target_link_libraries(${name} PRIVATE backhaul_coverage_end)
    endif()
    foreach(room IN LISTS arg_USES)
        target_link_libraries(${name} PRIVATE backhaul_${room})
    endforeach()
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
endfunction()
