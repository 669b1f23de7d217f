#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The adapters that are shell scripts, without their engines: what each makes of every exit status of sv_ctl. tests/fleet
# runs them under their engines, too.
set -eu
source_folder=$(realpath "$2")
. "$source_folder/tests/shipped/lib.sh"
. "$source_folder/tests/fleet/boards.sh"

mkdir bin payload payload/{tmp,files}
cat >bin/sv_ctl <<'END_OF_SV_CTL'
#!/bin/sh
echo "sv_ctl: a reason, and $*"
[ "$STATUS" -lt 128 ] || kill -9 $$
exit "$STATUS"
END_OF_SV_CTL
chmod +x bin/sv_ctl
PATH=$work/bin:$PATH
mender() { "$source_folder/fleet/mender/sorvan-mcu" "$1" payload >out && echo 0 || echo $?; }
rauc() { "$source_folder/fleet/rauc/hook.sh" "$1" >out 2>err && echo 0 || echo $?; }
export RAUC_MF_COMPATIBLE=a RAUC_SYSTEM_COMPATIBLE=a RAUC_IMAGE_NAME="$work/a file"

: >"payload/files/a file"
while read -r STATUS install roll_back check slot; do
  export STATUS
  row mender "status $STATUS: install, roll-back" "$(mender ArtifactInstall) $(mender ArtifactRollback)" "$install $roll_back"
  row rauc "status $STATUS: check, install" "$(rauc install-check) $(rauc slot-install)" "$check $slot"
done <<'END_OF_TABLE'
0    0   1   0  0
3    0   0   0  0
4    4   0  10  4
5    5   0  10  5
6    6   1  10  6
64  64   0  10 64
75  75   0  10 75
127 127  0  10 127
137 137  1  10 137
END_OF_TABLE

export STATUS=4
row rauc "the reason for RAUC" "$(rauc install-check) $(cat err)" \
  "10 sv_ctl: a reason, and update --check --lock-wait 60 -- $source_folder/fleet/rauc/mcu.svu (status 4)"
STATUS=0
RAUC_MF_COMPATIBLE=b
row rauc "other hardware" "$(rauc install-check) $(cat out err)" "10 the bundle is for b, and this is a"
rm payload/tmp/*
row mender "roll-back, nothing begun" "$(mender ArtifactRollback)" 0
echo begun >payload/tmp/sv_ctl_status
row mender "roll-back after a power loss" "$(mender ArtifactRollback)" 1
row mender "the words for sv_ctl" "$(mender ArtifactInstall) $(head -n 1 out)" \
  "0 sv_ctl: a reason, and update --lock-wait 60 -- payload/files/a file"
: >payload/files/another
row mender "two update files" "$(mender ArtifactInstall) $(cat out)" "64 the artifact must hold one update file, and no other"
exit "$wrong"
