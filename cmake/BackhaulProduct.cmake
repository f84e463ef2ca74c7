# The daemon and its subsystem libraries.

# backhaul_library(<name> SOURCES <file>... [USES <name>...])
# The static library backhaul_<name> of one folder. USES names the other subsystems whose headers
# it includes; two libraries may use each other.
function(backhaul_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
    set(target backhaul_${name})
    add_library(${target} STATIC ${arg_SOURCES})
    backhaul_common(${target})
    target_compile_options(${target} PRIVATE -fno-exceptions -fno-rtti)
    target_link_libraries(${target} PRIVATE backhaul_instrumented)
    target_link_libraries(${target} PUBLIC SQLite::SQLite3 Threads::Threads)
    foreach(other IN LISTS arg_USES)
        target_link_libraries(${target} PUBLIC backhaul_${other})
    endforeach()
endfunction()

# backhaul_daemon(<name> SOURCES <file>... USES <name>...)
# The daemon itself, at <build>/<name>.
function(backhaul_daemon name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
    add_executable(${name} ${arg_SOURCES})
    backhaul_common(${name})
    target_compile_options(${name} PRIVATE -fno-exceptions -fno-rtti)
    target_link_libraries(${name} PRIVATE
        backhaul_instrumented SQLite::SQLite3 Threads::Threads)
    foreach(other IN LISTS arg_USES)
        target_link_libraries(${name} PRIVATE backhaul_${other})
    endforeach()
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
endfunction()
