#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The units under a real systemd, in a container over this system's files, with simulated boards; the canary under apt.
set -eu
build_folder=$(realpath "$1/..")
source_folder=$(realpath "$2")
. "$source_folder/tests/shipped/lib.sh"
. "$source_folder/tests/fleet/boards.sh"
units=$source_folder/fleet/systemd
if [ "$(id -u)" -ne 0 ] || ! command -v systemd-nspawn >/dev/null; then
  echo "systemd: skipped, it needs root and systemd-nspawn"
  exit 0
fi

for swid in 0101 0102 0103; do
  sv_image pack --region0 "$firmware/v2-region0.bin" --region1 "$firmware/v2-region1.bin" --swid 0x$swid -o $swid.svu >/dev/null
  "$units/build_firmware_package" sorvan-mcu-firmware 1.${swid#010} $swid.svu >/dev/null 2>&1
done
row systemd "package of no update file" "$("$units/build_firmware_package" broken 1 "$0" 2>&1); $(ls broken* 2>&1)" x

# The machine-id decides which boards are the canaries.
mkdir -p repository apt/state/lists/partial apt/cache/archives/partial
cp sorvan-mcu-firmware_1.2_all.deb repository
dpkg-deb --field sorvan-mcu-firmware_1.1_all.deb | sed '1aStatus: install ok installed' >apt/status
echo "deb [trusted=yes] file:$work/repository ./" >apt/sources
cat >apt/conf <<END
Dir::State "$work/apt/state";
Dir::State::status "$work/apt/status";
Dir::Cache "$work/apt/cache";
Dir::Etc::SourceList "$work/apt/sources";
Dir::Etc::SourceParts "/dev/null";
APT::Sandbox::User "root";
END
upgraded=""
for percentage in 0 10 100; do
  "$units/build_firmware_repository" repository $percentage
  APT_CONFIG=apt/conf apt-get update >/dev/null
  for ((i = 0; i < 100; i++)); do
    APT_CONFIG=apt/conf apt-get -s upgrade -o APT::Machine-ID="$(printf %032x $i)"
  done >upgrades
  upgraded="$upgraded $percentage%: $(count upgrades "^Inst sorvan-mcu-firmware")"
done
row systemd "canary, 100 boards" "$upgraded upgraded" " 0%: 0 10%: 10 100%: 100 upgraded"

add_board() { # NAME WORDS OPTION...: also the words that its sv_ctl is called with
  board "$1" --fast "${@:3}"
  echo "$2" >"$1/words"
}
add_board plain ""
add_board refused "" --preset no-mcu
for name in failed worn; do # with a second firmware: otherwise their first failure would be unconfirmed
  add_board $name ""
  $name/bin/sv_ctl update 0102.svu >/dev/null 2>&1
done
echo "--fast --fault fail@erase#1x*" >failed/options
echo "--fast --fault fail@commit/2x*" >worn/options
add_board unconfirmed "" --fault 'fail@commit/258x*'
add_board usage --nonsense
add_board locked "--lock-wait 0"
mkdir root
mkdir -p dpkg/info dpkg/updates
touch dpkg/status
echo plain >chosen

cat >sv_ctl <<'END'
#!/bin/sh
trap : TERM
cd "/fleet/$(cat /fleet/chosen)"
/build/bin/sv_board run $(cat options) --state state -- /build/bin/sv_ctl --lock lock "$@" $(cat words)
status=$?
echo $status >>starts
exit $status
END
chmod +x sv_ctl

cat >container <<END
mount -t tmpfs tmpfs /run
mkdir /run/systemd
mount -t tmpfs tmpfs root
mkdir root/upper root/work root/root
mount -t overlay overlay -o lowerdir=/,upperdir=root/upper,workdir=root/work root/root
cd root/root
tr -d - </proc/sys/kernel/random/uuid >etc/machine-id
cp $units/sv-mcu-firmware.{service,path,timer} lib/systemd/system
cp $work/sv_ctl usr/bin
dpkg-deb -x $work/sorvan-mcu-firmware_1.2_all.deb .
systemctl --root=. enable sv-mcu-firmware.timer
cd etc/systemd/system
mkdir sv-mcu-firmware.{service,timer}.d
printf '[Service]\nReadWritePaths=/fleet\nRestartSec=0.1\n' >sv-mcu-firmware.service.d/test.conf
printf '[Timer]\nOnBootSec=1ms\nAccuracySec=1ms\n' >sv-mcu-firmware.timer.d/test.conf
printf '[Unit]\nRequires=basic.target story.service\n' >story.target
printf '[Unit]\nAfter=basic.target\n[Service]\nType=oneshot\nExecStart=/bin/bash /fleet/story\n' >story.service
for boot in 1 2; do
  echo \$boot >$work/boot
  systemd-nspawn --quiet --register=no --keep-unit -D $work/root/root --bind=$work:/fleet --bind-ro=$build_folder:/build \
    --bind-ro=$source_folder:/source --boot --private-network --console=pipe systemd.unit=story.target
done
END

cat >story <<'END'
exec >>/fleet/rows 2>>/fleet/complaints
PATH=$PATH:/build/bin
cd /fleet
. /source/tests/fleet/boards.sh
unit=sv-mcu-firmware.service
choose() {
  name=$1
  echo "$name" >chosen
  systemctl reset-failed
}
has_ended() { [ "$(grep -c "" "$name/starts")" -ge "$1" ] && [[ $(systemctl is-active $unit) =~ ^(inactive|failed)$ ]]; }
await() { for ((i = 0; i < 300; i++)); do "$@" && return || sleep 0.1; done; }
outcome() { # CASE EXPECTED: the statuses of sv_ctl, what systemd made of them, and the flash
  row systemd "$1" "$(xargs <"$name/starts"): $(systemctl show -P Result $unit), path $(
    systemctl is-active sv-mcu-firmware.path), runs $(runs "$name")" "$2"
  rm -f "$name/starts"
}
install_package() { dpkg --admindir=dpkg --no-triggers -i "sorvan-mcu-firmware_1.$1_all.deb" >>dpkg.log 2>&1; }

