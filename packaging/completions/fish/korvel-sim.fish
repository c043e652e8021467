# Completes the command line of korvel-sim.
complete -c korvel-sim -f
set -l first 'test (count (commandline -opc)) -eq 1'
complete -c korvel-sim -n "$first" -l help -d 'print this help'
complete -c korvel-sim -n "$first" -l version -d 'print the version'
complete -c korvel-sim -n "$first" -k -a '(__fish_complete_suffix .json)'
