#!/usr/bin/env bash
# ./test.sh: sets up what is needed, checks the sources' form, builds both presets and runs every test in each: debug,
# where undefined behaviour ends the program, and release. A second run only does what is not done yet.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")"
source scripts/console.sh
source scripts/packages.sh
source scripts/build.sh

need_packages "${build_packages[@]}" "${wine_packages[@]}" "${media_packages[@]}" "${installer_packages[@]}" \
    "${check_packages[@]}"

say "Checking the format"
scripts/check-format.sh || fail "format the files named above with clang-format -i"
build_preset debug
build_preset release
say "Checking the code"
scripts/check-tidy.sh build/debug || fail "clang-tidy has remarks; see above"

export JY_WINE_PREFIX=$PWD/build/wine
source scripts/wine-prefix.sh
trap wine_prefix_end EXIT
[[ -e $WINEPREFIX/ready ]] || say "Making a Wine prefix"
wine_prefix_ready || fail "there is no Wine prefix to run in"

say "Testing debug"
ctest --preset debug || fail "tests have failed in debug"
say "Testing release"
ctest --preset release
