#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks which folder includes which, that sv_image needs POSIX only, the licence tags, and the sizes.
# Usage: arrows.sh FOLDER_OF_PROGRAMS SOURCE_FOLDER
set -eu
export LC_ALL=C
cd "$2"
bad=0
complain() { echo "$*" >&2; bad=1; }

declare -A may_include=(
  [src/cli]="cli status diag update mcu log util"
  [src/status]="status diag mcu log util"
  [src/update]="update mcu log util"
  [src/diag]="diag mcu util"
  [src/mcu]="mcu util"
  [src/log]="log"
  [src/util]="util"
  [ctl]="ctl status diag update mcu log util"
  [image]="image update mcu util"
  [sim]="sim util mcu/registers.h mcu/flash_geometry.h"
  [capture]="capture sim util mcu/registers.h mcu/flash_geometry.h"
  [decoders]="sim"
  [bench]="bench"
)
ours="capture|cli|ctl|status|diag|update|mcu|log|util|image|sim|tests|bench"
checked=0
while IFS=: read -r file include; do
  folder=${file%/*}
  checked=$((checked + 1))
  case " ${may_include[$folder]-} " in
    *" ${include%%/*} "* | *" $include "*) ;;
    *) complain "$file includes $include" ;;
  esac
done < <(grep -rHoE "^ *# *include *(\"[^\"]*|<($ours)/[^>]*)" src ctl image sim capture decoders bench | sed 's/: *# *include *["<]/:/')
[ "$checked" -gt 0 ] || complain "no include was found"

# What sv_image is made of, found by its includes, has headers of C++, POSIX and its two libraries only. A source belongs to the
# header of the same name; of a pair, the one for other systems than Linux.
portable=" fcntl.h sys/stat.h sys/types.h unistd.h gelf.h CLI/CLI.hpp "
declare -A parts=()
waiting=(image/*.cpp)
while [ "${#waiting[@]}" -gt 0 ]; do
  file=${waiting[-1]}
  unset 'waiting[-1]'
  if [ ! -e "$file" ] || [ -n "${parts[$file]-}" ]; then
    continue
  fi
  parts[$file]=1
  while read -r include; do
    name=${include:1:-1}
    if [ "${include:0:1}" = '"' ]; then
      for path in "$name" "src/$name"; do
        waiting+=("$path" "${path%.h}.cpp" "${path%.h}_posix.cpp")
      done
    elif [[ $name == *.* && $portable != *" $name "* ]]; then
      complain "$file is a part of sv_image and includes <$name>"
    fi
  done < <(sed -nE 's/^ *# *include *("[^"]*"|<[^>]*>).*/\1/p' "$file")
done
for file in src/util/new_file_steps_posix.cpp src/mcu/mcu_device.cpp; do
  [ -n "${parts[$file]-}" ] || complain "$file was not found to be a part of sv_image"
done

checked=0
while read -r file; do
  checked=$((checked + 1))
  head -3 "$file" | grep -q "SPDX-License-Identifier[:] MIT" || complain "$file has no licence tag"
  [[ $file == ./fleet/* ]] && most=120 || most=350
  [ "$(wc -l <"$file")" -le "$most" ] || complain "$file is longer than $most lines"
  # A function begins with the last line in column 0 before its brace in column 0.
  long=$(awk '/^[A-Za-z_].*[^;]$/ { first = NR } /^}$/ { if (NR - first >= 80) print FILENAME ":" first }' "$file")
  [ -z "$long" ] || complain "$long: a function of more than 80 lines"
done < <(find . -type d \( -name .git -o -name 'build*' \) -prune -o -type f \( -name '*.cpp' -o -name '*.c' -o -name '*.h' -o -name '*.py' -o -name '*.sh' \
  -o -name CMakeLists.txt -o -name '*.cmake' -o -path './scripts/*' -o -path './fleet/*' ! -name '*.md' \) -print)
[ "$checked" -gt 0 ] || complain "no file was found"
exit "$bad"
