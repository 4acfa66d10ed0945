#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the example host need.
# Safe to run again: packages already present are skipped.
set -euo pipefail

packages=(
  build-essential cmake pkg-config dpkg-dev file
  qtbase5-dev qttools5-dev qttools5-dev-tools qttranslations5-l10n
  libcjson-dev libsane-dev libsane1
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xauth x11-apps imagemagick
  clang libclang-rt-14-dev
  fonts-noto-cjk
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
  echo "installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  export DEBIAN_FRONTEND=noninteractive
  $sudo_cmd apt-get update -qq
  $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
