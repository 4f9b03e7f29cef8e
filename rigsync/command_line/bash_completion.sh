# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=bash
#
# Completion of rigsync's commands, flags and values in bash, with or without the package
# bash-completion. The functions that list them (_rigsync_commands, _rigsync_flags, _rigsync_value,
# _rigsync_argument) are made from the command's help and follow in the installed file.

# Offers the files or folders whose names begin with $1. A word with quotes, escapes or variables is
# left to bash itself, which knows how to read it.
_rigsync_offer_paths() {
  case $1 in
    *[\\\"\'\$\~]*)
      compopt -o default 2>/dev/null
      return
      ;;
  esac
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen "$2" -- "$1")
}

# Offers the completions of a kind of value: files, folders, or a list of words.
_rigsync_offer_value() {
  local current=$1 kind=$2
  case $kind in
    file) _rigsync_offer_paths "$current" -f ;;
    folder) _rigsync_offer_paths "$current" -d ;;
    words\ *) mapfile -t COMPREPLY < <(compgen -W "${kind#words }" -- "$current") ;;
  esac
}

# Prints how many positional arguments come before the current word.
_rigsync_place() {
  local command=${COMP_WORDS[1]} place=0 at
  for ((at = 2; at < COMP_CWORD; ++at)); do
    case ${COMP_WORDS[at]} in
      =) ((++at)) ;;
      -*)
        if [[ ${COMP_WORDS[at + 1]} != = ]] &&
          [[ -n $(_rigsync_value "$command" "${COMP_WORDS[at]}") ]]; then
          ((++at))
        fi
        ;;
      *) ((++place)) ;;
    esac
  done
  echo "$place"
}

_rigsync() {
  COMPREPLY=()
  local current=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} before=$((COMP_CWORD - 1))
  if ((COMP_CWORD == 1)); then
    mapfile -t COMPREPLY < <(compgen -W "$(_rigsync_commands) $(_rigsync_flags '')" -- "$current")
    return
  fi
  # bash splits --flag=value into three words.
  if [[ $current == = ]]; then
    current=
  elif [[ ${COMP_WORDS[before]} == = ]]; then
    before=$((before - 1))
  fi
  local kind=
  if ((before > 1)); then kind=$(_rigsync_value "$command" "${COMP_WORDS[before]}"); fi
  if [[ -n $kind ]]; then
    _rigsync_offer_value "$current" "$kind"
  elif [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_rigsync_flags "$command")" -- "$current")
  else
    _rigsync_offer_value "$current" "$(_rigsync_argument "$command" "$(_rigsync_place)")"
  fi
}

complete -F _rigsync rigsync
