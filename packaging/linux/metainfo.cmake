# What software centres say of the program, with the versions of CHANGELOG.md.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(changelog ${CMAKE_SOURCE_DIR}/packaging/changelog.py)
execute_process(COMMAND ${Python3_EXECUTABLE} ${changelog} metainfo
    OUTPUT_VARIABLE RELEASES OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
string(REPLACE "\n" "\n  " RELEASES "${RELEASES}")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${changelog} ${CMAKE_SOURCE_DIR}/CHANGELOG.md)
set(KORVEL_METAINFO ${CMAKE_BINARY_DIR}/${KORVEL_IDENTIFIER}.metainfo.xml)
configure_file(packaging/linux/${KORVEL_IDENTIFIER}.metainfo.xml.in ${KORVEL_METAINFO} @ONLY)
install(FILES ${KORVEL_METAINFO} DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT korvel)
