#!/usr/bin/env bash
# Installs what building and testing Ombrel needs, from Debian's packages.
# Run as root on Debian 12; does nothing when everything is already there.
set -euo pipefail

packages=(cmake ninja-build g++ g++-multilib lib32stdc++-12-dev googletest pkg-config binutils bsdutils
  python3 python3-numpy python3-stl python3-vtk9 admesh
  clang-14 libclang-rt-14-dev llvm-14
  assimp-utils python3-meshio)

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
