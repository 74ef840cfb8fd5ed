# Completion of ctkhost for bash. Source this file.
# What there is to complete comes from ctkhost's own help, so that it is never out of date.

# The words of the help of "$@" that look like options.
_ctkhost_options() {
  "$@" --help 2>/dev/null | sed -n '/^Options:/,/^$/p' | grep -oE -- '(^|[ ,])--?[a-z][a-z-]*' | tr -d ' ,'
}

# The identifiers of what `ctkhost list` shows of the kind $1; $2 is ctkhost, as it is typed.
_ctkhost_items() {
  local where=() i
  for ((i = 1; i < COMP_CWORD - 1; i++)); do
    if [[ ${COMP_WORDS[i]} == --extension || ${COMP_WORDS[i]} == --reader ]]; then
      where+=("${COMP_WORDS[i]}" "${COMP_WORDS[i+1]//\\/}")
    fi
  done
  "$2" "${where[@]}" list 2>/dev/null | sed -n "s/^  $1 *\([0-9a-f]*\)\( .*\|\)$/\1/p"
}

# Offers those of the lines that come, which may have blanks, that begin with $1, as they are typed there.
_ctkhost_offer_lines() {
  local line
  while IFS= read -r line; do
    [[ $1 == [\"\']* ]] || line=$(printf %q "$line")
    if [[ $line == "${1#[\"\']}"* ]]; then COMPREPLY+=("$line"); fi
  done
}

_ctkhost() {
  local program=${COMP_WORDS[0]} current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local commands command="" word
  commands=$("$program" --help 2>/dev/null | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ -n $word && " ${commands//$'\n'/ } " == *" $word "* ]]; then command=$word; fi
  done
  COMPREPLY=()
  for ((word = 1; word < COMP_CWORD; word++)); do  # behind two hyphens stands another command
    if [[ ${COMP_WORDS[word]} == -- ]]; then
      word=$([[ $previous == -- ]] && echo -c || echo -f)
      while IFS= read -r word; do COMPREPLY+=("$word"); done < <(compgen "$word" -- "$current" | sort -u)
      return
    fi
  done
  case $previous in
    --in | --digest | --out | --peer | --pin-file | --extension | --socket | --system-log)
      while IFS= read -r word; do COMPREPLY+=("$word"); done < <(compgen -f -- "$current")
      return ;;
    --algorithm)
      word=$("$program" sign --help 2>/dev/null | sed -n '/^Algorithms:/,/^[^ A]/s/^ //p') ;;
    --key) word=$(_ctkhost_items key "$program") ;;
    --certificate) word=$(_ctkhost_items cert "$program") ;;
    --reader)
      _ctkhost_offer_lines "$current" < <("$program" readers 2>/dev/null | sed -n 's/^\(card \|empty\)  //p')
      return ;;
    --size | --shared-info | --timeout | --lines | --lifetime | -t)
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
