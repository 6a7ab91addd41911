#!/usr/bin/env bash
# Builds the native (64-bit) and the 32-bit variant and runs every test of
# both; the 32-bit run also checks that both builds write identical files.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/build.sh native
scripts/build.sh m32 -DOMBREL_REFERENCE_TOOL="$PWD/build/native/tools/ombrel/ombrel"

status=0
for variant in native m32; do
  echo "== Tests of the $variant build"
  (cd "build/$variant" && ctest --output-on-failure -j"$(nproc)") || status=1
done
exit $status
