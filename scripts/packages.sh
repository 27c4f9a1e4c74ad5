# Sourced: makes sure of the Debian packages that the scripts need.

# The cross compiler and what builds with it; Boost's headers and GoogleTest's sources.
build_packages=(g++-mingw-w64-x86-64-posix cmake ninja-build libboost-dev googletest)
# What runs Windows programs. Wine's own decoders are GStreamer's: the libav plugins decode, the good ones take FLV
# apart, the bad ones parse H.264.
wine_packages=(wine wine64 libwine gstreamer1.0-libav gstreamer1.0-plugins-base gstreamer1.0-plugins-good
    gstreamer1.0-plugins-bad)
# What makes films and tells independently what they hold.
media_packages=(ffmpeg)
check_packages=(clang-format clang-tidy)
# What builds the Windows installer.
installer_packages=(wixl msitools)

# need_packages PACKAGE...: installs those that are missing.
need_packages() {
    local package missing=()
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        fail "this is no Debian system; install by hand what these Debian packages hold: $*"
    fi
    for package in "$@"; do
        [[ $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) == installed ]] || missing+=("$package")
    done
    [[ ${#missing[@]} -eq 0 ]] && return
    say "Installing ${missing[*]}"
    run_as_root apt-get update -q ||
        fail "the package lists cannot be fetched; is the network there?"
    run_as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}" ||
        fail "these packages cannot be installed: ${missing[*]}"
}

run_as_root() {
    if [[ $(id -u) -eq 0 ]]; then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        fail "packages can be installed by root only, and there is no sudo; run as root: $*"
    fi
}
