# SPDX-License-Identifier: Apache-2.0
# Completion of arvessa for bash: commands and options as --help lists them, file names elsewhere.
_arvessa() {
  local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} words=""
  COMPREPLY=()
  if [[ $word == -* && $COMP_CWORD -gt 1 ]]; then
    words=$("$1" "$command" --help 2>/dev/null | sed -nE 's/^  (-[a-z],)?(--[a-z-]+).*/\2/p')
  elif [[ $COMP_CWORD -eq 1 || $command == help ]]; then
    words=$("$1" --help 2>/dev/null | sed -nE '/^Subcommands:/,/^$/s/^  ([a-z]+) .*/\1/p')
    [[ $command == help ]] || words+=" --help --version"
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -o bashdefault -o default -F _arvessa arvessa
