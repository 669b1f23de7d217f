#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks which folder includes which, the licence tags, and the size of files and functions.
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
  [bench]="bench"
)
ours="cli|ctl|status|diag|update|mcu|log|util|image|sim|tests|bench"
checked=0
while IFS=: read -r file include; do
  folder=${file%/*}
  checked=$((checked + 1))
  case " ${may_include[$folder]-} " in
    *" ${include%%/*} "* | *" $include "*) ;;
    *) complain "$file includes $include" ;;
  esac
done < <(grep -rHoE "^ *# *include *(\"[^\"]*|<($ours)/[^>]*)" src ctl image sim bench | sed 's/: *# *include *["<]/:/')
[ "$checked" -gt 0 ] || complain "no include was found"

checked=0
while read -r file; do
  checked=$((checked + 1))
  head -3 "$file" | grep -q "SPDX-License-Identifier[:] MIT" || complain "$file has no licence tag"
  [ "$(wc -l <"$file")" -le 350 ] || complain "$file is longer than 350 lines"
  # A function begins with the last line in column 0 before its brace in column 0.
  long=$(awk '/^[A-Za-z_].*[^;]$/ { first = NR } /^}$/ { if (NR - first >= 80) print FILENAME ":" first }' "$file")
  [ -z "$long" ] || complain "$long: a function of more than 80 lines"
done < <(find . -type d \( -name .git -o -name 'build*' \) -prune -o -type f \( -name '*.cpp' -o -name '*.c' -o -name '*.h' -o -name '*.py' -o -name '*.sh' \
  -o -name CMakeLists.txt -o -name '*.cmake' -o -path './scripts/*' \) -print)
[ "$checked" -gt 0 ] || complain "no file was found"
exit "$bad"
