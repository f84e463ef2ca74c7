# The Debian package: `cpack -G DEB` in a build with BACKHAUL_INIT=debian and the prefix /usr, which
# the preset `debian` is.

set(backhaul_debian ${PROJECT_SOURCE_DIR}/packaging/debian)
set(backhaul_doc ${CMAKE_INSTALL_DATAROOTDIR}/doc/backhaul-monitor)
install(FILES ${backhaul_debian}/copyright ${backhaul_debian}/changelog
    DESTINATION ${backhaul_doc})
install(CODE "
    set(top \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}\")
    file(GLOB pages \"\${top}/${CMAKE_INSTALL_MANDIR}/man*/*.[1-9]\")
    execute_process(COMMAND gzip -9nf \${pages} \"\${top}/${backhaul_doc}/changelog\"
        COMMAND_ERROR_IS_FATAL ANY)
")

set(CPACK_PACKAGE_NAME backhaul-monitor)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT
    "The backhaul_monitor developers <backhaul_monitor@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Wi-Fi mesh backhaul monitor")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION 
    "Keeps a node of a Wi-Fi mesh connected to the rest of it. On an extender it
 watches the station or the cable that carries the traffic towards the root,
 retries it, moves to a backup, and switches the access points of the node off
 while there is no backhaul. On the root it keeps the list of extenders.")
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "init-system-helpers (>= 1.52)")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS openssl)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${backhaul_debian}/conffiles ${backhaul_debian}/postinst ${backhaul_debian}/prerm
    ${backhaul_debian}/postrm)
set(CPACK_SET_DESTDIR ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
include(CPack)
