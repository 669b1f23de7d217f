#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the packer as people do. See ../shipped/lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=../shipped/lib.sh
. "$(dirname "$0")/../shipped/lib.sh"

printf 123456789 >a.bin
printf abc >b.bin
pack=(sv_image pack --region0 a.bin --region1 b.bin --swid 0x0101)

# The checksums come from a bitwise CRC-16/MODBUS in another language.
expect 0 "*0x0101*0xeb83*1 of 255*0x644a*1 of 255*270913 bytes" "" \
  "${pack[@]}" --fw-version 2 --no-sha256 -o good.svu
expect 0 "*note:  *version: 2*offset:    270889 bytes*word 10:         0x0000*0xeb83 stored, 0xeb83 computed, ok*0, 256*region 0 marked pages:    1 of*loads:  *yes" \
  "" sv_image info good.svu
expect 0 "good.svu: okay" "" sv_image verify good.svu

# What is named, in its order; the SHA-256 as another program computes it.
expect 0 "*" "" "${pack[@]}" --build "{}" --hwid 4 --note "b: []" --fw-version "2 x" --note "a: 1" --hwid 0xABCD -o named.svu
sha256=$(tail -c 270902 named.svu | sha256sum | cut -d ' ' -f 1)
printf 'b: []\na: 1\nversion: 2 x\nhwid: 0004 abcd\nbuild: {}\nsha256: %s\n' "$sha256" >prefix
cmp -n "$(($(wc -c <named.svu) - 270902))" prefix named.svu
expect 0 "named.svu: okay" "" sv_image verify named.svu
expect 0 $'*\nsha256: *'"$sha256 computed, ok"$'\n*' "" sv_image info named.svu
expect 0 "* computed, none named*" "" sv_image info good.svu

# so FILTER FILE: what `info --json` prints is one JSON object of which this is true
so() { sv_image info --json "$2" | jq -es "length == 1 and (.[0] | $1)" >out || fail "not so: $1: $(cat out)"; }
so '.version == "2 x" and .build == "{}" and .hwids == ["0004", "abcd"] and .notes[:2] == ["b: []", "a: 1"]' named.svu
so ".sha256 == {named: \"$sha256\", computed: \"$sha256\", ok: true}" named.svu
so '.loads and .error == null and .size == 270913 and .expected_size == 270913 and .magic_offset == 11' good.svu
so '.sha256.named == null and .sha256.ok == null and .hwids == [] and .build == null' good.svu
so '.info_offset == 270889 and .region_size == 131072 and .page_size == 512 and .memory_size == 270336' good.svu
so '.regions[0] == {software_id: 257, checksum: {stored: 60291, computed: 60291, ok: true}, marked_pages: [0]}' good.svu
so '.regions[1].marked_pages == [256] and .never_programmed == [] and .free_bytes == [0, 0, 0, 0, 0, 0]' good.svu
so '.reserved0 == 0 and .reserved10 == 0 and .file_checksum.ok' good.svu

# What is refused leaves nothing behind, and an existing file as it was.
cp good.svu before.svu
refused() { expect 1 "" "sv_image: $1" "${@:2}"; }
refused "good.svu exists*" "${pack[@]}" -o good.svu
ln -s none link
refused "link exists*" "${pack[@]}" -o link
refused "/dev/null is not a regular file" "${pack[@]}" -o /dev/null --force
refused "./a.bin is one of the inputs" "${pack[@]}" -o ./a.bin --force
refused "*No such file or directory" "${pack[@]}" -o none/new.svu
refused ".: Is a directory" sv_image pack --region0 a.bin --region1 . --swid 1 -o new.svu
refused "region 0 is longer than 0x20000 bytes" sv_image pack --region0 /dev/zero --region1 b.bin --swid 1 -o new.svu
refused "prefix and notes are longer*" "${pack[@]}" --prefix-file /dev/zero -o new.svu
for swid in 0 65536 0x100000001 99999999999999999999 0x 08 1x -1 " 1" ""; do
  refused "software id *" sv_image pack --region0 a.bin --region1 b.bin --swid "$swid" -o new.svu
