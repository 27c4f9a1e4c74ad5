#!/usr/bin/env bash
# tests/stress/name-stacks.sh FOLDER <OUTPUT: puts function names and source lines behind the frames of the stacks in a
# program's output ("  #3 JyFlvSource.dll+0x1a2b0"), as far as the programs and the .debug files of a build's bin folder
# know them, those of the functions among them that are part of another. Everything else is passed on at once.
set -euo pipefail

folder=$1
# tool NAME: the one for Windows programs, or the machine's own.
tool() {
    command -v "x86_64-w64-mingw32-$1" || command -v "$1" || {
        printf 'name-stacks.sh: %s is missing.\n' "$1" >&2
        exit 1
    }
}
addr2line=$(tool addr2line)
objdump=$(tool objdump)
frame='^  #[0-9]+ ([^+]+)[+](0x[0-9a-f]+)$'

# names_of IMAGE OFFSET...: a line for each.
names_of() {
    local image=$folder/$1 symbols base offset
    shift
    symbols=${image%.*}.debug
    [[ -e $symbols ]] || symbols=$image
    base=0x$("$objdump" -p "$image" | awk '$1 == "ImageBase" { print $2 }')
    # A return address is behind the call that it belongs to.
    for offset in "$@"; do
        printf '0x%x\n' $((base + offset - 1))
    done | "$addr2line" -a -i -p -C -f -s -e "$symbols" |
        awk '/^0x/ { if (NR > 1) print line; sub(/^0x[0-9a-f]*: /, ""); line = $0; next } { line = line $0 }
             END { if (NR) print line }'
}

# print_stack: names the frames that have come, all of an image at once, and forgets them.
print_stack() {
    local -A offsets=() names=()
    local -a wanted found
    local line image index
    for line in "${stack[@]}"; do
        if [[ $line =~ $frame && -e $folder/${BASH_REMATCH[1]} ]]; then
            offsets[${BASH_REMATCH[1]}]+=" ${BASH_REMATCH[2]}"
        fi
    done
    for image in "${!offsets[@]}"; do
        read -r -a wanted <<<"${offsets[$image]}"
        mapfile -t found < <(names_of "$image" "${wanted[@]}")
        for index in "${!wanted[@]}"; do
            names[$image+${wanted[index]}]=${found[index]:-}
        done
    done
    for line in "${stack[@]}"; do
        [[ $line =~ $frame ]] && printf '%s  %s\n' "$line" "${names[${BASH_REMATCH[1]}+${BASH_REMATCH[2]}]:-}"
    done
    stack=()
}

stack=()
while IFS= read -r line || [[ -n $line ]]; do
    line=${line%$'\r'}
    if [[ $line =~ $frame ]]; then
        stack+=("$line")
    else
        print_stack
        printf '%s\n' "$line"
    fi
done
print_stack
