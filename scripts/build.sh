#!/usr/bin/env bash
# Configures and builds one variant: `native` (64-bit) or `m32` (32-bit).
#   scripts/build.sh native|m32 [extra cmake arguments...]
set -euo pipefail
cd "$(dirname "$0")/.."

variant=${1:?usage: scripts/build.sh native|m32}
shift
args=(-G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo)
case "$variant" in
  native) ;;
  m32) args+=(-DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/m32.cmake") ;;
  *) echo "unknown variant: $variant" >&2; exit 2 ;;
esac
cmake -S . -B "build/$variant" "${args[@]}" "$@" >/dev/null
cmake --build "build/$variant"
