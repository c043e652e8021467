# Completes the command line of korvel-demo.
complete -c korvel-demo -f
set -l first 'test (count (commandline -opc)) -eq 1'
# The second half is for the option's own value.
complete -c korvel-demo -l pictures -x -a '(__fish_complete_directories)' \
    -n 'not __fish_contains_opt pictures help version; or string match -q -- --pictures (commandline -opc)[-1]' \
    -d 'draw the popover at the end into that folder instead'
complete -c korvel-demo -n "$first" -l help -d 'print this help'
complete -c korvel-demo -n "$first" -l version -d 'print the version'
complete -c korvel-demo -n "$first; or string match -q -- --pictures (commandline -opc)[-2]" \
    -k -a '(__fish_complete_suffix .json)'
