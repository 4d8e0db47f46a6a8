#!/usr/bin/env bash
# Installs a configured vecml build tree into a scratch prefix, then builds
# and runs the consumer program against it twice: through
# find_package(vecml CONFIG) and through pkg-config.
# usage: tests/consumer/check.sh <vecml build dir>
set -euo pipefail

build_dir=$(realpath "$1")
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

cmake --install "$build_dir" --prefix "$prefix" >/dev/null
for f in include/vecml/vecml.h lib/cmake/vecml/vecmlConfig.cmake \
         lib/cmake/vecml/vecmlConfigVersion.cmake lib/pkgconfig/vecml.pc; do
  test -f "$prefix/$f" || { echo "missing from install: $f" >&2; exit 1; }
done
ls "$prefix"/lib/libvecml.so.* "$prefix"/lib/vecml/CDenseVectorFactory.so >/dev/null
# Internal headers stay out of the install, except those public ones include.
for f in include/vecml/version.h include/vecml/core/detail/OutOfRange.h \
         include/vecml/learning/detail/LearnedDirections.h \
         include/vecml/learning/detail/OnlineSettings.h; do
  test -f "$prefix/$f" || { echo "missing from install: $f" >&2; exit 1; }
done
for f in include/vecml/core/detail/CpuLevel.h \
         include/vecml/core/detail/NumericalHelperCaches.h \
         include/vecml/matrix/detail include/vecml/vector/detail \
         include/vecml/dataset/detail \
         include/vecml/learning/detail/RandomSource.h; do
  test ! -e "$prefix/$f" || { echo "internal, yet installed: $f" >&2; exit 1; }
done
# Plug-ins must be found through the library's RUNPATH alone.
unset LD_LIBRARY_PATH

echo "== find_package(vecml CONFIG)"
# quietly: the output shows only when a step fails.
quiet() { "$@" > "$scratch/step.log" 2>&1 || { cat "$scratch/step.log" >&2; return 1; }; }
quiet cmake -S "$here" -B "$scratch/cmake-build" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix"
quiet cmake --build "$scratch/cmake-build"
"$scratch/cmake-build/app"

echo "== pkg-config"
export PKG_CONFIG_PATH=$prefix/lib/pkgconfig
libdir=$(pkg-config --variable=libdir vecml)
# shellcheck disable=SC2046 # pkg-config output is a list of flags
g++ -o "$scratch/app-pc" "$here/main.cpp" "$here/old_paths.cpp" $(pkg-config --cflags --libs vecml) \
  -Wl,-rpath,"$libdir"
"$scratch/app-pc"
