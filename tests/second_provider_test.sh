#!/usr/bin/env bash
# Builds the tool, hardened as in the package, against another provider of its platform, without platform/ and all that
# hosts channels in reach.
# usage: second_provider_test.sh SOURCE_DIR CXX_COMPILER
set -euo pipefail
source=$1 compiler=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
  echo "$*" >&2
  exit 1
}

configure_and_build() {
  cmake -G Ninja -DCMAKE_CXX_COMPILER="$compiler" "$@" >"$scratch/log" 2>&1 || { cat "$scratch/log" && fail "configuring"; }
  cmake --build "$scratch/build" >"$scratch/log" 2>&1 || { cat "$scratch/log" && fail "building"; }
}

configure_and_build -S "$source/tests/second_provider" -B "$scratch/build"
cmake --install "$scratch/build" --prefix "$scratch/platform" >/dev/null
rm -rf "$scratch/build"

mkdir "$scratch/source"
cp -r "$source"/{CMakeLists.txt,app,channel,cmake,completions,docs,enquirer,inspect,json,writer} "$scratch/source"
configure_and_build -S "$scratch/source" -B "$scratch/build" -DZUNIC_PLATFORM_DIR="$scratch/platform" -DZUNIC_HARDENING=ON
cmake --install "$scratch/build" --prefix "$scratch/installed" >/dev/null
"$source/tests/check_hardening.sh" "$scratch/installed"

# On a target the platform's libraries lie where the loader looks for them.
export LD_LIBRARY_PATH=$scratch/platform/lib
cd "$scratch"

expect_status() {
  local expected=$1 status=0
  shift
  installed/bin/zunic_enquirer "$@" >output 2>errors || status=$?
  [ "$status" -eq "$expected" ] || fail "zunic_enquirer $*: status $status, not $expected: $(cat output errors)"
}

expect_line() {
  grep -qF -- "$2" "$1" || fail "$1 lacks: $2 $(cat "$1")"
}

expect_status 0 -i Elsewhere -r Provider -t skeleton memory
expect_status 104 -i Elsewhere -r Provider -t stub memory
expect_status 103 -i Elsewhere nowhere
expect_status 105 -t stub memory
expect_status 2 -o no/parent memory
expect_line errors "second provider: 2"

expect_status 0 -d -o report memory
report=report/interfaces_communicators_info
for line in "InterfaceName:   Elsewhere" "Connected Stub: User(4)" "0 | ping" "zunic_enquirer" "BlockSize 4321"; do
  expect_line $report.txt "$line"
done
expect_line report/messages.txt "77"
expect_line $report.dot "Elsewhere"
[ "$(find installed -name '*demo*' -o -name 'liboxa*')" = "" ] || fail "what belongs to platform/ was installed"
