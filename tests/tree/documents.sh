#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Manual pages and completion have exactly the words of the programs; the pages are valid mdoc; the links of Markdown files
# lead somewhere, and their lines are short. Usage: documents.sh FOLDER_OF_PROGRAMS SOURCE_FOLDER
set -eu
export LC_ALL=C.UTF-8
programs=$(realpath "$1")
export PATH=$programs:$PATH
cd "$2"
completion=$PWD/share/completion
# shellcheck source=tests/completion/ask.sh
. tests/completion/ask.sh
top=$(mktemp -d)
trap 'rm -rf "$top"' EXIT
bad=0
complain() { echo "FAILED: $*" >&2; bad=1; }

# --- What there is

# words WHAT [FIELD]: these words, as tests/tree/command_words.cpp prints them
words() { command_words | sed -n "s/^$1 //p" | cut -d' ' -f"${2:-1}"; }
# options PROGRAM [SUBCOMMAND], from its help
options() { "$@" --help | grep -oE '^  (-[A-Za-z](, *)?)?(--[a-z0-9-]+)?' | grep -oE -e '-[^ ,]+'; }
subcommands() { "$1" --help | sed -n '/^Subcommands:/,$s/^  \([a-z]\{1,\}\).*/\1/p'; }

commands=$(words command)
parameters=$(words parameter)
actions=$(words action)
faults=$(words fault)
places=$(words place)
knobs=$(sv_board knobs | sed -n 's/^\([^ =]*\)=.*/\1/p')
presets=$(sv_board presets | sed -n 's/^\([^ :]*\): .*/\1/p')

# --- Manual pages

# heads PAGE: the options and fixed words in the heads of its lists, and subcommands with a subsection of their own. A row of a
# table is no head.
heads() {
  awk '/^\.Ss (Cm )?[a-z]+$/ { print $NF }
  /^\.It (Fl|Cm) / && !/ Ta / {
    mode = ""; dash = ""
    for (i = 2; i <= NF; i++)
      if ($i == "Fl") { dash = mode == "Fl" && $(i - 1) == "Fl" ? "--" : "-"; mode = "Fl" }
      else if ($i == "Cm") { mode = "Cm"; dash = "" }
      else if ($i ~ /^[A-Z][a-z]$/) mode = ""
      else if (mode != "" && $i !~ /^[,|]$/) { gsub(/\\&/, "", $i); print dash $i; if (mode == "Fl") dash = "-" }
  }' "$1"
}

# check_page PAGE NEEDED ALLOWED: the words that it must have, and others that it may have
check_page() {
  [ -e "$1" ] || { complain "$1 is missing"; return 0; }
  local word
  while read -r word; do
    complain "$1 has no head for $word"
  done < <(comm -23 <(sort -u <<<"$2") <(heads "$1" | sort -u))
  while read -r word; do
    complain "$1 names $word, which does not exist"
  done < <(comm -13 <(sort -u <<<"$2"$'\n'"$3") <(heads "$1" | sort -u))
}

check_page share/man/sv_updater.8 "$commands"$'\n'"$parameters"$'\n'"$actions" $'-h\n--help\n-?\n'"$(words parameter 2- | tr ' ' '\n')"
for program in sv_ctl sv_image sv_board sv_capture; do
  needed=$(subcommands $program; options $program; for sub in $(subcommands $program); do options $program "$sub"; done)
  check_page share/man/$program.[18] "$needed" "$([ $program != sv_board ] || echo "$faults"$'\n'"$places"$'\n'"$knobs"$'\n'"$presets")"
done
check_page share/man/sv_record.8 "$(options share/sv_record)" ""

