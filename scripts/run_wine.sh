#!/usr/bin/env bash
# Runs a Windows program under wine, for CTest. Wine's service processes inherit open pipes, and
# CTest would wait for them: the output goes through a file instead.
wine=$(command -v wine64 || dpkg -L wine64 2>/dev/null | grep '/wine64$' | head -n 1)
[ -n "$wine" ] || { echo "run_wine: wine64 is not installed" >&2; exit 127; }
export WINEDEBUG=-all DISPLAY=
export WINEPREFIX=${WINEPREFIX:-${TMPDIR:-/tmp}/vesk-wine-$(id -u)}

server=$(dirname "$(readlink -f "$wine")")/wineserver
ready=$WINEPREFIX/vesk-ready
if [ ! -f "$ready" ]; then
    (
        flock 9
        [ -f "$ready" ] || {
            "$wine" wineboot -i
            "$server" -w # until all is written and wine's own server has left
            touch "$ready"
        } >/dev/null 2>&1 </dev/null 9>&-
    ) 9>"${WINEPREFIX%/}.lock"
fi
# Wine's own server leaves with its last program, and a program that starts in that moment is cut off
# ("recvmsg: Connection reset by peer"). This one outlives the pauses between tests; beside one that
# runs already it ends at once.
"$server" -p120 >/dev/null 2>&1 </dev/null
output=$(mktemp)
"$wine" "$@" >"$output" 2>&1 </dev/null
status=$?
cat "$output"
rm -f "$output"
exit $status
