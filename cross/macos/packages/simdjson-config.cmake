# Its headers, and a library that is names alone.
if(NOT TARGET simdjson::simdjson)
    file(GLOB library /usr/lib/libsimdjson.so /usr/lib/*/libsimdjson.so)
    execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../stub-libraries
        ${CMAKE_BINARY_DIR}/stubs @rpath/libsimdjson.dylib=${library} COMMAND_ERROR_IS_FATAL ANY)
    add_library(simdjson::simdjson SHARED IMPORTED)
    set_target_properties(simdjson::simdjson PROPERTIES
        INTERFACE_INCLUDE_DIRECTORIES ${KORVEL_CROSS_HEADERS}
        IMPORTED_LOCATION ${CMAKE_BINARY_DIR}/stubs/libsimdjson.tbd)
endif()
