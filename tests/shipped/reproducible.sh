#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The programs of a board built again, in another folder and without the other programs: the same bytes. See lib.sh for the first two
# arguments; the third is the compiler.
set -eu
source=$(realpath "$2")
# shellcheck source-path=SCRIPTDIR source=lib.sh
. "$(dirname "$0")/lib.sh"

mkdir "another folder"
cp -r "$source"/{CMakeLists.txt,cmake,ctl,fleet,src} "another folder"
cmake -S "another folder" -B "another folder/build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$3" \
  -DSV_COMPANIONS=OFF >/dev/null
cmake --build "another folder/build" --parallel "$(nproc)" >/dev/null
for program in sv_updater sv_ctl; do
  cmp "another folder/build/bin/$program" "$(command -v $program)" || fail "$program depends on where it is built"
done
