#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What sv_ctl metrics prints, under promtool and node_exporter; the alert rules; the units.
# shellcheck disable=SC2154 # variables of lib.sh
set -eu
source_folder=$(realpath "$2")
# shellcheck source-path=SCRIPTDIR source=../shipped/lib.sh
. "$source_folder/tests/shipped/lib.sh"
# shellcheck source=boards.sh
. "$source_folder/tests/fleet/boards.sh"
cp "$source_folder"/fleet/monitoring/* "$source_folder"/tests/fleet/*rules_test.yml .

metrics() { # WORDS_BEFORE_IT OPTION...
  status=0
  run_board "${@:2}" -- bash -c "$1 sv_ctl metrics --lock lock --lock-wait 0 ${output-}" >text 2>err || status=$?
}
facts() { # what metrics hold, in the order of their names: errors of the collector, reason, power rail, source, up
  sed -nE 's/^(node_textfile_scrape_error |sorvan_(up |powerrail_volts |(source|failure)_info.*"(.*)".*))/\4/p' | xargs
}

declare -A want=([healthy]="0: 1 link1 24.094" [poe-only]="0: 1 poe 25.955" [xlr]="0: 1 ext 24.094"
  [link1-source]="0: 1 link1 24.094" [overcurrent]="0: 1 ext 24.094" [no-mcu]="4: 0 no-answer"
  [charger-backup]="0: 1 capacitors 24.094" [old-firmware]="0: 1 unknown 24.094")
for preset in $(sv_board presets | sed -n 's/^\([^ :]*\): .*/\1/p'); do
  metrics "" --preset "$preset"
  row monitoring "metrics, $preset" "$status: $(facts <text)$(promtool check metrics <text 2>&1), writes: $(
    grep -vc -e ' -> ' -e ' read' -e ' parameter ' trace)" "${want[$preset]-}, writes: 0"
done

row monitoring "rules, by promtool" "$(promtool check rules sorvan.rules.yml 2>&1 | sed -n '2s/.*: //p'), $(
  promtool test rules ./*_test.yml 2>&1 | xargs)" "9 rules found, Unit Testing: ./fleet_rules_test.yml SUCCESS$(
  ) Unit Testing: ./rules_test.yml SUCCESS"
row monitoring "rules that no test sees firing" "$(sed -n 's/.*alert: //p' sorvan.rules.yml |
  grep -vxFf <(grep -oh 'Sorvan[^"]* firing' ./*_test.yml | cut -d ' ' -f 1) || echo none)" none

mkdir textfile
output="--output textfile/sorvan.prom"
exec 3< <(exec timeout 60 prometheus-node-exporter --collector.disable-defaults --collector.textfile \
  --collector.textfile.directory=textfile --web.disable-exporter-metrics --web.listen-address=127.0.0.1:0 2>&1)
exporter=$!
trap 'kill $exporter; rm -rf "$work"' EXIT
address=$(sed -n 's/.*msg="Listening on" address=//p; T; q' <&3)
while IFS='|' read -r case before options expected; do
  # shellcheck disable=SC2086 # words on purpose
  metrics "$before" $options
  row monitoring "served: $case" "$status: $(curl -sS -m 5 "http://$address/metrics" | facts)" "$expected"
done <<'END'
a board|||0: 0 24.094 link1 1
a file that the disk has no room for|ulimit -f 1;|--preset poe-only|4: 0 24.094 link1 1
a tool that is killed while it reads||--preset poe-only --fault kill@read-version|137: 0 24.094 link1 1
no MCU||--preset no-mcu|4: 0 no-answer 0
a board again||--preset xlr|0: 0 24.094 ext 1
a held lock|flock lock||75: 0 locked 0
a broken line of another program|echo "sorvan_up{" >textfile/sorvan.prom; true||0: 1
END

sed -i "s,/usr/bin/sv_ctl,$(command -v sv_ctl)," sv-mcu-metrics.service
row monitoring "systemd-analyze" "$(systemd-analyze verify --man=no ./sv-mcu-metrics.* 2>&1)security $(
  systemd-analyze security --offline=true ./sv-mcu-metrics.service | sed -n 's/.*: \([0-9.]*\) .*/\1/p')" "security 1.3"
exit "$wrong"
