#!/usr/bin/env bash
# Builds the library and the ombrel tool alone (build/demo, no tests, no
# benchmark), showing the build's progress, then runs the main job on the
# bundled sample scene: binary STL, ASCII STL and VRML in ./ombrel-demo.
set -euo pipefail
cd "$(dirname "$0")/.."
echo "== Building the library and the ombrel tool (build/demo)"
cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DOMBREL_BUILD_TESTS=OFF >/dev/null
cmake --build build/demo --target ombrel ombrel_cli
echo "== Exporting the sample scene"
build/demo/tools/ombrel/ombrel demo -o ombrel-demo
