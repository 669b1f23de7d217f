#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the packer as people do. Usage: sv_image_test.sh PATH_OF_SV_IMAGE
set -eu
export LC_ALL=C
sv_image=$(realpath "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

die() { echo "FAILED: $*" >&2; exit 1; }

# expect STATUS STDOUT STDERR COMMAND...: the outputs are patterns of the shell
expect() {
  local want_status=$1 want_out=$2 want_err=$3 status=0
  shift 3
  "$@" >"$work/.out" 2>"$work/.err" || status=$?
  [ "$status" -eq "$want_status" ] || die "$*: status $status instead of $want_status: $(cat "$work/.err")"
  # shellcheck disable=SC2053
  [[ $(cat "$work/.out") == $want_out ]] || die "$*: printed: $(cat "$work/.out")"
  # shellcheck disable=SC2053
  [[ $(cat "$work/.err") == $want_err ]] || die "$*: complained: $(cat "$work/.err")"
}

# poke FILE OFFSET BYTES, these as \xHH
poke() { printf %b "$3" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none; }

printf 123456789 >a.bin
printf abc >b.bin
pack=("$sv_image" pack --region0 a.bin --region1 b.bin --swid 0x0101)

# The checksums come from a bitwise CRC-16/MODBUS in another language.
expect 0 "*0x0101*0xeb83*1 of 255*0x644a*1 of 255*270913 bytes" "" "${pack[@]}" --note "version: 2" -o good.svu
expect 0 "*note:  *version: 2*0xeb83 stored, 0xeb83 computed, ok*0, 256*loads:  *yes" "" "$sv_image" info good.svu
expect 0 "good.svu: okay" "" "$sv_image" verify good.svu

# What is refused leaves nothing behind, and an existing file as it was.
cp good.svu before.svu
refused() { expect 1 "" "sv_image: $1" "${@:2}"; }
refused "good.svu exists*" "${pack[@]}" -o good.svu
refused "/dev/null is not a regular file" "${pack[@]}" -o /dev/null --force
refused "./a.bin is one of the inputs" "${pack[@]}" -o ./a.bin --force
refused "*No such file or directory" "${pack[@]}" -o none/new.svu
refused ".: Is a directory" "$sv_image" pack --region0 a.bin --region1 . --swid 1 -o new.svu
refused "region 0 is longer than 0x20000 bytes" "$sv_image" pack --region0 /dev/zero --region1 b.bin --swid 1 -o new.svu
refused "prefix and notes are longer*" "${pack[@]}" --prefix-file /dev/zero -o new.svu
for swid in 0 65536 0x100000001 99999999999999999999 0x 08 1x -1 " 1" ""; do
  refused "software id *" "$sv_image" pack --region0 a.bin --region1 b.bin --swid "$swid" -o new.svu
done
full_disk() { (ulimit -f 100; exec "${pack[@]}" -o "$1" --force); }
refused "could not write good.svu: File too large" full_disk good.svu
cmp good.svu before.svu
[ "$(find . -type f ! -name '.???' | sort | xargs)" = "./a.bin ./b.bin ./before.svu ./good.svu" ] || die "left: $(ls)"

# Damaged files: a byte of the image, the checksum of a region (with the right checksum of the file), the size.
cp good.svu damaged.svu
poke damaged.svu 19 '\x00'
cp good.svu region.svu
poke region.svu $((270913 - 24 + 8)) '\x4b'
poke region.svu $((270913 - 2)) '\xc5\xd9'
expect 1 "damaged.svu: invalid file (CRC error)" "" "$sv_image" verify damaged.svu
expect 0 "*file checksum: *differs*region 0 checksum: *differs*loads:  *no (invalid file (CRC error))" "" \
  "$sv_image" info damaged.svu
expect 1 "region.svu: loads, but the checksum of region 1 is wrong (the MCU would refuse to enable it)" "" \
  "$sv_image" verify region.svu
expect 1 $'good.svu: okay\nnone: could not open file\ngood.svu: okay' "" "$sv_image" verify good.svu none good.svu
head -c 1000 good.svu >short.svu
(cat good.svu; head -c 1048576 /dev/zero) >long.svu
expect 0 "*expected size: *differs*loads:  *no (*" "" "$sv_image" info short.svu
expect 0 "*more than 1048576 bytes*magic offset: *11 bytes*loads:  *no (*" "" "$sv_image" info long.svu
expect 0 "*magic offset: *none*loads:  *no (invalid file (could not find header))" "" "$sv_image" info /dev/zero
mkfifo pipe
expect 1 "" "sv_image: pipe is a pipe*" "$sv_image" info pipe
printf '\033[2J' >prefix
expect 0 "*" "" "${pack[@]}" --prefix-file prefix -o good.svu --force
expect 0 "*4 bytes (not printable)*" "" "$sv_image" info good.svu
info_to_full_disk() { "$sv_image" info good.svu >/dev/full; }
expect 1 "" "sv_image: could not write the report" info_to_full_disk
expect 106 "" "*subcommand is required*" "$sv_image"
echo "all as expected"
