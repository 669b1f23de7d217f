#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# sv_record in two shells, on a folder that stands for tracefs: settings, exit status, and what is left. Here mkdir
# fills a trace instance, as the kernel does, rmdir keeps it to be looked at, and sleep sends a signal instead of waiting.
# shellcheck disable=SC2016 # words for other shells
# shellcheck source=tests/shipped/lib.sh
. "$(dirname "$0")/lib.sh"
script=$firmware/../../share/sv_record
/bin/mkdir -p fake tracefs/instances tracefs/events/i2c empty/events existing
printf 'one\ntwo\n' >events
cat >fake/mkdir <<'END'
#!/bin/sh
for event in i2c_write i2c_read i2c_reply i2c_result smbus_read; do /bin/mkdir -p "$1/events/i2c/$event"; done
for cpu in 0 1; do
  /bin/mkdir -p "$1/per_cpu/cpu$cpu"
  printf '%s: %s\n' entries "$HELD" overrun "$LOST" "commit overrun" "$LOST" bytes 77 "dropped events" "$LOST" >"$1/per_cpu/cpu$cpu/stats"
done
cp events "$1/trace"
eval "$MEANWHILE"
END
printf '#!/bin/sh\nmv "$1" seen\n' >fake/rmdir
printf '#!/bin/sh\nkill -"$SIGNAL" $PPID\n' >fake/sleep
chmod +x fake/*
PATH=$work/fake:$PATH
umask 022
export HELD=3 LOST=0 MEANWHILE=true SIGNAL=INT

# record STATUS STDOUT STDERR WORD...: nothing is left but the recording, which only its owner can read
record() {
  local wanted=("$1" "$2" "$3")
  shift 3
  rm -rf seen rec
  # shellcheck disable=SC2086 # a shell and its word
  expect "${wanted[@]}" $shell "$script" --tracefs tracefs -o rec "$@" </dev/null
  expect_same "left by $*" "$(ls tracefs/instances)" ""
}
# recorded STATUS STDOUT STDERR WORD...: and there is a recording
recorded() {
  record "$@"
  expect_same "recording of $*" "$(stat -c %a rec; cat rec)" "$(printf '600\none\ntwo')"
}
# refused STATUS STDERR WORD...: COMMAND did not run, and there is no recording
refused() {
  local wanted=("$1" '' "$2")
  shift 2
  record "${wanted[@]}" "$@" -- touch ran
  [ ! -e rec ] || fail "$*: recorded"
  [ ! -e ran ] || fail "$*: ran"
}

for shell in dash "busybox sh"; do
  recorded 0 '' '' --bus 12 true
  expect_same settings "$(cd seen && grep -r . buffer_size_kb events trace_clock tracing_on | sort)" "buffer_size_kb:8192
$(for event in read reply result write; do printf 'events/i2c/i2c_%s/%s\n' $event enable:1 $event 'filter:adapter_nr == 12'; done)
trace_clock:mono
tracing_on:0"
  [[ $(cat seen/trace_marker) =~ ^sv_record\ clock=[0-9]{10}(\.[0-9]+)?$ ]] || fail "marker: $(cat seen/trace_marker)"
  recorded 0 '' '' --buffer 64 -- true
  expect_same buffer "$(cat seen/buffer_size_kb)" 64

  # What COMMAND gets, and its end
  recorded 0 '0022 -o x' '' sh -c 'echo $(umask) "$@"' sh -o x
  recorded 3 '' '' sh -c 'exit 3'
  recorded 130 '' '' sh -c 'kill -INT $$'
  recorded 127 '' '*' say nothing
  recorded 126 '' '*' ./events
  for SIGNAL in HUP INT QUIT PIPE TERM; do
    recorded 4 '' '' sh -c 'kill -$SIGNAL $PPID; exit 4'
    recorded 0 '' 'sv_record: recording bus 0 until Ctrl-C'
    MEANWHILE='kill -$SIGNAL $PPID' refused $((128 + $(kill -l $SIGNAL))) ''
  done

  # Too little
  HELD=0 recorded 0 '' 'sv_record: nothing was seen on bus 0' true
  LOST=4 recorded 125 '' 'sv_record: 24 events are missing in rec; *' true
  LOST=4 recorded 3 '' 'sv_record: 24 events are missing in rec; *' sh -c 'exit 3'
  record 125 '' '*sv_record: /dev/full could not be written completely' -o /dev/full true
  record 0 $'one\ntwo' said -o - echo said

  # Refused before COMMAND runs
  while IFS='|' read -r complaint words; do
    # shellcheck disable=SC2086 # words on purpose
    refused 125 "*sv_record: $complaint" $words
  done <<'END'
--bus: 'x' is not a number|--bus x
--bus: '08' is not a number|--bus 08
--bus: '-1' is not a number|--bus -1
--buffer: '8M' is not a number|--buffer 8M
--nonsense: unknown option; *|--nonsense 1
existing: not created; *|-o existing
events: not created; an existing file is never overwritten|-o events
missing/rec: not created; *|-o missing/rec
no I2C events in empty: this needs root, *|--tracefs empty
no I2C events in missing: this needs root, *|--tracefs missing
END
  expect_same "an existing file" "$(cat events)" "$(printf 'one\ntwo')"
  MEANWHILE='/bin/mkdir "$1/trace_clock"' refused 125 "sv_record: the kernel refuses 'mono' for trace_clock"
  record 125 '' 'sv_record: --bus: unknown option, or its value is missing' --bus
  record 0 'Usage: sv_record *' '' --help
done
