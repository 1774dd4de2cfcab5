# What a user gets, and where; packaging/pack makes packages of it.
set(user_programs tessella-editor tessella-registry tessella-render tessella-state)
set(prepared "${PROJECT_BINARY_DIR}/packaging")
set(doc_folder share/doc/tessella-duckwork)

add_custom_target(package_texts ALL
    COMMAND "${PROJECT_SOURCE_DIR}/packaging/prepare" "${TD_RELEASE}" "${prepared}"
    COMMENT "Man pages, changelog, metainfo and bill of materials"
    VERBATIM)
add_custom_target(package_contents DEPENDS TessellaDuckwork ${user_programs} package_texts)

set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON) # package_contents is enough: no tests
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS # whatever the umask
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
# Hosts look in /usr/lib/clap, not in the folder for one architecture.
install(TARGETS TessellaDuckwork LIBRARY DESTINATION lib/clap
    PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
install(TARGETS ${user_programs} RUNTIME DESTINATION bin)
install(DIRECTORY "${prepared}/man1" DESTINATION share/man)
install(DIRECTORY "${prepared}/metainfo" DESTINATION share)
install(FILES packaging/tessella-editor.desktop DESTINATION share/applications)
install(FILES packaging/tessella-editor.svg DESTINATION share/icons/hicolor/scalable/apps)
install(FILES "${prepared}/sbom.spdx.json" packaging/debian/copyright CHANGELOG.md README.md
    CONTRIBUTING.md DESTINATION ${doc_folder})
# The same folders as in the sources: documents link to each other and to their pictures.
install(DIRECTORY docs DESTINATION ${doc_folder}
    FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
install(DIRECTORY examples DESTINATION ${doc_folder})
