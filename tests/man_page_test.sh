#!/usr/bin/env bash
# Reads the manual pages as a careful user does: formats them, checks them against the programs, and runs the recipes
# exactly as they are printed.
# usage: man_page_test.sh SOURCE_DIR TOOL DEMO_BUS
set -euo pipefail
pages=$1/docs/man
small=$1/demo/scenarios/small.json
tool=$2
demo_bus=$3
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
  [ -s "$1.sh" ] || display zunic_enquirer "recipe: $1" >"$1.sh"
  [ -s "$1.sh" ] || fail "there is no recipe $1"
  status=0
  sh "$1.sh" >out 2>err || status=$?
}

expect() {
  [ "$status" -eq "$1" ] || fail "status $status, not $1: $(cat out err)"
  [ $# -lt 2 ] || grep -qF -- "$2" out err || fail "no \"$2\" in: $(cat out err)"
}

check_format() {
  local page name warnings
  for page in "$pages"/*.1; do
    warnings=$(MANWIDTH=100 LC_ALL=C.UTF-8 man --warnings -l "$page" 2>&1 >formatted)
    [ -z "$warnings" ] || fail "$page: $warnings"
    name=$(basename "$page" .1)
    # Every long option of the help text is on the page.
    case $name in zunic_demo_bus) "$demo_bus" --help ;; *) "$tool" --help ;; esac | grep -oE -- '--[A-Za-z_]+' |
      sort -u >options
    [ -s options ] || fail "$name --help shows no options"
    while read -r option; do
      grep -qF -- "$option" formatted || fail "$page does not explain $option"
    done <options
  done
}

# What is printed is what is run: the display of the source and that of the page are the same lines.
check_displays() {
  local name line
  man -l "$pages/zunic_enquirer.1" | sed 's/^ *//' >formatted
  for name in wait providers graph compare minute; do
    display zunic_enquirer "recipe: $name" | sed 's/^ *//' >lines
    [ -s lines ] || fail "there is no recipe $name"
    while read -r line; do
      grep -qxF -- "$line" formatted || fail "not printed like this: $line"
    done <lines
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

cd "$scratch"
PATH=$(dirname "$tool"):$PATH
check_format
check_displays
check_scenario
check_waiting
check_asking
check_reports
check_dumping
