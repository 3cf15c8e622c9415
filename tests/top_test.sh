#!/usr/bin/env bash
# Uses zunic_inspect top as people do: on a terminal, by keys, looking at the screen.
# usage: top_test.sh ZUNIC_INSPECT DEMO_BUS SCENARIO
set -euo pipefail
inspect=$1
demo_bus=$2
scenario=$3
scratch=$(mktemp -d)
channel=enquirer_top.$$
terminal=(tmux -u -S "$scratch/terminal" -f /dev/null)
bus=

clean_up() {
  "${terminal[@]}" kill-server 2>/dev/null || true
  [ -z "$bus" ] || kill "$bus" 2>/dev/null || true
  wait
  rm -rf "$scratch" "/dev/shm/zunic.$channel"*
}
trap clean_up EXIT

fail() {
  printf '%s\nThe screen:\n' "$*" >&2
  "${terminal[@]}" capture-pane -p >&2
  exit 1
}

host() {
  exec {ready}< <(exec "$demo_bus" --channel "$channel" "$1")
  bus=$!
  read -r -t 60 line <&"$ready" || fail "no demo bus: $line"
}

# The processes of the bus are its children.
child_of_bus() {
  local process
  for process in $(<"/proc/$bus/task/$bus/children"); do
    [ "$(<"/proc/$process/comm")" != "$1" ] || echo "$process"
  done
}

is_living() { grep -qs ') [^ZX] ' "/proc/$1/stat"; }

keys() {
  local key
  for key; do "${terminal[@]}" send-keys "$key"; done
}

type_line() {
  "${terminal[@]}" send-keys -l "$1"
  keys Enter
}

# Waits until the screen, its lines separated by newlines, fits the pattern; with -e for how it is coloured, too.
sees() {
  local how=-p
  [ "$1" != -e ] || { how=-pe && shift; }
  for ((i = 0; i < 600; ++i)); do
    seen=$("${terminal[@]}" capture-pane $how)
    # shellcheck disable=SC2053
    [[ $seen != $1 ]] || return 0
    sleep 0.05
  done
  fail "not seen: $1"
}

# Closes what is open. Keys that follow at once would make another key of it.
escape() {
  keys Escape
  sees "$1"
}

size() { "${terminal[@]}" resize-window -x "$1" -y "$2"; }

