# Types lines and a tab into a new shell and asks it for the result of each.
# SOURCE_DIRECTORY: of the project, in the environment.
zmodload zsh/zpty
zpty shell zsh -f -i
typeset -i failures=0

# answer KEYS: types them; ANSWER holds what the shell then shows in double angle brackets.
answer() {
  local text
  zpty -w -n shell $1
  zpty -r -m shell text '*<<*>>*' || exit 1
  ANSWER=${${text##*<<}%%>>*}
}

zpty -w shell "PS1= fpath=($SOURCE_DIRECTORY/completions/zsh \$fpath); cd /; autoload -Uz compinit && compinit -u -D"
zpty -w shell 'show() { print -rn -- "<<$BUFFER>>"; BUFFER= }; zle -N show; bindkey "^X" show; print @rea""dy@'
zpty -r -m shell REPLY '*@ready@*' || exit 1

# expect "LINE WITH WHAT WAS ADDED" LINE
expect() {
  answer "$2"$'\t\x18'
  [[ $ANSWER == $1 ]] && return
  print -u2 -r -- "typed '$2': became '$ANSWER' and not '$1'"
  failures+=1
}

expect "tarvek-tools check " "tarvek-tools ch"
expect "tarvek-tools --version " "tarvek-tools --v"
expect "tarvek-tools run --calibrate " "tarvek-tools run --cal"
expect "tarvek-tools run --auto " "tarvek-tools run --au"
expect "tarvek-tools run --activation ETHCD " "tarvek-tools run --activation ETH"
expect "tarvek-tools run --preset velos " "tarvek-tools run --preset v"
expect "tarvek-tools mgf --engine comet " "tarvek-tools mgf --engine co"
expect "tarvek-tools nothing" "tarvek-tools nothing"
expect "tarvek -F mzxml " "tarvek -F mzx"
expect "tarvek --version " "tarvek --v"
expect "tarvek -M 1024 " "tarvek -M 10"
expect "tarvek -D /usr/share/" "tarvek -D /usr/shar"
zpty -d shell
(( failures == 0 )) || exit 1
print "zsh completion: as expected"
