# Completion of ctkhost for bash. Source this file.
# What there is to complete comes from ctkhost's own help, so that it is never out of date.

# The words of the help of "$@" that look like options.
_ctkhost_options() {
  "$@" --help 2>/dev/null | sed -n '/^Options:/,/^$/p' | grep -oE -- '(^|[ ,])--?[a-z][a-z-]*' | tr -d ' ,'
}

_ctkhost() {
  local program=${COMP_WORDS[0]} current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local commands command="" word
  commands=$("$program" --help 2>/dev/null | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ -n $word && " ${commands//$'\n'/ } " == *" $word "* ]]; then command=$word; fi
  done
  COMPREPLY=()
  case $previous in
    --in | --out | --peer | --pin-file | --extension | --socket | --system-log)
      while IFS= read -r word; do COMPREPLY+=("$word"); done < <(compgen -f -- "$current")
      return ;;
    --algorithm)
      word=$("$program" sign --help 2>/dev/null | sed -n '/^Algorithms:/,/^[^ A]/s/^ //p') ;;
    --reader | --key | --certificate | --size | --shared-info | --timeout | --lines)
      return ;;
    *)
      if [[ $current == -* ]]; then
        word=$(_ctkhost_options "$program" $command; [[ -z $command ]] || _ctkhost_options "$program")
      else
        word=$([[ -n $command ]] || echo "$commands")
      fi ;;
  esac
  while IFS= read -r word; do COMPREPLY+=("$word"); done < <(compgen -W "$word" -- "$current" | sort -u)
}

complete -F _ctkhost ctkhost
