#!/usr/bin/env bash
# Types at real shells, on a pseudo-terminal, with the tab key.
# usage: completion_test.sh COMPLETIONS_DIR
set -euo pipefail
completions=$1
scratch=$(mktemp -d)
channel=enquirer_completion.$$
objects=/dev/shm/zunic.$channel

clean_up() {
  [ -z "${TERMINAL_PID:-}" ] || kill "$TERMINAL_PID" 2>/dev/null || true
  wait
  rm -rf "$scratch" "$objects"*
}
trap clean_up EXIT

fail() {
  printf '%s: %s\n' "$shell" "$*" >&2
  exit 1
}

# Puts into `seen` what appears up to the next prompt, which ends with a bell.
await_prompt() {
  IFS= read -r -t 60 -d $'\a' seen <&"${TERMINAL[0]}" || fail "no prompt behind '$seen'"
}

# Types the arguments and puts what appears until they have reached the tool into `seen`.
type_arguments() {
  local all=
  printf 'zunic_enquirer %s\n' "$1" >&"${TERMINAL[1]}"
  until [[ $all == *GOT*END* ]]; do
    await_prompt
    all+=$seen
  done
  seen=$all
}

expect() {
  type_arguments "$1"
  local got=${seen##*GOT}
  [ "${got%%END*}" = "$2" ] || fail "'$1' became ${got%%END*} and not $2"
}

test_shell() {
  TERMINAL_PID=
  coproc TERMINAL { exec script -qfc "$1" /dev/null 2>&1; }
  await_prompt
  expect $'--no\t' '<--no_bak>'
  expect $'-d --cons\t' '<-d><--consoleLog>'
  expect $'-t sk\t' '<-t><skeleton>'
  expect $'--checkInterfaceType st\t' '<--checkInterfaceType><stub>'
  expect $'-bdt sk\t' '<-bdt><skeleton>'
  expect $'-i Clock -s pre\t' '<-i><Clock><-s><preregistered>'
  expect $'--checkInterfaceRegState=unr\t' '<--checkInterfaceRegState=unregistered>'
  expect $'-o pl\treports' '<-o><place one/reports>'

  expect "-i Clock $channel.o"$'\t' "<-i><Clock><$channel.one>"
  expect "-- $channel.t"$'\t' "<--><$channel.two>"
  type_arguments "-b $channel."$'\t\t'
  [[ $seen == *"$channel.one"*"$channel.two"* && $seen != *zunic.* ]] || fail "offered $seen"

  # No part of a channel's name is shell code.
  expect "$channel.x"$'\t' "<$channel.x \$(touch pwned); \`touch pwned\`>"
  [ ! -e pwned ] || fail "the name of a channel was executed"
  kill "$TERMINAL_PID"
  wait "$TERMINAL_PID" 2>/dev/null || true
}

cd "$scratch"
mkdir "place one"
touch "place two is a file" "$objects.one" "$objects.two" "$objects.x \$(touch pwned); \`touch pwned\`"
# In the place of the tool: tells what the shell would have passed to it.
cat >.common <<'END'
PS1=$'READY\a' PS2=
zunic_enquirer() { printf 'GOT'; printf '<%s>' "$@"; printf 'END\n'; }
END
{ cat .common && echo "source '$completions/zunic_enquirer.bash'"; } >.bash
{
  cat .common
  echo "fpath=('$completions' \$fpath)"
  echo "autoload -Uz compinit && compinit -u -D; setopt nobeep; unsetopt prompt_sp"
} >.zshrc
echo 'set bell-style none' >.inputrc
export TERM=dumb ZDOTDIR=$scratch INPUTRC=$scratch/.inputrc SHELL=/bin/sh

shell=bash
test_shell "stty cols 250; exec bash --noprofile --rcfile .bash -i"
if shell=zsh && command -v zsh >/dev/null; then
  test_shell "stty cols 250; exec zsh --no-globalrcs -i"
fi
