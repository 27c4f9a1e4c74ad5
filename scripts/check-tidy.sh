#!/usr/bin/env bash
# scripts/check-tidy.sh BUILD_FOLDER: runs clang-tidy over every source file of the module and the tools that the folder
# has built; fails when it has remarks. What has been found clean is not looked at again until it, a header of the
# project that it includes, or the options change.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
folder=$1
# Names of files here are hashes of what has been found clean.
clean=$PWD/build/tidy
mkdir -p "$clean"

# The cross compiler's headers, before them what clang 14 lacks of them.
gcc_headers=$(dirname "$(x86_64-w64-mingw32-g++-posix -print-libgcc-file-name)")/include
options=(--quiet -p "$folder" --extra-arg=--target=x86_64-w64-windows-gnu)
for headers in "$PWD/scripts/tidy-include" "$gcc_headers/c++" "$gcc_headers/c++/x86_64-w64-mingw32" \
    "$gcc_headers/c++/backward" /usr/share/mingw-w64/include; do
    options+=("--extra-arg=-isystem$headers")
done
# What clang warns of beyond the compiler, for code that the compiler takes without a warning.
for warning in ignored-optimization-argument ignored-attributes sign-conversion unknown-warning-option; do
    options+=("--extra-arg=-Wno-$warning")
done

# A line for every source: its path and the paths of the project's headers that it includes, by Ninja's records, where
# paths are absolute or begin at the build folder.
sources_with_headers() {
    ninja -C "$folder" -t deps | awk -v root="$PWD/" '
        function finish() { if (line != "") print line; line = "" }
        /^[^ ]/ { finish() }
        {
            file = $1
            if (index(file, root) == 1) file = substr(file, length(root) + 1)
            else if (!sub("^../../", "", file)) next
            if (file !~ "^([.][.]|build|/)") line = line (line == "" ? "" : " ") file
        }
        END { finish() }' | sort -u
}

# check SOURCE HEADER...
check() {
    local key
    key=$( (printf '%s\n' "$settings" && cat "$@") | sha256sum | cut -d ' ' -f 1)
    [[ -e $clean/$key ]] && return
    local remarks
    if remarks=$(clang-tidy "${options[@]}" "$1" 2>/dev/null); then
        touch "$clean/$key"
    else
        printf '%s\n' "$remarks"
        return 1
    fi
}

settings=$(clang-tidy --version && cat .clang-tidy scripts/check-tidy.sh scripts/tidy-include/*)
export -f check
export settings clean
export options_text=${options[*]}

sources_with_headers | grep -v "^tests/" | xargs -P "$(nproc)" -I '{}' bash -c 'options=($options_text); check $1' check '{}'
