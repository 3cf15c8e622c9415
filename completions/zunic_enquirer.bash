# Completion of zunic_enquirer for bash.
# shellcheck shell=bash

# Puts into `option` the option whose value the word `previous` is waiting for, if it is. Letters may stand together,
# as in -bdo.
_zunic_enquirer_waiting_option() {
  option=
  if [[ $previous == --* ]]; then
    option=$previous
  elif [[ $previous =~ ^-[bdl]*[oirmts]$ ]]; then
    option=-${previous: -1}
  fi
}

# The names of channels are whatever somebody on the bus made them: never to be expanded, always to be quoted.
_zunic_enquirer_channels() {
  local path name
  for path in /dev/shm/zunic.*; do
    [[ -e $path ]] || continue
    printf -v name %q "${path#/dev/shm/zunic.}"
    [[ $name == "$word"* ]] && COMPREPLY+=("$name")
  done
}

_zunic_enquirer() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} option
  # Bash takes --option=value for three words.
  if [[ $word == "=" ]]; then
    word=
  elif [[ $previous == "=" ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  _zunic_enquirer_waiting_option

  COMPREPLY=()
  case $option in
  -o | --outputDir)
    compopt -o filenames
    mapfile -t COMPREPLY < <(compgen -d -- "$word")
    ;;
  -t | --checkInterfaceType)
    mapfile -t COMPREPLY < <(compgen -W "skeleton stub" -- "$word")
    ;;
  -s | --checkInterfaceRegState)
    mapfile -t COMPREPLY < <(compgen -W "invalid registered unregistered preregistered unknown" -- "$word")
    ;;
  -i | --checkInterfaceName | -r | --checkInterfaceRolename | -m | --checkDomainArg) ;;
  *)
    if [[ $word == -* && " ${COMP_WORDS[*]:0:COMP_CWORD} " != *" -- "* ]]; then
      mapfile -t COMPREPLY < <(compgen -W "-b --no_bak -d --dot -l --consoleLog -o --outputDir -i --checkInterfaceName
        -r --checkInterfaceRolename -m --checkDomainArg -t --checkInterfaceType -s --checkInterfaceRegState
        -h --help" -- "$word")
    else
      _zunic_enquirer_channels
    fi
    ;;
  esac
}

complete -F _zunic_enquirer zunic_enquirer
