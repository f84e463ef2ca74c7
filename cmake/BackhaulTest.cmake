# Test programs. Include once, before the tests folder.

enable_testing()
if(CMAKE_CROSSCOMPILING)
    # Debian has GoogleTest's source for all processors.
    set(INSTALL_GTEST OFF)
    add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
else()
    find_package(GTest REQUIRED)
endif()
include(GoogleTest)

# Sanitized tests are compiled without the optimiser: that halves the time of a build, of which the
# tests are the larger part. What they test keeps its optimisation.
function(backhaul_test_common target)
    backhaul_common(${target})
    target_link_libraries(${target} PRIVATE backhaul_instrumented_test)
    if(BACKHAUL_SANITIZE)
        target_compile_options(${target} PRIVATE -O0)
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # Lets a compiler cache see what comes from precompiled headers.
        target_compile_options(${target} PRIVATE -fpch-preprocess)
    endif()
endfunction()

# Most of the time that a test takes to compile goes into these headers: they are compiled once, for
# programs and libraries alike, which therefore are position independent in the same way.
add_executable(backhaul_test_headers EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/cmake/test_headers.cpp)
backhaul_test_common(backhaul_test_headers)
target_link_libraries(backhaul_test_headers PRIVATE GTest::gmock GTest::gtest Threads::Threads)
target_precompile_headers(backhaul_test_headers PRIVATE
    <gtest/gtest.h> <gmock/gmock.h> <array> <cstdint> <functional> <memory> <string> <vector>)

function(backhaul_test_headers_use target)
    target_precompile_headers(${target} REUSE_FROM backhaul_test_headers)
endfunction()

# What has to do with the daemon's threads: its unit and process tests, without the lab's own.
add_custom_target(daemon_tests)

