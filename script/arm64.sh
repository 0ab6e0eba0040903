# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# Debian's arm64 packages in a folder, for machines of another kind: libraries to build with, and the applications that
# tests start. They are fetched and unpacked, not installed: the machine's own packages and architectures stay as they
# are, and no rights are needed. Sourced after lib.sh, not run.

# shellcheck disable=SC2154 # lib.sh sets it
arm64_system=$repository/build/arm64-system
unpacked_packages=(libc-bin libc6-dev libcjson-dev libcli11-dev libfmt-dev libgtest-dev libleptonica-dev libsane-dev
    libsane1 nlohmann-json3-dev python3 python3-jsonschema python3-pil python3-sane sane-utils)
emulated_programs=(usr/bin/python3 usr/bin/scanimage usr/sbin/saned)

# apt with this machine's sources, for a machine of the other kind on which nothing is installed.
arm64_apt() {
    local state=$arm64_system/apt
    mkdir -p "$state/lists/partial" "$state/archives/partial"
    : >"$state/status"
    apt-get -q -y -o APT::Architecture=arm64 -o APT::Architectures::=arm64 -o APT::Sandbox::User= \
        -o Dir::State="$state" -o Dir::State::status="$state/status" -o Dir::Cache="$state" "$@" </dev/null
}

unpack_packages() {
    local root=$arm64_system/root folder package
    rm -rf "$root"
    for folder in bin lib sbin; do
        mkdir -p "$root/usr/$folder"
        ln -s "usr/$folder" "$root/$folder"
    done
    for package in "$arm64_system"/apt/archives/*.deb; do
        dpkg-deb --fsys-tarfile "$package" |
            tar -x -C "$root" --keep-directory-symlink --no-same-owner --exclude=./usr/share/doc --exclude=./usr/share/man
    done
}

# The emulator does not stand between a program and those that it starts; these scripts do. A program takes its script
# for itself, and so can start itself anew.
write_launchers() {
    local program launcher
    mkdir -p "$arm64_system/programs"
    for program in "${emulated_programs[@]}"; do
        launcher=$arm64_system/programs/${program##*/}
        printf '#!/bin/bash\nexec qemu-aarch64-static -0 %q -L %q %q "$@"\n' \
            "$launcher" "$arm64_system/root" "$arm64_system/root/$program" >"$launcher"
        chmod +x "$launcher"
    done
}

# Does nothing when everything is there.
prepare_arm64_system() {
    local complete=$arm64_system/complete
    if [[ -f $complete && $(<"$complete") == "${unpacked_packages[*]}" ]]; then
        return
    fi
    rm -rf "$arm64_system"
    arm64_apt update || printf 'Some arm64 package lists could not be fetched; going on with the others.\n' >&2
    arm64_apt --no-install-recommends --download-only install "${unpacked_packages[@]}" ||
        fail 'the arm64 packages could not be fetched. The messages of apt above say why.'
    unpack_packages
    rm -rf "$arm64_system/apt"
    write_launchers
    printf '%s\n' "${unpacked_packages[*]}" >"$complete"
}
