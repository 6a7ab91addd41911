#!/usr/bin/env bash
# Builds the libFuzzer targets (build/fuzz, clang-14 with AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs every target for SECONDS (default 60)
# on a scratch copy of its corpus in fuzz/corpus/, a few targets at a time.
#
#   scripts/fuzz.sh [--parallel N] [--work DIR] [--only TARGET]... [SECONDS]
#
#   --parallel N  targets running at the same time (default 2)
#   --work DIR    scratch corpora, logs and crash inputs (default build/fuzz/runs);
#                 emptied first, when it is new, empty or an earlier work directory
#   --only T      run target T only (repeatable)
#
# Prints, per target, the executions, executions per second, the final
# coverage (cov: edges, ft: features) and the corpus size; exits non-zero when
# any target crashed, leaked, timed out, ran out of memory or broke an
# invariant. The input that did it is kept in DIR/TARGET/ (crash-*, leak-*,
# timeout-*, oom-*); replay it with build/fuzz/fuzz/TARGET FILE.
set -euo pipefail
cd "$(dirname "$0")/.."

parallel=2
work=build/fuzz/runs
only=()
seconds=60
while (($#)); do
  case "$1" in
    --parallel) parallel=$2; shift 2 ;;
    --work) work=$2; shift 2 ;;
    --only) only+=("$2"); shift 2 ;;
    -h|--help) sed -n '2,/^set -e/p' "$0" | sed '$d; s/^# \{0,1\}//'; exit 0 ;;
    [0-9]*) seconds=$1; shift ;;
    *) echo "fuzz.sh: unknown argument $1" >&2; exit 2 ;;
  esac
done

# Longest input per target: a few blocks of a Vek file for the readers, a
# few hundred colour words, a small scene, a file and a handful of calls.
declare -A max_len=([fuzz_vek_readers]=65536 [fuzz_mrgb]=16384 [fuzz_scene_export]=32768 [fuzz_bbox_calls]=8192)
targets=(fuzz_vek_readers fuzz_scene_export fuzz_mrgb fuzz_bbox_calls)
((${#only[@]})) && targets=("${only[@]}")
for target in "${targets[@]}"; do
  [[ -n ${max_len[$target]:-} ]] || { echo "fuzz.sh: no target $target" >&2; exit 2; }
done

flags="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer"
cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 \
  -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags" \
  -DOMBREL_FUZZ=ON -DOMBREL_BUILD_TESTS=OFF >/dev/null
cmake --build build/fuzz --target "${targets[@]}"

# Only a directory this script made (it leaves a marker there) is emptied.
if [[ -d $work && -n $(ls -A "$work") && ! -e $work/.fuzz-work ]]; then
  echo "fuzz.sh: $work is not empty and not a fuzz work directory" >&2
  exit 2
fi
rm -rf "$work"
mkdir -p "$work"
touch "$work/.fuzz-work"
work=$(cd "$work" && pwd)

# One target: its own scratch corpus (new inputs land there, the repository's
# corpus stays as it is), log and crash directory.
run_target() {
  local target=$1 dir="$work/$1"
  mkdir -p "$dir/corpus"
  cp fuzz/corpus/"$target"/* "$dir/corpus/"
  local status=0
  build/fuzz/fuzz/"$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
    -max_len="${max_len[$target]}" -dict=fuzz/vek.dict -print_final_stats=1 \
    -artifact_prefix="$dir/" "$dir/corpus" >"$dir/log" 2>&1 &
  local pid=$!
  wait "$pid" || status=$?
  # A run that stopped abnormally leaves its scratch files (named after its
  # process) behind.
  rm -rf "/dev/shm/ombrel-fuzz-$pid" "/tmp/ombrel-fuzz-$pid"
  echo "$status" >"$dir/status"
}

echo "== Fuzzing ${#targets[@]} targets for ${seconds}s each, $parallel at a time; logs in $work"
running=0
for target in "${targets[@]}"; do
  if ((running >= parallel)); then
    wait -n || true
    running=$((running - 1))
  fi
  run_target "$target" &
  running=$((running + 1))
done
wait

# Per target: the last status line libFuzzer printed ("#N DONE cov: ... ft:
# ... corp: ...") and its final statistics, and for a failure what broke.
report() {
  printf '%-18s %-9s %12s %8s %7s %7s %14s %8s\n' target result executions exec/s cov ft corpus rss_mb
  local target dir log status result last
  for target in "${targets[@]}"; do
    dir="$work/$target"
    log="$dir/log"
    status=$(cat "$dir/status")
    result=ok
    if [[ $status != 0 ]]; then
      result=FAILED
      grep -q 'ERROR: libFuzzer: timeout' "$log" && result=TIMEOUT
      grep -q 'ERROR: libFuzzer: out-of-memory' "$log" && result=OOM
      grep -q 'ERROR: LeakSanitizer' "$log" && result=LEAK
      grep -q 'INVARIANT BROKEN' "$log" && result=INVARIANT
      grep -q 'ERROR: AddressSanitizer\|runtime error:' "$log" && result=SANITIZER
    fi
    last=$(grep -E '^#[0-9]+[[:space:]]' "$log" | tail -1 || true)
    field() { sed -n "s/.* $1: *\([^ ]*\).*/\1/p" <<<"$last"; }
    stat() { sed -n "s/^stat::$1: *//p" "$log"; }
    printf '%-18s %-9s %12s %8s %7s %7s %14s %8s\n' "$target" "$result" "$(stat number_of_executed_units)" \
      "$(stat average_exec_per_sec)" "$(field cov)" "$(field ft)" "$(field corp)" "$(stat peak_rss_mb)"
    if [[ $status != 0 ]]; then
      grep -E -A3 'INVARIANT BROKEN|ERROR: (AddressSanitizer|LeakSanitizer|libFuzzer)|runtime error:' "$log" |
        head -20 | sed 's/^/    /'
      ls "$dir" | grep -E '^(crash|leak|timeout|oom|slow-unit)-' | sed "s|^|    input: $dir/|" || true
    fi
  done
}

report | tee "$work/summary.txt"
for target in "${targets[@]}"; do
  [[ $(cat "$work/$target/status") == 0 ]] || exit 1
done
