#!/usr/bin/env bash
# Builds the native variant and runs the main job on the bundled sample
# scene: a binary and an ASCII STL file in ./ombrel-demo.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh native >/dev/null
build/native/tools/ombrel/ombrel demo -o ombrel-demo
