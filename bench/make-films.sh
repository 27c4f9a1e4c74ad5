#!/usr/bin/env bash
# bench/make-films.sh FOLDER: makes the films that are measured, unless they stand: the same ten seconds of H.264
# (640 x 360, 30 pictures a second) and AAC over and over, about 7 MB and 4,400 tags a minute.
#
#   one-minute.flv, ten-minutes.flv, two-hours.flv    with an index of key frames
#   ten-minutes-noindex.flv, two-hours-noindex.flv    without
set -euo pipefail

folder=$1
mkdir -p "$folder"
stamp=$folder/made
self=$(sha256sum "${BASH_SOURCE[0]}")
[[ -e $stamp && $(<"$stamp") == "$self" ]] && exit 0

piece=$folder/piece.flv
ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=640x360:rate=30:duration=10 \
    -f lavfi -i sine=frequency=440:sample_rate=44100:duration=10 \
    -c:v libx264 -preset ultrafast -b:v 820k -g 60 -pix_fmt yuv420p -c:a aac -b:a 96k "$piece"

# film NAME PIECES OPTION...
film() {
    local name=$1 pieces=$2
    shift 2
    ffmpeg -nostdin -v error -y -stream_loop $((pieces - 1)) -i "$piece" -c copy "$@" "$folder/$name.flv"
}
film one-minute 6 -flvflags add_keyframe_index
film ten-minutes 60 -flvflags add_keyframe_index
film two-hours 720 -flvflags add_keyframe_index
film ten-minutes-noindex 60
film two-hours-noindex 720

echo "$self" >"$stamp"
