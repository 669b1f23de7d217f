#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The units under a real systemd, in a container over this system's files, with simulated boards; the canary under apt.
# shellcheck disable=SC1091,SC2154 # the files beside, and their variables
set -eu
source_folder=$(realpath "$2")
build_folder=$(realpath "$1/..")
. "$source_folder/tests/shipped/lib.sh"
. "$source_folder/tests/fleet/boards.sh"
units=$source_folder/fleet/systemd

for swid in 0101 0102 0103; do
  sv_image pack --region0 "$firmware/v2-region0.bin" --region1 "$firmware/v2-region1.bin" --swid 0x$swid -o $swid.svu >/dev/null
  "$units/build_firmware_package" sorvan-mcu-firmware 1.${swid#010} $swid.svu >/dev/null 2>&1
done
: >empty
row systemd "package of no update file" "$("$units/build_firmware_package" bad 1 empty 2>&1 || echo bad*)" \
  "empty: layout: invalid file (could not find header)"$'\n'"bad*"

mkdir -p repository root dpkg/{info,updates} apt/etc/apt/preferences.d apt/var/{lib/apt/lists,cache/apt/archives}/partial
touch dpkg/status
cp sorvan-mcu-firmware_1.2_all.deb repository
dpkg-deb --field sorvan-mcu-firmware_1.1_all.deb | sed '1aStatus: install ok installed' >apt/status
echo "deb [trusted=yes] file:$work/repository ./" >apt/etc/apt/sources.list
apt_get() { apt-get -o Dir="$work/apt" -o Dir::State::status="$work/apt/status" -o APT::Sandbox::User=root "$@"; }
upgraded=""
for percentage in 10 100; do
  "$units/build_firmware_repository" repository $percentage
  apt_get update >/dev/null
  for ((i = 0; i < 100; i++)); do apt_get -s upgrade -o APT::Machine-ID="$(printf %032x $i)"; done >upgrades
  upgraded="$upgraded$percentage %: $(count upgrades "^Inst sorvan-mcu-firmware"); "
done
row systemd "canary: upgrades on 100 boards" "$upgraded" "10 %: 11; 100 %: 100; "

add_board() { # NAME WORDS OPTION...: also the words that its sv_ctl is called with
  board "$1" --fast "${@:3}"
  echo "$2" >"$1/words"
}
add_board plain ""
add_board refused "" --preset no-mcu
add_board unconfirmed "" --fault 'fail@commit/258x*'
add_board usage --nonsense
add_board locked "--lock-wait 0"
for name in failed worn; do # With a second firmware: otherwise the first failure would be unconfirmed.
  add_board $name ""
  $name/bin/sv_ctl update 0103.svu >/dev/null 2>&1
done
echo "--fast --fault fail@erase#1x*" >failed/options
echo "--fast --fault fail@commit/2x*" >worn/options
echo plain >chosen

cat >sv_ctl <<'END'
#!/bin/sh
trap : TERM
cd "/fleet/$(cat /fleet/chosen)"
/build/bin/sv_board run $(cat options) --state state -- /build/bin/sv_ctl --lock lock "$@" $(cat words)
echo $? >>starts
exit "$(tail -n 1 starts)"
END

cat >container <<END
mount -t tmpfs tmpfs /run
mkdir /run/systemd
mount -t tmpfs tmpfs root
mkdir root/{upper,work,root}
mount -t overlay overlay -o lowerdir=/,upperdir=root/upper,workdir=root/work root/root
cd root/root
tr -d - </proc/sys/kernel/random/uuid >etc/machine-id
cp $units/sv-mcu-firmware.* $source_folder/fleet/monitoring/sv-mcu-metrics.* lib/systemd/system
install $work/sv_ctl usr/bin
dpkg-deb -x $work/sorvan-mcu-firmware_1.2_all.deb .
systemctl --root=. enable sv-mcu-firmware.timer
cd etc/systemd/system
mkdir sv-mcu-firmware.{service,timer}.d
printf '[Service]\nReadWritePaths=/fleet\nRestartSec=0.1\n' >sv-mcu-firmware.service.d/test.conf
cp -r sv-mcu-firmware.service.d sv-mcu-metrics.service.d
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
await() { for ((i = 0; i < 300; i++)); do "$@" && return || sleep 0.1; done; }
has_ended() { [[ $(grep -cs "" "$board/starts") -ge $1 && $(systemctl is-active $unit) =~ ^(inactive|failed)$ ]]; }
install_package() { dpkg --admindir=dpkg --no-triggers -i "sorvan-mcu-firmware_1.$1_all.deb" >>dpkg.log; }
begin_update() { # of a board with true time
  rm -f plain/trace
  echo "--trace trace --unbuffered" >plain/options
  install_package "$1"
  await grep -qs commit plain/trace
}
during_update() {
  begin_update 3
  install_package 2
  echo --fast >plain/options
}
twice() { systemctl start $unit || systemctl start $unit; }
story() { # BOARD CASE EXPECTED COMMAND...: the statuses of sv_ctl, what systemd makes of them, and the flash
  board=$1
  echo "$board" >chosen
  "${@:4}"
  await has_ended "$(wc -w <<<"${3%%:*}")"
  row systemd "$2" "$(xargs <"$board/starts"): $(systemctl show -P Result $unit), path $(
    systemctl is-active sv-mcu-firmware.path), runs $(runs "$board")" "$3"
  rm -f "$board/starts"
  systemctl reset-failed
  systemctl clean --what=state $unit
}
if [ "$(cat boot)" = 1 ]; then
  story plain "boot with old firmware" "0: success, path active, runs 0x0102" true
  story plain "package upgrade" "0: success, path active, runs 0x0103" install_package 3
  story plain "package downgrade" "0: success, path active, runs 0x0101" install_package 1
  story plain "package upgrade during an update" "0 0: success, path active, runs 0x0102" during_update
  exec 9>locked/lock && flock 9
  story refused "refused, started twice" "4 4: exit-code, path active, runs 0x0100" twice
  story failed "failed" "5 5 5 5: exit-code, path active, runs 0x0103" systemctl start $unit
  story unconfirmed "unconfirmed, started twice" "6: exit-code, path active, runs 0x0100" twice
  story worn "failed, then unconfirmed" "5 6: exit-code, path active, runs 0x0103" systemctl start $unit
  story usage "wrong usage" "64: exit-code, path active, runs 0x0100" systemctl start $unit
  story locked "locked" "75 75 75 75: exit-code, path active, runs 0x0100" systemctl start $unit
  echo plain >chosen
  begin_update 1
  echo power-off >>plain/starts
  echo --fast >plain/options
else
  story plain "power-off during an update, boot again" "power-off 0 3: success, path active, runs 0x0101" true
  row systemd "systemd-analyze" "$(systemd-analyze verify --man=no /lib/systemd/system/sv-mcu-* 2>&1)security $(
    systemd-analyze security --offline=true $unit | sed -n 's/.*: \([0-9.]*\) .*/\1/p')" "security 1.2"
  echo refused >chosen
  systemctl start sv-mcu-metrics.service
  row systemd "metrics of a silent MCU, for another user" "$(systemctl show -P Result sv-mcu-metrics.service): $(
    runuser -u nobody -- grep "^sorvan_up " /var/lib/prometheus/node-exporter/sorvan.prom)" "success: sorvan_up 0"
fi
systemctl poweroff
END
timeout -k 5 200 unshare --mount --propagation private bash -eu container </dev/null >console 2>&1 || true
cat rows
if [ "$(grep -vc WRONG rows)" != 13 ]; then
  cat complaints console
  exit 1
fi
exit "$wrong"
