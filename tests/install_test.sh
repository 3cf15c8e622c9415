#!/usr/bin/env bash
# Installs into an empty prefix and works from there, also after the prefix has moved.
# usage: install_test.sh BUILD_DIR
set -euo pipefail
build=$1
scratch=$(mktemp -d)
bus=
channel=enquirer_install.$$

clean_up() {
  [ -z "$bus" ] || kill "$bus" 2>/dev/null || true
  wait
  rm -rf "$scratch"
}
trap clean_up EXIT

fail() {
  echo "$*" >&2
  exit 1
}

work_from() {
  local prefix=$1 ready line output=$scratch/report
  exec {ready}< <(exec "$prefix/bin/zunic_demo_bus" --channel "$channel")
  bus=$!
  read -r -t 60 line <&"$ready" || fail "no demo bus from $prefix"
  exec {ready}<&-

  "$prefix/bin/zunic_enquirer" -i Clock -t skeleton "$channel" >/dev/null || fail "query from $prefix: status $?"
  "$prefix/bin/zunic_enquirer" -d -o "$output" "$channel" >/dev/null 2>&1 || fail "report from $prefix: status $?"
  grep -q clockd "$output/interfaces_communicators_info.txt" || fail "the report does not know clockd: $line"

  "$prefix/bin/zunic_inspect" wait Clock --timeout 10s -c "$channel" || fail "waiting from $prefix: status $?"
  "$prefix/bin/zunic_inspect" list --app clockd -c "$channel" | grep -q Clock || fail "listing from $prefix"

  # Every one of the platform's libraries came from the prefix.
  LD_TRACE_LOADED_OBJECTS=1 "$prefix/bin/zunic_enquirer" | grep liboxa_ >"$scratch/libraries"
  [ "$(grep -cF "=> $prefix/" "$scratch/libraries")" -eq 4 ] || fail "libraries from elsewhere: $(cat "$scratch/libraries")"

  kill "$bus"
  wait "$bus" || fail "the demo bus from $prefix ended with status $?"
  bus=
  [ ! -e "/dev/shm/zunic.$channel" ] || fail "the channel is still there"
}

cmake --install "$build" --prefix "$scratch/first" >"$scratch/log" || { cat "$scratch/log" && fail "installing"; }
work_from "$scratch/first"
# Where it must not be found any more.
mv "$scratch/first" "$scratch/second place"
work_from "$scratch/second place"

for file in share/man/man1/zunic_{enquirer,inspect,demo_bus}.1.gz share/zunic_enquirer/{scenario,bus_state,bus_list}.schema.json \
  share/bash-completion/completions/zunic_{enquirer,inspect} share/zsh/site-functions/_zunic_inspect; do
  [ -s "$scratch/second place/$file" ] || fail "not installed: $file"
done
