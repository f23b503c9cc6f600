#!/usr/bin/env bash
# The line after zsh completion: zsh_completion_test.sh SOURCE_DIRECTORY TARVEK TARVEK_TOOLS
# Status 77 (skipped) without zsh.
set -euo pipefail
command -v zsh >/dev/null || { echo "there is no zsh: its completion is not tested" >&2; exit 77; }
SOURCE_DIRECTORY=$1 PATH=$(dirname "$2"):$(dirname "$3"):$PATH exec zsh -f "$(dirname "$0")/zsh_completion_test.zsh"
