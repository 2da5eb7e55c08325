#!/usr/bin/env bash
# Installs the packages of build/packages in a minimal Debian 12 and uses them: try-packages.sh [--keep]. What is tried is
# debian/tests/smoke. Needs root's rights and debootstrap.
set -euo pipefail
cd "$(dirname "$0")/.."

folder=/var/tmp/sbrkit-fresh-machine
keep=
case ${1:-} in
  '') ;;
  --keep) keep=1 ;;
  *) sed -n '2,3s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
esac
ls build/packages/*.deb >/dev/null 2>&1 || { echo "try-packages.sh: no packages: run ./package.sh first" >&2; exit 1; }

source scripts/fresh-system.sh
bare_system root
mkdir "$system/packages"
cp build/packages/*.deb "$system/packages/"
rm -f "$system"/packages/*-dbgsym_*.deb
mkdir "$system/try"
cp debian/tests/smoke "$system/try/"
cp -r tests/data/samples examples "$system/try/"
log=$logs/packages.log
if inside root / 'apt-get update -qq && apt-get install -y -qq --no-install-recommends /packages/*.deb' >"$log" 2>&1; then
  echo "installed: $(inside root / "dpkg-query -W -f '\${Package} ' '*sbrkit*'")"
else
  tail -n 25 "$log"
  stop "the packages cannot be installed"
fi
inside root / 'apt-get install -y -qq --no-install-recommends gcc libc6-dev pkg-config file' >>"$log" 2>&1 ||
  { tail -n 25 "$log"; stop "what the trial needs cannot be installed"; }
if inside root /try 'AUTOPKGTEST_TMP=$(mktemp -d) ./smoke' 2>&1 | tee -a "$log"; then
  echo "packages: all that was tried works"
else
  stop "the packages do not work; the whole of it is in $log"
fi
inside root / 'apt-get purge -y -qq "*sbrkit*"' >>"$log" 2>&1 || { tail -n 25 "$log"; stop "they cannot be removed"; }
left=$(cd "$system" && find usr var etc -name '*sbrkit*' ! -path 'var/cache/*' ! -path 'var/lib/dpkg/*' ! -path 'var/log/*' | head)
[ -z "$left" ] || stop "removed packages leave something: $left"
echo "packages: removed, nothing is left"
