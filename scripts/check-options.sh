#!/usr/bin/env bash
# Configures every combination of the options that choose what is built, with both compilers, and the project as a part
# of another. Nothing is compiled. Usage: check-options.sh [SCRATCH-DIRECTORY]
set -uo pipefail
cd "$(dirname "$0")/.."
scratch=${1:-build/options}
mkdir -p "$scratch"
passed=0
failed=0

# configures NAME ARGUMENTS...: a configuration that must end well.
configures() {
  local name=$1
  shift
  rm -rf "$scratch/tree"
  if cmake -S "${source:-.}" -B "$scratch/tree" -G Ninja "$@" >"$scratch/log" 2>&1; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    printf 'does not configure: %s\n' "$name"
    grep -A8 'CMake Error' "$scratch/log" | sed 's/^/    /'
  fi
}

# refuses TEXT NAME ARGUMENTS...: a configuration that must end with a message that holds the text.
refuses() {
  local text=$1 name=$2
  shift 2
  rm -rf "$scratch/tree"
  if ! cmake -S . -B "$scratch/tree" -G Ninja "$@" >"$scratch/log" 2>&1 && grep -q "$text" "$scratch/log"; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    printf 'is not refused: %s\n' "$name"
  fi
}

gcc=(-DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++)
clang=(-DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14)
command -v clang++-14 >/dev/null || { echo "clang++-14 is not installed: scripts/install-packages.sh --ci" >&2; exit 1; }

for tests in OFF ON; do
  for tools in OFF ON; do
    parts=(-DSBRKIT_BUILD_TESTS=$tests -DSBRKIT_BUILD_TOOLS=$tools)
    for benchmarks in OFF ON; do
      configures "gcc ${parts[*]} benchmarks=$benchmarks" "${gcc[@]}" "${parts[@]}" -DSBRKIT_BUILD_BENCHMARKS=$benchmarks
      for fuzzers in OFF ON; do
        configures "clang ${parts[*]} benchmarks=$benchmarks fuzzers=$fuzzers" "${clang[@]}" "${parts[@]}" \
          -DSBRKIT_BUILD_BENCHMARKS=$benchmarks -DSBRKIT_BUILD_FUZZERS=$fuzzers
      done
    done
    configures "the Python package ${parts[*]}" "${gcc[@]}" "${parts[@]}" -DSBRKIT_BUILD_PYTHON=ON \
      -DPython_EXECUTABLE=/usr/bin/python3
    if [ $tools = ON ]; then
      configures "the documentation site ${parts[*]}" "${gcc[@]}" "${parts[@]}" -DSBRKIT_BUILD_SITE=ON
    else
      refuses "site needs SBRKIT_BUILD_TOOLS" "a site without the program ${parts[*]}" "${gcc[@]}" "${parts[@]}" \
        -DSBRKIT_BUILD_SITE=ON
    fi
    configures "without SQLite ${parts[*]}" "${gcc[@]}" "${parts[@]}" -DCMAKE_DISABLE_FIND_PACKAGE_SQLite3=ON
    configures "without Exodus ${parts[*]}" "${gcc[@]}" "${parts[@]}" -DSBRKIT_EXODUS=OFF
    configures "without glTF ${parts[*]}" "${gcc[@]}" "${parts[@]}" -DSBRKIT_GLTF=OFF
    configures "with the viewer ${parts[*]}" "${gcc[@]}" "${parts[@]}" -DSBRKIT_BUILD_VIEWER=ON
    configures "sanitized ${parts[*]}" "${gcc[@]}" "${parts[@]}" -DSBRKIT_SANITIZE=ON
    configures "sanitized with fuzzers ${parts[*]}" "${clang[@]}" "${parts[@]}" -DSBRKIT_SANITIZE=ON \
      -DSBRKIT_BUILD_FUZZERS=ON
    configures "coverage ${parts[*]}" "${gcc[@]}" "${parts[@]}" -DSBRKIT_COVERAGE=ON
    refuses "fuzzers need clang" "gcc with fuzzers ${parts[*]}" "${gcc[@]}" "${parts[@]}" -DSBRKIT_BUILD_FUZZERS=ON
  done
done

# As a part of another project, with nothing but the library.
mkdir -p "$scratch/parent"
cat >"$scratch/parent/CMakeLists.txt" <<'EOF'
cmake_minimum_required(VERSION 3.25)
project(parent LANGUAGES ${LANGUAGES})
add_subdirectory(${SBRKIT} sbrkit)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/host.c "#include <sbrkit/sbrkit.h>\nint main(void) { return SBR_Create(1, 1) == 0; }\n")
add_executable(host ${CMAKE_CURRENT_BINARY_DIR}/host.c)
target_link_libraries(host PRIVATE sbrkit::sbrkit)
if(TARGET sbr OR TARGET sbrkit_test_support)
  message(FATAL_ERROR "a part of another project brings its own tests or tools")
endif()
EOF
source=$scratch/parent configures "as a part of a project in C" -DSBRKIT="$PWD" -DLANGUAGES=C
source=$scratch/parent configures "as a part of a project in C and C++" -DSBRKIT="$PWD" -DLANGUAGES="C;CXX"

rm -rf "$scratch"
echo "options: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
