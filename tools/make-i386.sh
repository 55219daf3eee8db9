#!/usr/bin/env bash
# Makes the place where programs for 32-bit Windows run: build/i386/root, a small Debian for i386 with Wine's 32-bit half in it,
# beside the machine's own packages and without touching them. Then copies the project's scripts, tests and 32-bit programs to
# /project in there, on every call. tools/in-i386.sh runs commands in it.
#
#   tools/make-i386.sh           about three minutes and 1.5 GB the first time
#   tools/make-i386.sh --undo    takes the folder away
#
# Needs root, or sudo without a password; the right to mount; debootstrap (tools/install.sh x86); and package sources of the machine
# that have i386. Where something is missing, the last line of what it says is the reason. What it mounts, it mounts in a mount
# namespace of its own, so that no mount is left behind whatever happens.
set -euo pipefail
cd "$(dirname "$0")/.."
place=$PWD/build/i386
root=$place/root
PATH=$PATH:/usr/sbin:/sbin
packages=(wine wine32 fonts-wine fonts-liberation xvfb xauth locales 7zip unzip python3)

die() { echo "$*" >&2; exit 1; }

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  sudo -n true 2>/dev/null || die "neither root nor sudo without a password"
  as_root=(sudo -n)
fi

# As root, in namespaces of its own. --mount-proc, with a folder or without, comes first among the arguments.
apart() { "${as_root[@]}" unshare --mount --pid --fork --kill-child "$@"; }

remove() { # nothing is mounted in there: mounts lived in namespaces that have ended
  ! grep -q " $place/" /proc/mounts || die "something is mounted below $place"
  "${as_root[@]}" rm -rf --one-file-system "$place"
}

# What the machine's own package sources say: where the packages of this Debian come from.
mirror_of() { # CODENAME
  apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(COMPONENT)' 'Identifier: Packages' |
    awk -v codename="$1" '$2 == codename && $3 == "main" { print $1; exit }'
}

bootstrap() {
  local codename=$1 mirror=$2
  apart --mount-proc debootstrap --arch=i386 --variant=minbase "$codename" "$root" "$mirror"
  "${as_root[@]}" cp -L /etc/resolv.conf /etc/hosts "$root/etc/"
  [[ $mirror != https:* ]] || "${as_root[@]}" cp -rL /etc/ssl/certs "$root/etc/ssl/"
  echo "deb $mirror $codename main" | "${as_root[@]}" tee "$root/etc/apt/sources.list" >/dev/null
  # The way to the mirror is the machine's (proxy, checks of dates).
  apt-config dump | grep -E '^Acquire::(http|https|Retries|Check)' | "${as_root[@]}" tee "$root/etc/apt/apt.conf.d/machine" || true
  # No service is started by its package, and nothing needs to be on the disk before the whole is.
  printf '#!/bin/sh\nexit 101\n' | "${as_root[@]}" tee "$root/usr/sbin/policy-rc.d" >/dev/null
  "${as_root[@]}" chmod +x "$root/usr/sbin/policy-rc.d"
  echo force-unsafe-io | "${as_root[@]}" tee "$root/etc/dpkg/dpkg.cfg.d/unsafe-io" >/dev/null
}

install_packages() {
  apart --mount-proc="$root/proc" chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 \
    sh -ec 'apt-get update; apt-get install -y --no-install-recommends "$@"; apt-get clean' sh "${packages[@]}"
}

logged() { # WHAT COMMAND…
  local what=$1; shift
  # Not as a condition: the shell would no longer stop at the first command that fails.
  set +e
  (set -e; "$@") >>"$place/make.log" 2>&1
  local status=$?
  set -e
  [ $status -eq 0 ] || die "$what failed: $(grep -v '^$' "$place/make.log" | tail -1)"
}

make() {
  local codename mirror
  case $(dpkg --print-architecture 2>/dev/null) in
    amd64 | i386) ;;
    *) die "no machine for i386 programs" ;;
  esac
  command -v debootstrap >/dev/null || die "debootstrap is missing"
  codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-}")
  mirror=$(mirror_of "$codename")
  [ -n "$mirror" ] || die "the machine's package sources name no mirror for ${codename:-this system}"
  remove
  mkdir -p "$place"
  logged "making an i386 system" bootstrap "$codename" "$mirror"
  logged "installing wine32 in it" install_packages
  echo "${packages[*]}" >"$place/.complete"
}

# The tests find everything at the places that it has in the project.
bring_project() {
  local project=$root/project item
  "${as_root[@]}" mkdir -p "$project/build/x86" "$project/dist"
  for item in tools tests hosts build/x86 build/release dist; do
    "${as_root[@]}" rm -rf "${project:?}/$item"
    "${as_root[@]}" mkdir -p "$project/$item"
    [ $item = build/x86 ] || [ ! -d $item ] || "${as_root[@]}" cp -r --preserve=timestamps $item/. "$project/$item"
  done
  "${as_root[@]}" cp -r --preserve=timestamps build/x86/{*.exe,*.[dD][lL][lL],archives,sidebyside} "$project/build/x86"
  "${as_root[@]}" cp CMakeLists.txt "$project"
}

case ${1:-} in
  --undo) remove; exit ;;
  '') ;;
  *) die "usage: tools/make-i386.sh [--undo]" ;;
esac
apart --net --ipc --mount-proc true 2>/dev/null || die "no right to mount and to make namespaces"
if [ "$(cat "$place/.complete" 2>/dev/null)" != "${packages[*]}" ]; then
  echo "making a place for 32-bit programs: build/i386"
  make
fi
bring_project
