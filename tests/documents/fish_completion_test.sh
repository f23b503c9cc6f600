#!/usr/bin/env bash
# What fish completion offers: fish_completion_test.sh SOURCE_DIRECTORY TARVEK TARVEK_TOOLS
# Status 77 (skipped) without fish.
set -euo pipefail
source_directory=$1
programs=$(dirname "$2"):$(dirname "$3")
command -v fish >/dev/null || { echo "there is no fish: its completion is not tested" >&2; exit 77; }
failures=0
empty=$(mktemp -d)
trap 'rmdir "$empty"' EXIT

# expect "WORDS OFFERED" LINE: what may follow the typed line; paths are left out.
expect() {
  local offered
  offered=$(cd "$empty" && PATH=$programs:$PATH fish --no-config -c "
    source $source_directory/completions/fish/tarvek.fish
    source $source_directory/completions/fish/tarvek-tools.fish
    complete -C '$2'" | cut -f 1 | sed '/\//d' | LC_ALL=C sort | paste -sd ' ')
  [[ $offered == "$1" ]] || {
    echo "typed '$2': offered '$offered' and not '$1'" >&2
    failures=$((failures + 1))
  }
}

expect "score settings simulate" "tarvek-tools s"
expect "check" "tarvek-tools ch"
expect "--version" "tarvek-tools --v"
expect "--activation --again --analyser --auto" "tarvek-tools run --a"
expect "ETCID ETD ETHCD" "tarvek-tools run --activation ET"
expect "lipid lumos" "tarvek-tools run --preset l"
expect "mzml mzxml" "tarvek-tools run --format mz"
expect "--help --version" "tarvek --"
expect "mzml mzxml" "tarvek -F mz"
expect "0 1" "tarvek -D run.ms1 -r "
expect "" "tarvek-tools check no-such-file"
((failures == 0))
echo "fish completion: as expected"
