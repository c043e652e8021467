# Qt as a program for macOS is built with it: the headers, tools and CMake functions of the Qt of this
# machine, which are the same on every system, and libraries that are names alone, with what the
# libraries of this machine export.
execute_process(COMMAND qtpaths6 --query QT_INSTALL_LIBS
    OUTPUT_VARIABLE installed OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(Qt6_DIR ${installed}/cmake/Qt6)

# Qt's own package asks for itself while it is read.
if(KORVEL_READING_QT)
    include(${Qt6_DIR}/Qt6Config.cmake)
    return()
endif()
set(KORVEL_READING_QT ON)
# What is not on macOS, or would bring the whole of /usr/include.
if(NOT TARGET WrapOpenGL::WrapOpenGL)
    add_library(WrapOpenGL::WrapOpenGL INTERFACE IMPORTED)
endif()
set(CMAKE_DISABLE_FIND_PACKAGE_WrapVulkanHeaders ON)
set(CMAKE_DISABLE_FIND_PACKAGE_XKB ON)
include(${Qt6_DIR}/Qt6Config.cmake)
unset(KORVEL_READING_QT)

set(stubs ${CMAKE_BINARY_DIR}/stubs)
get_property(targets DIRECTORY PROPERTY IMPORTED_TARGETS)
foreach(target ${targets})
    get_target_property(type ${target} TYPE)
    get_target_property(configurations ${target} IMPORTED_CONFIGURATIONS)
    if(type STREQUAL "SHARED_LIBRARY" AND configurations AND target MATCHES "^Qt6::(.+)$")
        set(name Qt${CMAKE_MATCH_1})
        list(GET configurations 0 configuration)
        get_target_property(library ${target} IMPORTED_LOCATION_${configuration})
        set_property(GLOBAL APPEND PROPERTY KORVEL_QT_LIBRARIES
            @rpath/${name}.framework/Versions/A/${name}=${library})
        set_target_properties(${target} PROPERTIES
            IMPORTED_CONFIGURATIONS ""
            IMPORTED_LOCATION ${stubs}/${name}.tbd)
    endif()
endforeach()
get_property(libraries GLOBAL PROPERTY KORVEL_QT_LIBRARIES)
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/../stub-libraries
    --names ${CMAKE_CURRENT_LIST_DIR}/../qt_names.txt ${stubs} ${libraries} COMMAND_ERROR_IS_FATAL ANY)

# A macdeployqt that only writes down how it was called.
file(RELATIVE_PATH QT6_INSTALL_BINS ${QT6_INSTALL_PREFIX} ${CMAKE_CURRENT_LIST_DIR}/../tools)
