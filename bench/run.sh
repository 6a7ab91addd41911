#!/usr/bin/env bash
# The performance benchmark in one command:
#   bash bench/run.sh [--quick]
# Builds what it needs (the native build's library, vekgen and bench programs,
# and the straightforward reference library in build/bench-reference), then
# measures and writes bench/results.md. Scenes and outputs go to
# $OMBREL_BENCH_DIR (default /tmp/ombrel-bench). Exits non-zero when an
# export's bytes differ from the reference build's.
set -euo pipefail
started=$(date +%s)
cd "$(dirname "$0")/.."

if [[ ! -f build/native/build.ninja ]]; then
  scripts/build.sh native
fi
cmake --build build/native --target ombrel vekgen bench_export bench_io_floor bench_printf

cmake -S . -B build/bench-reference -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DOMBREL_PLAIN_FORMATTING=ON -DOMBREL_BUILD_TESTS=OFF >/dev/null
cmake --build build/bench-reference --target ombrel

export PYTHONDONTWRITEBYTECODE=1
exec /usr/bin/python3 bench/bench.py --started-at "$started" "$@"
