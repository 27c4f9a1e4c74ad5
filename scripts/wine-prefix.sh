# Sourced: the environment of a Wine prefix of the build tree's own, and the two ends of the prefix's life.

# Windows programs of this project are 64-bit: the 64-bit loader, without the wrapper's remarks on 32-bit.
if [[ -x /usr/lib/wine/wine64 ]]; then
    JY_WINE=/usr/lib/wine/wine64
else
    JY_WINE=$(command -v wine64 || command -v wine) || {
        echo "Wine was not found; install the packages wine, wine64 and libwine." >&2
        exit 1
    }
fi

export WINEPREFIX=${JY_WINE_PREFIX:-$(realpath -m "$(dirname "${BASH_SOURCE[0]}")/../build/wine")}
export WINEARCH=win64 WINEDEBUG=-all
# No entries in the user's desktop menus, no offers to fetch what these programs do not use, no debugger at a crash.
export WINEDLLOVERRIDES="winemenubuilder.exe=;mscoree=;mshtml=;winedbg.exe="
# Wine's decoders are GStreamer's, whose list of plugins is kept in the prefix, too.
export GST_REGISTRY=$WINEPREFIX/gstreamer-plugins.bin
unset DISPLAY WAYLAND_DISPLAY

# Makes the prefix unless it stands.
wine_prefix_ready() {
    [[ -e $WINEPREFIX/ready ]] && return
    mkdir -p "$WINEPREFIX"
    (
        flock 9
        [[ -e $WINEPREFIX/ready ]] && exit
        # Wine's service processes live longer than wineboot: they must not hold this script's output or the lock.
        if timeout --kill-after=10 180 "$JY_WINE" wineboot -i >"$WINEPREFIX/wineboot.log" 2>&1 </dev/null 9>&- &&
            timeout 60 "$(wine_server)" -w 9>&-; then
            touch "$WINEPREFIX/ready"
        else
            echo "Wine could not make its prefix $WINEPREFIX; see wineboot.log there." >&2
            exit 1
        fi
    ) 9>"$WINEPREFIX/lock"
}

# Ends every process of the prefix.
wine_prefix_end() {
    [[ -e $WINEPREFIX/ready ]] || return 0
    timeout 30 "$(wine_server)" -k 2>/dev/null || true
    timeout 30 "$(wine_server)" -w 2>/dev/null || true
}

wine_server() {
    local beside
    beside=$(dirname "$JY_WINE")/wineserver
    if [[ -x $beside ]]; then
        echo "$beside"
    else
        command -v wineserver
    fi
}
