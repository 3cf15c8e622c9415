#!/usr/bin/env bash
# Types at real shells, on a pseudo-terminal, with the tab key.
# usage: completion_test.sh COMPLETIONS_DIR ZUNIC_INSPECT DEMO_BUS
set -euo pipefail
completions=$1
inspect=$2
demo_bus=$3
scratch=$(mktemp -d)
channel=enquirer_completion.$$
objects=/dev/shm/zunic.$channel
bus=

clean_up() {
  [ -z "${TERMINAL_PID:-}" ] || kill "$TERMINAL_PID" 2>/dev/null || true
  [ -z "$bus" ] || kill "$bus" 2>/dev/null || true
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
  printf '%s %s\n' "$program" "$1" >&"${TERMINAL[1]}"
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

  program=zunic_enquirer
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

  program=zunic_inspect
  expect $'sh\t' '<show>'
  expect $'list pro\t' '<list><processes>'
  expect $'list --nohead\t' '<list><--noheadings>'
  expect $'wait --type sk\t' '<wait><--type><skeleton>'
  expect $'save sta\t' '<save><state.json>'
  expect "show -c $channel.t"$'\t' "<show><-c><$channel.two>"
  # The names that are on the bus now, and no part of them as shell code.
  expect "show -c $channel.zbus Clo"$'\t' "<show><-c><$channel.zbus><Clock>"
  expect "wait --channel=$channel.zbus --role Pro"$'\t' "<wait><--channel=$channel.zbus><--role><Provider>"
  expect "wait Clock -c $channel.zbus Hos"$'\t' "<wait><Clock><-c><$channel.zbus><Hostile;\$(>pwned)\`>pwned\`>"
  type_arguments "show -c $channel.zbus "$'\t\t'
  [[ $seen == *Clock*Hostile* && $seen != *Unseen* ]] || fail "offered $seen"
  [ ! -e pwned ] || fail "a name was executed"
  kill "$TERMINAL_PID"
  wait "$TERMINAL_PID" 2>/dev/null || true
}

cd "$scratch"
mkdir "place one"
touch "place two is a file" state.json "$objects.one" "$objects.two" "$objects.x \$(touch pwned); \`touch pwned\`"
cat >scenario.json <<'END'
{"processes": [{"name": "p", "communicators": [{"interfaces": [
  {"name": "Clock", "role": "Provider", "type": "skeleton", "version": "1.0.0"},
  {"name": "Hostile;$(>pwned)`>pwned`", "role": "User", "type": "stub", "version": "1.0.0"},
  {"name": "Unseen\u001b[31m", "role": "User", "type": "stub", "version": "1.0.0"}]}]}]}
END
exec {ready}< <(exec "$demo_bus" --channel "$channel.zbus" scenario.json)
bus=$!
read -r -t 60 line <&"$ready" || { echo "no demo bus: $line" && exit 1; }
# In the place of the programs: tells what the shell would have passed to them.
cat >.common <<'END'
PS1=$'READY\a' PS2=
zunic_enquirer() { printf 'GOT'; printf '<%s>' "$@"; printf 'END\n'; }
zunic_inspect() { zunic_enquirer "$@"; }
END
{ cat .common && echo "source '$completions/zunic_enquirer.bash'; source '$completions/zunic_inspect.bash'"; } >.bash
{
  cat .common
  echo "fpath=('$completions' \$fpath)"
  echo "autoload -Uz compinit && compinit -u -D; setopt nobeep; unsetopt prompt_sp"
} >.zshrc
echo 'set bell-style none' >.inputrc
export PATH=${inspect%/*}:$PATH TERM=dumb ZDOTDIR=$scratch INPUTRC=$scratch/.inputrc SHELL=/bin/sh

shell=bash
test_shell "stty cols 250; exec bash --noprofile --rcfile .bash -i"
if shell=zsh && command -v zsh >/dev/null; then
  test_shell "stty cols 250; exec zsh --no-globalrcs -i"
fi
