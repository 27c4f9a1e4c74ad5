#!/usr/bin/env bash
# tests/stress/name-stacks-test.sh PROJECT STRESS: name-stacks.sh names where the two threads of `stress --deadlock` wait.
set -euo pipefail

project=$1 stress=$2
# What the program ends with is the watchdog's.
output=$("$project/scripts/wine.sh" "$stress" --deadlock --patience 1 2>&1 || true)
named=$("$project/tests/stress/name-stacks.sh" "$(dirname "$stress")" <<<"$output")
count=$(grep -c 'stress.exe+0x[0-9a-f]*  .*takeBothLocks' <<<"$named" || true)
[[ $count -eq 2 ]] || {
    printf '%s\n' "$named" "takeBothLocks was named $count times, not twice." >&2
    exit 1
}
