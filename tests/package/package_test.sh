#!/usr/bin/env bash
# Builds the Debian packages of this build, unpacks them into a scratch root and
# builds a small host against the unpacked files, once through find_package and
# once through pkg-config, then runs both.
#
#   package_test.sh BUILD_DIR SOURCE_DIR SCRATCH_DIR
set -euo pipefail
build=$1 source=$2 scratch=$3
consumer=$source/tests/package/consumer
rm -rf "$scratch"
mkdir -p "$scratch/home"
fail() { echo "package test: $*" >&2; exit 1; }

cpack --config "$build/CPackConfig.cmake" -B "$scratch/debs" >"$scratch/cpack.log" 2>&1 \
  || { cat "$scratch/cpack.log"; fail "cpack failed"; }

deb() { ls "$scratch"/debs/"$1"_*.deb 2>/dev/null || fail "no package $1"; }
runtime=$(deb libveltwainui1) dev=$(deb libveltwainui-dev) velscan=$(deb velscan)
for pkg in "$runtime" "$dev" "$velscan"; do
  echo "$(basename "$pkg"): $(du -k "$pkg" | cut -f1) KiB; Depends: $(dpkg-deb -f "$pkg" Depends)"
  dpkg-deb -x "$pkg" "$scratch/root"
done

# What the host links comes from dpkg-shlibdeps; what it only includes or loads is declared.
dpkg-deb -f "$runtime" Depends | grep -q libqt5widgets5 || fail "runtime: no computed dependencies"
for need in "libveltwainui1 (=" libsane-dev; do
  dpkg-deb -f "$dev" Depends | grep -qF "$need" || fail "development: must depend on $need"
done
dpkg-deb -f "$velscan" Depends | grep -q "libveltwainui1" || fail "velscan: must depend on the runtime"

libdir=$(dirname "$(find "$scratch/root" -name libVelTwainUI.so)")
[ -L "$libdir/libVelTwainUI.so" ] || fail "runtime: no libVelTwainUI.so"
for lib in VelTwainUI VelBase lexipak; do
  soname=$(objdump -p "$libdir/lib$lib.so" | awk '$1 == "SONAME" { print $2 }')
  [ "$soname" = "lib$lib.so.1" ] || fail "lib$lib.so has soname '$soname'"
done
if grep -rlF -e "$build" -e "$source" "$scratch/root"; then
  fail "files above carry build paths"
fi
if strings "$scratch/root/usr/bin/velscan" | grep -- "-linux-gnu"; then
  fail "velscan carries an architecture's path"
fi

run() { LD_LIBRARY_PATH=$libdir QT_QPA_PLATFORM=offscreen "$1" "$libdir" "$scratch/home"; }

cmake -S "$consumer" -B "$scratch/cmake" -DCMAKE_PREFIX_PATH="$scratch/root/usr" \
  -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF >"$scratch/cmake.log" 2>&1 \
  && cmake --build "$scratch/cmake" >>"$scratch/cmake.log" 2>&1 \
  || { cat "$scratch/cmake.log"; fail "find_package(VelTwainUI): the consumer does not build"; }
grep -q "^VelTwainUI_DIR:PATH=$scratch/root/" "$scratch/cmake/CMakeCache.txt" \
  || fail "find_package found another VelTwainUI"
! grep "^Qt5.*_DIR" "$scratch/cmake/CMakeCache.txt" || fail "find_package(VelTwainUI) looks for Qt"
echo "find_package(VelTwainUI): $(run "$scratch/cmake/consumer")"

export PKG_CONFIG_PATH=$libdir/pkgconfig
flags=$(pkg-config --cflags --libs veltwainui) || fail "pkg-config: veltwainui not usable"
! pkg-config --print-requires veltwainui | grep Qt || fail "pkg-config: veltwainui requires Qt"
c++ -std=c++17 "$consumer/consumer.cpp" $flags -ldl -o "$scratch/pc-consumer" \
  || fail "pkg-config: the consumer does not build"
echo "pkg-config veltwainui ($flags): $(run "$scratch/pc-consumer")"

rm -rf "$scratch"
