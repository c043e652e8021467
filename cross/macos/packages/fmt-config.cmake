# In its headers alone: nothing of it is built for that system here.
if(NOT TARGET fmt::fmt)
    add_library(fmt::fmt INTERFACE IMPORTED)
    target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY=1)
    target_include_directories(fmt::fmt INTERFACE ${KORVEL_CROSS_HEADERS})
endif()
