#!/usr/bin/env bash
# Builds everything and runs every test; the window tests get a virtual X display.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
BUILD_DIR=$build bash "$root/scripts/build.sh"
cd "$build"
xvfb-run -a -s "-screen 0 1280x1024x24" \
  ctest --output-on-failure --timeout 300 -j"$(nproc)"
