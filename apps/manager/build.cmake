# The manager's language archive, bin/resources/kestrix.bin. Installed, it stands in the folder
# "resources" beside the manager's "bin".

set(language_sources ${PROJECT_SOURCE_DIR}/apps/manager/language)
set(language_archive ${PROJECT_BINARY_DIR}/bin/resources/kestrix.bin)
file(GLOB language_scripts CONFIGURE_DEPENDS ${language_sources}/language.*.js)
add_custom_command(OUTPUT ${language_archive}
    COMMAND python3 ${language_sources}/pack.py ${language_archive} ${language_scripts}
    DEPENDS ${language_scripts} ${language_sources}/pack.py
    COMMENT "Packing the language archive" VERBATIM)
add_custom_target(kestrix ALL DEPENDS ${language_archive})
add_dependencies(app_manager kestrix)
