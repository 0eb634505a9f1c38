# shellcheck shell=bash
# Sourced by checks that let a system call of the program in $1 fail, or kill the program at it. Points are lines, each
# a command that prints what is wrong; it finds an empty folder of its own in $place.
# shellcheck source-path=SCRIPTDIR
. "$(dirname "$0")/check.sh"
identifiers=$(sed -n 's/^| `\([A-Za-z-]*\)` |.*/\1/p' "$(dirname "$0")/../../docs/errors.md" |
  grep -vx 'usage\|internal-error')
discard() { rm -rf "$1" 2>/dev/null || { chmod -R u+rwx "$1" && rm -rf "$1"; }; }
trap 'discard "$scratch"' EXIT
tracing=(strace -f -qq -o /dev/null)
"${tracing[@]}" -e trace=exit_group -e inject=exit_group:retval=0 true || refuse "no strace that may trace here"
# Several times as fast, where the system has it.
[ -n "$("${tracing[@]}" --seccomp-bpf true 2>&1)" ] || tracing+=(--seccomp-bpf)

run() { "$program" "$@" </dev/null >/dev/null; }
inject() {  # FAULT CALL K COMMAND...: the fault happens before CALL is made for the K-th time
  exec "${tracing[@]}" -e trace="$2" -e inject="$2:$1:when=$3" "${@:4}"
} </dev/null
attempt() {  # COMMAND...: leaves its exit code in $code, and what it says in $place/err
  code=0
  ("$@") >/dev/null 2>"$place/err" || code=$?
} 2>/dev/null

# What a trace has from the program's own first call on, or from the call FROM up to the call TO, as "FAULT CALL K". Of
# the calls that only look or lock, which SQLite makes over and over, each EACH-th, another one for each PHASE. Asking
# for memory or for who one is cannot fail like this.
points_of() {  # EACH PHASE [FROM TO] <TRACE
  awk -F'(' -v each="$1" -v phase="$2" -v from="${3:-rt_sigaction(SIGPIPE}" -v to="${4:-nothing}" '
    { sub(/^[0-9]+ +/, "") }
    !/^[a-z]/ { next }
    index($0, from) == 1 { runs = 1 }
    index($0, to) == 1 { exit }
    { ++n[$1] }
    !runs || (n[$1] + phase) % each && $1 ~ /^(newfstatat|fcntl|pread64|readlink|brk|getpid)$/ { next }
    { print "signal=SIGKILL", $1, n[$1] }
    $1 ~ /^(brk|mmap|munmap|mprotect|madvise|get.*id|rt_sig.*|futex|exit_group)$/ { next }
    { print "error=EIO", $1, n[$1] }
    $1 ~ /write|open|mkdir|symlink|rename|sync|truncate|copy/ { print "error=ENOSPC", $1, n[$1] }
    $1 ~ /open/ { print "error=EMFILE", $1, n[$1] }'
}

# Prints what is wrong with how a command ended, and leaves in $identifier with what it refused, if it did.
judge() {  # CODE STDERR
  local lines
  mapfile -t lines <"$2"
  identifier=
  [[ ! ${lines[*]} =~ ^project-share:\ ([A-Za-z-]+):\ . ]] || identifier=${BASH_REMATCH[1]}
  case $1:${#lines[@]}:$identifier in
    0:0:) ;;
    1:1:*) [[ $'\n'$identifiers$'\n' == *$'\n'$identifier$'\n'* ]] || echo "it said: ${lines[*]}" ;;
    *) echo "exit code $1, and said: ${lines[*]}" ;;
  esac
}

# Goes through $scratch/points by two workers, with as few processes as can be: they are what takes the time.
worker() {
  place=$scratch/place.$1
  while read -ra point; do
    mkdir "$place"
    wrong=$("${point[@]}")
    wrong=${wrong:-right}
    echo "${point[*]}: ${wrong//$'\n'/, }"
    discard "$place"
  done < <(sed -n "$1~2p" "$scratch/points") >"$scratch/results.$1"
}
# Tells what was wrong and, for scripts/test, how much was survived. HALF=0 and HALF=1 are the halves of all points.
work() {  # LEAST: points; fewer mean that the calls were not found
  (($(wc -l <"$scratch/points") >= $1)) || refuse "fewer than $1 points"
  [ -z "${HALF:-}" ] || sed -n -i "$((1 + HALF))~2p" "$scratch/points"
  worker 1 &
  worker 2 &
  wait
  cat "$scratch"/results.* >"$scratch/results"
  grep -v ': right$' "$scratch/results" | head -20 || true
  for kind in "error= system calls" "SIGKILL kills"; do
    echo "survived $(grep "${kind%% *}" "$scratch/results" | grep -c ': right$') of $(grep -c "${kind%% *}" "$scratch/points") ${kind#* }"
  done
  ! grep -qv ': right$' "$scratch/results"
}
