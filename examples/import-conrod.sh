#!/usr/bin/env bash
# Turns the packed results of a connecting rod into a record, checks it, and prints its modes. No solver is needed.
# Usage: import-conrod.sh [SBR-PROGRAM [OUTPUT-DIRECTORY]]; the record is OUTPUT-DIRECTORY/conrod.sbr.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
sbr=${1:-sbr}
out=${2:-.}
mkdir -p "$out"

"$sbr" import ccx "$here/data/conrod/conrod.inp" --interface IFACE_A,IFACE_B -o "$out/conrod.sbr"
echo
"$sbr" info "$out/conrod.sbr"
echo
"$sbr" modes "$out/conrod.sbr"
echo
"$sbr" check "$out/conrod.sbr"
