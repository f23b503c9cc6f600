# fish completion of tarvek-tools. It asks the program itself, so it knows what this version knows.

function __tarvek_tools_subcommands
    set -l words (commandline -opc)
    printf '%s\n' --help --version
    $words[1] --help 2>/dev/null | awk '/^Subcommands:/ { found = 1; next }
        found { name = $1; sub(/^ *[^ ]+ +/, ""); print name "\t" $0 }'
end

# The words of an option that takes one of a few (--engine TEXT:{comet,xtandem}), else options where one is begun.
function __tarvek_tools_words
    set -l words (commandline -opc)
    set -l choices ($words[1] $words[2] --help 2>/dev/null | awk -v option=$words[-1] '
        { count = split($1, names, ","); for (i = 1; i <= count; ++i) if (names[i] == option && match($0, /\{[^}]*\}/)) {
            text = substr($0, RSTART + 1, RLENGTH - 2); gsub(",", "\n", text); print text; exit } }')
    if test (count $choices) -gt 0
        printf '%s\n' $choices
    else if string match -q -- '-*' (commandline -ct)
        $words[1] $words[2] --help 2>/dev/null | awk '$1 ~ /^-/ { gsub(",", "\n", $1); print $1 }'
    end
end

complete -c tarvek-tools -n 'test (count (commandline -opc)) -eq 1' -f -a '(__tarvek_tools_subcommands)'
# Where they offer nothing, fish completes paths.
complete -c tarvek-tools -n 'test (count (commandline -opc)) -gt 1' -a '(__tarvek_tools_words)'
