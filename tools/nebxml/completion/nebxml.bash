# Bash completion for nebxml: commands, options, types and files.

_nebxml_files() {
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

_nebxml() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words=
  COMPREPLY=()
  case $COMP_CWORD:${COMP_WORDS[1]} in
    1:*) words='check tree stat get diff fmt set del import --help --version' ;;
    *:get) words='--attr --type --lenient --help' ;;
    *:fmt) words='--indent --declaration -o --in-place --lenient --help' ;;
    *:set) words='--attr --type -o --in-place --lenient --help' ;;
    *:del) words='--attr -o --in-place --lenient --help' ;;
    *:import) words='-o --in-place --lenient --help' ;;
    *) words='--lenient --help' ;;
  esac
  case $previous in
    --type) words='bool int8 uint8 int16 uint16 int32 uint32 int64 uint64 double' ;;
    --attr | --indent) return ;;
    -o) words= ;;
  esac
  if [[ $COMP_CWORD == 1 || $previous == --type || ($words && $word == -*) ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
  else
    _nebxml_files "$word"
  fi
}

complete -F _nebxml nebxml
