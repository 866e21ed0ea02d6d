# The extension's DLL: its resources, the icons in them, and how it is linked.

# tarnwell_icon(<svg> <ico> <sizes>): builds an icon of those square sizes from a drawing.
function(tarnwell_icon svg ico sizes)
    set(tool ${PROJECT_SOURCE_DIR}/scripts/make-icon.py)
    add_custom_command(OUTPUT ${ico}
        COMMAND python3 ${tool} ${svg} ${ico} ${sizes}
        DEPENDS ${svg} ${tool} VERBATIM)
endfunction()

# tarnwell_extension_dll(<name>): the DLL that Windows loads, and the object library
# tarnwell_resources that carries its resources for the DLL and its unit tests alike.
function(tarnwell_extension_dll name)
    set(folder ${PROJECT_SOURCE_DIR}/src/tarnwell/win32)
    if(NOT TARGET tarnwell_extension)
        return()
    endif()
    get_target_property(type tarnwell_extension TYPE)
    if(NOT type STREQUAL "STATIC_LIBRARY" OR NOT EXISTS ${folder}/tarnwell.def)
        return() # the room has no sources yet
    endif()
    set(icons ${PROJECT_BINARY_DIR}/generated/icons)
    file(MAKE_DIRECTORY ${icons})
    set(built)
    file(GLOB drawings CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/assets/menu_*.svg)
    foreach(drawing IN LISTS drawings)
        get_filename_component(icon ${drawing} NAME_WE)
        tarnwell_icon(${drawing} ${icons}/${icon}.ico 16)
        list(APPEND built ${icons}/${icon}.ico)
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
endfunction()
