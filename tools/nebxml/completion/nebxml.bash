# Bash completion for nebxml. Commands, options and their values come from the tool's own help, and
# paths from the file on the command line.

# Prints the options of a command, one a line: its name, what it takes, and the values to choose.
_nebxml_options() {
  "$@" --help 2>/dev/null |
    sed -nE 's/^ +(-[a-zA-Z]+,)?(--?[a-zA-Z-]+)( ([A-Z][^ :]*)(:\{([^}]*)\})?)?( .*)?$/\2 \4 \6/p'
}

# Prints what the option that stands before the word takes, if it takes anything.
_nebxml_argument() {
  _nebxml_options "$1" "$2" | awk -v option="$3" '$1 == option {print $2, $3}'
}

# Prints the paths of a file that begin as the word does, up to the next step. Large files would
# make the user wait, and a pipe can be read only once.
_nebxml_paths() {
  local tool=$1 file=$2
  local -r most=20000000
  [[ -f $file && $(wc -c <"$file") -lt $most ]] || return 0
  "$tool" tree "$file" --format paths 2>/dev/null | typed=$3 awk -F'\t' '
    BEGIN {
      typed = ENVIRON["typed"]
      escape = sprintf("%c%c", 92, 92)
      step = "^[.]?([^." escape "]|" escape ".)*"
    }
    substr($1, 1, length(typed)) == typed {
      rest = substr($1, length(typed) + 1)
      match(rest, step)
      path = typed substr(rest, 1, RLENGTH)
      if (!seen[path]++) print path
    }'
}

# Prints the positional arguments before the word, one a line.
_nebxml_positionals() {
  local index argument
  for ((index = 2; index < COMP_CWORD; ++index)); do
    argument=${COMP_WORDS[index]}
    if [[ $argument == -?* ]]; then
      [[ -n $(_nebxml_argument "${COMP_WORDS[0]}" "${COMP_WORDS[1]}" "$argument" |
        tr -d ' ') ]] && ((++index))
    else
      printf '%s\n' "$argument"
    fi
  done
}

_nebxml_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

# Takes words from standard input. Unlike compgen -W, it never expands them.
_nebxml_choose() {
  local word=$1 line
  while IFS= read -r line; do
    [[ $line == "$word"* ]] && COMPREPLY+=("$(printf %q "$line")")
  done
}

_nebxml() {
  local tool=${COMP_WORDS[0]} command=${COMP_WORDS[1]} word=${COMP_WORDS[COMP_CWORD]}
  local takes choices kind
  local -a given kinds
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    _nebxml_choose "$word" < <("$tool" --help 2>/dev/null | sed '1,/^Commands/d' | awk '{print $1}'
      _nebxml_options "$tool" | cut -d' ' -f1)
    return
  fi
  read -r takes choices < <(_nebxml_argument "$tool" "$command" "${COMP_WORDS[COMP_CWORD - 1]}")
  mapfile -t given < <(_nebxml_positionals)
  if [[ -n $choices ]]; then
    _nebxml_choose "$word" < <(tr , '\n' <<<"$choices")
  elif [[ $takes == FILE ]]; then
    _nebxml_files "$word"
  elif [[ $takes == PATH* ]]; then
    compopt -o nospace 2>/dev/null
    _nebxml_choose "$word" < <(_nebxml_paths "$tool" "${given[0]}" "$word")
  elif [[ -n $takes ]]; then
    return
  elif [[ $word == -* ]]; then
    _nebxml_choose "$word" < <(_nebxml_options "$tool" "$command" | cut -d' ' -f1)
  else
    read -ra kinds < <("$tool" "$command" --help 2>/dev/null | sed -n 's/^Usage:.*\[OPTIONS\]//p')
    kind=${kinds[${#given[@]}]:-${kinds[-1]}}
    case $kind in
      PATH | FROM-PATH)
        compopt -o nospace 2>/dev/null
        _nebxml_choose "$word" < <(_nebxml_paths "$tool" "${given[-1]}" "$word")
        ;;
      NAME* | VALUE*) ;;
      *) _nebxml_files "$word" ;;
    esac
  fi
}

complete -F _nebxml nebxml
