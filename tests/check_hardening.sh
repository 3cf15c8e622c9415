#!/usr/bin/env bash
# Checks that every program and library below a directory is hardened as in Debian's packages.
# usage: check_hardening.sh DIRECTORY
set -euo pipefail
export LC_ALL=C

fail() {
  echo "$*" >&2
  exit 1
}

# Whether the output of readelf with this option contains the words.
has() {
  readelf --wide "$1" "$file" | grep -- "$2" >/dev/null || fail "$file lacks $3"
}

programs=0
while read -r file; do
  readelf -h "$file" >/dev/null 2>&1 || continue
  has -h 'Type: *DYN' "a position that is independent"
  has -d 'NOW' "immediate binding"
  has -l 'GNU_RELRO' "read-only relocations"
  case $(uname -m) in
    x86_64)
      has -n 'SHSTK' "the mark of the shadow stack"
      [ "$(objdump -d "$file" | grep -c endbr64)" -gt 4 ] || fail "$file lacks protected branches"
      ;;
  esac
  if readelf -d "$file" | grep 'Flags:.*PIE' >/dev/null; then
    programs=$((programs + 1))
    has --dyn-syms '__stack_chk_fail' "protection of the stack"
  fi
  if [ "${file##*/}" = zunic_inspect ]; then
    has --dyn-syms '__[a-z]*_chk@' "checked C functions"
  fi
done < <(find "$1" -type f)
[ "$programs" -ge 2 ] || fail "$1 contains $programs position-independent programs"
