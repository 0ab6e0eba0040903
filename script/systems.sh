# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# Minimal Debian systems in folders, to build and to try packages in: of another release, for another architecture, or
# with nothing of this machine's. Sourced after lib.sh, not run; all but names needs root.

native=$(dpkg --print-architecture)

own_system() {
    # shellcheck source=/dev/null
    (. /etc/os-release && printf '%s' "$VERSION_CODENAME")
}

# packages_folder SYSTEM ARCHITECTURE: where script/package puts what it has built
packages_folder() {
    # shellcheck disable=SC2154 # lib.sh sets it
    local folder=$repository/build/packages
    [[ $1 == $(own_system) ]] || folder+=/$1
    printf '%s/%s' "$folder" "$2"
}

# system_root NAME [ARCHITECTURE]: prints a system's folder. It is made once, and is for copies, not for changes.
system_root() {
    local root=$repository/build/systems/$1
    [[ ${2:-$native} == "$native" ]] || root+=-$2
    if [[ ! -d $root ]]; then
        rm -rf "$root.new"
        mkdir -p "${root%/*}"
        mmdebstrap --variant=apt --architectures="${2:-$native}" "$1" "$root.new" >&2 ||
            fail "there is no system $1 for ${2:-$native}. The messages of mmdebstrap above say why."
        mv "$root.new" "$root"
    fi
    printf '%s' "$root"
}

# copy_system NAME ARCHITECTURE FOLDER: one that may be changed, and in which no services are started
copy_system() {
    local root
    root=$(system_root "$1" "$2")
    rm -rf "$3" "$3.new"
    cp -a --one-file-system "$root" "$3.new"
    printf '#!/bin/sh\nexit 101\n' >"$3.new/usr/sbin/policy-rc.d"
    chmod +x "$3.new/usr/sbin/policy-rc.d"
    mv "$3.new" "$3"
}

# in_system FOLDER COMMAND...: with /proc, which goes with the command, and with nothing of this shell's environment. An
# interrupt ends the command as any other, since it has no numbering of processes of its own.
in_system() {
    # shellcheck disable=SC2016 # the arguments are the inner shell's
    env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8 \
        unshare --mount sh -c 'mount -t proc proc "$1/proc" && exec chroot "$@"' sh "$@"
}

# prepare_build FOLDER ARCHITECTURE SOURCES [PACKAGE...]: what it takes to build the sources in the system, which are in
# its folder SOURCES, and further packages. What is needed stands in debian/control; the compiler for another
# architecture does not.
prepare_build() {
    local root=$1 arch=$2 sources=$3 needed=(build-essential "${@:4}") profiles=()
    if [[ $arch != "$native" ]]; then
        in_system "$root" dpkg --add-architecture "$arch"
        needed+=("crossbuild-essential-$arch")
        profiles=(--host-architecture="$arch" --build-profiles='cross,nocheck')
    fi
    local apt=(apt-get -q -y --no-install-recommends)
    in_system "$root" "${apt[@]}" update
    in_system "$root" "${apt[@]}" install "${needed[@]}"
    # A folder is one to apt by its slash.
    in_system "$root" "${apt[@]}" build-dep "${profiles[@]}" "$sources/"
}

# set_build_command ARCHITECTURE: build_command makes the packages in the folder above the sources
set_build_command() {
    # shellcheck disable=SC2034 # used by the commands
    build_command=(dpkg-buildpackage --no-sign --build=full)
    [[ $1 == "$native" ]] || build_command+=(--host-arch="$1" --build-profiles='cross,nocheck')
}
