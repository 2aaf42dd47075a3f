#!/usr/bin/env bash
# Makes a release: checks the tree and the changelog, writes the version into CMakeLists.txt,
# include/vesk/version.h and CHANGELOG.md, commits and tags. Without --go it only tells what it
# would do. Usage: scripts/release.sh MAJOR.MINOR.PATCH [--go]
#
# What the number must be is told in docs/versioning.md. Pushing branch and tag is left to a human.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() {
    echo "release: $*" >&2
    exit 1
}

version=${1:-}
go=${2:-}
[[ $version =~ ^(0|[1-9][0-9]{0,2})\.(0|[1-9][0-9]?)\.(0|[1-9][0-9]?)$ && ($go == "" || $go == --go) ]] || {
    echo "usage: scripts/release.sh MAJOR.MINOR.PATCH [--go]" >&2
    exit 2
}
IFS=. read -r major minor patch <<<"$version"

current=$(sed -nE 's/^ +VERSION ([0-9.]+)$/\1/p' CMakeLists.txt)
header=$(sed -nE 's/^#define VESK_VERSION_(MAJOR|MINOR|PATCH) ([0-9]+).*/\2/p' include/vesk/version.h |
    paste -sd.)
[ "$current" = "$header" ] || fail "CMakeLists.txt says $current, include/vesk/version.h $header"
git rev-parse -q --verify "refs/tags/v$version" >/dev/null && fail "there is a tag v$version already"
if git rev-parse -q --verify "refs/tags/v$current" >/dev/null; then
    newest=$(printf '%s\n' "$current" "$version" | sort -V | tail -n 1)
    [ "$newest" = "$version" ] && [ "$version" != "$current" ] ||
        fail "$version does not come after $current"
fi
[ -z "$(git status --porcelain)" ] || fail "there are uncommitted changes"

# What stands between "## Unreleased" and the next heading of its rank.
notes=$(sed -n '/^## Unreleased$/,/^## [^U]/{/^## /d;p}' CHANGELOG.md)
grep -q '^- ' <<<"$notes" || fail "CHANGELOG.md has nothing under Unreleased"
soversion=$(sed -nE 's/^set\(VESK_SOVERSION ([0-9]+)\)$/\1/p' CMakeLists.txt)

echo "release: $current becomes $version, soversion $soversion, tag v$version, with these notes:"
echo "$notes"
if [ "$go" != --go ]; then
    echo "release: nothing is changed; --go does it"
    exit 0
fi

sed -i -E "s/^( +VERSION )[0-9.]+$/\1$version/" CMakeLists.txt
sed -i -E "s/^(#define VESK_VERSION_MAJOR )[0-9]+/\1$major/; s/^(#define VESK_VERSION_MINOR )[0-9]+/\1$minor/
    s/^(#define VESK_VERSION_PATCH )[0-9]+/\1$patch/" include/vesk/version.h
sed -i "s/^## Unreleased$/## Unreleased\n\n## $version - $(date -u +%F)/" CHANGELOG.md
git commit -qm "release: Version $version" -- CMakeLists.txt include/vesk/version.h CHANGELOG.md ||
    echo "release: the files say $version already"
git tag -a "v$version" -m "vesk $version"
echo "release: done; push the branch and v$version when CI is green on this commit"
