#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, AddressSanitizer, UndefinedBehaviorSanitizer)
# and runs each for a while, starting from the seed corpus in fuzz/corpus/.
#
#   scripts/fuzz.sh [seconds-per-target] [target...]
#
# New inputs go to <build>/runs/<target>/corpus, never into the repository. A crash,
# leak, hang or undefined behaviour stops that target; its input is kept as
# <build>/runs/<target>/crash-* (or leak-*, timeout-*, oom-*) and the script exits 1.
# VEL_FUZZ_BUILD_DIR overrides the build directory (default: ../build-fuzz).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
shift || true
build=${VEL_FUZZ_BUILD_DIR:-$(dirname "$root")/build-fuzz}
all_targets=(fuzz_base64 fuzz_json fuzz_scheme fuzz_scanner_cfg fuzz_update fuzz_ini)
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=("${all_targets[@]}")

# Longest input per target: configuration files are base64 text of JSON; INI
# files are a few kilobytes of text.
max_len() {
  case "$1" in
    fuzz_base64 | fuzz_json | fuzz_ini) echo 8192 ;;
    *) echo 16384 ;;
  esac
}

CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DVEL_BUILD_FUZZ=ON -DVEL_SANITIZE=address,undefined \
  -DBUILD_TESTING=OFF -DVEL_BUILD_BENCH=OFF -DVEL_BUILD_EXAMPLES=OFF >/dev/null
cmake --build "$build" --target "${targets[@]}" -j2

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

# Targets that write files do it in TMPDIR; keep that in memory where possible,
# since every write is flushed to disk.
memdir=/dev/shm
[ -w "$memdir" ] || memdir=${TMPDIR:-/tmp}
scratch=$(mktemp -d -p "$memdir" vel-fuzz.XXXXXX)
trap 'rm -rf "$scratch"' EXIT
export TMPDIR=$scratch

status=0
summary=()
for target in "${targets[@]}"; do
  run="$build/runs/$target"
  mkdir -p "$run/corpus"
  log="$run/fuzz.log"
  echo "== $target: ${seconds}s"
  rc=0
  # Run inside the run directory: anything a target writes beside it stays there.
  (cd "$run" && "$build/fuzz/$target" corpus "$root/fuzz/corpus/$target" \
      -max_total_time="$seconds" -max_len="$(max_len "$target")" -rss_limit_mb=2048 \
      -timeout=25 -print_final_stats=1 -artifact_prefix="$run/") >"$log" 2>&1 || rc=$?
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  summary+=("$target: ${execs:-?} executions, exit $rc")
  if [ "$rc" -ne 0 ]; then
    status=1
    echo "$target failed (exit $rc); log: $log"
    grep -E "^(==[0-9]+==ERROR|SUMMARY|.*runtime error)" "$log" | head -n 5 || true
    ls "$run"/crash-* "$run"/leak-* "$run"/timeout-* "$run"/oom-* 2>/dev/null || true
  fi
done

echo "== summary"
printf '%s\n' "${summary[@]}"
exit "$status"
