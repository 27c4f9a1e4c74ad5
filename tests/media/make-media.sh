#!/usr/bin/env bash
# tests/media/make-media.sh FOLDER: makes real FLV files with ffmpeg, unless they stand. All show ffmpeg's moving test
# picture, which has its time and frame number in the upper left corner, and sound a sine.
#
#   film.flv        H.264 with B-frames, 320 x 180, 25 pictures a second, a key frame every second; AAC, stereo; 6 s;
#                   with an index of key frames
#   noindex.flv     the same without the index
#   slices.flv      the same with four slices a picture and the index
#   mono.flv        the same as film.flv with AAC, mono, at 22050 Hz, 3 s
#   mp3.flv         the same as film.flv with MP3, joint stereo, at 44100 Hz, 3 s
#   mp3atRATE.flv   MP3 at that rate, 48000 (joint stereo), 22050 or 11025 Hz (mono), alone, 1 s
#   audio.flv       AAC, stereo, alone, 3 s
#   video.flv       H.264 alone, with an index, 3 s
#   oddsize.flv     322 x 182, no multiple of a macroblock, 2 s
#   hd.flv          1920 x 1080, colours by BT.709, 1 s
#   sparse.flv      160 x 90, a key frame every 15 seconds, 40 s, with the index
#
# Beside each NAME.flv stand what ffprobe and ffmpeg tell of it:
#
#   NAME.packets.csv   a row for every packet: codec_type,pts,dts,size,pos,flags,data_hash (milliseconds, bytes, where
#                      the tag starts, "K_" for a key frame, "CRC32:" and the payload's CRC)
#   NAME.json          the container, its streams and its packets with SHA-256 hashes
#   NAME.frames.csv    the time (seconds) of every decoded picture, one a row; only where there is video
#   NAME.mp3           the frames of MP3 sound, one behind the other
#
# Also of sounds that ffmpeg does not put into FLV, at 32000, 24000, 16000, 12000 and 8000 Hz, there are soundRATE.mp3
# and soundRATE.packets.csv, 0.5 s each (without times in milliseconds).
#
# And, for the comparison of pictures, NAME.SECONDS.bgra: the picture to be seen at that time, as rows of BGRA pixels.
set -euo pipefail

folder=$1
source "$(dirname "${BASH_SOURCE[0]}")/films.sh"
begin_unless_made made "${BASH_SOURCE[0]}" "$(dirname "${BASH_SOURCE[0]}")/films.sh"

h264=(-c:v libx264 -preset veryfast -pix_fmt yuv420p -bf 2 -g 25 -keyint_min 25 -sc_threshold 0)
aac=(-c:a aac -b:a 96k)
mp3=(-c:a libmp3lame -b:a) # followed by the bit rate
index=(-flvflags add_keyframe_index)

# picture SIZE SECONDS: the input.
picture() { inputs+=(-f lavfi -i "testsrc2=size=$1:rate=25:duration=$2"); }

# make NAME OPTION...: NAME.flv of the inputs, and what is told of it.
make() {
    local name=$1 file=$folder/$1.flv
    shift
    encode "$file" "$@"
    packets "$file" >"$folder/$name.packets.csv"
    ffprobe -v error -show_data_hash SHA256 -show_format -show_streams -show_packets -of json "$file" \
        >"$folder/$name.json"
    if grep -q '^video' "$folder/$name.packets.csv"; then
        ffprobe -v error -select_streams v -show_entries frame=pts_time -of csv=print_section=0 "$file" |
            tr -d ',' | grep . >"$folder/$name.frames.csv"
    fi
}

# Nothing but frames: neither tags nor a frame about the others.
bare=(-write_xing 0 -id3v2_version 0)

# decoded FILE: a hash of the sound that ffmpeg decodes.
decoded() { ffmpeg -nostdin -v error -i "$1" -map 0:a -f md5 -; }

# frames NAME: NAME.mp3, the sound of NAME.flv.
frames() {
    ffmpeg -nostdin -v error -y -i "$folder/$1.flv" -map 0:a -c copy "${bare[@]}" "$folder/$1.mp3"
    local film sound
    film=$(decoded "$folder/$1.flv")
    sound=$(decoded "$folder/$1.mp3")
    [[ -n $film && $film == "$sound" ]] || {
        echo "$1.mp3 does not decode to what $1.flv decodes to." >&2
        exit 1
    }
}

# frames_alone CHANNELS RATE BITRATE: soundRATE.mp3 and what is told of it.
frames_alone() {
    local name=$folder/sound$2
    sound "$1" "$2" 0.5
    encode "$name.mp3" -c:a libmp3lame -b:a "$3" "${bare[@]}"
    packets "$name.mp3" >"$name.packets.csv"
}

# reference NAME SECONDS MATRIX: the last picture at that time or before.
reference() {
    local number
    number=$(awk -v time="$2" '$1 <= time { ++count } END { print count - 1 }' "$folder/$1.frames.csv")
    ffmpeg -nostdin -v error -y -i "$folder/$1.flv" -an -frames:v 1 -f rawvideo \
        -vf "select=eq(n\\,$number),scale=in_color_matrix=$3:in_range=tv:flags=accurate_rnd+neighbor,format=bgra" \
        "$folder/$1.$2.bgra"
}

inputs=()
picture 320x180 6 && sound stereo 44100 6 && make film "${h264[@]}" "${aac[@]}" "${index[@]}"
picture 320x180 6 && sound stereo 44100 6 && make noindex "${h264[@]}" "${aac[@]}"
picture 320x180 6 && sound stereo 44100 6 && make slices "${h264[@]}" -x264-params slices=4 "${aac[@]}" "${index[@]}"
picture 320x180 3 && sound mono 22050 3 && make mono "${h264[@]}" "${aac[@]}" "${index[@]}"
picture 320x180 3 && sound stereo 44100 3 && make mp3 "${h264[@]}" "${mp3[@]}" 128k "${index[@]}"
sound stereo 48000 1 && make mp3at48000 "${mp3[@]}" 192k
sound mono 22050 1 && make mp3at22050 "${mp3[@]}" 64k
sound mono 11025 1 && make mp3at11025 "${mp3[@]}" 32k
sound stereo 44100 3 && make audio "${aac[@]}"
picture 320x180 3 && make video "${h264[@]}" "${index[@]}"
picture 322x182 2 && sound stereo 44100 2 && make oddsize "${h264[@]}" "${aac[@]}" "${index[@]}"
picture 1920x1080 1 && sound stereo 44100 1 &&
    make hd -vf format=gbrp,scale=out_color_matrix=bt709:out_range=tv -colorspace bt709 "${h264[@]}" "${aac[@]}" "${index[@]}"
picture 160x90 40 && sound stereo 44100 40 &&
    make sparse "${h264[@]}" -g 375 -keyint_min 375 "${aac[@]}" "${index[@]}"

for name in mp3 mp3at48000 mp3at22050 mp3at11025; do
    frames "$name"
done
frames_alone stereo 32000 96k
frames_alone stereo 24000 64k
frames_alone mono 16000 24k
frames_alone stereo 12000 24k
frames_alone mono 8000 16k

reference film 2.000 bt601
reference film 3.500 bt601
reference oddsize 1.000 bt601
reference hd 0.500 bt709
reference video 1.500 bt601

end_made
