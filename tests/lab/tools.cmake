# Tests of the stand-in tools, their state and records, and of the driver's events.
backhaul_test(lab_tools_test LABEL unit
    SOURCES
        ${CMAKE_CURRENT_LIST_DIR}/tools_air_test.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tools_answer_test.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tools_programs_test.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tools_record_test.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tools_shell_test.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tools_station_test.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tools_system_test.cpp
        ${CMAKE_CURRENT_LIST_DIR}/tools_uci_test.cpp
    LIBS lab_tool_core)
add_dependencies(lab_tools_test lab_tool lab_sh)

backhaul_test(lab_driver_test LABEL unit
    SOURCES
        ${CMAKE_CURRENT_LIST_DIR}/driver_event_test.cpp
        ${CMAKE_CURRENT_LIST_DIR}/driver_sender_test.cpp
    LIBS test_child lab_driver lab_sandbox)
