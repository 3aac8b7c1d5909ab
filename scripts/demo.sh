#!/usr/bin/env bash
# The main job: set up, build (without the tests), and run the demo.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh build-demo -DORVANE_BUILD_TESTS=OFF -DORVANE_BUILD_BENCH=OFF
build-demo/examples/orvane-active-join
