#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What other programs make of the output of sv_ctl. See lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=../shipped/lib.sh
. "$(dirname "$0")/../shipped/lib.sh"
for program in promtool gnuplot; do
  command -v $program >/dev/null || { echo "$program is not installed"; exit 77; }
done
examples=${firmware%/firmware}
touch lock

checked=0
for preset in $(sv_board presets | sed -n 's/^\([^ :]*\): .*/\1/p'); do
  run_board --preset "$preset" -- sv_ctl metrics --lock lock >text 2>err || true
  promtool check metrics <text >out 2>&1 || fail "promtool on $preset: $(cat out)"
  [ ! -s out ] || fail "promtool on $preset: $(cat out)"
  checked=$((checked + 1))
done
[ "$checked" -gt 5 ] || fail "too few presets"

run_board --fault nack@300x2 -- sv_ctl watch --lock lock --csv --interval 0.5 --count 5 >power.csv
expect_same "missed readings" "$(count power.csv ',no-answer,')" 1
gnuplot -e "csv = 'power.csv'; svg = 'power.svg'" "$examples/power.gnuplot" >out 2>&1 || fail "gnuplot: $(cat out)"
[ ! -s out ] || fail "gnuplot: $(cat out)"
expect_same "curves" "$(grep -oE '>(on capacitors|TEKO1|ext|power rail|CAP [^<]*)<' power.svg | sort -u | wc -l)" 6
