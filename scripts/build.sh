# Sourced: configures and builds presets.

# build_preset PRESET [TARGET...]: all targets when none is given.
build_preset() {
    local preset=$1 folder=build/$1
    shift
    configured "$folder" || {
        say "Configuring $preset"
        cmake --preset "$preset"
    }
    say "Building $preset"
    cmake --build --preset "$preset" ${1:+--target "$@"}
}

# Whether the build folder is of this source folder and can be used as it stands; Ninja configures again by itself when
# the project's files ask for it. One of a copied or moved source folder is removed.
configured() {
    [[ -e $1/CMakeCache.txt ]] || return 1
    if ! grep -qx "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "$1/CMakeCache.txt"; then
        rm -rf "$1"
        return 1
    fi
    [[ -e $1/build.ninja ]]
}
