# Compiler flags of all targets (through kavel_plain_flags), and the sanitizer flags, chosen with
# KAVEL_SANITIZE. kavel_flags adds the platform's libraries, which kaveldesk does without.

option(KAVEL_LIBCXX "Build the unit tests with libc++, the phone's C++ library, and nothing else" OFF)
if(KAVEL_LIBCXX)
    add_compile_options(-stdlib=libc++)
    add_link_options(-stdlib=libc++)
endif()

set(KAVEL_SANITIZE "" CACHE STRING "Sanitizer leg: empty, asan-ubsan or tsan")

add_library(kavel_plain_flags INTERFACE)
target_include_directories(kavel_plain_flags INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(kavel_plain_flags INTERFACE
    -Wall -Wextra -Werror -Wconversion -Wformat=2 -Wnon-virtual-dtor -Wcast-qual
    -fstack-protector-strong
    # Like the phone's build: functions that are never called are not linked.
    -ffunction-sections -fdata-sections
    $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety -Wimplicit-fallthrough -Wshadow>
    # gcc also warns if a constructor parameter has the name of the member that it initialises.
    $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>)
target_link_options(kavel_plain_flags INTERFACE -Wl,--gc-sections)
find_package(Threads REQUIRED)
target_link_libraries(kavel_plain_flags INTERFACE Threads::Threads)

if(KAVEL_SANITIZE STREQUAL "asan-ubsan")
    # On the phone, an integer that does not fit ends the process; the same checks run here. The
    # standard library wraps integers on purpose, hence the ignore list.
    set(KAVEL_SANITIZE_FLAGS -fsanitize=address,undefined,signed-integer-overflow,unsigned-integer-overflow,implicit-unsigned-integer-truncation,implicit-signed-integer-truncation
        -fno-sanitize-recover=all -fno-omit-frame-pointer
        -fsanitize-ignorelist=${CMAKE_SOURCE_DIR}/cmake/sanitize-ignore.txt)
elseif(KAVEL_SANITIZE STREQUAL "tsan")
    set(KAVEL_SANITIZE_FLAGS -fsanitize=thread -fno-omit-frame-pointer)
elseif(NOT KAVEL_SANITIZE STREQUAL "")
    message(FATAL_ERROR "KAVEL_SANITIZE is '${KAVEL_SANITIZE}': use asan-ubsan, tsan or nothing")
endif()
if(KAVEL_SANITIZE_FLAGS)
    target_compile_options(kavel_plain_flags INTERFACE ${KAVEL_SANITIZE_FLAGS})
    target_link_options(kavel_plain_flags INTERFACE ${KAVEL_SANITIZE_FLAGS})
endif()

add_library(kavel_flags INTERFACE)
target_link_libraries(kavel_flags INTERFACE kavel_plain_flags)
