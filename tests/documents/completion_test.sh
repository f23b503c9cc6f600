#!/usr/bin/env bash
# What bash completion offers: completion_test.sh SOURCE_DIRECTORY TARVEK TARVEK_TOOLS
set -euo pipefail
source_directory=$1
tarvek=$2
tools=$3
# shellcheck source=/dev/null
source "$source_directory/completions/bash/tarvek"
# shellcheck source=/dev/null
source "$source_directory/completions/bash/tarvek-tools"
failures=0

# expect FUNCTION "WORDS OFFERED" WORD...: the last WORD is being typed.
expect() {
  local function=$1 expected=$2 offered
  shift 2
  COMP_WORDS=("$@")
  COMP_CWORD=$(($# - 1))
  "$function" "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}" || true # status 1: no word fits
  offered=$(printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort | paste -sd ' ')
  [[ $offered == "$expected" ]] || {
    echo "typed '${*:2}': offered '$offered' and not '$expected'" >&2
    failures=$((failures + 1))
  }
}

expect _tarvek_tools "score settings simulate" "$tools" s
expect _tarvek_tools "check" "$tools" ch
expect _tarvek_tools "run" "$tools" ru
expect _tarvek_tools "psms" "$tools" ps
expect _tarvek_tools "--decoy-prefix" "$tools" psms --d
expect _tarvek_tools "--activation --again --analyser --auto" "$tools" run --a
expect _tarvek_tools "ETCID ETD ETHCD" "$tools" run --activation ET
expect _tarvek_tools "mzml mzxml" "$tools" run --format mz
expect _tarvek_tools "" "$tools" nothing
expect _tarvek_tools "--ms2" "$tools" simulate --m
expect _tarvek_tools "--charge-range" "$tools" check --c
expect _tarvek_tools "mascot metamorpheus msfragger msgf" "$tools" mgf --engine m
expect _tarvek_tools "" "$tools" check results/r
expect _tarvek "--help --version" "$tarvek" --
expect _tarvek "mzml mzxml" "$tarvek" -F mz
expect _tarvek "0 1" "$tarvek" -D run.ms1 -r ""
expect _tarvek "-W" "$tarvek" -W
expect _tarvek "" "$tarvek" run.m
[[ $(complete -p tarvek tarvek-tools) == *_tarvek*_tarvek_tools* ]]
((failures == 0))
echo "completion: as expected"