done
full_disk() { (ulimit -f 100; exec "${pack[@]}" -o "$1" --force); }
refused "could not write good.svu: File too large" full_disk good.svu
cmp good.svu before.svu
for hwid in 0 65536 x ""; do refused "hardware id '$hwid' is not a number from 1 to 0xFFFF" "${pack[@]}" --hwid "$hwid" -o new.svu; done
refused "--fw-version is not one line of printable ASCII" "${pack[@]}" --fw-version "" -o new.svu
refused "--build is not one line of printable ASCII" "${pack[@]}" --build $'two\nlines' -o new.svu
refused "no note or line of the prefix may be named \"version\": use --fw-version" "${pack[@]}" --prefix-file prefix -o new.svu
refused "good.svu exists*" sv_image extract --region 0 -o good.svu named.svu
refused "./good.svu is one of the inputs" sv_image extract --region 0 --force -o ./good.svu good.svu
refused "a.bin: neither an update file nor a read-back of 270336 bytes" sv_image extract --region 0 -o new.bin a.bin
refused "none: No such file or directory" sv_image extract --region 0 -o new.bin none
full_disk_extract() { (ulimit -f 100; exec sv_image extract --region 0 -o new.bin good.svu); }
refused "could not write new.bin: File too large" full_disk_extract
expect 105 "" "*--region*" sv_image extract --region 2 -o new.bin good.svu
[ "$(find . -type f ! -name out ! -name err | sort | xargs)" = "./a.bin ./b.bin ./before.svu ./good.svu ./named.svu ./prefix" ] || fail "left: $(ls)"

# Damaged files: a byte of the image, the checksum of a region (with the right checksum of the file), the size.
cp good.svu damaged.svu
poke damaged.svu 19 '\x00'
cp good.svu region.svu
poke region.svu $((270913 - 24 + 8)) '\x4b'
poke region.svu $((270913 - 2)) '\xc5\xd9'
expect 1 "damaged.svu: invalid file (CRC error)" "" sv_image verify damaged.svu
expect 0 "*file checksum: *differs*region 0 checksum: *differs*loads:  *no (invalid file (CRC error))" "" \
  sv_image info damaged.svu
expect 1 "region.svu: loads, but the checksum of region 1 is wrong (the MCU would refuse to enable it)" "" \
  sv_image verify region.svu
cp good.svu empty.svu
poke empty.svu $((270913 - 24 - 6 - 528 + 256)) '\x00'
poke empty.svu $((270913 - 24 + 8)) '\xc1\x1c'
poke empty.svu $((270913 - 2)) '\x13\x96'
expect 1 "empty.svu: loads, but region 1 is empty (the MCU would start it nevertheless)" "" sv_image verify empty.svu
cp good.svu "[a,b]"
cp good.svu ./-x
expect 0 $'\\[a,b]: okay\n-x: okay\n\\[a,b]: okay' "" sv_image verify -- "[a,b]" -x "[a,b]"
expect 1 $'good.svu: okay\nnone: could not open file\ngood.svu: okay' "" sv_image verify good.svu none good.svu
so '.loads == false and .error == "invalid file (CRC error)" and .file_checksum.ok == false' damaged.svu
so '.loads and .regions[0].checksum.ok and .regions[1].checksum.ok == false' region.svu
cp named.svu other.svu
poke other.svu 60 x # a digit of the SHA-256
expect 1 "other.svu: loads, but does not have the SHA-256 that it names" "" sv_image verify other.svu
expect 0 "* computed, differs*loads:  *yes" "" sv_image info other.svu
so '.loads and .sha256.ok == false' other.svu
head -c 1000 good.svu >short.svu
so '.sha256.computed != null and .regions[0].marked_pages == null and .regions[0].checksum.ok == null and .free_bytes == null and .size == 1000' short.svu
(cat good.svu; head -c 1048576 /dev/zero) >long.svu
expect 0 "*expected size: *differs*loads:  *no (*" "" sv_image info short.svu
expect 0 "*more than 1048576 bytes*magic offset: *11 bytes*loads:  *no (*" "" sv_image info long.svu
head -c 1048576 long.svu >limit.svu
expect 0 "*size:                     1048576 bytes*" "" sv_image info limit.svu
so '.size == 1048576' limit.svu
so '.size == null and .sha256.computed == null and .info_offset == null and .magic_offset == 11' long.svu
so '.magic_offset == null and .expected_size == null and .notes == [] and (.error | test("header"))' /dev/zero
expect 0 "*magic offset: *none*loads:  *no (invalid file (could not find header))" "" sv_image info /dev/zero
mkfifo pipe
expect 1 "" "sv_image: pipe is a pipe*" sv_image info pipe
expect 1 "pipe: a pipe, save it as a file first" "" sv_image verify pipe
printf '\033[2J' >prefix
refused "prefix is one of the inputs" "${pack[@]}" --prefix-file prefix -o prefix --force
expect 0 "*" "" "${pack[@]}" --prefix-file prefix -o good.svu --force
expect 0 "*78 bytes (not printable)*" "" sv_image info good.svu
odd=$'\xff"\\\n\xe2\x82\xac.svu'
cp good.svu "$odd"
so '.notes[0] == "\u001b[2J" and .file == "\ufffd\"\\\n\u20ac.svu"' "$odd"

