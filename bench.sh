#!/usr/bin/env bash
# ./bench.sh [RUNS]: measures the release build under Wine: what a sample, an opening, a seek, a record of the log and a
# film in memory cost, beside a bare Media Foundation client and ffmpeg in the same runs. Prints a table of medians with
# the least and the greatest of the runs, and writes it as JSON to build/bench/result.json.
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

# measure_ffmpeg NAME TIMES ARGUMENT...: how long ffmpeg takes, its start counted; the median of so many times.
measure_ffmpeg() {
    local name=$1 times=$2 start
    shift 2
    for ((; times > 0; --times)); do
        start=$EPOCHREALTIME
        ffmpeg -nostdin -v error "$@" -f null -
        printf '%s %s\n' "$start" "$EPOCHREALTIME"
    done | awk '{ printf "%.6f\n", $2 - $1 }' | sort -n |
        awk -v run="$run" -v name="$name" '{ seconds[NR] = $1 } END { print run, name, seconds[int(NR / 2) + 1] }' \
            >>"$figures"
}

# measure_ffmpeg_picture NAME FILM SECONDS: how long ffmpeg takes to its first picture of a film from a time on.
measure_ffmpeg_picture() {
    measure_ffmpeg "$1" 5 -ss "$3" -i "$folder/$2.flv" -map 0:v:0 -c copy -frames:v 1
}

# Once for the caches of the disk and of Wine.
run=0
measure warm samples "$(film ten-minutes)"
measure warm samples "$(film two-hours)"
measure warm seek "$(film ten-minutes-noindex)" 582 1
measure warm seek "$(film two-hours-noindex)" 6984 1
: >"$figures"

# Where the module's walk to 6984 seconds comes out: its times wrap after 2^32 microseconds.
wrapped=2689.033

for ((run = 1; run <= runs; ++run)); do
    say "Run $run of $runs"
    measure film samples "$(film ten-minutes)"
    measure_ffmpeg film.ffmpeg_seconds 5 -i "$folder/ten-minutes.flv" -c copy
    measure hours samples "$(film two-hours)"
    measure_ffmpeg hours.ffmpeg_seconds 1 -i "$folder/two-hours.flv" -c copy
    measure minute open "$(film one-minute)" 20
    measure film open "$(film ten-minutes)" 20
    measure hours open "$(film two-hours)" 20
    measure film seek "$(film ten-minutes)" 582 20
    measure_ffmpeg_picture film.ffmpeg_seek_seconds ten-minutes 582
    measure_ffmpeg_picture film.ffmpeg_start_seconds ten-minutes 0
    measure hours seek "$(film two-hours)" 6984 20
    measure_ffmpeg_picture hours.ffmpeg_seek_seconds two-hours 6984
    measure_ffmpeg_picture hours.ffmpeg_start_seconds two-hours 0
    measure film-walk seek "$(film ten-minutes-noindex)" 582 5
    measure_ffmpeg_picture film-walk.ffmpeg_seek_seconds ten-minutes-noindex 582
    measure_ffmpeg_picture film-walk.ffmpeg_start_seconds ten-minutes-noindex 0
    measure hours-walk seek "$(film two-hours-noindex)" 6984 5
    measure_ffmpeg_picture hours-walk.ffmpeg_97_seconds two-hours-noindex 6984
    measure_ffmpeg_picture hours-walk.ffmpeg_seek_seconds two-hours-noindex "$wrapped"
    measure_ffmpeg_picture hours-walk.ffmpeg_start_seconds two-hours-noindex 0
    measure log log
    measure film memory "$(film ten-minutes)" 582
    measure hours memory "$(film two-hours)" 6984
    measure hours-walk memory "$(film two-hours-noindex)" 6984
done

awk -f bench/report.awk "$figures"
awk -v json=1 -f bench/report.awk "$figures" >"$folder/result.json"
printf '\n%s\n' "$PWD/$folder/result.json"
