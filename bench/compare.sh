#!/usr/bin/env bash
# Builds vecml_bench (Release), runs it, and prints two tables of time
# ratios, each with its targets: every library on one thread (ending with
# "targets met: X of Y"), then every library on all cores (ending with
# "parallel targets met: X of Y"). The tables are made by bench/compare.py.
# The scikit-learn peers run from bench/sklearn_peers.py when python3-sklearn
# is installed; without it their rows show as not measured.
#
# Usage: bench/compare.sh [vecml_bench arguments...]
#   VECML_BENCH_BUILD_DIR: build directory (default: build-bench)
#   VECML_BENCH_REPETITIONS: runs per benchmark, the fastest counts (default 3)
#   VECML_BENCH_THREADS: threads of the second table (default: nproc)
#   VECML_BENCH_CORETYPES: OpenBLAS kernel sets to try besides its own choice
#                          (default: "Haswell Zen SkylakeX Cooperlake")
#
# OpenBLAS picks its kernels from the CPU it recognises; on a processor it
# does not know it falls back to old ones, so its benchmarks run once more
# under each OPENBLAS_CORETYPE and the fastest counts. A kernel set this
# processor cannot run (SkylakeX without AVX-512 dies of an illegal
# instruction) is reported and skipped. vecml uses the widest path the
# processor has (VECML_CPU lowers it); the table says which ran.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${VECML_BENCH_BUILD_DIR:-build-bench}
repetitions=${VECML_BENCH_REPETITIONS:-3}
threads=${VECML_BENCH_THREADS:-$(nproc)}
coretypes=${VECML_BENCH_CORETYPES:-Haswell Zen SkylakeX Cooperlake}

cmake --preset release -B "$build" -DVECML_BUILD_BENCHMARKS=ON >/dev/null
cmake --build "$build" --target vecml_bench -j2 >/dev/null
program=$build/bench/vecml_bench

results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT

# The benchmarks of the all-cores table.
parallel='^(matmul_(float|double)/(vecml|openblas|eigen)/1024|bestmatch_float/(vecml|hand_omp|eigen)/|covariance_(float|double)/(vecml|openblas|eigen)/|statistic_float/|dataset_read/(vecml|gzread)/|kmeans_float/vecml/|pca_float/vecml/)'

# run <pass> <label> <threads> <filter> [vecml_bench arguments...]: one run
# of the program into <pass>-<label>.json; a run that fails is reported and
# left out of the tables.
run() {
  local out=$results/$1-$2.json count=$3 filter=$4
  shift 4
  if ! VECML_NUM_THREADS=$count OMP_NUM_THREADS=$count \
    OPENBLAS_NUM_THREADS=$count "$program" --benchmark_filter="$filter" \
    --benchmark_repetitions="$repetitions" \
    --benchmark_out="$out" --benchmark_out_format=json "$@" >&2; then
    echo "== skipped: the $1-thread run '$2' failed on this processor" >&2
    rm -f "$out"
  fi
}

# run_all <pass> <threads> <filter> [arguments...]: the run with OpenBLAS's
# own kernels, then the OpenBLAS benchmarks under every kernel set.
run_all() {
  local pass=$1 count=$2 filter=$3
  shift 3
  run "$pass" own "$count" "$filter" "$@"
  local openblas
  openblas=$("$program" --benchmark_list_tests --benchmark_filter="$filter" |
    grep '/openblas/' | paste -sd '|' || true)
  [[ -n $openblas ]] || return 0
  for coretype in $coretypes; do
    OPENBLAS_CORETYPE=$coretype run "$pass" "$coretype" "$count" \
      "^($openblas)\$" "$@"
  done
}

# vecml's k-means benchmark leaves its clusters here for the peer's check.
export VECML_BENCH_KMEANS_LABELS=$results/kmeans-labels.txt

run_all single 1 '.*' "$@"
run_all all "$threads" "$parallel" "$@"

# peers <pass> <threads>: the scikit-learn peers (bench/sklearn_peers.py)
# into <pass>-sklearn.json; without scikit-learn, or when they fail, their
# rows stay unmeasured.
peers() {
  if ! /usr/bin/python3 -c 'import sklearn, threadpoolctl' 2>/dev/null; then
    echo "== skipped: scikit-learn peers (python3-sklearn not installed)" >&2
    return 0
  fi
  OMP_NUM_THREADS=$2 OPENBLAS_NUM_THREADS=$2 MKL_NUM_THREADS=$2 \
    /usr/bin/python3 bench/sklearn_peers.py "$1" "$results" "$repetitions" \
    "$VECML_BENCH_KMEANS_LABELS" ||
    echo "== skipped: the $1 scikit-learn peers failed" >&2
}
peers single 1
peers all "$threads"

REPETITIONS=$repetitions THREADS=$threads python3 bench/compare.py "$results"
