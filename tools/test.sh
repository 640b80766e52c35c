#!/bin/bash
# Builds everything and runs every test under Wine.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
BUILD_DIR=${BUILD_DIR:-build}
cd "$BUILD_DIR"
ctest -j2 --output-on-failure --timeout 300 "$@"
