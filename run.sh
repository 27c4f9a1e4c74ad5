#!/usr/bin/env bash
# ./run.sh [MOVIE.flv]: shows the module at work. Sets up what is needed, builds it, registers it in a Wine prefix of
# its own, opens a film (a new one when none is given) through Media Foundation, tells what it holds and draws a picture
# of it. A second run only does what is not done yet.
set -euo pipefail

movie=${1:+$(realpath "$1")}
cd "$(dirname "${BASH_SOURCE[0]}")"
source scripts/console.sh
source scripts/packages.sh
source scripts/build.sh

[[ $# -le 1 ]] || fail "give one film, or none"
[[ -z $movie || -f $movie ]] || fail "there is no file $movie"

need_packages "${build_packages[@]}" "${wine_packages[@]}" "${media_packages[@]}"
build_preset release JyFlvSource flvinfo flvthumb

# Not the tests' prefix, so that neither gets in the other's way.
export JY_WINE_PREFIX=$PWD/build/wine-run JY_WINE_TIME_LIMIT=120
source scripts/wine-prefix.sh
trap wine_prefix_end EXIT
[[ -e $WINEPREFIX/ready ]] || say "Making a Wine prefix"
wine_prefix_ready || fail "there is no Wine prefix to run in"

if [[ -z $movie ]]; then
    say "Making a film"
    tests/media/make-media.sh build/media || fail "the film could not be made"
    movie=$PWD/build/media/film.flv
fi

# windows_path FILE: as a Windows program sees it.
windows_path() { printf 'Z:%s' "${1//\//\\}"; }

programs=build/release/bin
say "Registering JyFlvSource.dll"
scripts/wine.sh regsvr32 /s "$(windows_path "$PWD/$programs/JyFlvSource.dll")" ||
    fail "JyFlvSource.dll could not be registered"

say "What $movie holds"
account=build/run-account.txt
scripts/wine.sh "$programs/flvinfo.exe" "$(windows_path "$movie")" | tee "$account" ||
    fail "the film cannot be opened"
# Wine can open some files by itself; the module's streams bear these numbers.
grep -Eq '^Stream 100[12],' "$account" || fail "the film was opened by something else than JyFlvSource.dll"

if grep -q '^Stream 1002,' "$account"; then
    picture=$PWD/build/thumbnail.png
    say "A picture of it"
    scripts/wine.sh "$programs/flvthumb.exe" "$(windows_path "$movie")" "$(windows_path "$picture")" --at 2 ||
        fail "no picture could be drawn"
    printf '\n%s\n' "$picture"
fi
