#!/usr/bin/env bash
# Runs the example programs on the bundled scene: what they print and draw must be what
# examples/expected/ holds (pictures by their hash: results are exact), and their manners must be
# right: --help, exit statuses, messages on standard error, no progress in a pipe.
# Usage: scripts/check_examples.sh PROGRAM_FOLDER [PROGRAM...]   (default: all of them)
#   RENEW=1 writes examples/expected/ anew.
set -euo pipefail
programs=$(cd "${1:?usage: scripts/check_examples.sh PROGRAM_FOLDER [PROGRAM...]}" && pwd)
shift
cd "$(dirname "$0")/../examples"
scene=data/workshop.fbx
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
    echo "check_examples: $*" >&2
    exit 1
}

# run STATUS PROGRAM ARGUMENT...: output and messages go to $scratch/out and $scratch/err.
run() {
    local wanted=$1 program=$2 status=0
    shift 2
    "$programs/vesk_$program" "$@" >"$scratch/out" 2>"$scratch/err" || status=$?
    if [ "$status" -ne "$wanted" ]; then
        cat "$scratch/err" >&2
        fail "vesk_$program $* gives $status, not $wanted"
    fi
    if [ "$wanted" -eq 0 ] && [ -s "$scratch/err" ]; then
        cat -v "$scratch/err" >&2
        fail "vesk_$program $* writes to standard error"
    fi
}

# Holds the output of the last run against a file of examples/expected/.
expect() {
    if [ -n "${RENEW:-}" ]; then
        cp "$scratch/out" "expected/$1"
    fi
    diff -u "expected/$1" "$scratch/out" || fail "the output is not expected/$1"
}

message() {
    grep -qF -- "$1" "$scratch/err" || fail "no message \"$1\", but: $(cat "$scratch/err")"
}

# What every program does alike. Arguments: the program, then the words behind its input.
check_manners() {
    local program=$1
    shift
    run 0 "$program" --help
    grep -q "^usage: vesk_$program " "$scratch/out" || fail "vesk_$program --help tells no usage"
    run 2 "$program"
    message "vesk_$program: a file is missing"
    run 2 "$program" "$scene" "$@" --no-such-option
    message "no option --no-such-option"
    run 2 "$program" "$scene" "$@" one_word_more another
    message "nothing is done with"
    run 1 "$program" "$scratch/absent.fbx" "$@"
    message "vesk_$program: Failed to initialize FBX importer."
    [ "$program" != demo ] || return 0 # it takes FBX alone
    run 1 "$program" "$scratch/absent.vesk" "$@"
    message "vesk_$program: Failed to open file."
    printf 'not a mesh' >"$scratch/broken.vesk"
    run 1 "$program" "$scratch/broken.vesk" "$@"
    message "vesk_$program: Failed to read file."
}

check_inspect() {
    check_manners inspect
    run 0 inspect "$scene"
    expect inspect.txt
}

check_convert() {
    check_manners convert "$scratch/mesh.vesk"
    run 0 inspect "$scene"
    sed -e 1d "$scratch/out" >"$scratch/of_scene"
    local option
    for option in "" --compress; do
        run 0 convert "$scene" "$scratch/mesh.vesk" $option
        run 0 inspect "$scratch/mesh.vesk"
        sed -e 1d "$scratch/out" | diff -u "$scratch/of_scene" - || fail "a mesh file tells other things"
    done
    # A mesh file is an input like any other, and the way there and back keeps every byte.
    run 0 convert "$scratch/mesh.vesk" "$scratch/raw.vesk" --tangents
    run 0 convert "$scratch/raw.vesk" "$scratch/again.vesk"
    cmp "$scratch/raw.vesk" "$scratch/again.vesk" || fail "a mesh file changed on its way"
    if [ -e /dev/full ]; then
        run 1 convert "$scene" /dev/full
        message "/dev/full does not hold the mesh"
    fi
}

check_render() {
    check_manners render "$scratch/picture.png"
    run 2 render "$scene" "$scratch/picture.png" --size 0x10
    message "--size does not take 0x10"
    run 2 render "$scene" "$scratch/picture.png" --from 1,2
    message "--from does not take 1,2"
    run 2 render "$scene" "$scratch/picture.png" --from 0,0,0
    run 1 render "$scene" "$scratch/no/folder.png" --size 2x2
    message "cannot write $scratch/no/folder.png"
    # One thread draws the same as three.
    run 0 render "$scene" "$scratch/picture.png" --size 320x200 --digest --threads 1
    expect render.txt
    run 0 render "$scene" "$scratch/picture.png" --size 320x200 --digest --threads 3
    expect render.txt
    run 0 render "$scene" "$scratch/picture.png" --size 120x90 --digest --from 0,1,0
    expect render_above.txt
    run 0 render "$scene" "$scratch/picture.png" --size 320x200 --digest --boxes 3
    expect render_boxes.txt
}

check_bake() {
    check_manners bake "$scratch/textures"
    run 2 bake "$scene" "$scratch/textures" --kind wallpaper
    message "--kind does not take wallpaper"
    run 1 bake "$scene" "$scratch/textures" --channel 2
    message "vesk_bake: the mesh has 2 UV channels"
    run 0 bake "$scene" "$scratch/textures" --size 128x128 --digest
    expect bake.txt
    for kind in normal position occlusion; do
        [ -s "$scratch/textures/$kind.png" ] || fail "no $kind.png"
    done
    # Progress shows on a terminal; in a pipe, as above, there is none.
    if command -v script >/dev/null; then
        script -qec "'$programs/vesk_bake' '$scene' '$scratch/textures' --size 512x512 --kind normal \
            --padding 64" /dev/null >"$scratch/out"
        grep -q 'normal  *\[#*  *\]' "$scratch/out" || fail "no progress on a terminal"
    fi
}

check_pick() {
    check_manners pick
    run 2 pick "$scene" --origin 0,0,0
    message "--origin and --direction go together"
    run 0 pick "$scene" --pixel 300,320
    expect pick.txt
    run 0 pick "$scene" --channel 1 --origin 0,1,5 --direction 0,0,1
    expect pick_ray.txt
    run 0 pick "$scene" --origin 0,9999,0 --direction 0,1,0
    [ "$(cat "$scratch/out")" = "no hit" ] || fail "something is hit far above the scene"
}

check_see() {
    check_manners see "$scratch/views"
    run 0 see "$scene" "$scratch/views" --deepest 4
    (cd "$scratch/views" && cksum mesh.obj mesh.ply octree.ply rays.ply uv_layout.svg) >"$scratch/out"
    expect see.txt
    run 0 see "$scene" "$scratch/views" --subset 3
    (cd "$scratch/views" && cksum octree.ply uv_layout.svg) >"$scratch/out"
    expect see_subset.txt
    run 1 see "$scene" "$scratch/views" --subset 5
    message "Subsets not found."
}

check_demo() {
    check_manners demo "$scratch/demo"
}

[ $# -gt 0 ] || set -- inspect convert render bake pick see demo
for program in "$@"; do
    "check_$program"
done
