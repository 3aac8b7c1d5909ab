#!/usr/bin/env bash
# The main job: set up, build (without the tests), and run the scripted demo
# of orvane-cli on the simulated servers and media engine.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
scripts/build.sh build-demo --target orvane-cli -DORVANE_BUILD_TESTS=OFF -DORVANE_BUILD_BENCH=OFF
build-demo/tools/orvane-cli --script tools/demo.orv
