#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs sv_image as its users do. See ../shipped/lib.sh for the arguments.
set -eu
# shellcheck source-path=SCRIPTDIR source=../shipped/lib.sh
. "$(dirname "$0")/../shipped/lib.sh"

printf '\x0c\x94\x02\x0056789' >a.bin # jmp to word 2
printf '\x00\xc0c' >b.bin # rjmp to the next word
printf text >text
umask 022
pack=(sv_image pack --region0 a.bin --region1 b.bin --swid 0x0101)
# so FILTER FILE: `info --json` prints one JSON object for which the filter is true
so() { sv_image info --json "$2" | jq -es "length == 1 and (.[0] | $1)" >out || fail "not so: $1: $(cat out)"; }
zeros() { head -c "$1" /dev/zero; }
erased() { zeros "$1" | tr '\0' '\377'; }
# memory REGION0 REGION1: the flash with these contents
memory() {
  (cat "$1"; erased $((0x20000))) | head -c $((0x20000))
  (cat "$2"; erased $((0x22000))) | head -c $((0x22000))
}

# --- Good files. The checksums come from a bitwise CRC-16/MODBUS in another language.

expect 0 "*0x0101*0x9b76*1 of 255*0x18a5*1 of 255*270913 bytes" "" "${pack[@]}" --fw-version 2 --no-sha256 -o good.svu
expect_same "mode of a new file" "$(stat -c %a good.svu)" 644
expect 0 "*note:  *version: 2* computed, none named*offset: *270889 bytes*0x9b76 stored, 0x9b76 computed, ok*0, 256*0 marked pages: *1 of 255*0 reset vector:    jmp 0x00004, in region 0*1 reset vector:    rjmp 0x20002, in region 1*loads:  *yes" "" sv_image info good.svu
# The report goes to /dev/null.
expect 0 "" "" sh -c 'exec sv_image info good.svu >&-'
so '.loads and .error == null and .size == 270913 and .expected_size == 270913 and .magic_offset == 11' good.svu
so '.sha256.named == null and .sha256.ok == null and .hwids == [] and .build == null and .file_checksum.ok' good.svu
so '.info_offset == 270889 and .region_size == 131072 and .page_size == 512 and .memory_size == 270336' good.svu
so '.regions[0] == {software_id: 257, checksum: {stored: 39798, computed: 39798, ok: true}, marked_pages: [0],
  reset_vector: {instruction: "jmp", target: 4, ok: true}} and .format == "update-file"' good.svu
so '.regions[1].marked_pages == [256] and .never_programmed == [] and .free_bytes == [0, 0, 0, 0, 0, 0]' good.svu
# Every byte of a file: prefix, magic, image, page map, free bytes, info structure
(cat b.bin; erased 512; printf x) >c.bin
{
  printf 'a: b\nSVxMega\n'; memory a.bin c.bin
  printf '\x01'; zeros 255; printf '\x01\x01'; zeros $((270 + 6))
  printf '\0\0\x02\x01\x02\x01\x76\x9b\xcd\x4a\0\0\0\0\x02\0\0\x02\0\x20\x04\0\xa8\xd2'
} >wanted
sv_image pack --region0 a.bin --region1 c.bin --swid 0x0102 --note "a: b" --no-sha256 -o - 2>err | cmp - wanted
"${pack[@]}" --mark-all -o - 2>err >wanted
so '.regions[0].marked_pages == [range(255)] and .regions[1].marked_pages == [range(256; 511)] and .never_programmed == []' wanted
rm wanted c.bin
cp good.svu ./-x
checks="layout, swid, checksum, empty, format, vector, last-page, swapped, alike"
expect 1 "-x: okay ($checks)"$'\n'"-x: okay ($checks)" "sv_image: none: No such file or directory" sv_image verify -- -x none -x
rm ./-x

# Named lines in their order; another program computes the SHA-256.
expect 0 "*" "sv_image: warning: hardware id 4 is unknown: *0xABCD is unknown: *" "${pack[@]}" --build "{}" --hwid 4 --note "b: []" --fw-version "2 x" --note "a: 1" --hwid 0xABCD -o named.svu
sha256=$(tail -c 270902 named.svu | sha256sum | cut -d ' ' -f 1)
printf 'b: []\na: 1\nversion: 2 x\nhwid: 0004 abcd\nbuild: {}\nsha256: %s\n' "$sha256" >prefix
cmp -n "$(($(wc -c <named.svu) - 270902))" prefix named.svu
so '.version == "2 x" and .build == "{}" and .hwids == ["0004", "abcd"] and .notes[:2] == ["b: []", "a: 1"]' named.svu
so ".sha256 == {named: \"$sha256\", computed: \"$sha256\", ok: true}" named.svu

