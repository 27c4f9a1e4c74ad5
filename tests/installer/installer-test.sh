#!/usr/bin/env bash
# installer-test.sh PROGRAMS WXS FILM: builds the installer of the programs in the folder PROGRAMS in an older and a newer
# version, and has Wine install, use, upgrade and remove them. A prefix of its own shows what is left behind.
set -euo pipefail

programs=$(realpath "$1") source=$(realpath "$2") film=$(realpath "$3")
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
package() { (cd "$programs" && "$root/installer/package.sh" "$1" "$source" "$work/$1.msi"); }

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
        for key in 'HKLM\Software\Classes\CLSID' 'HKLM\Software\Microsoft\Windows Media Foundation' \
            'HKLM\Software\JyMorvane' 'HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall'; do
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
    wine reg query "$class_key\\InprocServer32" /ve | grep -q 'C:\\Program Files\\JyMorvane\\JyFlvSource\\JyFlvSource.dll' ||
        fail "the class is not that of the installed module"
    has_handler || fail "the handler is not registered"
    [[ $(count_products) -eq 1 ]] || fail "there are $(count_products) products"
}

test_refuses_32_bit() {
    msiinfo suminfo "$work/2.0.0.msi" | grep -q '^Template: x64;' || fail "the package is not for 64-bit systems only"
    msiinfo export "$work/2.0.0.msi" LaunchCondition | grep -q '^VersionNT64' || fail "a 32-bit system is not refused"
}

test_installs_and_removes() {
    wine msiexec /i "$(windows_path "$work/2.0.0.msi")" /qn || fail "msiexec cannot install"
    expect_installed
    expect_film_opens
    wine msiexec /x "$(windows_path "$work/2.0.0.msi")" /qn || fail "msiexec cannot remove"
    expect_nothing_left "removing"
}

test_upgrades_in_place() {
    wine msiexec /i "$(windows_path "$work/1.0.0.msi")" /qn || fail "the older version cannot be installed"
    expect_installed
    wine msiexec /i "$(windows_path "$work/2.0.0.msi")" /qn || fail "the newer version cannot be installed"
    expect_installed
    expect_film_opens
    if wine msiexec /i "$(windows_path "$work/1.0.0.msi")" /qn; then
        fail "the newer version is replaced by the older"
    fi
    expect_installed
    wine msiexec /x "$(windows_path "$work/2.0.0.msi")" /qn || fail "the newer version cannot be removed"
    expect_nothing_left "removing an upgraded version"
}

# A key that lives until the next start of the system only can have no lasting keys below it.
test_rolls_back_when_registration_fails() {
    wine "$programs/make_volatile_key.exe" 'Software\Classes\CLSID\{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}' ||
        fail "the key cannot be made"
    if wine msiexec /i "$(windows_path "$work/2.0.0.msi")" /qn; then
        fail "an installation that cannot register succeeds"
    fi
    wine reg delete "$class_key" /f >"$work/query" 2>&1 || true
    expect_nothing_left "an installation that failed"
}

wine_prefix_ready || fail "there is no Wine prefix"
# The module's unregistration leaves the handlers' key, which other handlers share; on Windows it is always there.
wine reg add "$handler_key" /f >"$work/query"
package 1.0.0
package 2.0.0
snapshot "$work/before"
for test in test_refuses_32_bit test_installs_and_removes test_upgrades_in_place test_rolls_back_when_registration_fails; do
    "$test"
    echo "passed: $test"
done
