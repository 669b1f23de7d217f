#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the commands of the documents in one shell per document and compares what they print, both outputs together.
# Arguments: folder of the programs, source folder. A command is a line "$ …" of a code block, fenced or indented, and
# goes on in the next line after a backslash; what follows is what it prints. A blank line ends an indented block. The
# block behind a line "<!-- not run: REASON -->" is skipped.
set -eu
export LC_ALL=C TZ=UTC
PATH=$(realpath "$1"):$PATH:/usr/sbin:/sbin
source_folder=$(realpath "$2")
documents=(protocol update-file)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
command -v i2ctransfer >/dev/null || { echo "i2c-tools are not installed"; exit 77; }

# Writes N.line, N.command and N.expected for each example of the document, and names what is skipped.
# shellcheck disable=SC2016
split='
  function close_block() { if (reason != "" && in_code) reason = ""; in_code = 0; open = 0; more = 0 }
  /^```/ { if (fenced) close_block(); fenced = !fenced; in_code = fenced; next }
  !fenced && !/^    / {
    if (in_code) close_block()
    if (/^<!-- not run: .+ -->$/) { reason = substr($0, 15, length($0) - 18); print FILENAME ":" FNR ": skipped: " reason }
    next
  }
  { in_code = 1; text = fenced ? $0 : substr($0, 5) }
  reason != "" { next }
  !more && text ~ /^\$ / {
    file = folder "/" ++count; text = substr(text, 3); open = more = 1
    print FNR >(file ".line"); printf "" >(file ".expected")
  }
  more { print text >(file ".command"); more = text ~ /\\$/; next }
  open { print text >(file ".expected") }'

status=0
for document in "${documents[@]}"; do
  page=$source_folder/docs/$document.md
  [ -f "$page" ] || [ "$document" = protocol ] || continue
  folder=$work/$document
  mkdir -p "$folder/examples" "$folder/run"
  awk -v folder="$folder/examples" "$split" "$page"
  ln -s "$source_folder/examples" "$folder/run/examples"
  (
    set +eu
    cd "$folder/run" || exit
    for ((number = 1; ; ++number)); do
      example=../examples/$number
      [ -f "$example.command" ] || break
      # shellcheck disable=SC1090
      . "$PWD/$example.command" >"$example.printed" 2>&1 </dev/null
    done
  )
  count=0
  for ((number = 1; ; ++number)); do
    example=$folder/examples/$number
    [ -f "$example.command" ] || break
    count=$number
    # A last line without its end is no difference.
    if ! difference=$(diff -u <(cat "$example.expected") <(sed -e "\$a\\" "$example.printed")); then
      echo "FAILED: docs/$document.md:$(cat "$example.line"): $(cat "$example.command")"
      tail -n +3 <<<"$difference"
      status=1
    fi
  done
  [ "$count" -gt 0 ] || { echo "FAILED: docs/$document.md has no example"; status=1; }
  echo "docs/$document.md: $count commands"
done
exit $status
