# Sourced: what the scripts that make films have in common. `folder` is where the films go; `inputs` holds what ffmpeg
# reads for the next one.

# begin_unless_made STAMP SCRIPT...: takes the folder for this process, for two presets may want the films at the same
# time, and ends the script when these scripts have made them already.
begin_unless_made() {
    stamp=$folder/$1
    shift
    mkdir -p "$folder"
    exec 9>"$folder/lock"
    flock 9
    self=$(sha256sum "$@")
    [[ -e $stamp && $(<"$stamp") == "$self" ]] && exit 0
    local program
    for program in ffmpeg ffprobe; do
        command -v "$program" >/dev/null || {
            echo "$program was not found; the test films are made with it (package ffmpeg)." >&2
            exit 1
        }
    done
}

# All films are there.
end_made() { echo "$self" >"$stamp"; }

# sound CHANNELS RATE SECONDS: the input of a sine.
sound() { inputs+=(-f lavfi -i "sine=frequency=440:sample_rate=$2:duration=$3,aformat=channel_layouts=$1"); }

# encode FILE OPTION...: FILE of the inputs, which are forgotten.
encode() {
    local file=$1
    shift
    ffmpeg -nostdin -v error -y "${inputs[@]}" "$@" -flags +bitexact -fflags +bitexact "$file"
    inputs=()
}

# packets FILE: what ffprobe tells of its packets, a row each.
packets() {
    ffprobe -v error -show_data_hash CRC32 -show_entries packet=codec_type,pts,dts,size,pos,flags,data_hash \
        -of csv=print_section=0 "$1"
}
