#!/usr/bin/env bash
# Reads the manual pages as a careful user does: formats them, checks them against the programs, and runs the recipes
# exactly as they are printed.
# usage: man_page_test.sh SOURCE_DIR TOOL INSPECT DEMO_BUS
set -euo pipefail
pages=$1/docs/man
small=$1/demo/scenarios/small.json
tool=$2
inspect=$3
demo_bus=$4
scratch=$(mktemp -d)
bus=
loop=
export channel=enquirer_man.$$

clean_up() {
  # shellcheck disable=SC2086
  [ -z "$bus$loop" ] || kill $bus $loop 2>/dev/null || true
  wait
  rm -rf "$scratch"
}
trap clean_up EXIT

fail() {
  echo "$*" >&2
  exit 1
}

start_bus() {
  local ready line
  exec {ready}< <(exec "$demo_bus" --channel "$channel" "$1")
  bus=$!
  read -r -t 60 line <&"$ready" || fail "no demo bus from $1"
  exec {ready}<&-
  echo "$line" >bus_line
}

stop_bus() {
  kill "$bus"
  wait "$bus" || fail "the demo bus ended with status $?"
  bus=
}

# The display that follows the comment, as the formatter prints it.
display() {
  local page=$1 name=$2
  sed -n "/^\.\\\\\" $name\$/,/^\.Ed/p" "$pages/$page.1" | grep -v '^\.' | sed 's/\\-/-/g; s/\\e/\\/g'
}

run_recipe() {
  [ -s "$1.sh" ] || display "${2:-zunic_enquirer}" "recipe: $1" >"$1.sh"
  [ -s "$1.sh" ] || fail "there is no recipe $1"
  status=0
  sh "$1.sh" >out 2>err || status=$?
}

expect() {
  [ "$status" -eq "$1" ] || fail "status $status, not $1: $(cat out err)"
  [ $# -lt 2 ] || grep -qF -- "$2" out err || fail "no \"$2\" in: $(cat out err)"
}

# All that the program says of its options.
help_of() {
  local command
  case $1 in
  zunic_demo_bus) "$demo_bus" --help ;;
  zunic_enquirer) "$tool" --help ;;
  zunic_inspect)
    "$inspect" --help >commands
    cat commands
    sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p' commands | while read -r command; do
      "$inspect" "$command" --help | sed '1,/^$/d' # Examples use other programs, too.
    done
    ;;
  *) fail "nobody asks $1 for help" ;;
  esac
}

check_format() {
  local page name warnings
  for page in "$pages"/*.1; do
    warnings=$(MANWIDTH=100 LC_ALL=C.UTF-8 man --warnings -l "$page" 2>&1 >formatted)
    [ -z "$warnings" ] || fail "$page: $warnings"
    name=$(basename "$page" .1)
    # Every long option of the help text is on the page.
    help_of "$name" | grep -oE -- '--[A-Za-z_]+(-[a-z]+)*' | sort -u >options
    [ -s options ] || fail "$name --help shows no options"
    while read -r option; do
      grep -qF -- "$option" formatted || fail "$page does not explain $option"
    done <options
  done
}

# What is printed is what is run: the display of the source and that of the page are the same lines.
check_displays() {
  local page name line
  for page in zunic_enquirer zunic_inspect; do
    man -l "$pages/$page.1" | sed 's/^ *//' >formatted
    sed -n 's/^\.\\" recipe: //p' "$pages/$page.1" >names
    [ -s names ] || fail "there are no recipes on $page"
    while read -r name; do
      display "$page" "recipe: $name" | sed 's/^ *//' >lines
      while read -r line; do
        grep -qxF -- "$line" formatted || fail "not printed like this: $line"
      done <lines
    done <names
  done
}

check_scenario() {
  display zunic_demo_bus scenario >printed.json
  "$demo_bus" --check printed.json >out || fail "the scenario of the manual page is not sound"
  start_bus printed.json
  "$tool" -i Clock -r Display1 -t stub "$channel" >out || fail "the scenario of the manual page has no Display1"
  stop_bus
}

# The bus comes up while the script waits, or while it waits again; then there is a bus without the service.
check_waiting() {
  (sleep 0.5 && exec "$demo_bus" --channel "$channel" "$small" >bus_line) &
  bus=$!
  for _ in 1 2 3; do
    run_recipe wait
    [ "$status" -eq 46 ] || break
  done
  expect 0
  stop_bus
  echo '{}' >empty.json
  start_bus empty.json
  run_recipe wait
  expect 47 "timed out: Clock is not there"
  stop_bus
}

