# What `cmake --install` puts on a router: daemon, man page, init script.

include(GNUInstallDirs)
set(BACKHAUL_INIT procd CACHE STRING "Init script to install: procd, sysv or none")
set_property(CACHE BACKHAUL_INIT PROPERTY STRINGS procd sysv none)

install(TARGETS backhaul_monitor RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/docs/backhaul_monitor.8
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
if(NOT BACKHAUL_INIT STREQUAL "none")
    install(PROGRAMS ${PROJECT_SOURCE_DIR}/packaging/backhaul_monitor.${BACKHAUL_INIT}.init
        DESTINATION /etc/init.d RENAME backhaul_monitor)
endif()
