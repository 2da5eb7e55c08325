#!/usr/bin/env bash
# Runs CalculiX on the connecting rod (about 10 s), makes a record of its results, and compares it with the record of the
# packed results. Usage: run-ccx.sh [SBR-PROGRAM [OUTPUT-DIRECTORY]]. Without ccx it says so and ends.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
sbr=${1:-sbr}
out=${2:-.}
if ! command -v ccx >/dev/null; then
  echo "CalculiX is not installed (Debian package calculix-ccx); examples/import-conrod.sh works without it."
  exit 0
fi
mkdir -p "$out/ccx"
cp "$here/data/conrod/conrod.inp" "$out/ccx/"
# With one thread the results repeat to the last digit.
(cd "$out/ccx" && OMP_NUM_THREADS=1 ccx -i conrod >conrod.log)
"$sbr" import ccx "$out/ccx/conrod.inp" --interface IFACE_A,IFACE_B -o "$out/conrod_again.sbr"
if [ -f "$out/conrod.sbr" ]; then
  "$sbr" diff "$out/conrod.sbr" "$out/conrod_again.sbr" || [ $? -eq 1 ]
fi
