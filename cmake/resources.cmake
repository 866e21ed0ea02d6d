# Resources: message tables, icons, and the extension's DLL, which carries them.

# tarnwell_messages(<mc> <rc>): compiles a message table of several languages for the script that
# takes them in, <name>_en.bin and so on.
function(tarnwell_messages table script)
    find_program(WINDMC x86_64-w64-mingw32-windmc REQUIRED)
    set(folder ${PROJECT_BINARY_DIR}/generated)
    get_filename_component(name ${table} NAME_WE)
    set(stamp ${folder}/${name}.stamp)
    # -U: the table's texts become UTF-16. -C: the file is UTF-8. The header and the script that it
    # writes too have no reader.
    add_custom_command(OUTPUT ${stamp}
        COMMAND ${WINDMC} -U -C 65001 -h ${folder} -r ${folder} ${table}
        COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
        DEPENDS ${table} VERBATIM)
    set_property(SOURCE ${script} APPEND PROPERTY OBJECT_DEPENDS ${stamp})
endfunction()

# tarnwell_icon(<name> <result> [SOFT] <size>...): builds <name>.ico of those square sizes from
# assets/<name>_<size>.svg, where a size has a drawing of its own, else from assets/<name>.svg. SOFT
# keeps half-transparent pixels. Appends the icon's path to the list <result>.
function(tarnwell_icon name result)
    cmake_parse_arguments(icon "SOFT" "" "" ${ARGN})
    set(tool ${PROJECT_SOURCE_DIR}/scripts/make-icon.py)
    set(ico ${PROJECT_BINARY_DIR}/generated/icons/${name}.ico)
    set(images)
    set(drawings)
    foreach(size IN LISTS icon_UNPARSED_ARGUMENTS)
        set(drawing ${PROJECT_SOURCE_DIR}/assets/${name}_${size}.svg)
        if(NOT EXISTS ${drawing})
            set(drawing ${PROJECT_SOURCE_DIR}/assets/${name}.svg)
        endif()
        list(APPEND images ${size}=${drawing})
        list(APPEND drawings ${drawing})
    endforeach()
    list(REMOVE_DUPLICATES drawings)
    add_custom_command(OUTPUT ${ico}
        COMMAND python3 ${tool} $<$<BOOL:${icon_SOFT}>:--soft> ${ico} ${images}
        DEPENDS ${drawings} ${tool} VERBATIM COMMAND_EXPAND_LISTS)
    set(${result} ${${result}} ${ico} PARENT_SCOPE)
endfunction()

# tarnwell_extension_dll(<name>): the DLL that Windows loads, and the object library
# tarnwell_resources that carries its resources for the DLL and its unit tests alike.
function(tarnwell_extension_dll name)
    set(folder ${PROJECT_SOURCE_DIR}/src/tarnwell/win32)
    if(NOT TARGET tarnwell_extension)
        return()
    endif()
    set(icons ${PROJECT_BINARY_DIR}/generated/icons)
    file(MAKE_DIRECTORY ${icons})
    set(built)
    file(GLOB drawings CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/assets
        ${PROJECT_SOURCE_DIR}/assets/*.svg)
    foreach(drawing IN LISTS drawings)
        if(drawing MATCHES "^(menu_[a-z]+)[.]svg$")
            tarnwell_icon(${CMAKE_MATCH_1} built 16)
        elseif(drawing MATCHES "^(overlay_[a-z]+)[.]svg$")
            tarnwell_icon(${CMAKE_MATCH_1} built SOFT 256 48 32 24 16)
        endif()
    endforeach()
    set(resources ${folder}/resources/tarnwell.rc)
    set_source_files_properties(${resources} PROPERTIES OBJECT_DEPENDS
        "${built};${folder}/resources/tarnwell.manifest;${PROJECT_BINARY_DIR}/generated/version.h")
    add_library(tarnwell_resources OBJECT ${resources})
    target_include_directories(tarnwell_resources PRIVATE
        ${PROJECT_BINARY_DIR}/generated ${icons} ${folder}/resources ${PROJECT_SOURCE_DIR}/src)

    add_library(${name} SHARED ${folder}/tarnwell.def $<TARGET_OBJECTS:tarnwell_resources>)
    set_target_properties(${name} PROPERTIES PREFIX "" LINKER_LANGUAGE CXX)
    target_link_libraries(${name} PRIVATE $<LINK_LIBRARY:WHOLE_ARCHIVE,tarnwell_extension>)
    if(NOT TARNWELL_COVERAGE) # the counters are written when the process ends
        target_link_options(${name} PRIVATE -Wl,--entry=EnterDll)
    endif()
endfunction()
