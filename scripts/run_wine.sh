#!/usr/bin/env bash
# Runs a Windows program under wine, for CTest. Wine's service processes inherit open pipes, and
# CTest would wait for them: the output goes through a file instead.
wine=$(command -v wine64 || dpkg -L wine64 2>/dev/null | grep '/wine64$' | head -n 1)
[ -n "$wine" ] || { echo "run_wine: wine64 is not installed" >&2; exit 127; }
export WINEDEBUG=-all DISPLAY=
export WINEPREFIX=${WINEPREFIX:-${TMPDIR:-/tmp}/vesk-wine-$(id -u)}
if [ ! -f "$WINEPREFIX/system.reg" ]; then
    (
        flock 9
        [ -f "$WINEPREFIX/system.reg" ] || "$wine" wineboot -i >/dev/null 2>&1 </dev/null
    ) 9>"${WINEPREFIX%/}.lock"
fi
output=$(mktemp)
"$wine" "$@" >"$output" 2>&1 </dev/null
status=$?
cat "$output"
rm -f "$output"
exit $status