# The example firmware from every format, and through pipes
objcopy -I elf32-little -O ihex "$firmware/v2-region0.elf" v2-0.hex
objcopy -I elf32-little -O srec "$firmware/v2-region1.elf" v2-1.srec
objcopy -I elf32-little -O ihex "$firmware/v2-region1.elf" v2-1.hex
(grep -v ':00000001FF' v2-0.hex; cat v2-1.hex) >v2.hex
v2=(sv_image pack --swid 0x0101 --hwid 3)
expect 0 "*" "" "${v2[@]}" --region0 "$firmware/v2-region0.bin" --region1 "$firmware/v2-region1.bin" -o v2.svu
for files in "$firmware/v2-region1.elf $firmware/v2-region0.elf" "v2-0.hex v2-1.srec" "--region1 v2-1.srec $firmware/v2-region0.elf" \
  "v2.hex" "--region0 v2.hex --region1 v2.hex" "--format hex -"; do
  # shellcheck disable=SC2086
  "${v2[@]}" $files -o - <v2.hex 2>err | cmp - v2.svu
  grep -q "^size: " err
done
expect 0 "-: okay ($checks, sha256)" "" sv_image verify - <v2.svu
expect 0 "*format:  *ELF*0xff1b computed*0-11*jmp 0x01208, in region 0*region 1:                 not in the file*" "" \
  sv_image info "$firmware/v2-region0.elf"
so '.format == "srec" and .regions[0].checksum.computed == null and .regions[1].checksum.computed == 32043' v2-1.srec
sv_image extract --region 1 -o - v2.hex 2>err | cmp -n 5734 - "$firmware/v2-region1.bin"
for file in "$firmware/v2-region1.elf" "$firmware/v2-region1.bin" v2-1.srec; do
  expect 0 "*region 0 not compared*region 1 differing pages: none*" "" sv_image diff "$file" v2.svu
done
rm v2*

# --- A refusal creates no file and leaves an existing one as it was.

cp good.svu before.svu
ln -s nowhere link
refused() { expect 1 "" "sv_image: $1" "${@:2}"; }
refused "good.svu exists (--replace replaces it)" "${pack[@]}" -o good.svu
refused "link is not a regular file" "${pack[@]}" -o link --force
refused "/dev/null is not a regular file" "${pack[@]}" -o /dev/null --force
refused "./a.bin is one of the inputs" "${pack[@]}" -o ./a.bin --force
refused "a.bin is one of the inputs" sv_image pack --region0 b.bin --region1 b.bin --swid 1 --prefix-file a.bin -o a.bin --force
refused "*No such file or directory" "${pack[@]}" -o none/new.svu
refused ".: Is a directory" sv_image pack --region0 a.bin --region1 . --swid 1 -o new.svu
refused "/dev/zero: larger than 64 MiB, which no firmware is" sv_image pack --region0 /dev/zero --region1 b.bin --swid 1 -o new.svu
for row in "0101 0x0101 65 octal" "0189 0x0189 189 decimal"; do
  read -r id hex number base <<<"$row"
  refused "software id '$id' begins with 0: write $hex if it is hexadecimal, as programs print it, or $number if it is $base" \
    sv_image pack --region0 a.bin --region1 b.bin --swid "$id" -o new.svu
done
for id in 0 00 65536 0x100000001 99999999999999999999 0x 1x -1 " 1" ""; do
  refused "software id '$id' is not a number from 1 to 0xFFFF" sv_image pack --region0 a.bin --region1 b.bin --swid "$id" -o new.svu
