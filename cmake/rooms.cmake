# The rooms of the house and what belongs to them, by naming convention:
#
#   a source ending in _win32.cpp belongs to the Windows build, in _posix.cpp to the native build,
#   every other source to both;
#   tests/unit/<room>/*_test.cpp are one test program, <room>_test;
#   tests/programs/<name>.cpp is a helper program that tests start (one that includes a header of
#   the extension is linked with it);
#   tests/e2e/<name>.sh drives the finished Windows build, tests/e2e/native_<name>.sh the native one;
#   bench/<name>_bench.cpp (or _bench_win32.cpp) and fuzz/<name>_fuzz.cpp are one program each.
#
# Sources are found by pattern, so a new file needs no edit here.

# tarnwell_sources(<variable> <folder>...): the folders' sources for this build, deeper ones too.
function(tarnwell_sources variable)
    set(sources)
    foreach(folder IN LISTS ARGN)
        file(GLOB_RECURSE found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${folder}/*.cpp)
        list(APPEND sources ${found})
    endforeach()
    if(WIN32)
        list(FILTER sources EXCLUDE REGEX "_posix(_test)?\\.cpp$")
    else()
        list(FILTER sources EXCLUDE REGEX "_win32(_test)?\\.cpp$")
    endif()
    set(${variable} ${sources} PARENT_SCOPE)
endfunction()

# tarnwell_static(<target> <sources> <libraries>): a static library, or only its usage where there
# is nothing to compile.
function(tarnwell_static target sources libraries)
    if(sources)
        add_library(${target} STATIC ${sources})
        target_link_libraries(${target} PUBLIC tarnwell_flags ${libraries})
    else()
        add_library(${target} INTERFACE)
        target_link_libraries(${target} INTERFACE tarnwell_flags ${libraries})
    endif()
endfunction()

# tarnwell_room(<room> <folder> [WINDOWS_ONLY] [LINKS <target>...]): static library tarnwell_<room>.
function(tarnwell_room room folder)
    cmake_parse_arguments(PARSE_ARGV 2 arg "WINDOWS_ONLY" "" "LINKS")
    if(arg_WINDOWS_ONLY AND NOT WIN32)
        return()
    endif()
    tarnwell_sources(sources ${folder})
    tarnwell_static(tarnwell_${room} "${sources}" "${arg_LINKS}")
endfunction()

# tarnwell_dll(<name> ROOM <room> FOLDER <folder>): a DLL of a whole room and of its folder's .def,
# .rc and .mc files, Windows only.
function(tarnwell_dll name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "ROOM;FOLDER" "")
    if(NOT WIN32)
        return()
    endif()
    set(folder ${PROJECT_SOURCE_DIR}/${arg_FOLDER})
    file(GLOB exports CONFIGURE_DEPENDS ${folder}/*.def)
    file(GLOB resources CONFIGURE_DEPENDS ${folder}/*.rc)
    file(GLOB tables CONFIGURE_DEPENDS ${folder}/*.mc)
    foreach(table IN LISTS tables)
        tarnwell_messages(${table} ${resources})
    endforeach()
    add_library(${name} SHARED ${exports} ${resources})
    set_target_properties(${name} PROPERTIES PREFIX "" LINKER_LANGUAGE CXX)
    target_link_libraries(${name} PRIVATE $<LINK_LIBRARY:WHOLE_ARCHIVE,tarnwell_${arg_ROOM}>)
endfunction()

# tarnwell_app(<app> [OUTPUT <name>] [DESCRIPTION <text>] [WINDOWS_ONLY] [LINKS <target>...]): the program
# apps/<app>. All but main*.cpp is the static library app_<app>, which its unit tests link too. A program with a
# wide entry (wmain, wWinMain) is linked for it; wWinMain makes it a program without console. One
# without resources of its own gets those of cmake/program.rc.in, with the DESCRIPTION.
# What an app builds besides stands in apps/<app>/build.cmake.
function(tarnwell_app app)
    cmake_parse_arguments(PARSE_ARGV 1 arg "WINDOWS_ONLY" "OUTPUT;DESCRIPTION" "LINKS")
    if(TARNWELL_FUZZ OR (arg_WINDOWS_ONLY AND NOT WIN32))
        return()
    endif()
    tarnwell_sources(sources apps/${app})
    set(entry ${sources})
    list(FILTER sources EXCLUDE REGEX "/main[^/]*\\.cpp$")
    list(FILTER entry INCLUDE REGEX "/main[^/]*\\.cpp$")
    tarnwell_static(app_${app} "${sources}" "${arg_LINKS}")
    target_include_directories(app_${app} PUBLIC ${PROJECT_SOURCE_DIR}/apps)
    include(${PROJECT_SOURCE_DIR}/apps/${app}/build.cmake OPTIONAL)
    if(NOT entry)
        return()
    endif()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${entry})
    add_executable(${app} ${entry})
    target_link_libraries(${app} PRIVATE app_${app})
    if(arg_OUTPUT)
        set_target_properties(${app} PROPERTIES OUTPUT_NAME ${arg_OUTPUT})
    endif()
    if(WIN32)
        file(GLOB resources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/apps/${app}/*.rc
            ${PROJECT_SOURCE_DIR}/apps/${app}/resources/*.rc)
        if(NOT resources)
            set(resources ${PROJECT_BINARY_DIR}/generated/${app}.rc)
            configure_file(${PROJECT_SOURCE_DIR}/cmake/program.rc.in ${resources} @ONLY)
        endif()
        set_source_files_properties(${resources} PROPERTIES OBJECT_DEPENDS
            ${PROJECT_BINARY_DIR}/generated/version.h)
        target_sources(${app} PRIVATE ${resources})
        file(STRINGS ${entry} wide REGEX "[ \t](wmain|wWinMain)\\(")
        if(wide)
            target_link_options(${app} PRIVATE -municode)
        endif()
        if(wide MATCHES "wWinMain")
            target_link_options(${app} PRIVATE -mwindows)
        endif()
    endif()
endfunction()

# tarnwell_unit_tests(): one test program a folder of tests/unit, with the helpers of tests/support.
function(tarnwell_unit_tests)
    if(TARNWELL_FUZZ)
        return()
    endif()
    tarnwell_sources(support tests/support)
    add_library(test_support STATIC ${support})
    target_include_directories(test_support PUBLIC ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(test_support PUBLIC tarnwell_flags tarnwell_text tarnwell_os gmock)
    # Only this file knows where the checkout lies: the others stay the same in every clone.
    set_source_files_properties(${PROJECT_SOURCE_DIR}/tests/support/test_paths.cpp PROPERTIES
        COMPILE_DEFINITIONS
        "TARNWELL_SOURCE_FOLDER=\"$<$<BOOL:${WIN32}>:Z:>${PROJECT_SOURCE_DIR}\"")

    tarnwell_sources(programs tests/programs)
    foreach(source IN LISTS programs)
        get_filename_component(name ${source} NAME_WE)
        string(REGEX REPLACE "_(win32|posix)$" "" name ${name})
        file(GLOB resources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/programs/${name}.rc)
        add_executable(${name} ${source} ${resources})
        target_link_libraries(${name} PRIVATE tarnwell_flags tarnwell_tls)
        file(STRINGS ${source} inside REGEX "^#include \"tarnwell/win32/")
        if(inside)
            target_link_libraries(${name} PRIVATE tarnwell_extension)
        endif()
        add_dependencies(test_support ${name}) # so they are there when a test starts them
        file(STRINGS ${source} wide REGEX "[ \t]wmain\\(")
        if(WIN32 AND wide)
            target_link_options(${name} PRIVATE -municode)
        endif()
    endforeach()

    file(GLOB folders CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/tests/unit
        ${PROJECT_SOURCE_DIR}/tests/unit/*)
    foreach(room IN LISTS folders)
        tarnwell_sources(sources tests/unit/${room})
        if(sources)
            tarnwell_unit_test(${room} "${sources}")
        endif()
    endforeach()
endfunction()

# tarnwell_unit_test(<room> <sources>): the program <room>_test, run by ctest as one test, linked
# with the room or with the app of that name.
function(tarnwell_unit_test room sources)
    set(test ${room}_test)
    set(subject tarnwell_${room})
    if(NOT TARGET ${subject})
        set(subject app_${room})
    endif()
    add_executable(${test} ${sources})
    target_link_libraries(${test} PRIVATE ${subject} test_support gmock_main)
    if(room STREQUAL "extension")
        target_link_libraries(${test} PRIVATE tarnwell_resources)
        add_dependencies(${test} Tarnwell kestrix)
    endif()
    if(room MATCHES "^(zellog|os)$" AND TARGET zelLog)
        add_dependencies(${test} zelLog)
    endif()
    add_test(NAME ${test} COMMAND ${test} WORKING_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
    # With every heap call checked, the slowest takes minutes on a busy machine.
    set_tests_properties(${test} PROPERTIES LABELS unit TIMEOUT 900 ENVIRONMENT
        "TARNWELL_TIMEOUT=890;ASAN_OPTIONS=detect_stack_use_after_return=1:strict_string_checks=1;UBSAN_OPTIONS=print_stacktrace=1")
endfunction()

# tarnwell_e2e_tests(): every executable script of tests/e2e as one test, with the built programs'
# folder in TARNWELL_BUILD.
function(tarnwell_e2e_tests)
    if(TARNWELL_FUZZ)
        return()
    endif()
    file(GLOB scripts CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/e2e/*.sh)
    if(WIN32)
        list(FILTER scripts EXCLUDE REGEX "/native_[^/]*$")
    else()
        list(FILTER scripts INCLUDE REGEX "/native_[^/]*$")
    endif()
    foreach(script IN LISTS scripts)
        execute_process(COMMAND test -x ${script} RESULT_VARIABLE notExecutable)
        if(notExecutable)
            continue()
        endif()
        get_filename_component(name ${script} NAME_WE)
        add_test(NAME e2e_${name} COMMAND ${script})
        # The costly ones start first, so that no core waits for the last of them.
        set_tests_properties(e2e_${name} PROPERTIES LABELS e2e COST 100 TIMEOUT 600 ENVIRONMENT
            "TARNWELL_BUILD=${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
    endforeach()
endfunction()

# tarnwell_benches(): the benchmark programs, in the release builds only: the ones that need Windows
# in the Windows build, all others in the native one.
function(tarnwell_benches)
    if(TARNWELL_FUZZ OR NOT CMAKE_BUILD_TYPE STREQUAL "Release")
        return()
    endif()
    file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/bench/*_bench*.cpp)
    if(WIN32)
        list(FILTER sources INCLUDE REGEX "_win32[.]cpp$")
        set(libraries tarnwell_extension tarnwell_resources)
    else()
        list(FILTER sources EXCLUDE REGEX "_win32[.]cpp$")
        find_package(benchmark REQUIRED)
        set(libraries tarnwell_core tarnwell_crypto tarnwell_net tarnwell_lang
            benchmark::benchmark_main)
    endif()
    add_custom_target(benches)
    foreach(source IN LISTS sources)
        get_filename_component(name ${source} NAME_WE)
        string(REGEX REPLACE "_win32$" "" name ${name})
        add_executable(${name} ${source})
        add_dependencies(benches ${name})
        target_link_libraries(${name} PRIVATE ${libraries})
        if(WIN32)
            add_dependencies(${name} kestrix) # the texts that the tips are made of
        endif()
    endforeach()
    if(TARGET blend_bench)
        add_dependencies(benches http_client) # which https_bench.py drives
        tarnwell_bench_pictures(blend_bench)
    endif()
endfunction()

# tarnwell_bench_pictures(<bench>): the overlays' pixels at the largest size, for the blend's
# benchmark: <name>.bgra in the folder that the bench knows as TARNWELL_PICTURES.
function(tarnwell_bench_pictures bench)
    set(folder ${PROJECT_BINARY_DIR}/generated/pictures)
    file(MAKE_DIRECTORY ${folder})
    file(GLOB drawings CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/assets/overlay_*.svg)
    list(FILTER drawings EXCLUDE REGEX "_[0-9]+[.]svg$")
    set(built)
    foreach(drawing IN LISTS drawings)
        get_filename_component(name ${drawing} NAME_WE)
        add_custom_command(OUTPUT ${folder}/${name}.bgra
            COMMAND python3 ${PROJECT_SOURCE_DIR}/scripts/make-icon.py
                --pixels ${folder}/${name}.bgra 256=${drawing}
            DEPENDS ${drawing} ${PROJECT_SOURCE_DIR}/scripts/make-icon.py VERBATIM)
        list(APPEND built ${folder}/${name}.bgra)
    endforeach()
    target_sources(${bench} PRIVATE ${built})
    target_compile_definitions(${bench} PRIVATE "TARNWELL_PICTURES=\"${folder}\"")
endfunction()

# tarnwell_fuzz_targets(): the fuzzers, in the fuzz build only.
function(tarnwell_fuzz_targets)
    if(NOT TARNWELL_FUZZ)
        return()
    endif()
    file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/fuzz/*_fuzz.cpp)
    foreach(source IN LISTS sources)
        get_filename_component(name ${source} NAME_WE)
        add_executable(${name} ${source})
        target_link_libraries(${name} PRIVATE
            tarnwell_core tarnwell_crypto tarnwell_net tarnwell_lang)
        target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    endforeach()
endfunction()