# words_of SUBSECTION: the words of its list in sv_ctl(8), with the star of those that may be tried again
words_of() {
  sed -n "/^\.Ss $1\$/,/^\.El/s/^\.It Li //p" share/man/sv_ctl.8 | sed 's/ Ta .*//; s/ \*/*/g; s/ , /\n/g' | sort
}
listed=$(sed -nE 's/^ *\{Reason::k[A-Za-z]+, "([a-z-]+)", (true|false)\},/\1\2/p' ctl/outcome.cpp | sed 's/true$/*/; s/false$//' | sort)
[ "$(words_of Reasons)" = "$listed" ] || complain "reasons of sv_ctl(8): $(diff <(words_of Reasons) - <<<"$listed")"
listed=$(sed -n 's/.*case Row::.*return "\(.*\)";/\1/p' ctl/decision.cpp | sort)
[ "$(sed -n '/^\.Bl -tag -width "never-enabled"/,/^\.El/s/^\.It Li //p' share/man/sv_ctl.8 | sort)" = "$listed" ] || complain "rows of sv_ctl(8)"

lint=$(mandoc -T lint -W warning share/man/*.[158] 2>&1 | grep -v 'referenced manual not found' || true)
[ -z "$lint" ] || complain "$lint"

# --- Completion

# want LINE WORD...: that and nothing else is to be offered
want() { echo "$1|${*:2}" >>"$top/table"; }

# shellcheck disable=SC2086,SC2046 # words on purpose
{
  want "sv_updater " $commands --help -h
  while read -r keyword arguments; do
    case $arguments:$keyword in
      0:*) want "sv_updater $keyword --prob" --probe ;;
      1:--set*) want "sv_updater $keyword " $parameters $actions ;;
      1:*) want "sv_updater $keyword --prob" && want "sv_updater $keyword x --prob" --probe ;;
    esac
  done < <(words command 1-)
  for action in $actions; do want "sv_updater --set-mode $action --prob" --probe; done
  while read -r parameter values; do
    want "sv_updater --set-mode $parameter " $values
  done < <(words parameter 1-)
  want "sv_ctl " $(subcommands sv_ctl)
  want "sv_ctl -" $(options sv_ctl)
  for sub in $(subcommands sv_ctl); do
    # The options that all have may stand before and after the subcommand.
    want "sv_ctl $sub -" $(options sv_ctl) $(options sv_ctl $sub)
  done
  for program in sv_image sv_board sv_capture; do
    want "$program " $(subcommands $program)
    want "$program -" $(options $program)
    for sub in $(subcommands $program); do
      want "$program $sub -" $(options $program $sub) $([ $sub != run ] || echo --)
    done
  done
  want "sv_board run --fault " $faults
  want "sv_board run --fault nack@" $places
  want "sv_board run --set " $knobs
  want "sv_board run --preset " $presets
}
[ "$(wc -l <"$top/table")" -gt 70 ] || complain "the programs list too few words"
mkdir "$top/shell"
check_offers "$top/table" "$top/shell" bash zsh fish

# --- Links

# The anchors of a Markdown file: its headings in lower case, with hyphens for blanks, and no other punctuation.
anchors() { awk '/^```/ { code = !code } !code && /^#+ / { $1 = ""; print tolower(substr($0, 2)) }' "$1" | sed 's/[^[:alnum:] _-]//g; s/ /-/g'; }

links=0
while IFS=: read -r file link; do
  links=$((links + 1))
  path=${link%%#*}
  target=$file
  [ -z "$path" ] || target=${file%/*}/$path
  if [ ! -e "$target" ]; then
    complain "$file: no such file: $link"
  elif [[ $link == *#* ]]; then
    anchors "$target" | grep -qxFe "${link#*#}" || complain "$file: no such heading: $link"
  fi
done < <(find . -type d \( -name .git -o -name 'build*' \) -prune -o -name '*.md' -exec grep -Hoe '](\([^)]*\))' {} + | sed 's/:\](/:/; s/)$//' |
  grep -vE ':(https?|mailto):')
[ "$links" -gt 0 ] || complain "no link was found"

# --- Lines of Markdown files, outside tables and code blocks

long=$(find . -type d \( -name .git -o -name 'build*' \) -prune -o -name '*.md' -exec awk 'FNR == 1 { code = 0 } /^```/ { code = !code }
  !code && !/^    / && !/^ *\|/ { print FILENAME ":" FNR ":" $0 }' {} + | grep -oE '^[^:]*:[0-9]+:.{121}' | cut -d: -f1,2)
[ -z "$long" ] || complain "more than 120 characters: $long"
exit "$bad"
