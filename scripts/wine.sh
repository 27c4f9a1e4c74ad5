#!/usr/bin/env bash
# scripts/wine.sh PROGRAM [ARGUMENT...]: runs a Windows program in a Wine prefix of the build tree's own.
#
# The user's Wine prefix, menus and caches are never touched. The prefix is made at the first use. CMake uses this as
# its cross-compiling emulator, so that CTest can run Windows programs.
#
# JY_WINE_PREFIX      the prefix (default: build/wine beside this folder)
# JY_WINE_TIME_LIMIT  seconds that the program may take (default: 240); it is ended after them, with status 124
set -euo pipefail

source "$(dirname "${BASH_SOURCE[0]}")/wine-prefix.sh"

wine_prefix_ready
exec timeout --kill-after=10 "${JY_WINE_TIME_LIMIT:-240}" "$JY_WINE" "$@"
