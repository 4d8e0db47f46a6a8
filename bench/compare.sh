#!/usr/bin/env bash
# Builds vecml_bench (Release), runs it, and prints one table of time
# ratios vecml / peer, each with its target, ending with "targets met: X of Y".
#
# Usage: bench/compare.sh [vecml_bench arguments...]
#   VECML_BENCH_BUILD_DIR: build directory (default: build-bench)
#   VECML_BENCH_REPETITIONS: runs per benchmark, the fastest counts (default 3)
#   VECML_BENCH_CORETYPES: OpenBLAS kernel sets to try besides its own choice
#                          (default: "Haswell Zen SkylakeX Cooperlake")
#
# Everything runs on one thread. OpenBLAS picks its kernels from the CPU it
# recognises; on a processor it does not know it falls back to old ones, so
# its benchmarks run once more under each OPENBLAS_CORETYPE and the fastest
# counts. Needs python3 for the table.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${VECML_BENCH_BUILD_DIR:-build-bench}
repetitions=${VECML_BENCH_REPETITIONS:-3}
coretypes=${VECML_BENCH_CORETYPES:-Haswell Zen SkylakeX Cooperlake}

cmake --preset release -B "$build" -DVECML_BUILD_BENCHMARKS=ON >/dev/null
cmake --build "$build" --target vecml_bench -j2 >/dev/null
program=$build/bench/vecml_bench

results=$(mktemp -d)
trap 'rm -rf "$results"' EXIT
export OPENBLAS_NUM_THREADS=1 OMP_NUM_THREADS=1

run() {  # run <output name> <filter> [extra arguments...]
  local out=$1 filter=$2
  shift 2
  "$program" --benchmark_filter="$filter" \
    --benchmark_repetitions="$repetitions" \
    --benchmark_out="$results/$out.json" --benchmark_out_format=json \
    "$@" >&2
}

run default '.*' "$@"
if "$program" --benchmark_list_tests | grep -q '/openblas/'; then
  for coretype in $coretypes; do
    OPENBLAS_CORETYPE=$coretype run "openblas-$coretype" '/openblas/' "$@"
  done
fi

REPETITIONS=$repetitions python3 - "$results" <<'PYTHON'
import glob, json, os, sys

# Fastest repetition of every benchmark; OpenBLAS runs remember their kernel
# set ("own" is the one OpenBLAS chose itself).
best = {}
for path in sorted(glob.glob(os.path.join(sys.argv[1], "*.json"))):
    stem = os.path.basename(path)[:-5]
    label = stem[len("openblas-"):] if stem.startswith("openblas-") else "own"
    with open(path) as f:
        report = json.load(f)
    for run in report["benchmarks"]:
        if run.get("run_type", "iteration") != "iteration" or run.get("error_occurred"):
            continue
        name = run.get("run_name", run["name"])
        scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}[run["time_unit"]]
        seconds = run["real_time"] * scale
        key = name
        if key not in best or seconds < best[key][0]:
            best[key] = (seconds, label if "/openblas/" in name else "")

def fastest_peer(group, size, impls):
    found = [(best[f"{group}/{impl}/{size}"][0], impl, best[f"{group}/{impl}/{size}"][1])
             for impl in impls if f"{group}/{impl}/{size}" in best]
    return min(found) if found else None

def show_time(seconds):
    for unit, scale in (("s", 1), ("ms", 1e-3), ("us", 1e-6)):
        if seconds >= scale:
            return f"{seconds / scale:8.2f} {unit}"
    return f"{seconds / 1e-9:8.1f} ns"

targets = []
for t in ("float", "double"):
    for n, limit in ((64, 1.5), (256, 1.5), (512, 1.1), (1024, 1.1)):
        targets.append((f"matrix product {t} n={n}", f"matmul_{t}", n, ("openblas", "eigen"), limit))
targets.append(("matrix x vector float n=4096", "matvec_float", 4096, ("openblas",), 1.1))
for d in (16, 64):
    targets.append((f"best match 200k items d={d}", "bestmatch_float", d, ("hand",), 1.3))
targets.append(("dataset read 1M x 16", "dataset_read", 1000000, ("gzread",), 1.3))
targets.append(("dataset write 1M x 16", "dataset_write", 1000000, ("gzwrite",), 1.1))
targets.append(("covariance 100k x 64", "covariance_float", 64, ("openblas", "eigen"), 1.25))

with open("/proc/cpuinfo") as f:
    cpu = next((line.split(":", 1)[1].strip() for line in f if line.startswith("model name")), "unknown CPU")
print(f"machine: {cpu}, {os.cpu_count()} logical cores; fastest of {os.environ.get('REPETITIONS', '?')} runs each, one thread")
print()
print(f"{'measurement':32} {'vecml':>11} {'peer':>11}  {'peer is':20} {'ratio':>6} {'target':>7}  met")
met = measured = 0
for title, group, size, impls, limit in targets:
    ours = best.get(f"{group}/vecml/{size}")
    peer = fastest_peer(group, size, impls)
    if ours is None or peer is None:
        print(f"{title:32} {'':>11} {'':>11}  {'(not measured)':20} {'':>6} {'<= ' + str(limit):>7}  -")
        continue
    ratio = ours[0] / peer[0]
    name = peer[1] + (f" ({peer[2]})" if peer[2] else "")
    ok = ratio <= limit
    measured += 1
    met += ok
    print(f"{title:32} {show_time(ours[0]):>11} {show_time(peer[0]):>11}  {name:20} {ratio:6.2f} {'<= ' + str(limit):>7}  {'yes' if ok else 'NO'}")

print()
print("other measurements (no target; vecml time, then each peer's time and vecml / peer)")
for name in sorted(best):
    group, impl, size = name.split("/")
    if impl == "vecml" and not any(group == t[1] and str(size) == str(t[2]) for t in targets):
        # The hand loop does the same arithmetic; the libraries may reorder it.
        peers = [fastest_peer(group, size, (impl,)) for impl in ("hand", "gzread", "openblas", "eigen")]
        extra = "".join(f"  {p[1]} {show_time(p[0]).strip()} ({best[name][0] / p[0]:.2f}x)" for p in peers if p)
        print(f"  {name:36} {show_time(best[name][0])}{extra}")
checked = best.get("dataset_read/vecml_checked/1000000")
if checked and "dataset_read/gzread/1000000" in best:
    print(f"  {'dataset_read/vecml_checked/1000000':36} {show_time(checked[0])}  gzread ratio {checked[0] / best['dataset_read/gzread/1000000'][0]:.2f}")
print()
print(f"targets met: {met} of {measured}")
PYTHON
