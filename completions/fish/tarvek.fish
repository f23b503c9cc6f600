# fish completion of tarvek: options where one is due, else the values of a few options, else paths.

function __tarvek_words
    set -l words (commandline -opc)
    switch $words[-1]
        case -F
            printf '%s\n' ms1 mgf raw wiff mzxml mzml
        case -C -S -a -b -d -m -p -r
            printf '%s\n' 0 1
        case -M
            printf '%s\n' 0 1 2 3 4 5 15 250 1024
        case -W
            printf '%s\n' 2 2.5 3 4
        case -c
            printf '%s\n' 2t6 1t2 -3t-1
        case '*'
            string match -q -- '-*' (commandline -ct); or return
            printf '%s\n' --help --version
            $words[1] --help 2>/dev/null | awk '$1 ~ /^-.$/ { print $1 }'
    end
end

complete -c tarvek -a '(__tarvek_words)'
