# Fish completion for nebxml. Commands, options and their values come from the tool's own help, and
# paths from the file on the command line.

# Prints the options of a command, one a line: its name, what it takes, and the values to choose.
function __nebxml_options
    $argv --help 2>/dev/null |
        sed -nE 's/^ +(-[a-zA-Z]+,)?(--?[a-zA-Z-]+)( ([A-Z][^ :]*)(:\{([^}]*)\})?)?( .*)?$/\2 \4 \6/p'
end

# Prints the paths of a file that begin as the word does, up to the next step. Large files would
# make the user wait, and a pipe can be read only once.
function __nebxml_paths
    set -l most 20000000
    test -f "$argv[2]"; and test (wc -c <"$argv[2]") -lt $most; or return 0
    $argv[1] tree "$argv[2]" --format paths 2>/dev/null | typed="$argv[3]" awk -F'\t' '
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
end

function __nebxml_complete
    set -l words (commandline -opc)
    set -l word (commandline -ct)
    set -l tool $words[1]
    if test (count $words) -eq 1
        $tool --help 2>/dev/null | sed '1,/^Commands/d' | awk '{print $1}'
        __nebxml_options $tool | cut -d' ' -f1
        return
    end
    set -l options (__nebxml_options $tool $words[2])
    set -l given
    set -l taken
    for each in $words[3..-1]
        if test -n "$taken"
            set taken
        else if string match -q -- '-?*' $each
            set taken (string match -r -- "^$each [A-Z]+.*" $options)
        else
            set given $given $each
        end
    end
    set -l kind
    if test -n "$taken"
        set -l parts (string split -n ' ' -- $taken)
        if test (count $parts) -gt 2
            string split , -- $parts[3]
            return
        end
        set kind $parts[2]
    else if string match -q -- '-*' $word
        string replace -r ' .*' '' -- $options
        return
    else
        set -l kinds (string split -n ' ' -- ($tool $words[2] --help 2>/dev/null |
            string replace -rf '^Usage:.*\[OPTIONS\]' ''))
        set -l position (math (count $given) + 1)
        test $position -gt (count $kinds); and set position (count $kinds)
        set kind $kinds[$position]
    end
    switch $kind
        case 'PATH*'
            __nebxml_paths $tool $given[1] $word
        case FROM-PATH
            __nebxml_paths $tool $given[-1] $word
        case 'FILE*' A B FROM
            __fish_complete_path $word
    end
end

complete -c nebxml -f -a '(__nebxml_complete)'
