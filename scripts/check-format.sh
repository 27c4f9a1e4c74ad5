#!/usr/bin/env bash
# scripts/check-format.sh: names the source files that clang-format would change; fails when there are any.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

git ls-files -z --cached --others --exclude-standard '*.h' '*.cpp' |
    xargs -0 -P "$(nproc)" -n 40 clang-format --dry-run --Werror
