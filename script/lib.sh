# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# What the commands of this folder share: packages, builds, and SANE's configuration for a build. Sourced, not run.

repository=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)

# shellcheck disable=SC2034 # used by the commands
build_packages=(cmake g++ libcjson-dev libcli11-dev libfmt-dev libleptonica-dev libsane-dev ninja-build
    nlohmann-json3-dev pkg-config)
# shellcheck disable=SC2034
scan_packages=(sane-utils)
# shellcheck disable=SC2034
test_packages=(iproute2 libgtest-dev libsane1 locales mandoc python3 python3-jsonschema python3-pil python3-sane
    sane-utils systemd valgrind)
# shellcheck disable=SC2034
fuzz_packages=(clang libclang-rt-dev)
# shellcheck disable=SC2034
bench_packages=(gnuplot-nox libbenchmark-dev python3 valgrind)
# shellcheck disable=SC2034
package_packages=(autopkgtest debhelper git lintian mmdebstrap)
# shellcheck disable=SC2034
gui_packages=(dbus dbus-bin imagemagick simple-scan xauth xdotool xvfb)
# shellcheck disable=SC2034
check_packages=(clang cppcheck git libbenchmark-dev shellcheck)
# shellcheck disable=SC2034
coverage_packages=(gcovr)
# shellcheck disable=SC2034
arm64_packages=(g++-aarch64-linux-gnu qemu-user-static)

fail() {
    printf '%s: %s\n' "${0##*/}" "$1" >&2
    exit "${2:-1}"
}

# Prints those of the packages that are not installed.
missing_packages() {
    local installed
    # dpkg-query fails when it has never heard of one of them, and still answers for the others.
    installed=$(dpkg-query --show --showformat '${Package} ${db:Status-Status}\n' "$@" 2>/dev/null || true)
    local package
    for package in "$@"; do
        grep -Fqx -- "$package installed" <<<"$installed" || printf '%s\n' "$package"
    done
}

# Does nothing, and needs no rights, when all of the packages are there.
install_packages() {
    command -v apt-get >/dev/null ||
        fail "packages are installed with apt, as on Debian 12 and 13, and there is none here. Needed are: $*"
    local missing
    mapfile -t missing < <(missing_packages "$@")
    if ((${#missing[@]} == 0)); then
        return
    fi
    local as_root=()
    if ((EUID != 0)); then
        command -v sudo >/dev/null ||
            fail "packages are missing and there is no sudo. Run as root: apt-get install ${missing[*]}"
        as_root=(sudo)
    fi
    printf 'Installing: %s\n' "${missing[*]}"
    local apt=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300)
    "${apt[@]}" update </dev/null ||
        printf 'The package lists could not be renewed; going on with those that are here.\n' >&2
    "${apt[@]}" install --no-install-recommends "${missing[@]}" </dev/null ||
        fail "apt could not install: ${missing[*]}. Its messages above say why."
}

# newest_package NAME LIMIT: of the packages NAME-N that apt knows, the one with the highest N up to the limit.
newest_package() {
    local number newest=0
    while read -r number; do
        if ((number > newest && number <= $2)); then
            newest=$number
        fi
    done < <(apt-cache pkgnames "$1-" | sed -nE "s/^$1-([0-9]+)\$/\1/p")
    ((newest > 0)) || fail "apt knows no $1-N with an N up to $2; if its lists are old, apt-get update helps"
    printf '%s-%d\n' "$1" "$newest"
}

build_folder() {
    printf '%s/build/%s' "$repository" "$1"
}

# configure PRESET [CMAKE ARGUMENT...]. In a CI (the variable CI is set), warnings are errors.
configure() {
    cmake -S "$repository" --preset "$@" -DPELSANE_WERROR="${CI:+ON}"
}

# SANE finds this build's backend in $1, and no other one. Nothing of the machine's own configuration is touched.
use_private_sane() {
    local config=$1/sane.d
    mkdir -p "$config/dll.d"
    : >"$config/dll.conf"
    printf 'pelsane\n' >"$config/dll.d/pelsane"
    export SANE_CONFIG_DIR=$config
    export LD_LIBRARY_PATH=$1/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
}
