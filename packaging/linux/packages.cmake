# The Debian packages that script/package makes with CPack: what is installed, a package for each component.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME korvel)
set(CPACK_PACKAGE_VERSION "${KORVEL_VERSION}")
set(CPACK_PACKAGE_VENDOR "Oxbrook")
set(CPACK_PACKAGE_CONTACT "Korvel developers <korvel@oxbrook.example>")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://oxbrook.example/korvel")
set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_SET_DESTDIR ON) # for what goes to /etc
set(CPACK_COMPONENTS_ALL korvel-snapshot)
if(TARGET korvel_sim)
    list(APPEND CPACK_COMPONENTS_ALL korvel-tools)
endif()
if(TARGET korvel)
    list(PREPEND CPACK_COMPONENTS_ALL korvel)
endif()

# Packages for a later release of the system are newer than those for an earlier one, so that an upgrade of
# the system replaces them: 1.0.0+deb12, 1.0.0+ubuntu24.04, and 1.0.0+debforky where it has no number yet.
set(suite "")
if(EXISTS /etc/os-release)
    file(STRINGS /etc/os-release release REGEX "^(ID|VERSION_ID|VERSION_CODENAME)=")
    string(REGEX REPLACE "[\"']" "" release "${release}")
    if("${release};" MATCHES "(^|;)ID=([a-z]+);" )
        string(REPLACE "debian" "deb" suite "${CMAKE_MATCH_2}")
    endif()
    if("${release};" MATCHES "VERSION_ID=([0-9.]+);")
        string(APPEND suite "${CMAKE_MATCH_1}")
    elseif("${release};" MATCHES "VERSION_CODENAME=([a-z]+);")
        string(APPEND suite "${CMAKE_MATCH_1}")
    endif()
endif()
set(CPACK_DEBIAN_PACKAGE_VERSION "${KORVEL_VERSION}")
if(suite)
    string(APPEND CPACK_DEBIAN_PACKAGE_VERSION "+${suite}")
endif()
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${CPACK_PACKAGE_HOMEPAGE_URL}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_THREADS 0) # as many as there are processors
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_SOURCE_DIR}/packaging/linux/debian_files.cmake")

# The first line of a description is the synopsis.
set(CPACK_DEBIAN_KORVEL_DESCRIPTION "one health score for the machine, in the tray
Korvel keeps one score from 0 to 100 for the machine in the tray. A click
opens a popover that says in plain sentences what holds the score down, and
offers the remedy: quit a process, find what holds swap, reclaim disk space,
keep the machine awake. A notification tells when the score has fallen far.
.
It uploads nothing, and runs nothing as administrator. Updates of this
package are left to the package manager.")
# The modules that the views import; the platform's own plugins come with Qt's libraries.
set(CPACK_DEBIAN_KORVEL_PACKAGE_DEPENDS
    "qml6-module-qtqml, qml6-module-qtqml-workerscript, qml6-module-qtquick, qml6-module-qtquick-templates")
if(Qt6_VERSION VERSION_GREATER_EQUAL 6.5) # two more packages for the same modules
    string(APPEND CPACK_DEBIAN_KORVEL_PACKAGE_DEPENDS ", qml6-module-qml, qml6-module-qtqml-models")
endif()
set(CPACK_DEBIAN_KORVEL_PACKAGE_RECOMMENDS "dbus-user-session | dbus-x11, qt6-wayland")
set(CPACK_DEBIAN_KORVEL_PACKAGE_SUGGESTS "korvel-snapshot")
configure_file(packaging/linux/conffiles conffiles COPYONLY NO_SOURCE_PERMISSIONS)
set(CPACK_DEBIAN_KORVEL_PACKAGE_CONTROL_EXTRA "${CMAKE_BINARY_DIR}/conffiles")

set(CPACK_DEBIAN_KORVEL-SNAPSHOT_DESCRIPTION "health score of the machine, for scripts, bars and monitoring
korvel-snapshot prints one scored reading of the machine: as a report for a
person, as JSON, as a line for the bars of tiling desktops, or in the text
format that metrics are collected in from many machines. It needs no desktop.")
set(CPACK_DEBIAN_KORVEL-SNAPSHOT_PACKAGE_SUGGESTS "korvel, prometheus-node-exporter")

set(CPACK_DEBIAN_KORVEL-TOOLS_DESCRIPTION "simulated machine for the Korvel health score
korvel-sim runs the whole program on a simulated machine in virtual time and
prints what the world saw; korvel-demo shows its tray item and popover on such
a machine. They are for those who work on the program, or want to see what it
says of a machine that is not at hand.")
set(CPACK_DEBIAN_KORVEL-TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_KORVEL-TOOLS_PACKAGE_DEPENDS "${CPACK_DEBIAN_KORVEL_PACKAGE_DEPENDS}")
set(CPACK_DEBIAN_KORVEL-TOOLS_PACKAGE_SUGGESTS "korvel")

# What a debugger needs is apart, where the build has it. (CPack's own packages of that kind name the folder
# that they were made in, and CPack clears the folders of components that have the name of one of those.)
string(TOUPPER "${CMAKE_BUILD_TYPE}" type)
set(debug_packages "")
if("${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${type}} " MATCHES "-g[123]? ")
    foreach(package IN LISTS CPACK_COMPONENTS_ALL)
        string(TOUPPER ${package}-debug name)
        install(DIRECTORY DESTINATION lib/debug/.build-id COMPONENT ${package}-debug EXCLUDE_FROM_ALL)
        set(CPACK_DEBIAN_${name}_DESCRIPTION "debug symbols for ${package}")
        set(CPACK_DEBIAN_${name}_PACKAGE_SECTION debug)
        set(CPACK_DEBIAN_${name}_PACKAGE_SHLIBDEPS OFF)
        set(CPACK_DEBIAN_${name}_PACKAGE_DEPENDS "${package} (= ${CPACK_DEBIAN_PACKAGE_VERSION})")
        list(APPEND debug_packages ${package}-debug)
    endforeach()
endif()
list(APPEND CPACK_COMPONENTS_ALL ${debug_packages})
foreach(package IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${package} name)
    string(REGEX REPLACE "-debug$" "-dbgsym" CPACK_DEBIAN_${name}_PACKAGE_NAME ${package})
endforeach()
set(CPACK_KORVEL_SOURCE "${CMAKE_SOURCE_DIR}") # for debian_files.cmake
include(CPack)
