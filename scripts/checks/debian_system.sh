# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
#
# Functions that install a Debian of any release into a folder, for scripts that source this file
# and test the project there. The system is entered with chroot, and nothing is ever mounted in it.

die() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# Removes a folder and its contents, unless something is mounted in it, which would be emptied too.
remove_folder() {
  if grep -q -F " $1" /proc/mounts; then die "something is mounted in $1; unmount it first"; fi
  rm -rf --one-file-system "$1"
}

# Ends the script if no system can be installed. Sets "codename", this machine's release, and what
# install_system needs: the mirror and the proxy that this machine's apt uses.
prepare_systems() {
  local proxy=
  [ "$(id -u)" -eq 0 ] || die "debootstrap and chroot need root"
  command -v debootstrap >/dev/null || die "debootstrap isn't installed"
  # shellcheck source=/dev/null  # the machine's own
  codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
  # shellcheck disable=SC2016  # apt expands it
  mirror=$(apt-get indextargets --format '$(REPO_URI)' "Codename: $codename" "Component: main" |
    head -n 1)
  [ -n "$mirror" ] || die "apt names no mirror of $codename"
  eval "$(apt-config shell proxy Acquire::http::Proxy)"
  if [ -n "$proxy" ]; then export http_proxy="$proxy"; fi
}

# apt-get in the system under a folder, without questions.
apt_in() {
  local root=$1
  shift
  DEBIAN_FRONTEND=noninteractive chroot "$root" apt-get --quiet --yes --no-install-recommends "$@" \
    </dev/null
}

# install_system SUITE FOLDER [PACKAGE...]: installs a minimal Debian with these packages, unless an
# earlier run did. The output goes to FOLDER.log; on failure its end is shown.
install_system() {
  local suite=$1 root=$2
  shift 2
  if [ -e "$root/installed" ]; then return; fi
  echo "Installing $suite ..."
  remove_folder "$root"
  {
    debootstrap --variant=minbase "$suite" "$root" "$mirror" &&
      cp /etc/resolv.conf "$root/etc/resolv.conf" &&
      apt_in "$root" update && apt_in "$root" install "$@"
  } >"$root.log" 2>&1 || { tail "$root.log"; return 1; }
  touch "$root/installed"
}
