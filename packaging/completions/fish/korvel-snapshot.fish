# Completes the command line of korvel-snapshot.
complete -c korvel-snapshot -f
set -l alone 'not __fish_contains_opt selfcheck help version'
set -l first 'not __fish_contains_opt json bar prometheus once watch selfcheck help version'
complete -c korvel-snapshot -n "$alone; and not __fish_contains_opt json bar prometheus" -l json \
    -d 'print it as one line of JSON'
complete -c korvel-snapshot -n "$alone; and not __fish_contains_opt json bar prometheus" -l bar \
    -d 'print it as one line for a bar'
complete -c korvel-snapshot -n "$alone; and not __fish_contains_opt json bar prometheus watch" -l prometheus \
    -d 'print it as metrics for Prometheus'
complete -c korvel-snapshot -n "$alone; and not __fish_contains_opt once" -l once \
    -d 'sample once, without the second that processor time takes'
complete -c korvel-snapshot -n "$alone; and not __fish_contains_opt prometheus watch" -l watch -x \
    -d 'repeat it after so many seconds, 0.1 to 86400'
complete -c korvel-snapshot -n "$first" -l selfcheck -d 'print each reading beside what the system\'s tools say'
complete -c korvel-snapshot -n "$first" -l help -d 'print this help'
complete -c korvel-snapshot -n "$first" -l version -d 'print the version'
