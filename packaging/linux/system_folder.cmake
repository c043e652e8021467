# korvel_system_folder(VARIABLE PREFIX FOLDER): where the folder for the system's settings, as "etc", is. Sessions look
# in /etc for what an installation below /usr brings.
function(korvel_system_folder variable prefix folder)
    if(NOT IS_ABSOLUTE "${folder}")
        if(prefix STREQUAL "/usr")
            set(prefix "")
        endif()
        set(folder "${prefix}/${folder}")
    endif()
    set(${variable} "${folder}" PARENT_SCOPE)
endfunction()
