# Completion of zunic_inspect for bash.
# shellcheck shell=bash

# Offers the lines of standard input that begin with `word`. They are whatever somebody on the bus made them: never to
# be expanded, always to be quoted.
_zunic_inspect_offer() {
  local name
  while IFS= read -r name; do
    printf -v name %q "$name"
    if [[ $name == "$word"* ]]; then
      COMPREPLY+=("$name")
    fi
  done
}

_zunic_inspect_channels() {
  local path
  for path in /dev/shm/zunic.*; do
    [[ -e $path ]] && printf '%s\n' "${path#/dev/shm/zunic.}"
  done
}

# The words in the column $1 of the interfaces that are registered at this moment, on the channel or in the file that
# the command line names already. What the table had to escape is not what it is called.
_zunic_inspect_names() {
  local place value source=()
  for ((place = 2; place < COMP_CWORD - 1; ++place)); do
    value=${COMP_WORDS[place + 1]}
    [[ $value == "=" ]] && value=${COMP_WORDS[place + 2]}
    case ${COMP_WORDS[place]} in
    -c | --channel | --from) source=("${COMP_WORDS[place]}" "$value") ;;
    esac
  done
  command zunic_inspect list --noheadings -o "$1" "${source[@]}" 2>/dev/null | grep -vF '\x' | grep -vx -- - | sort -u
}

# The options of the command $1.
_zunic_inspect_options() {
  local filters="--role --domain --app --pid --type --state" look="--noheadings --color"
  case $1 in
  list) echo "-c --channel --from --json --all -o --output --name --to --sender $filters $look -h --help" ;;
  show) echo "-c --channel --from --memory --json --all $look -h --help" ;;
  wait) echo "-c --channel --gone --timeout $filters -h --help" ;;
  top) echo "-c --channel --interval --color -h --help" ;;
  traffic) echo "-c --channel --for --interval --by --json --name $filters $look -h --help" ;;
  watch) echo "-c --channel --interval --for --until --ignore --json --color -h --help" ;;
  check) echo "-c --channel --from --json --all --again --fail-on --ignore --expect --explain $look -h --help" ;;
  diff) echo "-c --channel --ignore --json --all --color -h --help" ;;
  save) echo "-c --channel --as-contract -h --help" ;;
  page) echo "-c --channel --from -h --help" ;;
  metrics) echo "-c --channel --from --again --output -h --help" ;;
  *) echo "--version -h --help" ;;
  esac
}

# The codes of findings, out of the help of check.
_zunic_inspect_codes() {
  command zunic_inspect check --help 2>/dev/null | sed -n '/^Codes/,/^$/s/^  \([a-z-]*\) .*/\1/p'
}

# Offers values of the option $1 of the command $2; false when it takes none.
_zunic_inspect_value() {
  case $1 in
  --ignore | --until | --explain)
    case $2$1 in
    diff--ignore | watch--ignore) mapfile -t COMPREPLY < <(compgen -W "process interface link memory messages" -- "$word") ;;
    *) mapfile -t COMPREPLY < <(compgen -W "$(_zunic_inspect_codes)" -- "$word") ;;
    esac
    ;;
  --fail-on) mapfile -t COMPREPLY < <(compgen -W "error warning note" -- "$word") ;;
  --interval | --again | --for) mapfile -t COMPREPLY < <(compgen -W "500ms 2s 30s" -- "$word") ;;
  -c | --channel) _zunic_inspect_offer < <(_zunic_inspect_channels) ;;
  --from | --expect) compopt -o filenames && mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
  --by) mapfile -t COMPREPLY < <(compgen -W "sender receiver pair" -- "$word") ;;
  --color) mapfile -t COMPREPLY < <(compgen -W "auto always never" -- "$word") ;;
  --type) mapfile -t COMPREPLY < <(compgen -W "skeleton stub" -- "$word") ;;
  --state) mapfile -t COMPREPLY < <(compgen -W "registered preregistered any" -- "$word") ;;
  --timeout) mapfile -t COMPREPLY < <(compgen -W "10s 1m none" -- "$word") ;;
  --name | --role | --domain | --app | --pid) _zunic_inspect_offer < <(_zunic_inspect_names "${1#--}") ;;
  --to | --sender) _zunic_inspect_offer < <(_zunic_inspect_names name) ;;
  --memory) ;;
  -o | --output)
    [[ $2 == metrics ]] && compopt -o filenames && mapfile -t COMPREPLY < <(compgen -f -- "$word")
    return 0
    ;;
  *) return 1 ;;
  esac
}

_zunic_inspect() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command=
  ((COMP_CWORD == 1)) || command=${COMP_WORDS[1]}
  # Bash takes --option=value for three words.
  if [[ $word == "=" ]]; then
    word=
  elif [[ $previous == "=" ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi

  COMPREPLY=()
  if _zunic_inspect_value "$previous" "$command"; then
    return
  fi
  if [[ $word == -* && " ${COMP_WORDS[*]:0:COMP_CWORD} " != *" -- "* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_zunic_inspect_options "$command")" -- "$word")
    return
  fi
  case $command in
  "") mapfile -t COMPREPLY < <(compgen -W "list show wait top traffic watch check diff save page metrics" -- "$word") ;;
  list) mapfile -t COMPREPLY < <(compgen -W "interfaces communicators processes memory messages" -- "$word") ;;
  show | wait) _zunic_inspect_offer < <(_zunic_inspect_names name) ;;
  save | page | diff) compopt -o filenames && mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
  esac
}

complete -F _zunic_inspect zunic_inspect
