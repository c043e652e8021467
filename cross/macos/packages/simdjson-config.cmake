# The headers alone: what is linked here reads no JSON.
if(NOT TARGET simdjson::simdjson)
    add_library(simdjson::simdjson INTERFACE IMPORTED)
    target_include_directories(simdjson::simdjson INTERFACE ${KORVEL_CROSS_HEADERS})
endif()
