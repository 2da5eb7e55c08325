#!/usr/bin/env bash
# Holds the library's binary interface against that of every release in tests/releases: a host that was built with one of
# them must run with this library. Something new is fine; what is gone or different is not. It needs abigail-tools.
set -euo pipefail
cd "$(dirname "$0")/.."
command -v abidiff >/dev/null || { echo "abidiff is missing: scripts/install-packages.sh --ci" >&2; exit 1; }

source scripts/abi-build.sh
library=$(library_with_types)
description=$(mktemp --suffix=.abi)
trap 'rm -f "$description"' EXIT
# differs: whether the library differs from the description. The exit status of abidiff is a set of bits: 4 for any
# difference, 8 for one that surely breaks hosts, 1 and 2 for a comparison that did not come about.
differs() { ! abidiff --no-added-syms --headers-dir2 include "$description" "$library" >build/abi/difference.txt; }

passed=0
failed=0
for release in tests/releases/[0-9]*/; do
  zcat "$release/sbrkit.abi.gz" >"$description"
  if differs; then
    failed=$((failed + 1))
    echo "the library differs from release $(basename "$release"):"
    cat build/abi/difference.txt
    continue
  fi
  passed=$((passed + 1))
  # Is that because nothing was compared? An operation without its first parameter is a difference.
  sed -i "/<function-decl name='SBR_Create' /{n;d}" "$description"
  differs || { echo "a missing parameter of SBR_Create in $release is not seen" >&2; exit 1; }
done
echo "binary interface: $passed releases kept, $failed not"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
