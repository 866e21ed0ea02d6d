# Third-party libraries: OpenSSL and miniz from the cache that scripts/build-deps.sh fills, the test
# framework from its sources (so that it gets each build's own flags), the benchmark library from
# the system.

set(TARNWELL_DEPS "" CACHE STRING "Which of the built dependency sets: mingw, native or fuzz")
if(NOT TARNWELL_DEPS)
    message(FATAL_ERROR "Configure with one of the presets: cmake --list-presets")
endif()
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/build-deps.sh --where
    OUTPUT_VARIABLE deps OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(deps ${deps}/${TARNWELL_DEPS})
if(NOT IS_DIRECTORY ${deps})
    message(FATAL_ERROR "The libraries for ${TARNWELL_DEPS} are not built yet. Run:\n"
        "  scripts/build-deps.sh ${TARNWELL_DEPS}\n")
endif()
# Another recipe means another folder: look again when the recipe changes.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/scripts/build-deps.sh)

function(tarnwell_imported name archive)
    add_library(${name} STATIC IMPORTED)
    set_target_properties(${name} PROPERTIES
        IMPORTED_LOCATION ${deps}/lib/${archive}
        INTERFACE_INCLUDE_DIRECTORIES ${deps}/include)
endfunction()

tarnwell_imported(miniz libminiz.a)
tarnwell_imported(OpenSSL::Crypto libcrypto.a)
tarnwell_imported(OpenSSL::SSL libssl.a)
target_link_libraries(OpenSSL::SSL INTERFACE OpenSSL::Crypto)
# Keys and digests of the caller's own making are handed over through calls that 3.x deprecates and
# has no replacement for in a program without providers.
target_compile_definitions(OpenSSL::Crypto INTERFACE OPENSSL_SUPPRESS_DEPRECATED)
if(WIN32)
    target_link_libraries(OpenSSL::Crypto INTERFACE ws2_32 crypt32 bcrypt advapi32 user32 gdi32)
else()
    find_package(Threads REQUIRED)
    target_link_libraries(OpenSSL::Crypto INTERFACE Threads::Threads)
endif()

if(NOT TARNWELL_FUZZ)
    set(googletest /usr/src/googletest)
    if(NOT EXISTS ${googletest}/CMakeLists.txt)
        message(FATAL_ERROR "The sources of GoogleTest are missing (${googletest}). Run:\n"
            "  scripts/install-packages.sh\n")
    endif()
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    add_subdirectory(${googletest} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()
