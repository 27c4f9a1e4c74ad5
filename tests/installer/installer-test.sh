#!/usr/bin/env bash
# installer-test.sh PROGRAMS FILE_VERSION WXS FILM: builds the installer of the programs in the folder PROGRAMS in an
# older and a newer version, and has Wine install, use, upgrade and remove them. A prefix of its own shows what is left
# behind.
set -euo pipefail

programs=$(realpath "$1") file_version=$2 source=$(realpath "$3") film=$(realpath "$4")
root=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../..")
work=$(mktemp -d)
export JY_WINE_PREFIX=$programs/../installer-prefix
source "$root/scripts/wine-prefix.sh"
trap 'wine_prefix_end; rm -rf "$work"' EXIT

fail() {
    printf 'FAILED: %s\n' "$*" >&2
    exit 1
}

# wine PROGRAM ARGUMENT...
wine() { JY_WINE_TIME_LIMIT=60 "$root/scripts/wine.sh" "$@"; }

windows_path() { printf 'Z:%s' "${1//\//\\}"; }

# package VERSION: the installer of a version, in the work folder.
package() { (cd "$programs" && "$root/installer/package.sh" "$1" "$file_version" "$source" "$work/$1.msi"); }

# msiexec OPTION VERSION: its status, which is the low byte of the installer's code.
msiexec() {
    local status=0
    wine msiexec "$1" "$(windows_path "$work/$2.msi")" /qn || status=$?
    echo "$status"
}
install_failure=$((1603 & 255))

installed=$WINEPREFIX/drive_c/Program\ Files/JyMorvane/JyFlvSource
class_key='HKLM\Software\Classes\CLSID\{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}'
handler_key='HKLM\Software\Microsoft\Windows Media Foundation\ByteStreamhandlers\.flv'

has_key() { wine reg query "$1" >"$work/query" 2>&1; }
has_handler() { wine reg query "$handler_key" /v '{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}' >"$work/query" 2>&1; }

# How many products the installer service knows by this name.
count_products() {
    wine reg query 'HKLM\Software\Classes\Installer\Products' /s 2>/dev/null | grep -c 'ProductName.*JyFlvSource' || true
}

# What an installation may change: the files, and the keys of classes, of media handlers and of installed products.
snapshot() {
    {
        (cd "$WINEPREFIX/drive_c" && find 'Program Files' | sort)
        wine reg query 'HKLM\Software\Classes\CLSID' /s
        # These need not be there.
        for key in 'HKLM\Software\Microsoft\Windows Media Foundation' 'HKLM\Software\JyMorvane' \
            'HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall'; do
            wine reg query "$key" /s 2>&1 || true
        done
    } >"$1"
}

expect_nothing_left() {
    snapshot "$work/now"
    diff "$work/before" "$work/now" || fail "$1 leaves something behind"
    [[ $(count_products) -eq 0 ]] || fail "$1 leaves a product behind"
}

# The film must be opened by the installed module: only its streams bear these numbers.
expect_film_opens() {
    wine "$installed/flvinfo.exe" "$(windows_path "$film")" >"$work/account" || fail "the film cannot be opened"
    grep -Eq '^Stream 100[12],' "$work/account" || fail "the film is opened by something else"
}

expect_installed() {
    for file in JyFlvSource.dll flvinfo.exe flvthumb.exe flvlog.exe; do
        cmp "$installed/$file" "$programs/$file" || fail "$file is not installed as built"
    done
    has_key "$class_key\\InprocServer32" || fail "the class is not registered"
    grep -q 'C:\\Program Files\\JyMorvane\\JyFlvSource\\JyFlvSource.dll' "$work/query" ||
        fail "the class is not that of the installed module"
    has_handler || fail "the handler is not registered"
    [[ $(count_products) -eq 1 ]] || fail "there are $(count_products) products"
}

test_refuses_32_bit() {
    msiinfo suminfo "$work/2.0.0.msi" | grep '^Template: x64;' || fail "the package is not for 64-bit systems only"
    msiinfo export "$work/2.0.0.msi" LaunchCondition | grep '^VersionNT64' || fail "a 32-bit system is not refused"
}

test_knows_the_versions_of_its_files() {
    local known
    known=$(msiinfo export "$work/2.0.0.msi" File | awk -F '\t' 'NR > 3 { print $5, $6 }' | sort -u)
    [[ $known == "$file_version 1041" ]] || fail "the files' versions are '$known'"
    if msiinfo export "$work/2.0.0.msi" MsiFileHash | grep -E 'dll|exe'; then
        fail "a file with a version has a hash, too"
    fi
}

test_installs_and_removes() {
    [[ $(msiexec /i 2.0.0) -eq 0 ]] || fail "msiexec cannot install"
    expect_installed
    expect_film_opens
    [[ $(msiexec /x 2.0.0) -eq 0 ]] || fail "msiexec cannot remove"
    expect_nothing_left "removing"
}

test_upgrades_in_place() {
    [[ $(msiexec /i 1.0.0) -eq 0 ]] || fail "the older version cannot be installed"
    expect_installed
    [[ $(msiexec /i 2.0.0) -eq 0 ]] || fail "the newer version cannot be installed"
    expect_installed
    expect_film_opens
    [[ $(msiexec /i 1.0.0) -ne 0 ]] || fail "the newer version is replaced by the older"
    expect_installed
    mv "$work/2.0.0.msi" "$work/first.msi"
    package 2.0.0
    [[ $(msiexec /i 2.0.0) -eq 0 ]] || fail "another build of the same version cannot be installed"
    expect_installed
    [[ $(msiexec /x 2.0.0) -eq 0 ]] || fail "the newer version cannot be removed"
    expect_nothing_left "removing an upgraded version"
}

test_removes_a_damaged_installation() {
    [[ $(msiexec /i 2.0.0) -eq 0 ]] || fail "msiexec cannot install"
    rm "$installed/JyFlvSource.dll"
    [[ $(msiexec /x 2.0.0) -eq 0 ]] || fail "what has lost its module cannot be removed"
    expect_nothing_left "removing what has lost its module"
}

# A key that lives until the next start of the system only can have no lasting keys below it. Wine 8 undoes the
# installer's own steps and leaves the actions out that undo others; Windows runs both.
test_rolls_back_when_registration_fails() {
    wine "$programs/make_volatile_key.exe" 'Software\Classes\CLSID\{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}' ||
        fail "the key cannot be made"
    [[ $(msiexec /i 2.0.0) -eq $install_failure ]] || fail "an installation that cannot register does not fail"
    if has_key "$class_key"; then
        fail "what the module has registered before it failed stays"
    fi
    expect_nothing_left "an installation that failed"
}

# A run that failed may have left anything.
[[ -e $WINEPREFIX/clean ]] || rm -rf "$WINEPREFIX"
wine_prefix_ready || fail "there is no Wine prefix"
rm -f "$WINEPREFIX/clean"
package 1.0.0
package 2.0.0
snapshot "$work/before"
for test in test_refuses_32_bit test_knows_the_versions_of_its_files test_installs_and_removes test_upgrades_in_place \
    test_removes_a_damaged_installation test_rolls_back_when_registration_fails; do
    "$test"
    echo "passed: $test"
done
touch "$WINEPREFIX/clean"
