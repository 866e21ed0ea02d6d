# What the installer takes from the build besides the programs: its registry rows, made by a program
# of the build from the tables that the DLL registers by (bin/package/registry.sql).

function(tarnwell_package_rows)
    if(TARNWELL_FUZZ)
        return()
    endif()
    add_executable(registry_rows ${PROJECT_SOURCE_DIR}/packaging/registry_rows.cpp)
    target_link_libraries(registry_rows PRIVATE tarnwell_core)
    set_target_properties(registry_rows PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/packaging)
    if(NOT WIN32)
        return()
    endif()
    set(folder ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/package)
    file(MAKE_DIRECTORY ${folder})
    add_custom_command(OUTPUT ${folder}/registry.sql
        COMMAND registry_rows ${folder}/registry.sql
        DEPENDS registry_rows COMMENT "Writing the installer's registry rows" VERBATIM)
    add_custom_target(package_rows ALL DEPENDS ${folder}/registry.sql)
    add_dependencies(programs package_rows)
endfunction()
