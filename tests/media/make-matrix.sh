#!/usr/bin/env bash
# tests/media/make-matrix.sh FOLDER: makes small FLV files of many kinds with ffmpeg, unless they stand.
#
#   baseline23.976, main25, high29.97, high60
#                      H.264 of that profile and rate in 1, 2, 3 and 4 slices, the latter three with B-frames; the even
#                      ones with an index of key frames; with AAC at 8000 (mono), 11025 (stereo), 12000 (mono) and
#                      16000 Hz (stereo); 2 s
#   odd17x33           an odd size, which H.264 has for colours in full resolution only
#   uhd3840x2160       a large picture, 0.2 s
#   delimiters         with an access-unit delimiter in front of every picture
#   earlier            main25 with pictures whose composition offset is negative
#   aacRATEmono, aacRATEstereo
#                      AAC alone at nine rates, 1 s
#   mp3noindex         H.264 and MP3 at 44100 Hz without an index, 2 s
#   mp3late            the same, the sound from 1.5 s on, with an index
#   nometadata         no script tag; the description of the pictures comes first
#   nometadatasound    no script tag; the description of the sound comes first
#   nometadataaac      no script tag, AAC alone
#   noduration         a script tag without "duration" and "filesize"
#   wrap32             time stamps from 4,290 s on: microseconds leave 32 bits; 10 s, with an index
#   wrap24             time stamps from 16,772 s on: milliseconds leave 24 bits; 10 s, without an index
#   long               two hours, a picture a second, with an index; AAC at 8000 Hz, mono
#   short              small and whole, to be cut anywhere: 16 x 16, 2 slices, AAC at 8000 Hz, mono, with an index; 1.4 s
#
# Beside each NAME.flv stand NAME.packets.csv (see make-media.sh) and NAME.parameters.csv, the decoder's parameters of
# each stream: "video," or "audio," and hexadecimal digits.
set -euo pipefail

folder=$1
source "$(dirname "${BASH_SOURCE[0]}")/films.sh"
begin_unless_made matrix "${BASH_SOURCE[0]}" "$(dirname "${BASH_SOURCE[0]}")/films.sh"

h264=(-c:v libx264 -preset ultrafast -pix_fmt yuv420p -sc_threshold 0)
aac=(-c:a aac -b:a 24k)
index=(-flvflags add_keyframe_index)

# picture SIZE RATE SECONDS: the input.
picture() { inputs+=(-f lavfi -i "testsrc=size=$1:rate=$2:duration=$3"); }

# parameters FILE: a row for every stream that has some.
parameters() {
    ffprobe -v error -show_data -show_entries stream=codec_type,extradata "$1" | awk '
        /^codec_type=/ { type = substr($0, 12) }
        /^[0-9a-f]+: / { digits = digits substr($0, 11, 40) }
        /^\[\/STREAM\]/ { gsub(" ", "", digits); if (digits) print type "," digits; digits = "" }'
}

# tell NAME: what stands beside NAME.flv.
tell() {
    packets "$folder/$1.flv" >"$folder/$1.packets.csv"
    parameters "$folder/$1.flv" >"$folder/$1.parameters.csv"
}

# make NAME OPTION...: NAME.flv of the inputs, and what is told of it.
make() {
    local name=$1
    shift
    encode "$folder/$name.flv" "$@"
    tell "$name"
}

# make_earlier NAME FROM: a copy of FROM.flv in which every third picture has an offset of -30 ms. The offset stands
# behind the tag's header and two bytes of the picture's.
make_earlier() {
    cp "$folder/$2.flv" "$folder/$1.flv"
    local position
    for position in $(awk -F, '/^video/ && ++count % 3 == 0 { print $5 + 13 }' "$folder/$2.packets.csv"); do
        printf '\xff\xff\xe2' | dd of="$folder/$1.flv" bs=1 seek="$position" conv=notrunc status=none
    done
    tell "$1"
}

# make_long NAME SECONDS TIMES: NAME.flv of the inputs, SECONDS long, that many times one behind the other.
make_long() {
    local part=$folder/$1.part.flv
    encode "$part" -t "$2" "${h264[@]}" -crf 51 -g 10 -c:a aac -b:a 8k
    inputs=(-stream_loop $(($3 - 1)) -i "$part")
    make "$1" -c copy "${index[@]}"
    rm "$part"
}

inputs=()
picture 64x64 24000/1001 2 && sound mono 8000 2 &&
    make baseline23.976 "${h264[@]}" -profile:v baseline -g 24 -x264-params slices=1 "${aac[@]}"
picture 64x64 25 2 && sound stereo 11025 2 &&
    make main25 "${h264[@]}" -profile:v main -g 25 -x264-params slices=2:bframes=2:b-adapt=0:cabac=1 "${aac[@]}" "${index[@]}"
picture 64x64 30000/1001 2 && sound mono 12000 2 &&
    make high29.97 "${h264[@]}" -profile:v high -g 15 -x264-params slices=3:bframes=3:b-adapt=0:8x8dct=1 "${aac[@]}"
picture 64x64 60 2 && sound stereo 16000 2 &&
    make high60 "${h264[@]}" -profile:v high -g 60 -x264-params slices=4:bframes=1:b-adapt=0:8x8dct=1 "${aac[@]}" "${index[@]}"
picture 34x66 25 1 && sound mono 22050 1 &&
    make odd17x33 "${h264[@]}" -pix_fmt yuv444p -vf scale=17:33 "${aac[@]}" "${index[@]}"
picture 3840x2160 25 0.2 && sound stereo 24000 0.2 && make uhd3840x2160 "${h264[@]}" "${aac[@]}" "${index[@]}"
picture 64x64 25 1 && sound mono 44100 1 && make delimiters "${h264[@]}" -x264-params aud=1 "${aac[@]}" "${index[@]}"
make_earlier earlier main25

for rate in 8000 11025 12000 16000 22050 24000 32000 44100 48000; do
    for channels in mono stereo; do
        sound "$channels" "$rate" 1 && make "aac$rate$channels" "${aac[@]}"
    done
done

mp3=("${h264[@]}" -g 10 -c:a libmp3lame -b:a 64k)
picture 64x64 25 2 && sound mono 44100 2 && make mp3noindex "${mp3[@]}"
picture 64x64 25 2 && inputs+=(-itsoffset 1.5) && sound mono 44100 0.5 && make mp3late "${mp3[@]}" "${index[@]}"

picture 64x64 25 2 && sound mono 44100 2 && make nometadata "${h264[@]}" "${aac[@]}" -flvflags no_metadata
sound mono 44100 2 && picture 64x64 25 2 &&
    make nometadatasound -map 0 -map 1 "${h264[@]}" "${aac[@]}" -flvflags no_metadata
sound mono 44100 2 && make nometadataaac "${aac[@]}" -flvflags no_metadata
picture 64x64 25 2 && sound mono 44100 2 && make noduration "${h264[@]}" "${aac[@]}" -flvflags no_duration_filesize

picture 64x64 10 10 && sound mono 8000 10 &&
    make wrap32 "${h264[@]}" -g 10 "${aac[@]}" "${index[@]}" -output_ts_offset 4290
picture 64x64 10 10 && sound mono 8000 10 && make wrap24 "${h264[@]}" -g 10 "${aac[@]}" -output_ts_offset 16772

picture 16x16 1 60 && sound mono 8000 60 && make_long long 60 120
picture 16x16 10 1.4 && sound mono 8000 1.4 &&
    make short "${h264[@]}" -crf 40 -g 5 -x264-params slices=2 -c:a aac -b:a 6k "${index[@]}"

end_made
