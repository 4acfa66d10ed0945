#!/usr/bin/env bash
# Regenerates the README's pictures: runs velscan unattended and offscreen on
# SANE's test backend and on the test driver, in English and in Chinese, and
# keeps one picture per window in docs/screenshots/<language>/. Run it when a
# window changes and commit the result.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
BUILD_DIR=$build bash "$root/scripts/build.sh" -DBUILD_TESTING=ON
velscan=$build/examples/velscan/velscan
fake=$(find "$build/tests/fakedriver" -name 'libsane-fake.so' -print -quit)

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

for lang in en zh_CN; do
  out=$root/docs/screenshots/$lang
  rm -rf "$out"
  mkdir -p "$out"
  case $lang in
    en) locale=en_US.UTF-8 ;;
    *) locale=$lang.UTF-8 ;;
  esac
  for driver in test fake; do
    run=$scratch/$lang-$driver
    mkdir -p "$run/home"
    args=(--screenshots "$run/shots" --out "$run/pages")
    [ "$driver" = fake ] && args+=(--backend "$fake" --manufacturer fake)
    # Its own home, so that no setting of the user's is read or written.
    (cd "$run" && env -u DISPLAY -u WAYLAND_DISPLAY HOME="$run/home" LANG="$locale" \
      LC_ALL= LC_MESSAGES= "$velscan" "${args[@]}" >/dev/null)
    # The file names are "<order>-<window class>.png": keep the first of each class.
    for shot in "$run"/shots/*.png; do
      class=$(basename "$shot" .png | cut -d- -f2-)
      [ -e "$out/$class.png" ] || cp "$shot" "$out/$class.png"
    done
  done
  echo "screenshots: $(ls "$out" | wc -l) windows in $out"
done
