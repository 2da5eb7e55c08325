#!/usr/bin/env bash
# Tries the README's two commands on a fresh machine: makes a minimal Debian 12 in a folder, puts the committed checkout
# into root's home and into the home of an ordinary user with sudo, and runs ./demo.sh and ./test.sh in each. Says what
# failed, and ends with 1 if anything did.
#
#   scripts/fresh-machine.sh [--folder FOLDER] [--revision REVISION] [--renew] [--keep] [root|user]...
#
#   --folder    where the systems lie (default: /var/tmp/sbrkit-fresh-machine); about 4 GB while it runs
#   --revision  what is checked out (default: HEAD)
#   --renew     make the base system anew; otherwise one is kept as a packed file for the next time
#   --keep      leave the last system standing, to look around in it with chroot
#   root, user  who runs the commands (default: both, each on a machine of its own)
#
# It needs root's rights, debootstrap, and this machine's way to Debian's packages: sources, settings and keys of
# /etc/apt, proxies of the environment and the certificates of /etc/ssl/certs are carried over.
set -euo pipefail
cd "$(dirname "$0")/.."

folder=/var/tmp/sbrkit-fresh-machine
revision=HEAD
renew=
keep=
who=()
while [ $# -gt 0 ]; do
  case $1 in
    --folder) folder=$2; shift ;;
    --revision) revision=$2; shift ;;
    --renew) renew=1 ;;
    --keep) keep=1 ;;
    root | user) who+=("$1") ;;
    *) sed -n '2,16s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
  esac
  shift
done
[ ${#who[@]} -gt 0 ] || who=(root user)

source scripts/fresh-system.sh
revision=$(git rev-parse --verify --quiet "$revision^{commit}") || stop "no such revision"

# ---- the two commands -----------------------------------------------------------------------------------------------

[ -z "$renew" ] || rm -f "$base"

passed=0
failed=0
for account in "${who[@]}"; do
  home=$(home_of "$account")
  echo "A fresh machine for $account, checkout in $home/sbrkit ..."
  bare_system "$account"
  put_checkout "$account" "$revision"
  for command in demo.sh test.sh; do
    log=$logs/$account-$command.log
    start=$SECONDS
    if inside "$account" "$home/sbrkit" "./$command" >"$log" 2>&1; then
      passed=$((passed + 1))
      printf '%-5s ./%-8s passed  %5d s\n' "$account" "$command" $((SECONDS - start))
    else
      failed=$((failed + 1))
      printf '%-5s ./%-8s FAILED  %5d s; the whole of it is in %s\n' "$account" "$command" $((SECONDS - start)) "$log"
      sed -n '/The following tests FAILED/,$p' "$log" | grep . || tail -n 25 "$log"
    fi
  done
done
echo "fresh machine: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
