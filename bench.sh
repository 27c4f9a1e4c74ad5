#!/usr/bin/env bash
# ./bench.sh [RUNS]: measures the release build under Wine: what a sample, an opening, a seek and a record of the log
# cost, beside a bare Media Foundation client and ffmpeg in the same runs. Prints a table of medians and writes it as
# JSON to build/bench/result.json.
set -euo pipefail
export LC_ALL=C

runs=${1:-5}
cd "$(dirname "${BASH_SOURCE[0]}")"
source scripts/console.sh
source scripts/packages.sh
source scripts/build.sh

[[ $runs =~ ^[1-9][0-9]*$ && $# -le 1 ]] || fail "give the number of runs, or nothing"

need_packages "${build_packages[@]}" "${wine_packages[@]}" "${media_packages[@]}"
build_preset release JyFlvSource flvbench

export JY_WINE_PREFIX=$PWD/build/wine-run JY_WINE_TIME_LIMIT=120
source scripts/wine-prefix.sh
trap wine_prefix_end EXIT
[[ -e $WINEPREFIX/ready ]] || say "Making a Wine prefix"
wine_prefix_ready || fail "there is no Wine prefix to run in"

folder=build/bench
say "Making the films"
bench/make-films.sh "$folder" || fail "the films could not be made"
figures=$folder/figures.txt
: >"$figures"

windows_path() { printf 'Z:%s' "${1//\//\\}"; }
film() { windows_path "$PWD/$folder/$1.flv"; }

# measure PREFIX ARGUMENT...: the figures that flvbench prints, under names that begin with the prefix.
measure() {
    local prefix=$1
    shift
    scripts/wine.sh build/release/bin/flvbench.exe "$@" | tr -d '\r' |
        awk -v run="$run" -v prefix="$prefix" '{ print run, prefix "." $1, $2 }' >>"$figures"
}

# measure_ffmpeg PREFIX ARGUMENT...: how long ffmpeg takes, its start counted.
measure_ffmpeg() {
    local prefix=$1 start=$EPOCHREALTIME
    shift
    ffmpeg -nostdin -v error "$@" -f null -
    awk -v run="$run" -v prefix="$prefix" -v start="$start" -v end="$EPOCHREALTIME" \
        'BEGIN { print run, prefix ".ffmpeg_seconds", end - start }' >>"$figures"
}

# Once for the caches of the disk and of Wine.
run=0
measure warm samples "$(film two-hours)"
measure warm seek "$(film two-hours-noindex)" 6984
: >"$figures"

for ((run = 1; run <= runs; ++run)); do
    say "Run $run of $runs"
    measure film samples "$(film ten-minutes)"
    measure_ffmpeg film -i "$folder/ten-minutes.flv" -c copy
    measure hours samples "$(film two-hours)"
    measure minute open "$(film one-minute)"
    measure film open "$(film ten-minutes)"
    measure hours open "$(film two-hours)"
    measure film seek "$(film ten-minutes)" 582
    measure hours seek "$(film two-hours)" 6984
    measure walk seek "$(film two-hours-noindex)" 6984
    measure_ffmpeg walk -ss 6984 -i "$folder/two-hours-noindex.flv" -map 0:v:0 -c copy -frames:v 1
    measure_ffmpeg start -i "$folder/ten-minutes.flv" -map 0:v:0 -c copy -frames:v 1
    measure log log
done

awk -f bench/report.awk "$figures"
awk -v json=1 -f bench/report.awk "$figures" >"$folder/result.json"
printf '\n%s\n' "$PWD/$folder/result.json"