# The flash as an update leaves it in region 1; region 0 holds something else in pages 1, 2 and 4, and its last page, too.
erased() { head -c "$1" /dev/zero | tr '\0' '\377'; }
(cat a.bin; erased $((0x20000 - 9)); cat b.bin; erased $((0x22000 - 3))) >flash
cp flash held
poke flash $((0x3FF)) '\x00\x00'
poke flash $((0x800)) '\x00'
poke flash $((0x1FE00)) '\x00'
poke flash $((0x41FFF)) '\x00'
# differences REGION0 UNREAD0 HOLDS0 REGION1 UNREAD1 HOLDS1 NEVER_DIFFER NEVER_UNREAD: the report behind its first lines
differences() {
  printf '*\nregion 0 differing pages: %s\nregion 0 unread pages:    %s\n%s' "$1" "$2" "${3:+the flash $3 this file in region 0
}"
  printf 'region 1 differing pages: %s\nregion 1 unread pages:    %s\n%s' "$4" "$5" "${6:+the flash $6 this file in region 1
}"
  printf 'never programmed, differ: %s\nnever programmed, unread: %s' "$7" "$8"
}
same=$(differences none none "" none none "" none none)
expect 0 $'A:   *good.svu (update file, software id 0x0101)\nB:  *named.svu (update file,'"$same" "" sv_image diff good.svu named.svu
expect 0 "$(differences none none holds none none holds none none)" "" sv_image diff good.svu held
moved=$(differences "1-2, 4" none "does not hold" none none holds "255, 527" none)
expect 1 $'A: *good.svu (update file, software id 0x0101)\nB: *flash (read-back)'"${moved#\*}" "" sv_image diff good.svu flash
expect 1 "$moved" "" sv_image diff <(cat flash) <(cat good.svu)
expect 1 "$(differences "1-2, 4" none "" none none "" "255, 527" none)" "" sv_image diff held flash
cp held unread
unread=$(head -c 32 /dev/zero | tr '\0' U)
poke unread $((0x20020)) "$unread"
poke unread $((0x20200)) "$unread"
poke unread $((0x203E0)) "$unread"
poke unread $((0x40000)) "$unread"
expect 1 "$(differences none none holds none 256-257 "may hold" none 512)" "" sv_image diff unread good.svu
expect 1 "$(differences none none "" none 256-257 "" none 512)" "" sv_image diff unread unread
cp unread odd
poke odd $((0x20000)) x
expect 1 "$(differences none none holds 256 256-257 "does not hold" none 512)" "" sv_image diff odd good.svu
expect 0 "*" "" sv_image pack --region0 a.bin --region1 b.bin --swid 0x0102 -o swid.svu
expect 1 "*0x0101)*0x0102)$same" "" sv_image diff good.svu swid.svu
expect 2 "" "sv_image: a.bin: neither an update file nor a read-back of 270336 bytes" sv_image diff good.svu a.bin
(cat flash; echo) >longer
expect 2 "" "sv_image: longer: neither an update file nor *" sv_image diff good.svu longer
expect 2 "" "sv_image: none: No such file or directory" sv_image diff none good.svu
expect 2 "" "sv_image: damaged.svu: invalid file (CRC error)" sv_image diff good.svu damaged.svu
expect 2 "" "sv_image: short.svu: *" sv_image diff good.svu short.svu
diff_to_full_disk() { sv_image diff good.svu flash >/dev/full; }
expect 2 "" "sv_image: could not write the report" diff_to_full_disk

# One region, whole; an update file's last page is erased, a read-back's is as it was.
expect 0 "*region1.bin*checksum: *0x644a*131072 bytes" "" sv_image extract --region 1 -o region1.bin good.svu
(cat b.bin; erased $((0x20000 - 3))) | cmp - region1.bin
expect 0 "*" "" sv_image extract --region 0 --force -o region1.bin flash
head -c $((0x20000)) flash | cmp - region1.bin
expect 0 "*" "sv_image: warning: 3 segments hold only 0x55 and may be unread (pages: 256-257)" \
  sv_image extract --region 1 -o unread1.bin <(cat unread)
tail -c +$((0x20001)) unread | head -c $((0x20000)) | cmp - unread1.bin
info_to_full_disk() { sv_image info good.svu >/dev/full; }
expect 1 "" "sv_image: could not write the report" info_to_full_disk
expect 0 "" "" sh -c "exec sv_image info good.svu >&-"
(umask 027; "${pack[@]}" -o masked.svu >out)
expect_same "mode of a new file" "$(stat -c %a masked.svu)" 640
expect 106 "" "*subcommand is required*" sv_image
echo "all as expected"
