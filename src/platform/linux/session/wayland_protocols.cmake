# korvel_wayland_protocols(TARGET XML...): a library of what wayland-scanner makes out of descriptions of
# protocols, as this program's side of them: NAME.h for a NAME.xml. It is C, compiled as C++ (the header,
# included first, makes the tables visible to other files), and not held to this program's warnings.
find_program(WAYLAND_SCANNER wayland-scanner REQUIRED)
function(korvel_wayland_protocols target)
    set(folder ${CMAKE_CURRENT_BINARY_DIR}/${target})
    file(MAKE_DIRECTORY ${folder})
    set(made)
    foreach(xml ${ARGN})
        get_filename_component(name ${xml} NAME_WE)
        add_custom_command(OUTPUT ${folder}/${name}.h ${folder}/${name}.c
            COMMAND ${WAYLAND_SCANNER} client-header ${xml} ${folder}/${name}.h
            COMMAND ${WAYLAND_SCANNER} private-code ${xml} ${folder}/${name}.c
            DEPENDS ${xml} VERBATIM)
        set_source_files_properties(${folder}/${name}.c PROPERTIES
            LANGUAGE CXX COMPILE_OPTIONS "-include;${folder}/${name}.h;-w" SKIP_UNITY_BUILD_INCLUSION ON)
        list(APPEND made ${folder}/${name}.h ${folder}/${name}.c)
    endforeach()
    add_library(${target} STATIC ${made})
    target_include_directories(${target} SYSTEM PUBLIC ${folder})
    target_link_libraries(${target} PUBLIC PkgConfig::WAYLAND)
endfunction()