host "$scenario"
export LC_ALL=C.UTF-8 PATH=${inspect%/*}:$PATH
unset NO_COLOR
"${terminal[@]}" new-session -d -x 100 -y 30 "exec env PS1='READY ' bash --noprofile --norc -i"
sees '*READY*'
type_line "stty -g >'$scratch/before'; echo as it was"
type_line "zunic_inspect top -c $channel; echo status \$?"

# What is dead is red, and what shows only over time is found.
sees -e $'*processes 6  \e\\[31mdead 1*'
sees '*findings:  3 errors  3 warnings*'

# The tables. Each is told by what only it shows.
sees "$channel*interfaces 12 *processes 6 *dead 1 *links 7*messages/s 0*slots 32*free 18*findings:*+PID*clockd*processes 1/6*"
keys 2
sees '*+ID NAME*Clock *Provider*navigator*interfaces 1/12*'
keys 3
sees '*+MANAGER*256*4096*memory 1/2*'
keys 4
sees -e '*+SLOT*invalid-index:32*messages 1/14*'
[[ $seen != *$'\e'*36m* ]] || fail "messages are marked as new when one turns to them"
keys 5
sees '*+SENDER NAME*MSG/S*STILL*traffic 1/*'
keys Enter
sees '*SENDER *STAYS *-*STILL *1*'
escape '*traffic 1/*'

# Sorted by NAME and reversed, the chosen line stays: it has the third, then the second name in the alphabet.
keys 2 s
sees '*+NAME*Audio*Clock*Tuner*interfaces 3/12*'
keys r
sees '*-NAME*Tuner*Clock*Audio*interfaces 10/12*'
keys '<' r End
sees '*+ID*interfaces 12/12*'
keys Up PageUp Home Down
sees '*interfaces 2/12*'

keys / t u n
sees '*+ID*'$'\n'' 10 Tuner *'$'\n'' 12 Tuner *filter: tun_*'
[[ $seen != *Clock* ]] || fail "a line that does not fit the filter"
keys Enter Home Down
sees '*interfaces 2/2 matching "tun"*'
keys Enter
sees '*Tuner *skeleton*used by*Tuner *Dashboard*Esc close*'
escape '*interfaces 2/2*'
escape '*interfaces 12/12*'
"${terminal[@]}" send-keys -l /x
"${terminal[@]}" send-keys -l ü
keys BSpace y
sees '*filter: xy_*'
escape '*interfaces */12  h help*'
keys Enter
sees '*Esc close*'
keys 3
sees '*memory 1/2*h help*'
keys 2 h
sees '*pause or continue*Columns of interfaces:*'
keys h 1 Enter
sees '*APP            clockd*Interfaces:*Clock*Communicators:*INTERFACES*'
escape '*processes 1/6*'
keys 4 Down Down Enter
sees '*written*Receivers:*Route*Dashboard*Chain:*3 data*5 data*'
escape '*messages 3/14*'

# Keys that come at once, before a look has filled the table.
at_once() { "${terminal[@]}" send-keys "$@"; }
at_once 3 Down Enter
sees '*BLOCKSIZE      4096*Esc close*'
escape '*memory 2/2*'

keys p
sees '*paused*'
at_once 2 h
sees '*Columns of interfaces:*'
escape '*paused*+ID NAME*interfaces */12*'
keys p d
"${terminal[@]}" send-keys -l soon
keys Enter
sees '*every 1s*expected a time*'
keys d
type_line 1m
sees '*every 60s*'

# What has changed is bold. No look comes between, but that of the key.
keys 1
sees '*processes 1/6*'
logger=$(child_of_bus loggerd)
kill -9 "$logger"
while is_living "$logger"; do sleep 0.05; done
keys 1
sees -e $'*\e\\[1m*dead 2*'
keys d
type_line 200ms
sees '*every *00ms*'

size 40 10
sees '*processes *findings:*+PID*processes 1/6*'
mapfile -t lines <<<"$seen"
[[ ${lines[4]} == *+PID* && ${lines[3]} == findings:* ]] || fail "the head is not half of the screen at most"
keys h End
sees '*COMMUNICATORS *APP *Esc close*'
escape '*processes 1/6*'
keys Enter
sees '*PID  *LIVING *Esc close*'
escape '*processes 1/6*'
keys 2 End
sees '* 12 Tuner *interfaces 12/12*'
keys Home Right
sees '*+ID ROLE *interfaces 1/12*'
keys Right
sees '*+ID DOMAIN*interfaces*'
size 30 8
sees 'needs at least 40 x 10*'
size 100 30
sees '*slots 32*interfaces*Enter details*'

# The channel goes, and comes back with names that would do harm.
kill "$bus"
wait "$bus" || true
sees '*no usable channel*interfaces 0/0*'
keys d
type_line 1m
cat >"$scratch/hostile.json" <<'END'
{"processes": [{"name": "p", "communicators": [{"interfaces": [
  {"name": "\u001b[2Jgone", "role": "A", "type": "skeleton", "version": "1.0.0"},
  {"name": "\u754c\u754c", "role": "B", "type": "skeleton", "version": "1.0.0"}]}]}]}
END
host "$scratch/hostile.json"
keys 2 Left Left
sees '*messages/s - *interfaces 2/2*'
keys d
type_line 200ms
sees $'*interfaces 2 *\n*\\x1b\\[2Jgone A *\n* 界界        B *'

# It gives the terminal back, and takes it again.
keys C-z
sees '*Stopped*'
[[ $seen != *findings* ]] || fail "the screen stays when it is stopped"
size 90 20
type_line 'fg; echo status $?'
sees '*findings:*interfaces 2/2*'
keys C-z
sees '*Stopped*'
type_line 'fg; echo status $?'
sees '*findings:*interfaces 2/2*'
sees '!(*Stopped*)'

# Another bus takes the place of this one.
keys 1 Enter
sees $'*APP            p\n*Esc close*'
kill "$bus"
wait "$bus" || true
sees '*no usable channel*'
cat >"$scratch/full.json" <<'END'
{"messageSlots": 1, "messages": [{"state": "message", "sender": 90, "receivers": [70]}],
 "processes": [{"name": "q", "communicators": [{"interfaces": [
  {"id": 90, "name": "Only", "role": "A", "type": "skeleton", "version": "1.0.0"}]}]}]}
END
host "$scratch/full.json"
sees -e $'*slots 1 *\e\\[31mfree 0*No longer present.*'
keys 4 Enter
sees '*Receivers:*ID NAME *70 missing*'
keys q
sees '*as it was*status 0*'
type_line "stty -g >'$scratch/after'; zunic_inspect top -c $channel; echo stopped by \$?"
sees '*findings:*'
cmp "$scratch/before" "$scratch/after" || fail "the terminal is not as it was"
keys C-c
sees '*stopped by 0*'

type_line "TERM=dumb zunic_inspect top -c $channel; TERM=none zunic_inspect top -c $channel; echo status \$?, twice"
sees '*zunic_inspect: the terminal "dumb" *watch or list*zunic_inspect: the terminal "none" *status 2, twice*'
status=0
zunic_inspect top -c "$channel" >"$scratch/out" 2>"$scratch/err" || status=$?
[[ $status == 2 && ! -s $scratch/out && $(<"$scratch/err") == *terminal*watch*list* ]] || fail "without a terminal: $status"
