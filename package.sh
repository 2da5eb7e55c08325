#!/usr/bin/env bash
# Builds the Debian packages: package.sh [--check]. They come to lie in build/packages. With --check, lintian reads them
# and a minimal Debian 12 installs and tries them (scripts/try-packages.sh; needs root's rights).
set -euo pipefail
cd "$(dirname "$0")"

case ${1:-} in
  '' | --check) ;;
  *) sed -n '2,3s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
esac
step() { printf '\n== %s\n' "$*"; }

version=$(sed -n 's/^project(sbrkit VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
packaged=$(dpkg-parsechangelog -S Version 2>/dev/null || sed -n '1s/.*(\(.*\)).*/\1/p' debian/changelog)
[ "$version" = "$packaged" ] ||
  { echo "package.sh: debian/changelog tells of $packaged, CMakeLists.txt of $version" >&2; exit 1; }

step "Packages that building needs"
scripts/install-packages.sh --package

step "Build"
# What is committed, and what is not yet, without anything that was built here.
place=build/packages
rm -rf "$place"
mkdir -p "$place/sbrkit-$version"
git ls-files -co --exclude-standard | tar -cf - --ignore-failed-read -T - | tar -C "$place/sbrkit-$version" -xf -
# The tests have a command of their own, ./test.sh. debhelper gives the build a home of its own, so that ccache is told
# where it keeps what it knows.
launchers="-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache"
CCACHE_DIR=$(ccache -k cache_dir)
export CCACHE_DIR
(cd "$place/sbrkit-$version" &&
  SBRKIT_CMAKE_FLAGS=$launchers DEB_BUILD_OPTIONS="nocheck parallel=$(nproc)" \
    dpkg-buildpackage --build=binary --no-sign >../build.log 2>&1) ||
  { tail -n 40 "$place/build.log"; echo "package.sh: the whole of it is in $place/build.log" >&2; exit 1; }
rm -rf "${place:?}/sbrkit-$version"
ls "$place"/*.deb

if [ "${1:-}" = --check ]; then
  step "lintian"
  lintian --fail-on error,warning "$place"/*.changes
  step "A fresh machine"
  scripts/try-packages.sh
fi
