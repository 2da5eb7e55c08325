#!/usr/bin/env bash
# Installs what is missing, builds everything and runs all tests. Works on a fresh Debian 12.
set -euo pipefail
cd "$(dirname "$0")"

step() { printf '\n== %s\n' "$*"; }

# A warning of a compiler that we have not seen stops nobody but us.
warnings=OFF
[ -z "${CI:-}" ] || warnings=ON

step "Packages"
scripts/install-packages.sh
step "Build (release)"
cmake --preset release -DSBRKIT_WARNINGS_AS_ERRORS=$warnings -DSBRKIT_BUILD_VIEWER=ON \
  -DSBRKIT_BUILD_PYTHON=ON -DPython_EXECUTABLE=/usr/bin/python3 \
  -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache >/dev/null
cmake --build --preset release
step "All tests"
ctest --preset release -j "$(nproc)" --output-on-failure
