#!/usr/bin/env bash
# Keeps what later versions are held against: describe-release.sh VERSION. Puts the public headers, the list of exported
# names, the example hosts and the description of the library's binary interface, as they are in this checkout, into
# tests/releases/VERSION. Whoever makes a release runs it once and commits the outcome. It needs abigail-tools.
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -eq 1 ] || { sed -n '2,4s/^# \{0,1\}//p' "$0" >&2; exit 2; }
command -v abidw >/dev/null || { echo "abidw is missing: scripts/install-packages.sh --ci" >&2; exit 1; }
to=tests/releases/$1
[ ! -e "$to" ] || { echo "$to is there already: a release does not change" >&2; exit 1; }

source scripts/abi-build.sh
library=$(library_with_types)
mkdir -p "$to/hosts"
cp -r include "$to/"
cp examples/*.c "$to/hosts/"
cp src/sbrkit/api/exported_names.txt "$to/"
abidw --headers-dir include --drop-private-types --no-corpus-path --no-comp-dir-path --no-show-locs "$library" |
  sed "s#path='$PWD/#path='#" | gzip -9n >"$to/sbrkit.abi.gz"
echo "$to: $(zcat "$to/sbrkit.abi.gz" | grep -c '<elf-symbol ') symbols described"
