# For scripts: systems of Debian 12 that have nothing yet, each in a folder, entered with chroot. Whoever sources this has
# set `folder`, and `keep` to something when the last system shall stand at the end; from the top of the project.
#
# It needs root's rights, debootstrap, and this machine's way to Debian's packages: sources, settings and keys of
# /etc/apt, proxies of the environment and the certificates of /etc/ssl/certs are carried over.

stop() { echo "$(basename "$0"): $*" >&2; exit 2; }
[ "$(id -u)" -eq 0 ] || stop "needs root's rights: run it with sudo"
command -v debootstrap >/dev/null || stop "debootstrap is missing: apt-get install debootstrap"

mkdir -p "$folder"
folder=$(cd "$folder" && pwd)
base=$folder/base.tar
system=$folder/system
logs=$folder/logs
mkdir -p "$logs"
exec 9>"$folder/lock"
flock -n 9 || stop "another run uses $folder"

# ---- the way to the packages ----------------------------------------------------------------------------------------

# The address of Debian's archive, as this machine's own apt is told.
mirror() {
  apt-get indextargets --format '$(RELEASE) $(COMPONENT) $(REPO_URI)' 'Created-By: Packages' |
    awk '$1 == "bookworm" && $2 == "main" { print $3; exit }'
}

# Whatever leads this machine to its packages: sources, settings, keys, certificates, names of machines. Settings that
# start programs of this machine stay here.
carry_over() {
  local file to=$1/etc/apt
  rm -rf "$to/sources.list" "$to/sources.list.d"
  for file in sources.list sources.list.d auth.conf auth.conf.d preferences.d trusted.gpg trusted.gpg.d keyrings; do
    [ ! -e "/etc/apt/$file" ] || cp -a "/etc/apt/$file" "$to/"
  done
  for file in apt.conf $(cd /etc/apt && ls -d apt.conf.d/*); do
    if [ -f "/etc/apt/$file" ] && ! grep -qE 'Pre-Install-Pkgs|(Pre|Post)-Invoke' "/etc/apt/$file"; then
      cp -a "/etc/apt/$file" "$to/$file"
    fi
  done
  mkdir -p "$1/etc/ssl/certs" "$1/usr/share/keyrings"
  cp -aL /usr/share/keyrings/. "$1/usr/share/keyrings/"
  [ ! -e /etc/ssl/certs/ca-certificates.crt ] || cp -L /etc/ssl/certs/ca-certificates.crt "$1/etc/ssl/certs/"
  # The packages of the viewer come by npm, which this machine may have told of certificates of its own.
  [ -z "${NODE_EXTRA_CA_CERTS:-}" ] || cp -L "$NODE_EXTRA_CA_CERTS" "$1/etc/ssl/extra-certificates.pem"
  for file in resolv.conf hosts; do
    rm -f "$1/etc/$file"
    cp -L "/etc/$file" "$1/etc/$file"
  done
}

# ---- the system -----------------------------------------------------------------------------------------------------

# Ends what still runs in the system, such as the compilers of a run that was interrupted.
end_processes() {
  local process
  for process in /proc/[0-9]*; do
    if [ "$(readlink "$process/root" 2>/dev/null)" = "$system" ]; then kill -KILL "${process#/proc/}" 2>/dev/null || true; fi
  done
}

unmount() {
  local place
  for place in dev/pts dev/shm dev proc sys var/cache/apt/archives; do
    while mountpoint -q "$system/$place"; do umount -l "$system/$place"; done
  done
}

remove_system() {
  end_processes
  unmount
  # Nothing of this machine may still hang in the tree that is removed.
  ! grep -q " $system/" /proc/mounts || stop "$system has mounts that do not go"
  rm -rf --one-file-system "$system"
}
ending() {
  if [ -n "$keep" ]; then
    echo "The system stands in $system; the next run removes it."
  else
    remove_system
  fi
}
trap ending EXIT

make_base() {
  local from
  from=$(mirror)
  [ -n "$from" ] || stop "this machine's apt knows no Debian 12 (bookworm main)"
  echo "Making the base system ..."
  remove_system
  debootstrap --variant=minbase bookworm "$system" "$from" >"$logs/debootstrap.log" 2>&1 ||
    { tail -n 20 "$logs/debootstrap.log"; stop "debootstrap failed"; }
  tar -C "$system" -cf "$base.new" .
  mv "$base.new" "$base"
}

# home_of WHO: where the account lives.
home_of() { if [ "$1" = user ]; then echo /home/guest; else echo /root; fi; }

# bare_system WHO: a system that has seen nothing yet; an ordinary user's has sudo.
bare_system() {
  [ -e "$base" ] || make_base
  remove_system
  mkdir -p "$system"
  tar -C "$system" -xf "$base"
  carry_over "$system"
  mount -t proc proc "$system/proc"
  mount -t sysfs -o ro sysfs "$system/sys"
  mount --bind /dev "$system/dev"
  mount -t devpts -o newinstance,ptmxmode=0666,mode=0620 devpts "$system/dev/pts"
  mount -t tmpfs tmpfs "$system/dev/shm"
  # Packages are fetched once for all the machines.
  mkdir -p "$folder/archives/partial"
  mount --bind "$folder/archives" "$system/var/cache/apt/archives"
  if [ "$1" = user ]; then
    inside root '/' 'apt-get update -qq && apt-get install -y -qq --no-install-recommends sudo && useradd -m -s /bin/bash guest' \
      >"$logs/sudo.log" 2>&1 || { tail -n 20 "$logs/sudo.log"; stop "sudo cannot be installed"; }
    echo 'guest ALL=(ALL) NOPASSWD: ALL' >"$system/etc/sudoers.d/guest"
  fi
  chmod 700 "$system$(home_of "$1")"
}

# put_checkout WHO REVISION: the committed tree, in the account's home.
put_checkout() {
  local home
  home=$(home_of "$1")
  mkdir "$system$home/sbrkit"
  git archive "$2" | tar -C "$system$home/sbrkit" -xf -
  if [ "$1" = user ]; then
    inside root / 'chown -R guest:guest /home/guest'
  fi
}

# inside WHO DIRECTORY COMMAND: a clean environment, but for the way to the network.
inside() {
  local account=root home=/root name settings=()
  if [ "$1" = user ]; then account=guest home=/home/guest; fi
  for name in http_proxy https_proxy ftp_proxy no_proxy HTTP_PROXY HTTPS_PROXY NO_PROXY; do
    [ -z "${!name:-}" ] || settings+=("$name=${!name}")
  done
  [ -z "${NODE_EXTRA_CA_CERTS:-}" ] || settings+=(NODE_EXTRA_CA_CERTS=/etc/ssl/extra-certificates.pem)
  chroot "$system" /usr/bin/env -i "${settings[@]}" HOME="$home" USER="$account" LOGNAME="$account" \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 DEBIAN_FRONTEND=noninteractive \
    /usr/bin/setpriv --reuid "$account" --regid "$account" --init-groups \
    /bin/bash -c "cd '$2' && $3" </dev/null
}
