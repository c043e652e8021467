# Run by CPack before it makes the packages: adds to each what Debian's packages hold besides what is
# installed, in Debian's forms.
cmake_minimum_required(VERSION 3.22)
set(source "${CPACK_KORVEL_SOURCE}")
execute_process(COMMAND python3 "${source}/packaging/changelog.py" debian
    OUTPUT_VARIABLE changelog COMMAND_ERROR_IS_FATAL ANY)
# The newest entry is that of this package, for this release of the system.
string(REGEX REPLACE "^korvel [(][^)]*[)]" "korvel (${CPACK_DEBIAN_PACKAGE_VERSION})" changelog "${changelog}")

# korvel_separate_debug(PROGRAM FOLDER): moves what a debugger needs of a program below the folder, where it
# looks for it by the identifier of the build.
function(korvel_separate_debug program folder)
    execute_process(COMMAND readelf --notes ${program} OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
    if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
        message(FATAL_ERROR "${program} has no build ID")
    endif()
    set(file "${folder}/${CMAKE_MATCH_1}/${CMAKE_MATCH_2}.debug")
    file(MAKE_DIRECTORY "${folder}/${CMAKE_MATCH_1}")
    execute_process(COMMAND objcopy --only-keep-debug --compress-debug-sections ${program} ${file} COMMAND_ERROR_IS_FATAL ANY)
    file(CHMOD ${file} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    set(root "${CPACK_TEMPORARY_DIRECTORY}/${component}")
    string(TOUPPER ${component} name)
    set(package ${CPACK_DEBIAN_${name}_PACKAGE_NAME})
    file(GLOB programs "${root}/usr/bin/*")
    foreach(program IN LISTS programs)
        if("${component}-debug" IN_LIST CPACK_COMPONENTS_ALL)
            korvel_separate_debug(${program} "${root}-debug/usr/lib/debug/.build-id")
        endif()
        execute_process(COMMAND strip --strip-unneeded --remove-section=.comment --remove-section=.note ${program}
            COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
    set(documents "${root}/usr/share/doc/${package}")
    file(MAKE_DIRECTORY "${documents}")
    file(COPY "${source}/packaging/linux/copyright" DESTINATION "${documents}")
    file(WRITE "${documents}/changelog" "${changelog}")
    file(GLOB pages "${root}/usr/share/man/man*/*")
    execute_process(COMMAND gzip -9n "${documents}/changelog" ${pages} COMMAND_ERROR_IS_FATAL ANY)
    # Files have the modes of the tree that they come from, which may be another user's habit.
    execute_process(COMMAND chmod -R u=rwX,go=rX "${root}" COMMAND_ERROR_IS_FATAL ANY)
    if(EXISTS "${source}/packaging/linux/lintian/${package}")
        file(COPY "${source}/packaging/linux/lintian/${package}" DESTINATION "${root}/usr/share/lintian/overrides")
    endif()
endforeach()
