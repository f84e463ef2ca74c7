# What `cmake --install` puts on a router: daemon, tool, man pages, init script and its options. All of it
# goes below the prefix; with /usr alone, /etc and /lib are beside it, as everywhere.

include(GNUInstallDirs)
set(BACKHAUL_INIT procd CACHE STRING "Init script to install: procd, sysv, debian or none")
set_property(CACHE BACKHAUL_INIT PROPERTY STRINGS procd sysv debian none)
if(NOT BACKHAUL_INIT MATCHES "^(procd|sysv|debian|none)$")
    message(FATAL_ERROR
        "BACKHAUL_INIT is `${BACKHAUL_INIT}`: use procd, sysv, debian (sysv and systemd) or none")
endif()

# The prefix is known when it is installed, not before.
install(CODE [[
    set(BACKHAUL_TOP .)
    if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
        set(BACKHAUL_TOP ..)
    endif()
]])
set(backhaul_top "\${BACKHAUL_TOP}")

install(TARGETS backhaul_monitor backhaulctl RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/docs/backhaul_monitor.8
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES ${PROJECT_SOURCE_DIR}/docs/backhaulctl.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
if(NOT BACKHAUL_INIT STREQUAL "none")
    set(script ${BACKHAUL_INIT})
    if(BACKHAUL_INIT STREQUAL "debian")
        set(script sysv)
        install(FILES ${PROJECT_SOURCE_DIR}/packaging/backhaul_monitor.service
            DESTINATION ${backhaul_top}/lib/systemd/system)
    endif()
    install(PROGRAMS ${PROJECT_SOURCE_DIR}/packaging/backhaul_monitor.${script}.init
        DESTINATION ${backhaul_top}/etc/init.d RENAME backhaul_monitor)
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/backhaul_monitor.default
        DESTINATION ${backhaul_top}/etc/default RENAME backhaul_monitor)
endif()
if(BACKHAUL_INIT STREQUAL "debian")
    include(BackhaulPackage)
endif()
