#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs the commands of the documents in one shell per document and compares their output, stdout and stderr together.
# Usage: examples.sh FOLDER_OF_PROGRAMS SOURCE_FOLDER. A command is a line "$ …" of a code block, fenced or indented, and
# continues on the next line after a backslash; its output follows. A blank line ends an indented block. The block after
# "<!-- not run: REASON -->" is skipped, the one after "<!-- file: NAME -->" is a file for the commands. A manual page
# has literal displays for blocks and comments for these lines.
set -eu
export LC_ALL=C TZ=UTC
PATH=$(realpath "$1"):$PATH:/usr/sbin:/sbin
source_folder=$(realpath "$2")
documents=(README.md docs/protocol.md docs/capture.md share/man/sv_update_file.5 share/man/sv_image.1)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
command -v i2ctransfer >/dev/null || { echo "i2c-tools are not installed"; exit 77; }

# Writes a session of all commands, and N.line and N.expected for each; prints the skipped ones.
# shellcheck disable=SC2016
split='
  function end_block() { if (in_code) reason = name = ""; in_code = open = 0 }
  /^```/ { if (fenced) end_block(); fenced = !fenced; in_code = fenced; next }
  !fenced && !/^    / {
    end_block()
    if (/^<!-- not run: .+ -->$/) {
      reason = substr($0, 15, length($0) - 18)
      print page ":" FNR ": skipped: " reason
    }
    if (/^<!-- file: [^ ]+ -->$/) name = substr($0, 12, length($0) - 15)
    next
  }
  { in_code = 1; text = fenced ? $0 : substr($0, 5) }
  reason != "" { next }
  name != "" { print text >(folder "/run/" name); next }
  !more && text ~ /^\$ / {
    file = folder "/" ++count; text = substr(text, 3); open = more = 1
    print FNR ": " text >(file ".line"); printf "" >(file ".expected"); print "{" >session
  }
  more { print text >session; more = text ~ /\\$/; if (!more) print "} >" file ".printed 2>&1" >session; next }
  open { print text >(file ".expected") }'

# A manual page in the form of a Markdown file, line by line
# shellcheck disable=SC2016
as_markdown() {
  case $1 in
    *.md) cat "$1" ;;
    *) sed 's/^\.Bd -literal.*/```/; s/^\.Ed$/```/; s/^\.\\" \(\(file\|not run\): .*\)/<!-- \1 -->/; s/\\e/\\/g; s/\\-/-/g' "$1" ;;
  esac
}

status=0
for page in "${documents[@]}"; do
  folder=$work/$page
  mkdir -p "$folder/run"
  as_markdown "$source_folder/$page" | awk -v folder="$folder" -v session="$folder/session" -v page="$page" "$split"
  ln -s "$source_folder/examples" "$folder/run/examples"
  (cd "$folder/run" && bash "$folder/session" </dev/null) || :
  count=0
  while [ -f "$folder/$((count + 1)).line" ]; do
    example=$folder/$((++count))
    # A last line without its end is no difference.
    if ! difference=$(diff -u "$example.expected" <(sed -e "\$a\\" "$example.printed")); then
      echo "FAILED: $page:$(cat "$example.line")"
      tail -n +3 <<<"$difference"
      status=1
    fi
  done
  [ "$count" -gt 0 ] || { echo "FAILED: $page has no example"; status=1; }
  echo "$page: $count commands"
done
exit $status
