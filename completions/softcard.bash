# Completion of softcard for bash. Source this file.
# What there is to complete comes from softcard's own help, so that it is never out of date.

# The commands, or the options, in the help of "$@".
_softcard_commands() {
  "$@" --help 2>/dev/null | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p'
}

_softcard_options() {
  "$@" --help 2>/dev/null | sed -n '/^Options:/,/^$/p' | grep -oE -- '^  (-[a-z],)?--[a-z-]+' | tr -d ' ' | tr , '\n'
}

# Offers those of the lines that come, which may have blanks, that begin with $1, as they are typed there.
_softcard_offer_lines() {
  local line
  while IFS= read -r line; do
    [[ $1 == [\"\']* ]] || line=$(printf %q "$line")
    if [[ $line == "${1#[\"\']}"* ]]; then COMPREPLY+=("$line"); fi
  done
}

_softcard() {
  local program=${COMP_WORDS[0]} current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local command=() commands word
  commands=$(_softcard_commands "$program")
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ -n $word && " ${commands//$'\n'/ } " == *" $word "* ]]; then
      command+=("$word")
      commands=$(_softcard_commands "$program" "${command[@]}")
    fi
  done
  COMPREPLY=()
  case $previous in
    --pin-file | --import | --library)
      while IFS= read -r word; do COMPREPLY+=("$word"); done < <(compgen -f -- "$current")
      return ;;
    --key) word="rsa2048 rsa3072 rsa4096 p256 p384 p521" ;;
    --over) word="softhsm nss" ;;
    --reader)
      _softcard_offer_lines "$current" < <("$program" list 2>/dev/null | sed -n 's/^reader "\(.*\)": .*/\1/p')
      return ;;
    --parameters | --port | --serial | --slot-type | --slots | --wait)
      return ;;
    insert | unlock | delete | --card)
      word=$("$program" list 2>/dev/null | sed -n 's/^card \([^ :]*\):.*/\1/p') ;;
    *)
      if [[ $current == -* ]]; then
        word=$(_softcard_options "$program" "${command[@]}")
      else
        word=$commands
      fi ;;
  esac
  while IFS= read -r word; do COMPREPLY+=("$word"); done < <(compgen -W "$word" -- "$current" | sort -u)
}

complete -F _softcard softcard
