# shellcheck shell=bash
# Sourced by kv and run-wine: where Wine is, and the Wine prefix that belongs to this tree alone.

tree=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_folder=$tree/build
simulator_folder=$build_folder/simulator

# Debian's package wine64 puts no wine64 on the PATH.
wine=/usr/lib/wine/wine64
wine_server=/usr/lib/wine/wineserver64
wine_fonts=/usr/share/wine/fonts

export WINEPREFIX=$build_folder/wine
export WINEDEBUG=${WINEDEBUG:--all}
# A crash has to end the program, not open a debugger; .NET and HTML are not part of a phone; and nothing of this belongs
# into the menus of the desktop it runs on.
export WINEDLLOVERRIDES="winedbg.exe,winemenubuilder.exe=d;mscoree,mshtml="

fail() {
    echo "kv: $*" >&2
    exit 1
}

# Left in a prefix that was made to its end. The number changes with what create_prefix puts there.
prefix_mark=.ready-2

# One that is not ready is made anew.
prefix_is_ready() {
    [[ -e $WINEPREFIX/$prefix_mark ]]
}

run_in_new_prefix() {
    (unset DISPLAY && run_wine "$@" </dev/null >/dev/null 2>&1) || fail "Wine could not make its prefix $WINEPREFIX"
}

create_prefix() {
    local metric
    echo "kv: making the Wine prefix $WINEPREFIX" >&2
    rm -rf "$WINEPREFIX"
    mkdir -p "$WINEPREFIX"
    run_in_new_prefix wineboot -i
    "$wine_server" -w
    # The phone's system font is Tahoma, and its metrics decide the size of every dialog.
    cp "$wine_fonts/tahoma.ttf" "$wine_fonts/tahomabd.ttf" "$WINEPREFIX/drive_c/windows/Fonts/"
    # Waiting for a window manager to let go of a window costs two seconds a time where there is none.
    run_in_new_prefix reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f
    # A phone's scroll bars are 13 pixels wide, which is what its pages leave room for; the unit is a fifteenth of that.
    for metric in ScrollWidth ScrollHeight; do
        run_in_new_prefix reg add 'HKCU\Control Panel\Desktop\WindowMetrics' /v $metric /d -195 /f
    done
    "$wine_server" -w
    touch "$WINEPREFIX/$prefix_mark"
}

# Tests start side by side: the first one makes the prefix, the others wait for it.
ensure_prefix() {
    prefix_is_ready && return
    mkdir -p "$build_folder"
    (
        flock 9
        # Wine's server outlives this shell and must not take the lock with it.
        prefix_is_ready || create_prefix 9>&-
    ) 9>"$build_folder/wine.lock"
    prefix_is_ready || fail "there is no Wine prefix in $WINEPREFIX"
}

# run_wine PROGRAM [ARGUMENT...]: a program to its end. Now and then Wine's server closes its door on a program that is
# just coming in: nothing of that program has run then, and it is simply started again. What it writes to stderr comes
# when it is over.
run_wine() {
    local errors attempt status
    errors=$(mktemp)
    for attempt in 1 2 3 4 5; do
        status=0
        "$wine" "$@" 2>"$errors" || status=$?
        [[ $status -ne 0 ]] && grep -q '^wine client error:0: ' "$errors" || break
        sleep "0.$attempt"
    done
    cat "$errors" >&2
    rm -f "$errors"
    return "$status"
}
