#!/usr/bin/env bash
# Installs what building and testing need and is not there yet: Debian 12, as root or with sudo.
#
#   scripts/setup.sh [build]      with build only what the Linux programs are built with
set -euo pipefail

packages=(
    cmake ninja-build g++ git              # the build
    libcli11-dev nlohmann-json3-dev        # the tools
    libgtest-dev libbenchmark-dev libspdlog-dev  # tests, benchmarks
)
if [ "${1:-all}" = all ]; then packages+=(
    clang libclang-rt-dev                  # fuzz targets
    clang-format clang-tidy                # checks of the sources
    g++-mingw-w64-x86-64 g++-mingw-w64-i686 mingw-w64-tools libwine-dev faketime  # the Windows programs
    googletest wine64 icoutils             # and their tests
    qemu-system-x86 mmdebstrap e2fsprogs kmod cpio zstd binutils-mingw-w64-i686  # the machine for 32-bit programs
    dpkg-dev pkg-config wixl msitools zip unzip  # the packages
); fi

is_installed() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

missing=()
for package in "${packages[@]}"; do
    is_installed "$package" || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
    echo "setup: nothing to install"
    exit 0
fi

echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
# An index that cannot be fetched is no harm: what is missing may be in another, or in the cache.
as_root apt-get update -qq || echo "setup: the package index is not up to date"
as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
echo "setup: done"
