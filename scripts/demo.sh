#!/usr/bin/env bash
# The main job: set up, build (without the tests), and run the scripted demo
# of orvane-cli on the simulated servers and media engine.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
echo "building orvane-cli (log in build-demo/build.log) ..."
mkdir -p build-demo
if ! scripts/build.sh build-demo -DORVANE_BUILD_TESTS=OFF -DORVANE_BUILD_BENCH=OFF >build-demo/build.log 2>&1; then
  cat build-demo/build.log
  exit 1
fi
build-demo/tools/orvane-cli --script tools/demo.orv
