# How every target of this project is compiled and linked: the interface target tarnwell_flags.

set(TARNWELL_SANITIZE "" CACHE STRING "Sanitizers of the compiler, separated by commas")
option(TARNWELL_COVERAGE "Count executed lines" OFF)
option(TARNWELL_FUZZ "Build the fuzz targets (clang only) instead of programs and tests" OFF)

add_library(tarnwell_flags INTERFACE)
target_include_directories(tarnwell_flags INTERFACE
    ${PROJECT_SOURCE_DIR}/src ${PROJECT_BINARY_DIR}/generated)
target_compile_options(tarnwell_flags INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wconversion -Werror>
    # Clang counts changes of sign to -Wconversion, the two builds' compiler does not.
    $<$<COMPILE_LANG_AND_ID:CXX,Clang>:-Wno-sign-conversion>)
configure_file(${PROJECT_SOURCE_DIR}/cmake/version.h.in
    ${PROJECT_BINARY_DIR}/generated/version.h @ONLY)

# Release: optimised, unused sections dropped, symbols stripped.
set(CMAKE_C_FLAGS_RELEASE "-O2 -DNDEBUG -ffunction-sections -fdata-sections")
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG -ffunction-sections -fdata-sections")
target_link_options(tarnwell_flags INTERFACE $<$<CONFIG:Release>:-Wl,--gc-sections -s>)

if(WIN32)
    target_compile_definitions(tarnwell_flags INTERFACE
        _WIN32_WINNT=0x0A00 NOMINMAX WIN32_LEAN_AND_MEAN UNICODE _UNICODE)
    # Address randomisation over the whole 64-bit space, no code in data pages; and no time of the
    # build, so that the same sources give the same bytes.
    target_link_options(tarnwell_flags INTERFACE
        -Wl,--dynamicbase -Wl,--nxcompat -Wl,--high-entropy-va -Wl,--no-insert-timestamp)
    target_link_libraries(tarnwell_flags INTERFACE
        ole32 oleaut32 uuid shell32 shlwapi advapi32 user32 gdi32 comctl32 windowscodecs
        ws2_32 iphlpapi crypt32 bcrypt version)
else()
    find_package(Threads REQUIRED)
    target_link_libraries(tarnwell_flags INTERFACE Threads::Threads)
endif()

# Sanitizers and counters reach the test framework too, so they are global.
if(TARNWELL_SANITIZE)
    add_compile_options(-fsanitize=${TARNWELL_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${TARNWELL_SANITIZE})
endif()
if(TARNWELL_COVERAGE)
    target_compile_options(tarnwell_flags INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(tarnwell_flags INTERFACE --coverage)
endif()

# Compiles are remembered by content, without the folder of the checkout, so that a second clone
# finds the first one's.
find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(launcher ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
        ${CCACHE})
    set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
endif()
