# What `cmake --install` puts where on Linux, in three components, which are also the names of the packages:
#   korvel            the program, and what a desktop looks for
#   korvel-snapshot   one reading, for scripts, bars and servers; without Qt
#   korvel-tools      the simulation
# A program that was not built is left out, with what comes with it.
include(GNUInstallDirs)

set(KORVEL_DATA ${CMAKE_INSTALL_DATADIR}/korvel)

# korvel_install_program(TARGET COMPONENT): with its page and what completes its command line.
function(korvel_install_program target component)
    if(NOT TARGET ${target})
        return()
    endif()
    get_target_property(name ${target} OUTPUT_NAME)
    if(NOT name)
        set(name ${target})
    endif()
    install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${component})
    korvel_install_file(docs/man/${name}.1 ${CMAKE_INSTALL_MANDIR}/man1 ${component})
    if(target STREQUAL "korvel") # it has no command line
        return()
    endif()
    set(completions packaging/completions)
    korvel_install_file(${completions}/bash/${name} ${CMAKE_INSTALL_DATADIR}/bash-completion/completions ${component})
    korvel_install_file(${completions}/zsh/_${name} ${CMAKE_INSTALL_DATADIR}/zsh/${zsh_folder} ${component})
    korvel_install_file(${completions}/fish/${name}.fish ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d ${component})
endfunction()

# korvel_install_file(SOURCE FOLDER COMPONENT): a file of the tree.
function(korvel_install_file source folder component)
    install(FILES ${CMAKE_SOURCE_DIR}/${source} DESTINATION ${folder} COMPONENT ${component})
endfunction()

# Debian's zsh looks in another folder than that of the shell's own distribution.
set(zsh_folder site-functions)
if(EXISTS /etc/debian_version)
    set(zsh_folder vendor-completions)
endif()

korvel_install_program(korvel korvel)
korvel_install_program(korvel_snapshot korvel-snapshot)
korvel_install_program(korvel_sim korvel-tools)
korvel_install_program(korvel_demo korvel-tools)

set(linux packaging/linux)
if(TARGET korvel)
    korvel_install_file(${linux}/${KORVEL_IDENTIFIER}.desktop ${CMAKE_INSTALL_DATADIR}/applications korvel)
    set(icons ${CMAKE_INSTALL_DATADIR}/icons/hicolor)
    korvel_install_file(${linux}/${KORVEL_IDENTIFIER}.svg ${icons}/scalable/apps korvel)
    korvel_install_file(${linux}/${KORVEL_IDENTIFIER}-symbolic.svg ${icons}/symbolic/apps korvel)
    include(${linux}/metainfo.cmake)
    # A copy beside which this lies leaves updates to what installed it.
    korvel_install_file(${linux}/package-type ${KORVEL_DATA} korvel)
    korvel_install_file(contrib/reclaim.sh ${CMAKE_INSTALL_DOCDIR}/examples korvel)
    # By the prefix at the time of the installation.
    install(CODE "
        include(\"${CMAKE_SOURCE_DIR}/${linux}/system_folder.cmake\")
        korvel_system_folder(folder \"\${CMAKE_INSTALL_PREFIX}\" \"${CMAKE_INSTALL_SYSCONFDIR}\")
        file(INSTALL \"${CMAKE_SOURCE_DIR}/${linux}/autostart/${KORVEL_IDENTIFIER}.desktop\"
            DESTINATION \"\${folder}/xdg/autostart\")" COMPONENT korvel)
endif()

if(TARGET korvel_snapshot)
    install(DIRECTORY contrib/bars contrib/prometheus DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/korvel-snapshot/examples
        COMPONENT korvel-snapshot USE_SOURCE_PERMISSIONS)
    korvel_install_file(docs/schema/korvel-snapshot.schema.json ${KORVEL_DATA}/schema korvel-snapshot)
endif()
if(TARGET korvel_sim)
    korvel_install_file(docs/schema/korvel-scenario.schema.json ${KORVEL_DATA}/schema korvel-tools)
    korvel_install_file(docs/man/korvel-scenario.5 ${CMAKE_INSTALL_MANDIR}/man5 korvel-tools)
    install(DIRECTORY docs/scenarios DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/korvel-tools/examples COMPONENT korvel-tools)
    korvel_install_file(docs/simulation.md ${CMAKE_INSTALL_DATADIR}/doc/korvel-tools korvel-tools)
endif()
