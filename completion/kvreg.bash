# Completion of kvreg for bash: verbs, switches, keys, names of values and files. Verbs and switches are asked from
# "kvreg --help", keys and values from the registry, so both are always true.
#
# A key may be begun without quotes, its backslashes doubled or single, or within single or double quotes. A key that
# has sub-keys is offered twice, with a backslash at the end too, so that the word stays open. Names with control
# characters cannot stand in a command line and are not offered.

# The word as kvreg would get it. Outside of quotes a single backslash before a letter, digit or underscore is one of
# a key, too: what it would do in the shell is of no use.
__kvreg_plain() {
  local raw=$1 plain= quote= i c next
  for ((i = 0; i < ${#raw}; i++)); do
    c=${raw:i:1} next=${raw:i+1:1}
    if [[ $quote == "'" ]]; then
      if [[ $c == "'" ]]; then quote=; else plain+=$c; fi
    elif [[ $c == "\\" && $quote == '"' && $next != [\"\\\$\`] ]]; then
      plain+=$c
    elif [[ $c == "\\" && -z $quote && ( -z $next || $next == [[:alnum:]_] ) ]]; then
      plain+=$c
    elif [[ $c == "\\" ]]; then
      plain+=$next
      ((i++))
    elif [[ $c == "$quote" ]]; then
      quote=
    elif [[ -z $quote && $c == [\"\'] ]]; then
      quote=$c
    else
      plain+=$c
    fi
  done
  REPLY=$plain
}

# The text as it is written behind that opening quote.
__kvreg_quoted() {
  local text=$1 i c
  case $2 in
    "'") REPLY=${text//"'"/"'\\''"} ;;
    '"')
      REPLY=
      for ((i = 0; i < ${#text}; i++)); do
        c=${text:i:1}
        [[ $c == [\"\\\$\`] ]] && REPLY+="\\"
        REPLY+=$c
      done
      ;;
    *)
      REPLY=
      for ((i = 0; i < ${#text}; i++)); do
        c=${text:i:1}
        [[ $c == [[:alnum:]_./,+@%-] || $c > $'\x7f' ]] || REPLY+="\\"
        REPLY+=$c
      done
      ;;
  esac
}

# Offers the texts that begin as the word does, in any case.
__kvreg_offer() {
  local text
  for text; do
    [[ $text == *[[:cntrl:]]* ]] && continue
    [[ ${text,,} == "${word,,}"* ]] || continue
    __kvreg_quoted "$text" "$quote"
    COMPREPLY+=("$REPLY")
  done
}

__kvreg_keys() {
  if [[ $word != *\\* ]]; then
    if [[ ${word,,} == hkey* ]]; then
      __kvreg_offer HKEY_LOCAL_MACHINE HKEY_CURRENT_USER HKEY_CLASSES_ROOT HKEY_USERS HKEY_CURRENT_CONFIG
    else
      __kvreg_offer HKLM HKCU HKCR HKU HKCC
    fi
    [[ ${#COMPREPLY[@]} == 1 ]] && COMPREPLY+=("${COMPREPLY[0]}$separator")
    return
  fi
  local parent=${word%\\*} path top= name with_more=
  local -a names=()
  while IFS= read -r -d '' path; do
    if [[ -z $top ]]; then
      top=$path
      continue
    fi
    name=${path:${#top}+1}
    if [[ $name == *\\* ]]; then
      with_more+="${name%%\\*}\\"
    else
      names+=("$parent\\$name")
      with_more+="\\"
    fi
  done < <("$program" tree --levels 2 -0 "$parent" 2>/dev/null </dev/null)
  __kvreg_offer "${names[@]}"
  [[ ${#COMPREPLY[@]} == 1 ]] || return
  __kvreg_plain "$quote${COMPREPLY[0]}"
  name=${REPLY##*\\}
  [[ $with_more == *"\\$name\\"* ]] && COMPREPLY+=("${COMPREPLY[0]}$separator")
}

__kvreg_values() {
  local key name type data
  local -a names=()
  while IFS= read -r -d '' key && IFS= read -r -d '' name && IFS= read -r -d '' type && IFS= read -r -d '' data; do
    [[ -n $type && -n $name ]] && names+=("$name")
  done < <("$program" query -0 "$1" 2>/dev/null </dev/null)
  __kvreg_offer "${names[@]}"
}

# What stands at a place of the usage line, such as KEY.
__kvreg_place() {
  case $1 in
    KEY | KEY1 | KEY2 | SOURCE | TARGET) __kvreg_keys ;;
    A | B | HIVE)
      __kvreg_keys
      [[ ${#COMPREPLY[@]} -gt 0 ]] || compopt -o default
      ;;
    FILE | FOLDER) compopt -o default ;;
    OWNER) COMPREPLY=($(compgen -u -- "$word")) ;;
    GROUP) COMPREPLY=($(compgen -g -- "$word")) ;;
  esac
}

# Whether the switch has a text behind it, by the help of the verb.
__kvreg_takes_text() {
  local line names
  while read -r line; do
    names=${line%% *}
    [[ $line == "$names TEXT"* && ",$names," == *",$1,"* ]] && return 0
  done <<<"$help"
  return 1
}

_kvreg() {
  local program=$1 word quote= separator="\\\\" help i before= switch= place=0 first=
  local -a places=()
  COMPREPLY=()
  case ${COMP_WORDS[COMP_CWORD]} in
    "'"*) quote="'" separator="\\" ;;
    '"'*) quote='"' ;;
  esac
  __kvreg_plain "${COMP_WORDS[COMP_CWORD]}"
  word=$REPLY
  if ((COMP_CWORD == 1)); then
    COMPREPLY=($(compgen -W "$("$program" --help 2>/dev/null | sed -n 's/^  \([a-z]*\) .*/\1/p') --help --version" -- "$word"))
    return
  fi
  help=$("$program" "${COMP_WORDS[1]}" --help 2>/dev/null) || return
  for ((i = 2; i < COMP_CWORD; i++)); do
    before=${COMP_WORDS[i]}
    if [[ -n $switch ]]; then
      switch=
    elif [[ $before == [-/]?* ]]; then
      # /v is -v, and /ve is --ve.
      case $before in
        /?) before=-${before:1} ;;
        /*) before=--${before:1} ;;
      esac
      if __kvreg_takes_text "${before,,}"; then switch=${before,,}; fi
    else
      __kvreg_plain "$before"
      [[ -n $first ]] || first=$REPLY
      ((place++))
    fi
  done
  case $switch in
    '') ;;
    -v | --value) __kvreg_values "$first"; return ;;
    -t | --type)
      __kvreg_offer REG_NONE REG_SZ REG_EXPAND_SZ REG_BINARY REG_DWORD REG_DWORD_BIG_ENDIAN REG_LINK REG_MULTI_SZ \
        REG_QWORD
      return
      ;;
    *) return ;;
  esac
  if [[ $word == -* ]]; then
    COMPREPLY=($(compgen -W "$(sed -n 's/^  \(-[^ ]*\).*/\1/p' <<<"$help" | tr ',' ' ')" -- "$word"))
    return
  fi
  read -r -a places <<<"$(sed -n 's/^Usage: kvreg [a-z]* \[OPTIONS\]//p' <<<"$help" | tr -d '[]')"
  ((${#places[@]} > 0)) || return
  # The last place takes all that follow.
  ((place < ${#places[@]})) || place=$((${#places[@]} - 1))
  __kvreg_place "${places[place]}"
}

complete -F _kvreg kvreg