done
refused "hardware id '0' is not a number from 1 to 0xFFFF" "${pack[@]}" --hwid 0 -o new.svu
refused "hardware id '04' begins with 0: *" "${pack[@]}" --hwid 04 -o new.svu
refused "standard input can be read only once: save it as a file" sv_image pack --region0 - --region1 b.bin --swid 1 --prefix-file - -o new.svu <a.bin
refused "could not write good.svu: File too large" bash -c 'ulimit -f 100; exec "$@"' - "${pack[@]}" -o good.svu --force
refused "good.svu exists*" sv_image extract --region 0 -o good.svu named.svu
refused "./good.svu is one of the inputs" sv_image extract --region 0 --force -o ./good.svu good.svu
advice=$'\nsv_image: nothing was written: correct the firmware, or overrule these checks with --force'
refused "format: region 1 holds another format (text), not the content of flash$advice" sv_image pack --region0 a.bin --region1 text --swid 1 -o new.svu
refused "swapped: *$advice" sv_image pack --region0 "$firmware/v2-region1.bin" --region1 "$firmware/v2-region0.bin" --swid 1 -o new.svu
printf ':0400000001C001C07A\n:0400040001C001C079\n:00000001FF\n' >bad.hex
refused "bad.hex: line 2: the checksum is 79, but must be 76" sv_image pack bad.hex --swid 1 -o new.svu
zeros $((0x42001)) >longer
refused "longer: longer than a region (131072 bytes) and no read-back (270336 bytes)" sv_image extract --region 0 -o new.bin longer
refused "bad.hex: line 2: *" sv_image info bad.hex
refused "/dev/null: empty" sv_image extract --region 0 -o new.bin /dev/null
refused "'': No such file or directory" sv_image pack --region0 "" --region1 b.bin --swid 1 -o new.svu
expect 105 "" "sv_image: --region: *?see sv_image --help?" sv_image extract --region "" -o new.bin good.svu
expect 105 "" "sv_image: --output: standard output is closed (see sv_image --help)" sh -c 'exec "$@" >&-' - "${pack[@]}" -o -
expect 106 "" "sv_image: unknown subcommand or option: verfy (see sv_image --help)" sv_image verfy
refused "$firmware/v2-region1.elf holds nothing for region 0" sv_image extract --region 0 -o new.bin "$firmware/v2-region1.elf"
expect 106 "" "sv_image: --swid is required (see sv_image --help)" sv_image pack -o new.svu
expect 105 "" "*--region*" sv_image extract --region 2 -o new.bin good.svu
cmp good.svu before.svu
expect_same "files" "$(find . -type f ! -name out ! -name err | sort | xargs)" \
  "./a.bin ./b.bin ./bad.hex ./before.svu ./good.svu ./longer ./named.svu ./prefix ./text"

# --replace replaces, and overrules nothing; a region in a raw binary without a jmp is unknown.
expect 1 "" "sv_image: vector: *$advice" sv_image pack --region0 a.bin --region1 a.bin --swid 1 --replace -o good.svu
expect 0 "*" "" "${pack[@]}" --fw-version 2 --no-sha256 --replace -o good.svu
cmp good.svu before.svu
expect 0 "*content: *name its region with --region?*" "" sv_image info b.bin
expect 0 "*region 1 reset vector: *rjmp 0x20002*" "" sv_image info --region 1 b.bin

# --- Damaged files

