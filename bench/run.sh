#!/usr/bin/env bash
# The performance benchmark in one command:
#   bash bench/run.sh [--quick]
# Builds what it needs (the native build's library, vekgen, bench programs
# and ombrel_model, the model of the export script calls), then measures and
# writes bench/results.md. Scenes and outputs go to $OMBREL_BENCH_DIR (default
# /dev/shm/ombrel-bench when it has room, else /tmp/ombrel-bench). Exits
# non-zero when an export's bytes differ from the model's.
#
# Sculpt-sized scenes (30M and 40M faces) through the 32-bit and the 64-bit
# builds, compared byte for byte, are a separate command that builds nothing
# (see bench/README.md):
#   /usr/bin/python3 bench/sculpt.py [--quick]
set -euo pipefail
started=$(date +%s)
cd "$(dirname "$0")/.."

if [[ ! -f build/native/build.ninja ]]; then
  scripts/build.sh native
fi
cmake --build build/native --target ombrel vekgen bench_export bench_io_floor bench_printf ombrel_model

export PYTHONDONTWRITEBYTECODE=1
exec /usr/bin/python3 bench/bench.py --started-at "$started" "$@"
