#!/bin/bash
# A sample of the script that Korvel asks to clear disk space. Read it, and if you agree with it,
# copy it to ~/reclaim.sh:
#
#   reclaim.sh              shows what could be cleared, and changes nothing
#   reclaim.sh --go --yes   clears it, without a question
#
# It touches what is surely safe, and only of yours: the trash, the thumbnails, and files of package
# and language caches that nobody read or wrote for 30 days. It follows no link, and stays on one
# file system.
set -u
export LC_ALL=C

usage() {
    echo "usage: reclaim.sh [--go --yes]" >&2
    exit 2
}

go=false
case "$*" in
"") ;;
"--go --yes") go=true ;;
*) usage ;;
esac

home=$(realpath -e -- "${HOME:-/}" 2>/dev/null) || home=/
if [ "$home" = / ] || ! [ -O "$home" ]; then
    echo "reclaim.sh: no home directory of yours" >&2
    exit 1
fi

# The folder that a variable names; one that is not absolute does not count.
folder_of() { case "$1" in /*) printf '%s\n' "$1" ;; *) printf '%s\n' "$2" ;; esac; }

data=$(folder_of "${XDG_DATA_HOME:-}" "$home/.local/share")
cache=$(folder_of "${XDG_CACHE_HOME:-}" "$home/.cache")
idle_days=30
total=0

# Whether a folder is there, is yours, and is what it looks like: no link on the way below its base.
is_plain() {
    local base=$1 below=$2 real
    real=$(realpath -e -- "$base" 2>/dev/null) || return 1
    [ -d "$real/$below" ] && [ -O "$real/$below" ] &&
        [ "$(realpath -e -- "$real/$below" 2>/dev/null)" = "$real/$below" ]
}

# What is cleared of a folder, as find's conditions.
everything=(-mindepth 1)
idle=(-mindepth 1 -type f -mtime "+$idle_days" -atime "+$idle_days")

size_text() {
    awk -v bytes="$1" 'BEGIN { printf "%.1f GB", bytes / 1073741824 }'
}

# Shows one folder, and clears it when told to. What cannot be read or removed is left alone.
clear() {
    local label=$1 base=$2 below=$3 bytes
    shift 3
    is_plain "$base" "$below" || return 0
    local folder
    folder=$(realpath -e -- "$base")/$below
    # What has a second name elsewhere frees nothing.
    bytes=$(find -P "$folder" -xdev "$@" ! -type d -links 1 -printf '%b\n' 2>/dev/null |
        awk '{ sum += $1 * 512 } END { printf "%.0f", sum }')
    [ "${bytes:-0}" -gt 0 ] || [ "$go" = true ] || return 0
    total=$((total + ${bytes:-0}))
    if [ "$go" = true ]; then
        find -P "$folder" -xdev -depth "$@" -delete 2>/dev/null
        find -P "$folder" -xdev -depth -mindepth 1 -type d -empty -delete 2>/dev/null
    else
        printf '%10s  %s\n' "$(size_text "$bytes")" "$label"
    fi
}

clear "trash" "$data" Trash/files "${everything[@]}"
clear "list of the trash" "$data" Trash/info "${everything[@]}"
clear "thumbnails" "$cache" thumbnails "${everything[@]}"
clear "thumbnails (old place)" "$home" .thumbnails "${everything[@]}"
clear "pip" "$cache" pip "${idle[@]}"
clear "uv" "$cache" uv "${idle[@]}"
clear "poetry" "$cache" pypoetry/cache "${idle[@]}"
clear "npm" "$home" .npm/_cacache "${idle[@]}"
clear "yarn" "$cache" yarn "${idle[@]}"
clear "cargo" "$home" .cargo/registry/cache "${idle[@]}"
clear "go" "$cache" go-build "${idle[@]}"
clear "composer" "$cache" composer "${idle[@]}"
clear "ccache" "$cache" ccache "${idle[@]}"

if [ "$go" = true ]; then
    echo "cleared"
else
    echo "TOTAL RECLAIMABLE $(size_text "$total")"
fi