# damaged FILE OFFSET BYTES...: good.svu with other bytes
damaged() {
  cp good.svu "$1"
  for ((i = 2; i < $#; i += 2)); do poke "$1" "${@:i:2}"; done
}
damaged image.svu 19 '\x00'
expect 1 "image.svu: layout: invalid file (CRC error)" "" sv_image verify image.svu
expect 0 "*file checksum: *differs*region 0 checksum: *differs*loads:  *no (invalid file (CRC error))" "" sv_image info image.svu
so '.loads == false and .error == "invalid file (CRC error)" and .file_checksum.ok == false' image.svu
damaged region.svu $((270889 + 8)) '\xa4' $((270913 - 2)) '\xdb\x0d'
expect 1 "region.svu: checksum: region 1 has 0x18a4, but the MCU will compute 0x18a5 and refuse to enable it" "" \
  sv_image verify region.svu
so '.loads and .regions[0].checksum.ok and .regions[1].checksum.ok == false' region.svu
damaged empty.svu $((270889 - 6 - 528 + 256)) '\x00' $((270889 + 8)) '\xc1\x1c' $((270913 - 2)) '\x4d\x91'
expect 1 "empty.svu: empty: region 1 is empty, and the MCU would start it nevertheless" "" sv_image verify empty.svu
damaged last.svu $((19 + 0x1FE00)) '\x07' $((270889 - 6 - 528 + 255)) '\x01' $((270913 - 2)) '\xcd\xcd'
expect 1 "last.svu: last-page: region 0 holds 0x07 at offset 0x1fe00, *" "" sv_image verify last.svu
so '.never_programmed == [255] and .regions[0].marked_pages == [0]' last.svu
expect 0 "*region 0 differing pages:*none*never programmed, differ: none*" "" sv_image diff good.svu last.svu
damaged swid.svu $((270889 + 2)) '\x00\x00\x00\x00' $((270913 - 2)) '\xdb\x8d'
expect 1 "swid.svu: swid: the software id is 0, which means an empty region" "" sv_image verify swid.svu
damaged fields.svu $((270889 - 7)) "\\x80$(printf '\\xa%d' 1 2 3 4 5 6)$(printf '\\x%x' {1..24})"
expect 0 "*word 0: *0x0201*word 10: *0x0c0b*" "" sv_image info fields.svu
so '[.regions[] | .software_id, .checksum.stored] == [1027, 2055, 1541, 2569] and .free_bytes == [range(161; 167)]' fields.svu
so '.never_programmed == [527]' fields.svu
so '[.region_size, .page_size, .memory_size, .file_checksum.stored] == [269422093, 4625, 370480147, 6167]' fields.svu
cp named.svu other.svu
poke other.svu 60 x # a digit of the SHA-256
expect 1 "other.svu: sha256: it is not the one that the file names: the file or this line was changed" "" sv_image verify other.svu
expect 0 "* computed, differs*loads:  *yes" "" sv_image info other.svu
# What is known of a file by its size: prefix, info structure, body
for row in 18,false,false,false 19,true,false,false 42,true,false,false 43,true,true,false 270888,true,true,false \
  270889,true,true,true 270912,true,true,true; do
  head -c "${row%%,*}" good.svu >cut.svu
  so "[.magic_offset, .region_size, .free_bytes | . != null] == [${row#*,}]" cut.svu
done
head -c 1000 good.svu >short.svu
so '.sha256.computed != null and .regions[0].marked_pages == null and .free_bytes == null and .size == 1000' short.svu
so '.regions[0].checksum | .stored != null and .computed == null and .ok == null' short.svu
so '.magic_offset == null and .expected_size == null and .notes == [] and (.error | test("header"))' longer
expect 0 "*" "sv_image: warning: overruled: format: region 1 holds another format (text), not the content of flash" \
  sv_image pack --region0 a.bin --region1 text --swid 1 --no-sha256 --force -o text.svu
so '.loads and .notes == ["overruled: format"] and .regions[1].reset_vector == {instruction: null, target: null, ok: false}' text.svu
expect 1 "text.svu: format: region 1 holds another format (text), not the content of flash (overruled by pack --force)" "" sv_image verify text.svu
expect 1 "a.bin: layout: invalid file (could not find header)" "" sv_image verify a.bin
expect 1 "" "sv_image: bad.hex: Intel HEX, no update file: sv_image pack makes one" sv_image verify bad.hex
printf '\033[2J\233' >prefix
expect 0 "*" "" "${pack[@]}" --prefix-file prefix -o raw.svu
expect 0 "*note: *?x1b?2J?x9b*" "" sv_image info raw.svu
so '.notes[0] == "\u001b[2J\ufffd" and .file == "raw.svu"' raw.svu

# --- Comparison and extraction

# The flash after an update of region 1. In "flash" region 0 has other content: pages 1, 2 and 4, and its last page.
memory a.bin b.bin >held
cp held flash
poke flash $((0x3FF)) '\x00\x00'
poke flash $((0x800)) '\x00'
poke flash $((0x1FE00)) '\x00'
poke flash $((0x41FFF)) '\x00'
cp held unread
unread=$(zeros 32 | tr '\0' U)
for offset in $((0x20200)) $((0x20400)) $((0x205E0)) $((0x40000)); do poke unread $offset "$unread"; done
# Pages 256: differs; 257: so does another segment; 259: one byte of the segment is there; 260: no whole segment; 261: unread but for one segment
cp unread both
poke both $((0x20000)) x
poke both $((0x20220)) x
poke both $((0x20600)) "${unread:1}"
poke both $((0x20810)) "$unread"
poke both $((0x20A00)) "$unread${unread//U/V}$unread"

# differs STATUS REPORT A B: the report without its labels and the first two lines
differs() {
  expect "$1" "A: *$3 (*B: *$4 (*" "" sv_image diff "$3" "$4"
  expect_same "diff $3 $4" "$(sed '1,2d; s/^[a-z]*[ a-z0-9,]*: *//; s/^the flash \(.*\) this file in region .$/\1/' out | paste -sd '|')" "$2"
}
differs 0 "none|none|none|none|none|none" good.svu named.svu
differs 0 "none|none|holds|none|none|holds|none|none" good.svu held
differs 1 "1-2, 4|none|does not hold|none|none|holds|255, 527|none" good.svu flash
differs 1 "1-2, 4|none|does not hold|none|none|holds|255, 527|none" <(cat flash) good.svu
differs 1 "none|none|holds|none|257-258|may hold|none|512" unread good.svu
differs 1 "none|none|holds|256-257, 259-261|257-258, 261|does not hold|none|512" good.svu both
differs 1 "none|none|none|257-258|none|512" unread unread
expect 0 "*" "" sv_image pack --region0 a.bin --region1 b.bin --swid 0x0102 -o other-id.svu
differs 1 "none|none|none|none|none|none" good.svu other-id.svu
# "Does the board run what I built?"
memory "$firmware/v2-region0.bin" b.bin >v2flash
expect 0 "*(ELF, region 0)*(read-back)*region 0 differing*the flash holds this file in region 0"$'\n'"region 1 not compared*" "" \
  sv_image diff "$firmware/v2-region0.elf" v2flash
expect 1 "*the flash does not hold this file in region 1*" "" sv_image diff "$firmware/v2-region1.elf" v2flash
expect 0 "*region 0 not compared*the flash holds this file in region 1*" "" sv_image diff --region 1 b.bin v2flash
(head -c $((0x1FE00)) v2flash; printf x) >reaches.bin # into the last page, which the flash has erased
expect 1 "*the flash does not hold this file in region 0*255"$'\n'* "" sv_image diff --region 0 reaches.bin v2flash
expect 2 "" "sv_image: the files have no region in common" sv_image diff "$firmware"/v2-region[01].elf
expect 2 "" "sv_image: b.bin: no update file, and as a raw binary *--region" sv_image diff b.bin v2flash
for row in "longer: longer than a region *" "none: No such file or directory" \
  "image.svu: invalid file (CRC error)"; do
  expect 2 "" "sv_image: $row" sv_image diff good.svu "${row%%:*}"
done
expect 2 "" "sv_image: could not write the report" sh -c 'exec sv_image diff good.svu flash >/dev/full'
expect 1 "" "sv_image: could not write the report" sh -c 'exec sv_image info good.svu >/dev/full'
expect 1 "" "*sv_image: could not write standard output: No space left on device" sh -c 'exec "$@" >/dev/full' - "${pack[@]}" -o -

# The last page of a region: erased in an update file, as it was in a read-back
expect 0 "*region1.bin*checksum: *0x18a5*131072 bytes" "" sv_image extract --region 1 -o region1.bin good.svu
(cat b.bin; erased $((0x20000 - 3))) | cmp - region1.bin
expect 0 "*" "" sv_image extract --region 0 --replace -o region1.bin flash
head -c $((0x20000)) flash | cmp - region1.bin
expect 0 "*" "sv_image: warning: 3 segments hold only 0x55 and may be unread (pages: 257-258)" \
  sv_image extract --region 1 -o unread1.bin <(cat unread)
tail -c +$((0x20001)) unread | head -c $((0x20000)) | cmp - unread1.bin
expect 0 "*region 1 differing pages:*none*the flash holds this file in region 1*" "" sv_image diff --region 1 unread1.bin unread
for file in flash good.svu; do
  expect 1 "*region 1 differing pages: 257-258?region 1 unread pages:    none?*differ: none?*" "" \
    sv_image diff --region 1 $file unread1.bin
done
expect 1 "*region 1 differing pages: 256-257, 259-261?region 1 unread pages:    261?*" "" sv_image diff --region 1 unread1.bin both

# A signal waits until the file is complete.
if strace -o trace true 2>/dev/null; then
  for signal in INT TERM HUP; do
    expect $((128 + $(kill -l $signal))) "*" "*" \
      strace -o trace -e trace=fsync -e inject=fsync:signal=SIG$signal:when=1 "${pack[@]}" --fw-version 2 --no-sha256 -o $signal.svu
    cmp $signal.svu good.svu
    expect_same "temporary files" "$(find . -name '.sv-new*')" ""
  done
fi
