#!/usr/bin/env bash
# Configures and builds one variant:
#   native  64-bit, build/native
#   m32     32-bit, build/m32
#   asan    64-bit with AddressSanitizer and UndefinedBehaviorSanitizer,
#           build/asan; any report aborts the program that made it
#   scripts/build.sh native|m32|asan [extra cmake arguments...]
set -euo pipefail
cd "$(dirname "$0")/.."

variant=${1:?usage: scripts/build.sh native|m32|asan}
shift
args=(-G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo)
case "$variant" in
  native) ;;
  m32) args+=(-DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/m32.cmake") ;;
  asan)
    # The flags reach every compile and link, the installed-tree consumers
    # of the install test included. -O1 builds about a quarter faster than
    # -O2 and keeps the reports' stacks exact.
    sanitize="-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer"
    args+=(-DCMAKE_C_FLAGS="$sanitize" -DCMAKE_CXX_FLAGS="$sanitize"
      -DCMAKE_C_FLAGS_RELWITHDEBINFO="-O1 -g -DNDEBUG" -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O1 -g -DNDEBUG")
    ;;
  *) echo "unknown variant: $variant" >&2; exit 2 ;;
esac
cmake -S . -B "build/$variant" "${args[@]}" "$@" >/dev/null
cmake --build "build/$variant"
