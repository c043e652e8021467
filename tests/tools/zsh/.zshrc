# Has an interactive zsh complete the lines in the file $LINES_FILE as by the tab key, with the completions in the
# folder $COMPLETIONS. Writes to the file $MATCHES: for each line its matches, each with its description behind a
# tab, and then an empty line.
PS1=
fpath=($COMPLETIONS $fpath)
autoload -U compinit
compinit -u -D
zstyle ':completion:*' verbose yes

compadd() {
    # Calls that only fill arrays offer nothing.
    if [[ -n ${@[(r)-[OAD]]} ]]; then
        builtin compadd "$@"
        return
    fi
    typeset -a found said
    local -i at=${@[(I)-d]}
    ((at)) && said=("${(@P)@[at+1]}")
    # Takes those of the words that do not match from the descriptions too.
    builtin compadd -A found -D said "$@"
    local -i each
    for ((each = 1; each <= $#found; each++)); do
        print -r -- "$found[each]"$'\t'"${said[each]-}" >>$MATCHES
    done
    builtin compadd "$@"
}

zle-line-init() {
    local line
    for line in "${(@f)$(<$LINES_FILE)}"; do
        BUFFER=$line
        CURSOR=$#BUFFER
        zle list-choices
        print >>$MATCHES
    done
    exit 0
}
zle -N zle-line-init
