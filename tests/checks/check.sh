# shellcheck shell=bash
# Sourced by checks of the program in $1: a folder of their own, in memory if that can be, and rows that are counted.
set -euo pipefail
program=$(realpath "$1")
export PATH=$(dirname "$program"):$PATH
[ ! -w /dev/shm/. ] || export TMPDIR=/dev/shm
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
rows=0 failed=0
verdict() { # ROW PROBLEM
  rows=$((rows + 1))
  [ -z "$2" ] || { failed=$((failed + 1)) && printf '%.200s: %s\n' "${1@Q}" "$2" && head -n 5 "$scratch"/{out,err} 2>&1; } || true
}
check() { # WHAT COMMAND...
  local problem=
  "${@:2}" || problem="not so"
  verdict "$1" "$problem"
}
edit() { "$program" --quiet "$@"; }
edits() { local line words && for line; do read -ra words <<<"$line" && edit "${words[@]}"; done; }
each() { local words line && for line in "${@:2}"; do read -ra words <<<"$line" && expect "$1" "${words[@]}"; done; } # OUTCOME LINE...
content() { find "$1" -printf '%P %y %m %i %l\n' | sort && find "$1" -type f -print0 | sort -z | xargs -0 sha256sum; }
is() { [ "$1" = "$2" ] || { printf 'is     %s\nshould %s\n' "$1" "$2"; return 1; }; }
refuse() { echo "$*"; exit 1; }
end() { echo "$((rows - failed)) passed, $failed failed" && [ "$failed" -eq 0 ]; }
