#!/usr/bin/env bash
# Prints values of a running program with the pretty printers and compares with expected.txt; then
# holds the natvis file's names against the program's types. Exit status 77: skipped.
# Usage: check_gdb.sh PROGRAM   (RENEW=1 writes expected.txt anew)
set -euo pipefail
program=$1
here=$(cd "$(dirname "$0")" && pwd)
views=$here/../../debuggers

gdb=(gdb -nx -nh -batch)
if ! command -v gdb >/dev/null; then
    echo "skipped: no gdb here"
    exit 77
fi
if ! "${gdb[@]}" -ex "python import gdb.printing" -ex run -ex "info program" /bin/true 2>&1 |
    grep -q 'exited normally'; then
    echo "skipped: gdb has no Python or may not run programs here"
    exit 77
fi

scratch=$(mktemp)
trap 'rm -f "$scratch"' EXIT
"${gdb[@]}" -ex "source $views/vesk_gdb.py" -x "$here/look.gdb" "$program" 2>&1 |
    sed -e '1,/^-- values$/d' -e '/^\[Inferior .* killed\]$/d' >"$scratch"
if [ -n "${RENEW:-}" ]; then
    cp "$scratch" "$here/expected.txt"
fi
diff -u "$here/expected.txt" "$scratch"

"${gdb[@]}" -ex "python natvis = '$views/vesk.natvis'" -x "$here/check_natvis.py" "$program"
