# make install: the two programs, the desktop entry, AppStream metainfo, the icon,
# man pages and bash completion, under the GNU folder layout of the prefix.
# make package: the same files as a .deb.
include(GNUInstallDirs)

set(RINGFOLD_APP_ID app.ringfold.Ringfold)
configure_file(${CMAKE_SOURCE_DIR}/data/${RINGFOLD_APP_ID}.metainfo.xml
               ${CMAKE_BINARY_DIR}/data/${RINGFOLD_APP_ID}.metainfo.xml @ONLY)
# Man pages are installed gzipped, as Debian ships them; -n leaves out the name and
# time stamp, so the same page always gives the same bytes.
find_program(RINGFOLD_GZIP gzip REQUIRED)
set(man_pages)
foreach(page ringfold.1 ringfold-scan.1)
    configure_file(${CMAKE_SOURCE_DIR}/data/man/${page} ${CMAKE_BINARY_DIR}/data/man/${page} @ONLY)
    add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/data/man/${page}.gz
                       COMMAND ${RINGFOLD_GZIP} -9nkf ${page}
                       COMMAND ${CMAKE_COMMAND} -E touch ${page}.gz # gzip keeps the page's time
                       WORKING_DIRECTORY ${CMAKE_BINARY_DIR}/data/man
                       DEPENDS ${CMAKE_BINARY_DIR}/data/man/${page} VERBATIM)
    list(APPEND man_pages ${CMAKE_BINARY_DIR}/data/man/${page}.gz)
endforeach()
add_custom_target(man_pages ALL DEPENDS ${man_pages})

install(TARGETS ringfold-scan RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(TARGET ringfold)
    install(TARGETS ringfold RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES data/${RINGFOLD_APP_ID}.desktop
            DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
    install(FILES ${CMAKE_BINARY_DIR}/data/${RINGFOLD_APP_ID}.metainfo.xml
            DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
    install(FILES data/${RINGFOLD_APP_ID}.svg
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
    install(FILES ${CMAKE_BINARY_DIR}/data/man/ringfold.1.gz
            DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
install(FILES ${CMAKE_BINARY_DIR}/data/man/ringfold-scan.1.gz
        DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES data/completion/ringfold-scan
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ringfold)
set(CPACK_PACKAGE_VENDOR "Ringfold")
set(CPACK_PACKAGE_CONTACT "Ringfold <support@ringfold.app>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "See where the space on your disks goes")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://ringfold.app")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The platform plugins (xcb, wayland) are not a library dependency shlibdeps finds.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
include(CPack)
