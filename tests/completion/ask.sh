# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Asks the shells themselves what they offer; to be sourced by a script that has the folder of the completion files in
# $completion, and a function `complain`.
export completion

# check_offers TABLE FOLDER SHELL...: each line of TABLE is LINE|WORDS, the words sorted; FOLDER is for what is in between.
check_offers() {
  local table=$1 folder=$2 shell line wanted offered count
  for shell in "${@:3}"; do
    cut -d'|' -f1 "$table" | offers "$shell" "$folder" >"$folder/words"
    while IFS='|' read -r line wanted <&3 && read -r offered <&4; do
      [ "$offered" = "$wanted" ] || complain "$shell: '$line' offers '$offered' instead of '$wanted'"
    done 3<"$table" 4<"$folder/words"
    count=$(wc -l <"$folder/words")
    [ "$count" -eq "$(wc -l <"$table")" ] || complain "$shell: no more than $count lines were completed"
    # The first two are bash's own, for want of a terminal.
    ! grep -vE 'terminal process group|no job control' "$folder/terminal" |
      grep -E 'NOISE|(bash|zsh|fish|compopt|compadd|_sv_[a-z_]*)(:[0-9]+)?: ' || complain "$shell: completion shows something"
  done
}

# offers SHELL FOLDER: for each command line of standard input one line of the words that SHELL offers at its end, sorted. What a
# shell shows on its terminal goes to FOLDER/terminal. Of KEY=VALUE, KIND@PLACE and a path some shells tell but the last part:
# so do all.
offers() {
  export work=$2
  cat >"$work/lines"
  : >"$work/offered"
  "offers_$1" >"$work/terminal" 2>&1 || true
  sed 's/[^ ]*[=@]\([^ ]\)/\1/g; s/[=@/]\( \|$\)/\1/g; s,[^ ]*/,,g' "$work/offered" |
    while read -ra words; do printf '%s\n' "${words[@]}" | sort -u | xargs; done
}

# An interactive bash puts all that it offers into the line, in place of the word before the cursor.
offers_bash() {
  cat >"$work/bashrc" <<'END'
PS1='> '
eval "${package-}"
for file in "$completion"/*.bash; do . "$file"; done
ask() { asked=$READLINE_LINE; }
tell() {
  [ "$READLINE_LINE" = "$asked" ] || printf %s "${READLINE_LINE#"${asked% *} "}"
  echo
  READLINE_LINE=
}
bind -x '"\C-a": ask'
bind -x '"\C-t": tell >>"$work/offered"'
END
  { sed $'s/$/\x01\e*\x14/' "$work/lines" && printf '\nexit\n'; } | TERM=dumb HISTFILE='' bash --rcfile "$work/bashrc" -i
}

offers_bash_with_package() { package='. /usr/share/bash-completion/bash_completion' offers_bash; }

# In zsh the function that all offers pass through tells of them.
offers_zsh() {
  cat >"$work/.zshrc" <<'END'
PS1='> ' LISTMAX=9999 fpath=("$completion" $fpath)
autoload -Uz compinit && compinit -u -D
compadd() {
  local -a offered
  if [[ -z ${(M)@[1,(i)(-|--)]:#-(O|A|D)*} ]]; then
    builtin compadd -O offered "$@"
    all+=("${offered[@]}")
  fi
  builtin compadd "$@"
}
zle -C offer list-choices _main_complete
zle-line-init() {
  for BUFFER in "${(f)"$(<$work/lines)"}"; do
    all=() CURSOR=$#BUFFER
    zle offer
    print -r -- $all >>$work/offered
  done
  exit
}
zle -N zle-line-init
END
  ZDOTDIR=$work script -qec 'zsh -i' /dev/null </dev/null
}

offers_fish() {
  cat >"$work/ask.fish" <<'END'
set fish_complete_path $completion
while read -l line
    echo (complete -C $line | string replace -r "\t.*" "")
end <$work/lines >>$work/offered
END
  fish --no-config "$work/ask.fish"
}
