#!/usr/bin/env bash
# Runs every fuzzer over its corpus: fuzz.sh [SECONDS [BUILD-DIRECTORY]]. 20 seconds each, unless told, of the fuzzers of
# build/asan (cmake --preset asan). The corpora start from the samples and grow in build/corpus.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-20}
build=$(realpath "${2:-build/asan}")
corpora=$PWD/build/corpus
failures=$PWD/build/fuzz-failures
mkdir -p "$failures"

# The samples, cut to a length that keeps runs fast.
records() {
  local record
  for record in tests/data/samples/*.sbr.gz; do
    gunzip -c "$record" 2>/dev/null | head -c 60000 >"$1/$(basename "$record" .sbr.gz)" || true
  done
}

# What a fuzzer starts from: see fuzz/README.md for the form of its inputs.
seed() {
  local name=$1 corpus=$2 text
  case $name in
    mesh_fuzz)
      printf '0.3,20,1,5,6,preserve_str\0003\n4 1 2 9 8\n4 2 3 10 9\n3 1 9 2\n' >"$corpus/sketch"
      printf '0.5,45,0' >"$corpus/options" ;;
    write_fuzz)
      records "$corpus"
      local -i number=0
      for text in 'strip_face MKS full_invar' 'no_ortho single full_str' 'coarsen(0.3,20,1) fast_invar no_xdr' \
          '82_comp lowpass(2000) highpass(0.5)' 'lbrf2cm sparse_str empty'; do
        number+=1
        printf '%s' "$text" >"$corpus/options_$number"
        { printf '%s\0' "$text"; cat "$corpus/beam_13c"; } >"$corpus/written_$number"
      done ;;
    *) records "$corpus" ;;
  esac
}

passed=0
failed=0
for source in "$PWD"/fuzz/*_fuzz.cpp; do
  name=$(basename "$source" .cpp)
  program=$build/fuzz/$name
  [ -x "$program" ] || { echo "$program is not built: cmake --preset asan && cmake --build --preset asan" >&2; exit 1; }
  mkdir -p "$corpora/$name"
  seed "$name" "$corpora/$name"
  lengths=(-max_len=65536)
  [ "$name" != mesh_fuzz ] || lengths=(-max_len=2000)
  # In a directory of its own: what an input asks to be read is not the project's.
  if (cd "$corpora" && exec "$program" "${lengths[@]}" -max_total_time="$seconds" -rss_limit_mb=1024 -timeout=15 -print_final_stats=1 \
      -artifact_prefix="$failures/$name-" "$corpora/$name") >"$corpora/$name.log" 2>&1; then
    passed=$((passed + 1))
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$corpora/$name.log")
    printf '%s: %s runs without a finding\n' "$name" "$runs"
  else
    failed=$((failed + 1))
    printf '%s: failed; the input lies in %s\n' "$name" "$failures"
    tail -n 60 "$corpora/$name.log"
  fi
done
echo "fuzzers: $passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
