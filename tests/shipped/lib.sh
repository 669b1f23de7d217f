# shellcheck shell=bash
# SPDX-License-Identifier: MIT
# Sourced by test scripts, which run as SCRIPT FOLDER_OF_THE_PROGRAMS SOURCE_FOLDER. Works in a temporary folder.
export LC_ALL=C
PATH=$(realpath "$1"):$PATH:/usr/sbin:/sbin
firmware=$(realpath "$2")/examples/firmware
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work" || exit

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

# Runs a program with the board on its bus. The file "trace" gets the transfers; waiting takes no time.
run_board() {
  sv_board run --fast --trace trace "$@"
}

# expect STATUS STDOUT STDERR COMMAND...: the outputs, without the time of log lines, must match these shell patterns and
# stay in the files "out" and "err". Violations of the board's rules, on standard error, are always a failure.
expect() {
  local want_status=$1 want_out=$2 want_err=$3 status=0
  shift 3
  "$@" >out 2>err || status=$?
  sed -i 's/^\[[0-9:]*\] //' err
  [ "$status" -eq "$want_status" ] || fail "$*: status $status instead of $want_status: $(cat err)"
  # shellcheck disable=SC2053
  [[ $(tr '\b' '<' <out) == $want_out ]] || fail "$*: printed: $(tail -c 400 out)"
  # shellcheck disable=SC2053
  [[ $(cat err) == $want_err ]] || fail "$*: complained: $(cat err)"
  ! grep -q violation err || fail "$*: $(cat err)"
}

# expect_same WHAT ACTUAL WANTED
expect_same() {
  [ "$2" = "$3" ] || fail "$1: '$2' instead of '$3'"
}

# count FILE PATTERN: matching lines
count() {
  grep -c -e "$2" "$1" || true
}

# same_bytes FILE1 OFFSET1 FILE2 OFFSET2 COUNT
same_bytes() {
  cmp -n "$5" -i "$2:$4" "$1" "$3" || fail "$1 at $2 differs from $3 at $4"
}

# poke FILE OFFSET BYTES, these as \xHH
poke() {
  printf %b "$3" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none
}

# pack_into FILE OPTION...: an update file without a prefix, so that its image starts at byte 8
pack_into() {
  sv_image pack --region0 "$firmware/v2-region0.bin" --region1 "$firmware/v2-region1.bin" --swid 0x0101 --no-sha256 \
    -o "$@" >/dev/null
}
pack() { pack_into new.svu --mark-all; }
# Twelve pages in each region
pack_few() { pack_into few.svu; }

# Built with a sanitizer or gcov, whose own calls would be counted
is_instrumented() {
  grep -q -e __asan_init -e __gcov_ "$(command -v sv_updater)"
}
