# Language, warnings, hardening and sanitizers: what every target of the project shares.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Build type" FORCE)
endif()

if(BACKHAUL_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "BACKHAUL_FUZZ needs clang: use the preset `fuzz`")
    endif()
    set(BACKHAUL_TESTS ON)
endif()
if(BACKHAUL_TESTS OR BACKHAUL_BENCH)
    set(BACKHAUL_LAB ON)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

# Without an optimiser there is nothing for _FORTIFY_SOURCE to hook into, and the sanitizers'
# own checks of the same calls would be bypassed by it.
set(BACKHAUL_HARDENING -fstack-protector-strong -ffunction-sections -fdata-sections)
if(NOT BACKHAUL_SANITIZE AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    list(APPEND BACKHAUL_HARDENING -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
endif()
set(BACKHAUL_LINK_HARDENING -Wl,-z,relro,-z,now -Wl,--gc-sections)

add_library(backhaul_warnings INTERFACE)
target_compile_options(backhaul_warnings INTERFACE
    -Wall -Wextra -Wconversion -Wshadow -Wswitch-enum
    $<$<BOOL:${BACKHAUL_WERROR}>:-Werror>)

# Sanitizer and coverage flags of what is tested with. Without the checks for undefined behaviour,
# with which templates of matchers take twice as long to compile; their runtime is linked for the
# libraries that have them.
add_library(backhaul_instrumented_test INTERFACE)
if(BACKHAUL_SANITIZE STREQUAL "address")
    set(backhaul_sanitize_link -fsanitize=address,undefined)
    set(backhaul_sanitize_static -static-libasan -static-libubsan)
elseif(BACKHAUL_SANITIZE STREQUAL "thread")
    set(backhaul_sanitize_link -fsanitize=thread)
    set(backhaul_sanitize_static -static-libtsan)
elseif(BACKHAUL_SANITIZE)
    message(FATAL_ERROR "BACKHAUL_SANITIZE is `${BACKHAUL_SANITIZE}`: use address or thread")
endif()
if(BACKHAUL_SANITIZE)
    target_compile_options(backhaul_instrumented_test INTERFACE
        -fsanitize=${BACKHAUL_SANITIZE} -fno-omit-frame-pointer)
    target_link_options(backhaul_instrumented_test INTERFACE ${backhaul_sanitize_link})
    # A shared runtime would have to come before the preloaded clock; clang's is static anyway.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_link_options(backhaul_instrumented_test INTERFACE ${backhaul_sanitize_static})
    endif()
endif()
if(BACKHAUL_COVERAGE)
    target_compile_options(backhaul_instrumented_test INTERFACE --coverage)
    target_link_options(backhaul_instrumented_test INTERFACE --coverage)
endif()
if(BACKHAUL_FUZZ)
    target_compile_options(backhaul_instrumented_test INTERFACE -fsanitize=fuzzer-no-link)
endif()

# The same for the daemon and its libraries, with all checks; never for what is preloaded into the
# daemon or stands in for a tool.
add_library(backhaul_instrumented INTERFACE)
target_link_libraries(backhaul_instrumented INTERFACE backhaul_instrumented_test)
if(BACKHAUL_SANITIZE STREQUAL "address")
    target_compile_options(backhaul_instrumented INTERFACE
        -fsanitize=undefined -fno-sanitize-recover=undefined)
endif()

# Settings common to all targets: include root, language rules, warnings, hardening.
function(backhaul_common target)
    target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR})
    target_compile_options(${target} PRIVATE ${BACKHAUL_HARDENING})
    target_link_options(${target} PRIVATE ${BACKHAUL_LINK_HARDENING})
    target_link_libraries(${target} PRIVATE backhaul_warnings)
endfunction()