# places_define(<target>): BACKHAUL_BUILD_DIR and BACKHAUL_SOURCE_DIR are texts in those of its sources
# that name them, or a header that does. The others compile to the same in every checkout, so that
# a compiler cache knows them.
set(place_users "BACKHAUL_(BUILD|SOURCE)_DIR|lab_program/(program_run|man_page)\\.h")
function(places_define target)
    get_target_property(sources ${target} SOURCES)
    foreach(source IN LISTS sources)
        cmake_path(ABSOLUTE_PATH source BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
        file(STRINGS ${source} found REGEX "${place_users}" LIMIT_COUNT 1)
        if(found)
            set_property(SOURCE ${source} APPEND PROPERTY COMPILE_DEFINITIONS
                BACKHAUL_BUILD_DIR="${PROJECT_BINARY_DIR}"
                BACKHAUL_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
        endif()
    endforeach()
endfunction()

# Functions of values: they need no sandbox, so they run wherever a program of theirs does.
add_custom_target(value_tests)

# backhaul_test_library(<name> SOURCES <file>... [LIBS <target>...])
# A static library for tests only, with the tests' flags: exceptions allowed, sanitized.
function(backhaul_test_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBS")
    add_library(${name} STATIC ${arg_SOURCES})
    backhaul_test_common(${name})
    set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    target_compile_options(${name} PRIVATE -fPIE)
    target_link_libraries(${name} PUBLIC ${arg_LIBS} GTest::gmock GTest::gtest Threads::Threads)
    backhaul_test_headers_use(${name})
endfunction()

# backhaul_test(<name> LABEL unit|process|lab|fuzz SOURCES <file>... [LIBS <target>...]
#               [TIMEOUT <seconds>])
# The program <build>/tests/<name>; each of its tests is known to CTest as <name>.<suite>.<test>.
# Sources may name BACKHAUL_BUILD_DIR and BACKHAUL_SOURCE_DIR. Without a main() among LIBS
# GoogleTest's own is taken; a library that brings one does so as an object, because an archive
# that comes in through another library would lose against GoogleTest's. Tests other than unit
# tests also bring the daemon and the lab up to date. Unit tests can be run by the program as well,
# as <name>: to make a sandbox for each takes most of their time.
# What may take long (TIMEOUT, in seconds) is started first: nothing waits for it at the end.
function(backhaul_test name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "LABEL;TIMEOUT" "SOURCES;LIBS")
    if(NOT arg_LABEL MATCHES "^(unit|process|lab|fuzz)$")
        message(FATAL_ERROR "backhaul_test(${name}): LABEL must be unit, process, lab or fuzz")
    endif()
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
        if(arg_LABEL STREQUAL "unit")
            set(arg_TIMEOUT 60)
        endif()
    endif()
    add_executable(${name} ${arg_SOURCES})
    backhaul_test_common(${name})
    places_define(${name})
    target_link_libraries(${name} PRIVATE
        ${arg_LIBS} GTest::gmock GTest::gtest GTest::gtest_main)
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
    backhaul_test_headers_use(${name})
    if(arg_LABEL STREQUAL "lab")
        add_dependencies(${name} lab_programs)
    endif()
    if(NOT arg_LABEL STREQUAL "unit")
        add_dependencies(${name} backhaul_monitor lab_tool lab_sh lab_clock)
    endif()
    if(arg_LABEL MATCHES "^(unit|process)$" AND NOT name MATCHES "^lab_")
        add_dependencies(daemon_tests ${name})
    endif()
    if(name MATCHES "_values_test$")
        add_dependencies(value_tests ${name})
    endif()
    gtest_discover_tests(${name}
        DISCOVERY_MODE PRE_TEST
        NO_PRETTY_VALUES
        DISCOVERY_TIMEOUT 60
        TEST_PREFIX "${name}."
        PROPERTIES LABELS ${arg_LABEL} TIMEOUT ${arg_TIMEOUT} COST ${arg_TIMEOUT})
    if(arg_LABEL STREQUAL "unit")
        set(whole_label whole)
        if(name MATCHES "^lab_")
            set(whole_label whole-bed)
        endif()
        # Known to `ctest -C whole` only.
        add_test(NAME ${name} CONFIGURATIONS whole COMMAND ${name} --gtest_brief=1)
        set_tests_properties(${name} PROPERTIES LABELS ${whole_label} TIMEOUT 600 COST 600)
    endif()
endfunction()

# Every fuzz target, and the file <build>/fuzz_targets.txt that `./run fuzz` goes by: a line for each,
# its name and its corpus in the sources.
add_custom_target(fuzz_targets)
file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/fuzz_targets.txt
    CONTENT "$<JOIN:$<TARGET_PROPERTY:fuzz_targets,BACKHAUL_FUZZ_LINES>,\n>\n")

# backhaul_fuzz(<name> SOURCES <file>... CORPUS <folder> [LIBS <target>...])
# Code under fuzz: SOURCES define LLVMFuzzerTestOneInput. With BACKHAUL_FUZZ the program is the
# fuzzer <build>/fuzz/<name>; without, <build>/tests/<name> replays the corpus as one test. The
# corpus is named relative to where it lies: a target may have a file system of its own.
function(backhaul_fuzz name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "CORPUS" "SOURCES;LIBS")
    add_executable(${name} ${arg_SOURCES})
    backhaul_common(${name})
    target_link_libraries(${name} PRIVATE backhaul_instrumented ${arg_LIBS})
    add_dependencies(fuzz_targets ${name})
    cmake_path(ABSOLUTE_PATH arg_CORPUS BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
    cmake_path(RELATIVE_PATH arg_CORPUS BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
    set_property(TARGET fuzz_targets APPEND PROPERTY BACKHAUL_FUZZ_LINES "${name} ${arg_CORPUS}")
    set(place tests)
    set(replay)
    if(BACKHAUL_FUZZ)
        target_link_options(${name} PRIVATE -fsanitize=fuzzer)
        set(place fuzz)
        set(replay -runs=0)
    else()
        target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/fuzz_replay_main.cpp)
    endif()
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${place})
    add_test(NAME ${name}.replay COMMAND ${name} ${replay} ${arg_CORPUS}
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
    set_tests_properties(${name}.replay PROPERTIES LABELS fuzz TIMEOUT 120)
endfunction()
