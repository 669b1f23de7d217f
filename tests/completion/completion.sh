#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Checks what bash (alone, and with the package bash-completion), zsh and fish offer at the end of a command line.
# Usage: completion.sh FOLDER_OF_PROGRAMS SOURCE_FOLDER
set -eu
export LC_ALL=C.UTF-8
programs=$(realpath "$1")
completion=$(realpath "$2")/share/completion
# shellcheck source=tests/completion/ask.sh
. "$2/tests/completion/ask.sh"
top=$(mktemp -d)
trap 'rm -rf "$top"' EXIT
mkdir "$top/bin" "$top/shell" "$top/here"
cd "$top/here"
touch new.svu net.svu other
bad=0
complain() { echo "FAILED: $*" >&2; bad=1; }

# Completion must not run a tool that talks to a board, and hides the messages of sv_board, which it asks for words.
for program in sv_updater sv_ctl sv_image; do
  printf '#!/bin/sh\ntouch %s/was-run\n' "$top" >"$top/bin/$program"
done
printf '#!/bin/sh\necho NOISE >&2\nexec %s/sv_board "$@"\n' "$programs" >"$top/bin/sv_board"
chmod +x "$top"/bin/*
export PATH=$top/bin:$PATH

# LINE|OFFERS. tests/tree/documents.sh compares the full tables of words.
cat >"$top/table" <<'END_TABLE'
sv_updater --update --bus --prob|--probe
sv_updater --update n|net.svu new.svu
sv_updater --reset-delay |
sv_updater --set store --upda|--update --update-with-reset --update-without-disable --update-without-reset
sv_updater --set-mode teko2-pse off --set-mode w1validity |ignore normal
sv_ctl update n|net.svu new.svu
sv_ctl update --backup new|new.svu
sv_ctl --lock=new|new.svu
sv_ctl --bus 0 --json wat|watch
sv_ctl status --addr |0x08
sv_ctl --addr 0x08 watch --csv --cou|--count
sv_ctl watch --interval |
sv_ctl doctor n|
sv_image pack --region0 ot|other
sv_image pack --swid |
sv_image pack ot|other
sv_image info --format s|srec
sv_image pack --region0 other -o new|new.svu
sv_image extract --region |0 1
sv_image extract --region=|0 1
sv_image extract --region 0 new|new.svu
sv_image diff new.svu ot|other
sv_board run --set gpio|gpio_exported
sv_board run --set gpio_exported=|off on
sv_board run --set poe=|
sv_board run --set poe=0 --fault s|skip slow
sv_board run --fault fail@co|commit
sv_board run --fault slow=100@er|erase
sv_board run -- sv_c|sv_ctl
sv_board run --set poe=0 -- sv_updater --set-mode led2 g|gn
sv_board run --fault nack@1 -- sv_image extract --region |0 1
sv_board run -- cat new|new.svu
END_TABLE
# Only the package loads a foreign completion on demand.
export BASH_COMPLETION_USER_DIR=$top/user
mkdir -p "$top/user/completions"
echo "complete -W 'one two' foreign" >"$top/user/completions/foreign"
echo 'sv_board run --fast -- foreign t|two' >"$top/foreign"

check_offers "$top/table" "$top/shell" bash bash_with_package zsh fish
check_offers "$top/foreign" "$top/shell" bash_with_package
[ ! -e "$top/was-run" ] || complain "completion has run a program"
exit "$bad"
