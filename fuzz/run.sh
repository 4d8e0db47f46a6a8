#!/usr/bin/env bash
# Builds the fuzz harnesses (clang, ASan + UBSan, libFuzzer) and runs each
# for the given number of seconds on a copy of its seed corpus. Runs every
# harness, then exits non-zero when any of them found something; the
# reproducer is left under <build>/fuzz-runs/<harness>/.
#
# Usage: fuzz/run.sh <seconds-per-harness> [harness...]
#   harness: the stem of a fuzz/<harness>.cpp (default: all of them)
#   VECML_FUZZ_BUILD_DIR: build directory (default: build-fuzz)
#
# CI runs 10 s per harness. A long run before a release, an hour each:
#   fuzz/run.sh 3600
# or one harness for a night, e.g. the file reader on inflating files:
#   fuzz/run.sh 28800 dataset_gzip_inflated
set -euo pipefail
cd "$(dirname "$0")/.."

usage="usage: fuzz/run.sh <seconds-per-harness> [harness...]"
seconds=${1:?$usage}
[[ $seconds =~ ^[0-9]+$ ]] || { echo "$usage" >&2; exit 2; }
shift
build=${VECML_FUZZ_BUILD_DIR:-build-fuzz}

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++ -DVECML_BUILD_FUZZERS=ON \
  -DVECML_BUILD_TESTS=OFF -DVECML_BUILD_EXAMPLES=OFF -DVECML_BUILD_TOOLS=OFF \
  -DVECML_WERROR=ON
cmake --build "$build" --target vecml_fuzzers -j2

harnesses=("$@")
if ((${#harnesses[@]} == 0)); then
  for source in fuzz/*.cpp; do harnesses+=("$(basename "$source" .cpp)"); done
fi

# Longest input per harness: room for a few records, small for the
# fixed-size ones.
max_len() {
  case $1 in
    kernel_serialize | learn_rate_serialize) echo 64 ;;
    object_factory_name) echo 300 ;;
    matrix_load) echo 1024 ;;
    *) echo 4096 ;;
  esac
}

# Largest single allocation per harness: the CSV reader must never ask for
# much more than its (at most 4 KB) input describes.
malloc_limit_mb() {
  case $1 in
    csv_read) echo 16 ;;
    *) echo 512 ;;
  esac
}

export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$PWD/tests/lsan.supp}
# A smaller quarantine keeps ASan's own memory well below the RSS limit.
# Single allocations above 256 MB fail (null from malloc and nothrow new)
# instead of ending the run, so that a reader documented to allocate what
# its input declares (a dense vector record with an unknown element tag)
# meets the failure every caller can meet: it must survive it. A throwing
# new that fails still ends the run as a finding. Each run is also held to
# 512 MB of resident memory and to the allocation size malloc_limit_mb gives
# (-rss_limit_mb, -malloc_limit_mb).
export ASAN_OPTIONS=${ASAN_OPTIONS:-quarantine_size_mb=64:allocator_may_return_null=1:max_allocation_size_mb=256}
runs=$build/fuzz-runs
failed=()
for harness in "${harnesses[@]}"; do
  program=$build/fuzz/vecml_fuzz_$harness
  [[ -x $program ]] || { echo "no harness $harness" >&2; exit 2; }
  work=$runs/$harness
  rm -rf "$work"
  mkdir -p "$work/corpus"
  if [[ -d fuzz/corpus/$harness ]]; then
    cp fuzz/corpus/"$harness"/* "$work/corpus/"
  fi
  echo "== $harness: ${seconds}s"
  if "$program" -max_total_time="$seconds" -rss_limit_mb=512 \
    -malloc_limit_mb="$(malloc_limit_mb "$harness")" \
    -max_len="$(max_len "$harness")" -timeout=10 -print_final_stats=1 \
    -artifact_prefix="$work/" "$work/corpus" >"$work/log" 2>&1; then
    grep -E '^#[0-9]+[[:space:]]+DONE' "$work/log" || true
    grep -E '^stat::(number_of_executed_units|peak_rss_mb)' "$work/log" || true
  else
    tail -n 60 "$work/log"
    echo "== $harness: FINDING (log and reproducer in $work/)"
    failed+=("$harness")
  fi
done

if ((${#failed[@]})); then
  echo "== fuzzing found problems in: ${failed[*]}"
  exit 1
fi
echo "== fuzzing passed (${#harnesses[@]} harnesses, ${seconds}s each)"