if [ "$(cat boot)" = 2 ]; then
  choose plain
  await has_ended 3
  sed -i '3,$w again' plain/starts
  sed -i '3,$d' plain/starts
  outcome "power-off during an update" "power-off 0: success, path active, runs 0x0102"
  mv again plain/starts
  outcome "boot again" "3: success, path active, runs 0x0102"
  row systemd "systemd-analyze" "$(systemd-analyze verify --man=no /lib/systemd/system/sv-mcu-* 2>&1)security $(
    systemd-analyze security --offline=true $unit | sed -n 's/.*: \([0-9.]*\) .*/\1/p')" "security 1.2"
else
  choose plain
  await has_ended 1
  outcome "boot with old firmware" "0: success, path active, runs 0x0102"
  install_package 3
  await has_ended 1
  outcome "package upgrade" "0: success, path active, runs 0x0103"
  install_package 1
  await has_ended 1
  outcome "package downgrade" "0: success, path active, runs 0x0101"
  exec 9>locked/lock
  flock 9
  while read -r board expected; do
    choose "$board"
    systemctl start $unit
    await has_ended 1
    [ "$board" != unconfirmed ] || systemctl start $unit
    outcome "$board" "$expected"
  done <<TABLE
refused 4: exit-code, path active, runs 0x0100
failed 5 5 5 5: exit-code, path active, runs 0x0102
locked 75 75 75 75: exit-code, path active, runs 0x0100
usage 64: exit-code, path active, runs 0x0100
unconfirmed 6: exit-code, path active, runs 0x0100
TABLE
  echo --fast >unconfirmed/options
  systemctl reset-failed
  systemctl clean --what=state $unit
  systemctl start $unit
  outcome "unconfirmed, released" "0: success, path active, runs 0x0101"
  choose worn
  systemctl start $unit
  await has_ended 2
  outcome worn "5 6: exit-code, path active, runs 0x0102"
  choose plain
  systemctl clean --what=state $unit
  echo "--trace trace --unbuffered" >plain/options
  install_package 2
  await grep -q commit plain/trace
  echo power-off >>plain/starts
fi
[ "$wrong$(cat boot)" = 01 ] && : >sound
[ "$wrong" = 0 ] || rm -f sound
systemctl poweroff
END
timeout -k 5 100 unshare --mount --propagation private bash -eu container </dev/null >console 2>&1 || true
cat rows
[ -e sound ] || { # not written after a wrong row, nor where the container did not get to its end
  cat complaints console
  wrong=1
}
exit "$wrong"