check_asking() {
  run_recipe providers
  expect 2 "could not ask about Clock: status 46"
  start_bus "$small"
  run_recipe providers
  expect 0
  stop_bus
  sed 's/"name": "Route", "role": "Provider"/"name": "Rout", "role": "Provider"/; s,Route/Provider,Rout/Provider,' \
    "$small" >no_route.json
  start_bus no_route.json
  run_recipe providers
  expect 1 "no provider of Route"
}

# The bus is still the one without a provider of Route.
check_reports() {
  run_recipe graph
  expect 0
  grep -q clockd bus.svg || fail "no clockd in the picture"

  mkfifo keys
  sh <(display zunic_enquirer "recipe: compare") <keys >out 2>err &
  loop=$!
  exec {enter}>keys
  until grep -q "Press Enter" out; do
    kill -0 "$loop" || fail "comparing: $(cat out err)"
    sleep 0.01
  done
  stop_bus
  start_bus "$small"
  echo >&"$enter"
  status=0
  wait "$loop" || status=$?
  loop=
  expect 1 "+InterfaceName:   Route"
}

# A minute is over at once, until there are three dumps.
check_dumping() {
  mkdir bin
  # shellcheck disable=SC2016
  printf '%s\n' '#!/bin/sh' 'echo "$@" >>slept' '[ "$(ls dumps | wc -l)" -lt 3 ] || kill "$PPID"' \
    'exec /bin/sleep 1' >bin/sleep
  chmod +x bin/sleep
  PATH=$PWD/bin:$PATH run_recipe minute
  [ "$(find dumps -name messages.txt | wc -l)" -eq 3 ] || fail "not three dumps: $(find dumps) $(cat out err)"
  [ "$(sort -u slept)" = 60 ] || fail "slept for $(cat slept)"
  stop_bus
}

# A script that starts before the bus does, and one that gives up.
check_starting() {
  (sleep 0.5 && exec "$demo_bus" --channel "$channel" "$small" >bus_line) &
  bus=$!
  run_recipe startup zunic_inspect
  expect 0
  ! grep . out err || fail "the start-up script said something"
}

# The bus is the small one.
check_inspecting() {
  run_recipe users zunic_inspect
  expect 0 dashboard
  [ "$(wc -l <out)" -eq 3 ] || fail "not three users of Clock: $(cat out)"
  run_recipe waiting zunic_inspect
  expect 0
  [ "$(cat out)" = "$(printf '%s\n' '5 1' '6 1' '7 1' '9 1' '10 1' '11 1' '70 1')" ] || fail "waiting: $(cat out)"
  run_recipe died zunic_inspect
  expect 1 "a process has died"
}

# Two nights on one bus, and one after a new start.
check_nights() {
  run_recipe yesterday zunic_inspect
  expect 0
  run_recipe yesterday zunic_inspect
  expect 0
  ! grep . out || fail "the same bus differs"
  stop_bus
  start_bus "$small"
  run_recipe yesterday zunic_inspect
  expect 1 restarted
}

# What the node exporter would read.
check_metrics() {
  export textfiles=$PWD
  run_recipe metrics zunic_inspect
  expect 0
  grep -qxF "zunic_up{channel=\"$channel\"} 1" zunic.prom || fail "no figures: $(cat zunic.prom)"
}

# A contract of a healthy bus, which another bus breaks.
check_contract() {
  start_bus "$1/demo/scenarios/healthy.json"
  "$inspect" save --as-contract contract.json -c "$channel" || fail "no contract"
  run_recipe contract zunic_inspect
  expect 0
  stop_bus
  start_bus "$small"
  run_recipe contract zunic_inspect
  expect 1 contract-missing
  stop_bus
}

# Each hour is over at once: the fifth save takes the place of the first.
check_saving() {
  # shellcheck disable=SC2016
  printf '%s\n' '#!/bin/sh' 'echo "$@" >>slept' '[ "$(wc -l <slept)" -lt 5 ] || kill "$PPID"' >bin/sleep
  # shellcheck disable=SC2016
  printf '%s\n' '#!/bin/sh' 'expr $(cat slept | wc -l) % 4' >bin/date
  chmod +x bin/date
  : >slept
  PATH=$PWD/bin:$PATH run_recipe hour zunic_inspect
  [ "$(ls states)" = "$(printf '%s\n' 0.json 1.json 2.json 3.json)" ] || fail "saved: $(ls states) $(cat err)"
  "$inspect" list --from states/0.json >out || fail "saved something else"
  stop_bus
}

cd "$scratch"
PATH=$(dirname "$tool"):$PATH
check_format
check_displays
check_scenario
check_waiting
check_asking
check_reports
check_dumping
check_starting
check_inspecting
check_nights
check_metrics
check_saving
check_contract "$1"
