#!/usr/bin/env bash
# Builds the library and runs the example host, velscan, a scanning front end.
# With a display its windows appear there; without one they are drawn offscreen and
# screenshots land in ./velscan-screenshots; pages go to ./velscan-pages. Extra
# arguments go to velscan.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
BUILD_DIR=$build bash "$root/scripts/build.sh"
exec "$build/examples/velscan/velscan" "$@"
