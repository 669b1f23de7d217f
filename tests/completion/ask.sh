# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Sourced. Asks the shells themselves what they offer. Needs the folder of the completion files in $completion and a
# function `complain`.
export completion

# check_offers TABLE FOLDER SHELL...: each line of TABLE is LINE|WORDS: at the end of LINE the shell must offer WORDS, in
# any order. FOLDER gets intermediate files.
check_offers() {
  local table=$1 line wanted offered count shell
  export work=$2
  cut -d'|' -f1 "$table" >"$work/lines"
  cut -d'|' -f2- "$table" | sort_words >"$work/wanted"
  for shell in "${@:3}"; do
    : >"$work/raw"
    HOME=$work INPUTRC=/dev/null "offers_$shell" >"$work/terminal" 2>&1 || true
    # Some shells offer only the last part of KEY=VALUE, KIND@PLACE and a path: compare that part.
    sed 's/[^ ]*[=@]\([^ ]\)/\1/g; s/[=@/]\( \|$\)/\1/g; s,[^ ]*/,,g' "$work/raw" | sort_words >"$work/offered"
    while IFS= read -r line <&3 && read -r wanted <&4 && read -r offered <&5; do
      [ "$offered" = "$wanted" ] || complain "$shell: '$line' offers '$offered' instead of '$wanted'"
    done 3<"$work/lines" 4<"$work/wanted" 5<"$work/offered"
    count=$(wc -l <"$work/offered")
    [ "$count" -eq "$(wc -l <"$table")" ] || complain "$shell: only $count lines were completed"
    # bash prints the first two because it has no terminal.
    ! grep -vE 'terminal process group|no job control' "$work/terminal" |
      grep -E 'NOISE|(bash|zsh|fish|compopt|compadd|_sv_[a-z_]*)(:[0-9]+)?: ' || complain "$shell: completion prints something"
  done
}

# The words of each line, sorted
sort_words() { perl -lane 'print join " ", sort keys %{{map { $_ => 1 } @F}}'; }

# The key binding replaces the word before the cursor with all offers.
offers_bash() {
  cat >"$work/bashrc" <<'END'
PS1='> '
eval "${package-}"
for file in "$completion"/*.bash; do . "$file"; done
ask() { asked=$READLINE_LINE; }
answer() {
  [ "$READLINE_LINE" = "$asked" ] || printf %s "${READLINE_LINE#"${asked% *} "}"
  echo
  READLINE_LINE=
}
bind -x '"\C-a": ask'
bind -x '"\C-t": answer >>"$work/raw"'
END
  { sed $'s/$/\x01\e*\x14/' "$work/lines" && printf '\nexit\n'; } | TERM=dumb bash --rcfile "$work/bashrc" -i
}

offers_bash_with_package() { package='. /usr/share/bash-completion/bash_completion' offers_bash; }

# In zsh all offers pass through compadd, which is replaced.
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
    print -r -- $all >>$work/raw
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
end <$work/lines >>$work/raw
END
  fish --no-config "$work/ask.fish"
}
