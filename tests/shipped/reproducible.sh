#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The tool built twice, in folders with different names: the same bytes. See lib.sh for the first two arguments; the
# third is the compiler.
set -eu
source=$(realpath "$2")
compiler=$3
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"
! is_instrumented || { echo "skipped: built with instruments"; exit 77; }

for folder in one "another folder with a longer name"; do
  mkdir "$folder"
  cp -r "$source"/{CMakeLists.txt,cmake,safe_update,src} "$folder"
  cmake -S "$folder" -B "$folder/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$compiler" \
    -DSV_COMPANIONS=OFF -DBUILD_TESTING=OFF >/dev/null
  cmake --build "$folder/build" -- --quiet
  strip -o "$folder/stripped" "$folder/build/bin/sv_updater"
done
for file in build/bin/sv_updater stripped; do
  cmp one/$file "another folder with a longer name/$file" || fail "$file depends on where it is built"
done
