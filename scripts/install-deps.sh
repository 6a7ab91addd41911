#!/usr/bin/env bash
# Installs what Ombrel needs, from Debian's packages. Run as root on
# Debian 12; does nothing when everything is already there.
#   scripts/install-deps.sh        everything the tests and the benchmark need
#   scripts/install-deps.sh demo   only what building the library and the tool needs
set -euo pipefail

# The demo writes 3MF too, which needs libarchive.
packages=(cmake ninja-build g++ libarchive-dev)
if [[ "${1:-}" != demo ]]; then
  packages+=(g++-multilib lib32stdc++-12-dev googletest pkg-config binutils bsdutils
    python3 python3-numpy python3-stl python3-vtk9 admesh prusa-slicer groff-base man-db
    clang-14 libclang-rt-14-dev llvm-14
    assimp-utils python3-meshio lib3mf-dev)
fi

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
