#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Twelve boards, each with a node_exporter, under a real Prometheus; the rules with seconds in place of minutes.
# shellcheck disable=SC2154 # variables of lib.sh
set -eu
source_folder=$(realpath "$2")
# shellcheck source-path=SCRIPTDIR source=../shipped/lib.sh
. "$source_folder/tests/shipped/lib.sh"
# shellcheck source=boards.sh
. "$source_folder/tests/fleet/boards.sh"
declare -A daemons
trap 'kill "${daemons[@]}" 2>/dev/null; rm -rf "$work"' EXIT
start() { # NAME COMMAND...: until the end of the script, at an address of its own
  exec {log}< <(exec timeout 180 "${@:2}" --web.listen-address=127.0.0.1:0 2>&1)
  daemons[$1]=$!
  address=$(sed -n 's/.*msg="Listening on" address=//p; T; q' <&"$log")
}
read_boards() { # BOARD...
  sleep 0.5
  for board; do "$board/bin/sv_ctl" metrics --lock-wait 0 --output "$board/sorvan.prom" 2>/dev/null || true; done
}
query() { # PROMQL: a number, or the names of alerts and boards
  curl -sS -m 5 "http://$address/api/v1/query" --data-urlencode "query=$1" | jq -r '[.data.result[] |
    if .metric == {} then .value[1] else .metric | [.alertname[6:], .instance] | join(" ") end] | sort | join(", ")'
}
for board in b{1..12}; do
  board "$board"
  start "$board" prometheus-node-exporter --collector.disable-defaults --collector.textfile \
    --collector.textfile.directory="$board"
  echo "- {targets: ['$address'], labels: {instance: $board}}" >>targets.yml
done
pack
sv_board run --state b6/state -- sv_updater --status >/dev/null # sets the marker
sed -E 's/for: .*/for: 4s/; s/\[[0-9]+[mhd]\]/[20s]/' "$source_folder/fleet/monitoring/sorvan.rules.yml" >rules.yml
echo "{global: {scrape_interval: 1s, evaluation_interval: 1s}, rule_files: [rules.yml],
  scrape_configs: [{job_name: sorvan, file_sd_configs: [{files: [targets.yml]}]}]}" >prometheus.yml
read_boards b{1..12}
start prometheus prometheus --config.file=prometheus.yml --storage.tsdb.path=data
for pass in {1..10}; do read_boards b{1..12}; done
row prometheus "all well" "$(query 'count(sorvan_up == 1)') boards, alerts: $(query ALERTS)" "12 boards, alerts: "
began=$SECONDS
echo "--preset charger-backup" >b3/options && echo "--preset no-mcu" >b5/options
kill "${daemons[b4]}"
sv_board run --state b6/state -- sv_updater --reset-now >/dev/null 2>&1
b8/bin/sv_ctl update new.svu >/dev/null 2>&1
exec 4<b9/lock && flock 4 # raises none
alerts="FirmwareDiffers b8, FleetMixed , McuReset b6, McuSilent b5, OnCapacitors b3, RailLow b2, Silent b4, Stale b7"
for ((pass = 0; pass < 40; pass++)); do
  echo "--set powerrail_raw=$((pass < 10 ? 1660 - 40 * pass : 1300))" >b2/options
  read_boards b{1..6} b8 b9 b1{0..2}
  firing=$(query "last_over_time(ALERTS{alertstate='firing'}[$((SECONDS - began))s])")
  [ $pass -lt 10 ] || [ "$firing" != "$alerts" ] || break
done
row prometheus "pending" "$(query "last_over_time(ALERTS{alertstate='pending'}[$((SECONDS - began))s])")" "$alerts"
row prometheus "firing" "$firing" "$alerts"
row prometheus "words" "$(curl -sS -m 5 "http://$address/api/v1/alerts" | jq -r '.data.alerts[].annotations.summary' |
  grep -e rail -e error)" "b2: power rail at 18.1 V"
draw() { "$source_folder/fleet/monitoring/power_week" "http://$address" "$@" 2>&1 || true; }
row prometheus "picture" "$(draw b2 png; head -c 4 png | tail -c 3), $(draw x y)" \
  "PNG, power_week: no readings of x in this week"
exit "$wrong"
