#!/usr/bin/env bash
# The main job: set up, build, and run the example program.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh build -DORVANE_BUILD_TESTS=OFF -DORVANE_BUILD_BENCH=OFF
build/examples/orvane-hello
