#!/usr/bin/env bash
# ./test.sh: sets up what is needed, checks the sources' form, builds both presets and runs every test in each: debug,
# where undefined behaviour ends the program, and release. A second run only does what is not done yet.
#
# ./test.sh --coverage: runs every test once more, on a build that counts which lines of the module run; tells how many,
# by folder and file, and lists the others in build/coverage/uncovered.txt.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")"
source scripts/console.sh
source scripts/packages.sh
source scripts/build.sh

# Makes ready what Windows programs run in, until the script ends.
set_up_wine() {
    export JY_WINE_PREFIX=$PWD/build/wine
    source scripts/wine-prefix.sh
    trap wine_prefix_end EXIT
    [[ -e $WINEPREFIX/ready ]] || say "Making a Wine prefix"
    wine_prefix_ready || fail "there is no Wine prefix to run in"
}

test_everything() {
    need_packages "${build_packages[@]}" "${wine_packages[@]}" "${media_packages[@]}" "${installer_packages[@]}" \
        "${check_packages[@]}"

    say "Checking the format"
    scripts/check-format.sh || fail "format the files named above with clang-format -i"
    build_preset debug
    build_preset release
    say "Checking the code"
    scripts/check-tidy.sh build/debug || fail "clang-tidy has remarks; see above"

    set_up_wine
    say "Testing debug"
    ctest --preset debug || fail "tests have failed in debug"
    say "Testing release"
    ctest --preset release
}

measure_coverage() {
    need_packages "${build_packages[@]}" "${wine_packages[@]}" "${media_packages[@]}"
    build_preset coverage

    set_up_wine
    say "Testing, with the module's lines counted"
    scripts/coverage.sh --forget build/coverage
    local passed=yes
    ctest --preset coverage || passed=no
    say "Lines that have run"
    scripts/coverage.sh build/coverage
    printf '\nThe others: %s\n' "$PWD/build/coverage/uncovered.txt"
    [[ $passed == yes ]] || fail "tests have failed in coverage"
}

case "$*" in
    "") test_everything ;;
    --coverage) measure_coverage ;;
    *) fail "give nothing, or --coverage" ;;
esac
