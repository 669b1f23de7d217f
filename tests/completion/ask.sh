# SPDX-License-Identifier: MIT
# shellcheck shell=bash
# Asks the shells themselves what they offer; to be sourced by a script that has the folder of the completion files in
# $completion.

# offers SHELL FOLDER: for each command line of standard input one line of the words that SHELL offers at its end, sorted. What a
# shell shows on its terminal goes to FOLDER/terminal. Of KEY=VALUE, KIND@PLACE and a path some shells tell but the last part:
# so do all.
offers() {
  rm -f "$2/offered"
  "offers_$1" "$2" >"$2/terminal" 2>&1
  sed 's/[^ ]*[=@]\([^ ]\)/\1/g; s/[=@/]\( \|$\)/\1/g; s,[^ ]*/,,g' "$2/offered" |
    while read -ra words; do printf '%s\n' "${words[@]}" | sort -u | xargs; done
}

# An interactive bash puts all that it offers into the line, in place of the word before the cursor.
offers_bash() {
  {
    printf '%s\n' "PS1='> ' offered='$1/offered'" "${bash_completion:-:}" "for f in '$completion'/*.bash; do . \"\$f\"; done" \
      'ask() { asked=$READLINE_LINE; }; bind -x "\"\\C-a\": ask"' \
      'tell() { [ "$READLINE_LINE" = "$asked" ] || printf %s "${READLINE_LINE#"${asked% *} "}"; echo; READLINE_LINE=; }' \
      'bind -x "\"\\C-t\": tell >>\"\$offered\""'
    sed $'s/$/\x01\e*\x14/'
    printf '\nexit\n'
  } | TERM=dumb HISTFILE='' bash --norc --noprofile -i
}

# In zsh the function that all offers pass through tells of them.
offers_zsh() {
  cat >"$1/lines"
  cat >"$1/.zshrc" <<'END_RC'
LISTMAX=99999 PS1='> ' fpath=("$completion" $fpath)
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
END_RC
  work=$1 ZDOTDIR=$1 completion=$completion script -qec 'zsh -i' /dev/null </dev/null
}

offers_fish() {
  work=$1 fish --no-config -c 'set fish_complete_path $completion
    while read -l line
      echo (complete -C $line | string replace -r "\t.*" "") >>$work/offered
    end'
}
