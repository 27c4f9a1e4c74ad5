# Sourced: how the scripts speak.

# say TEXT: what is being done.
say() { printf '\n== %s\n' "$*"; }

# fail TEXT: why it cannot be done; ends the script.
fail() {
    printf '\n%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}
