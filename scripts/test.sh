#!/usr/bin/env bash
# Builds everything and runs every test twice: as built, then built with
# AddressSanitizer and UndefinedBehaviorSanitizer, where any report fails the
# test that made it. Window tests get a virtual X display.
#
#   BUILD_DIR        the plain build (default ./build)
#   ASAN_BUILD_DIR   the sanitizer build (default ./build-asan)
#   VEL_TEST_PASSES  "plain sanitize" by default; name one pass to run only it
#   XVFB_DISPLAY     display number for Xvfb (default: the first free one)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
passes=${VEL_TEST_PASSES:-plain sanitize}

if [ -n "${XVFB_DISPLAY:-}" ]; then
  xvfb=(xvfb-run -n "$XVFB_DISPLAY")
else
  xvfb=(xvfb-run -a)
fi

run_tests() {
  (cd "$1" && "${xvfb[@]}" -s "-screen 0 1280x1024x24" \
    ctest --output-on-failure --timeout 300 -j"$(nproc)")
}

for pass in $passes; do
  case "$pass" in
  plain)
    build=${BUILD_DIR:-$root/build}
    echo "== plain: $build"
    # /usr: the package test packs this build in Debian's layout.
    BUILD_DIR=$build bash "$root/scripts/build.sh" -DBUILD_TESTING=ON -DVEL_BUILD_BENCH=ON \
      -DCMAKE_INSTALL_PREFIX=/usr
    run_tests "$build"
    ;;
  sanitize)
    build=${ASAN_BUILD_DIR:-$root/build-asan}
    echo "== AddressSanitizer and UndefinedBehaviorSanitizer: $build"
    # Set before the build: test discovery runs the test programs too.
    # Leaks are suppressed only inside third-party libraries (lsan.supp).
    export ASAN_OPTIONS=detect_leaks=1:halt_on_error=1:fast_unwind_on_malloc=0
    export LSAN_OPTIONS=suppressions=$root/scripts/lsan.supp:print_suppressions=0
    export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
    BUILD_DIR=$build bash "$root/scripts/build.sh" -DVEL_SANITIZE=address,undefined \
      -DBUILD_TESTING=ON -DVEL_BUILD_BENCH=OFF
    run_tests "$build"
    ;;
  *)
    echo "unknown test pass: $pass" >&2
    exit 2
    ;;
  esac
done
