# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# Sourced after tests/shipped/lib.sh by the scripts of this folder: boards of a fleet, and the rows of scripts/fleet's table.
# shellcheck disable=SC2034,SC2154 # variables of the other files

# board NAME [OPTION...]: a folder with a simulated board that runs the old firmware, and its sv_ctl in NAME/bin. The file
# NAME/options holds sv_board's options, such as a preset or a fault, NAME/lock is the board's lock.
board() {
  local name=$1
  shift
  mkdir -p "$name/bin"
  : >"$name/lock"
  echo "$*" >"$name/options"
  sv_board run --state "$name/state" --firmware "$firmware/v1-region0.bin" --swid 0x0100 -- true
  # A session of its own: when an engine dies or is cut off, the board goes on, as a real one would.
  cat >"$name/bin/sv_ctl" <<END
#!/bin/sh
# shellcheck disable=SC2046 # words on purpose
exec setsid -w sv_board run --fast --state $PWD/$name/state \$(cat $PWD/$name/options) -- \
  $(command -v sv_ctl) --lock $PWD/$name/lock "\$@"
END
  chmod +x "$name/bin/sv_ctl"
}

# runs NAME: the software id in the flash region that the board runs
runs() {
  local shown
  shown=$(sv_board show --state "$1/state")
  sed -n "s/^region$(sed -n 's/^running=//p' <<<"$shown").swid=//p" <<<"$shown"
}

wrong=0
# row ENGINE CASE OUTCOME EXPECTED: prints a row of the table. A script ends with: exit "$wrong"
row() {
  if [ "$3" = "$4" ]; then
    printf '%-12s %-44s %s\n' "$1" "$2" "$3"
  else
    printf '%-12s %-44s %s   WRONG, expected: %s\n' "$1" "$2" "$3" "$4"
    wrong=1
  fi
}
