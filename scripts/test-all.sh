#!/usr/bin/env bash
# Builds the native (64-bit), the 32-bit and the sanitizer (asan) variant and
# runs every test of each; the 32-bit run also checks that both builds write
# identical files. Then builds the fuzz targets and runs each for 60 seconds
# (scripts/fuzz.sh). Prints the time of every stage.
set -euo pipefail
cd "$(dirname "$0")/.."

status=0
timings=()
# Runs one stage, records its time, and keeps going when it fails.
stage() {
  local name=$1 start=$SECONDS
  shift
  echo "== $name"
  "$@" || status=1
  timings+=("$(printf '%-22s %4ds' "$name" $((SECONDS - start)))")
}

run_tests() { (cd "build/$1" && ctest --output-on-failure -j"$(nproc)"); }

stage "build native" scripts/build.sh native
stage "build m32" scripts/build.sh m32 -DOMBREL_REFERENCE_TOOL="$PWD/build/native/tools/ombrel/ombrel"
stage "build asan" scripts/build.sh asan
for variant in native m32 asan; do
  stage "tests $variant" run_tests "$variant"
done
stage "fuzz (build, 60s each)" scripts/fuzz.sh 60

echo "== Times"
printf '  %s\n' "${timings[@]}"
exit $status
