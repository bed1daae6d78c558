#!/usr/bin/env bash
# Prints what a shell offers for the last word of a command line, one offer a line:
#   completions.sh bash|zsh|fish FOLDER nebxml WORD...
# FOLDER holds the completions. The tool is $nebxml.
shell=$1 folder=$2
shift 2
nebxml() { "$nebxml" "$@"; }
export nebxml
case $shell in
  bash)
    . "$folder/nebxml.bash"
    COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
    _nebxml 2>/dev/null
    # The offers are quoted: what the shell makes of them counts.
    for offer in "${COMPREPLY[@]}"; do eval "printf '%s\n' $offer"; done
    ;;
  zsh)
    # compadd works inside of the line editor only, where it keeps what begins as the word does.
    # shellcheck disable=SC2016
    zsh -fc '
      nebxml() { "$nebxml" "$@" }
      compadd() { while [[ $1 != -- ]] shift; shift
        for offer; do [[ $offer == ${words[CURRENT]}* ]] && print -r -- $offer; done }
      _files() { print -rl -- ${words[CURRENT]}*(N) }
      words=("${@[2,-1]}") CURRENT=$(($# - 1))
      . $1/_nebxml' zsh "$folder" "$@"
    ;;
  fish)
    # shellcheck disable=SC2016
    fish --no-config -c '
      function nebxml; $nebxml $argv; end
      source $argv[1]/nebxml.fish
      complete -C "$argv[2..-1]"' "$folder" "$@" | cut -f1
    ;;
esac
