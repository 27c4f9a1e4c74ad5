#!/usr/bin/env bash
# tests/stress/name-stacks.sh FOLDER <OUTPUT: puts function names and source lines behind the frames of the stacks in a
# program's output ("  #3 JyFlvSource.dll+0x1a2b0"), as far as the programs and the .debug files of a build's bin folder
# know them. Everything else is passed on as it stands.
set -euo pipefail

folder=$1
addr2line=$(command -v x86_64-w64-mingw32-addr2line || command -v addr2line)
objdump=$(command -v x86_64-w64-mingw32-objdump || command -v objdump)
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
    done | "$addr2line" -p -C -f -s -e "$symbols"
}

mapfile -t lines < <(tr -d '\r')
declare -A offsets names
for line in "${lines[@]}"; do
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
for line in "${lines[@]}"; do
    [[ $line =~ $frame ]] && line+="  ${names[${BASH_REMATCH[1]}+${BASH_REMATCH[2]}]:-}"
    printf '%s\n' "$line"
done
