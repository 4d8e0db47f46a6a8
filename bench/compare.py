#!/usr/bin/env python3
"""Tables of time ratios from the Google Benchmark reports of compare.sh.

Usage: compare.py <directory of reports>

The directory holds <pass>-<label>.json, where pass is "single" (every
library on one thread) or "all" (every library on THREADS threads) and label
is "own" (OpenBLAS picked its kernel set itself) or the OPENBLAS_CORETYPE of
a run of the OpenBLAS benchmarks alone. The fastest repetition of each
benchmark counts, over all labels.
"""
import glob
import json
import os
import sys

# Single thread: (title, group, size, peers, limit): vecml time / time of
# the fastest peer must not exceed limit.
SINGLE_TARGETS = (
    [(f"matrix product {t} n={n}", f"matmul_{t}", n, ("openblas", "eigen"), limit)
     for t in ("float", "double")
     for n, limit in ((64, 1.5), (256, 1.5), (512, 1.1), (1024, 1.1))]
    + [("matrix x vector float n=4096", "matvec_float", 4096, ("openblas",), 1.1),
       ("best match 200k items d=16", "bestmatch_float", 16, ("hand",), 2.0),
       ("best match 200k items d=64", "bestmatch_float", 64, ("hand",), 1.3),
       ("dataset read 1M x 16", "dataset_read", 1000000, ("gzread",), 1.3),
       ("dataset write 1M x 16", "dataset_write", 1000000, ("gzwrite",), 1.1),
       ("covariance float 100k x 64", "covariance_float", 64, ("openblas",), 3.0),
       ("covariance double 100k x 64", "covariance_double", 64, ("openblas",), 1.5)])

# Rows against scikit-learn, timed by bench/sklearn_peers.py, in both tables:
# (title, group, size, limit): vecml / scikit-learn <= limit, both on one
# thread and both on all cores. A row needs the vecml benchmark
# "<group>/vecml/<size>" and the peer "<group>/sklearn/<size>" in
# sklearn_peers.py.
SKLEARN_TARGETS = (
    ("k-means 100k x 16 k=64", "kmeans_float", 100000, 1.0),
    ("PCA 100k x 64", "pca_float", 100000, 1.5),
)
SINGLE_TARGETS += tuple((title, group, size, ("sklearn",), limit)
                        for title, group, size, limit in SKLEARN_TARGETS)

# All threads: (title, kind, group, size, reference, limit). Kinds:
#   peer     vecml on all threads / the reference on all threads <= limit
#   serial   vecml on all threads / the reference on one thread <= limit
#   speedup  vecml on one thread / vecml on all threads >= limit
PARALLEL_TARGETS = (
    [target
     for t in ("float", "double")
     for target in ((f"matrix product {t} n=1024", "peer", f"matmul_{t}", 1024, "openblas", 1.1),
                    (f"matrix product {t} n=1024", "speedup", f"matmul_{t}", 1024, "vecml", 1.8))]
    + [(f"best match 200k items d={d}", "speedup", "bestmatch_float", d, "vecml", 1.7)
       for d in (16, 64)]
    + [(f"covariance {t} 100k x 64", "speedup", f"covariance_{t}", 64, "vecml", 1.7)
       for t in ("float", "double")]
    + [("statistics 100k x 64", "speedup", "statistic_float", 64, "vecml", 1.7),
       ("dataset read 1M x 16", "serial", "dataset_read", 1000000, "gzread", 1.1)]
    + [(title, "peer", group, size, "sklearn", limit)
       for title, group, size, limit in SKLEARN_TARGETS])

# Peers shown beside measurements without a target.
OTHER_PEERS = ("hand", "hand_omp", "gzread", "openblas", "eigen", "sklearn")


def load(directory):
    """{(pass, benchmark name): (seconds, OpenBLAS label)} and the context."""
    best, context = {}, {}
    for path in sorted(glob.glob(os.path.join(directory, "*.json"))):
        stem = os.path.basename(path)[:-len(".json")]
        run_pass, label = stem.split("-", 1)
        with open(path) as f:
            report = json.load(f)
        context.setdefault(run_pass, report.get("context", {}))
        for run in report["benchmarks"]:
            if run.get("run_type", "iteration") != "iteration" or run.get("error_occurred"):
                continue
            name = run.get("run_name", run["name"])
            scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}[run["time_unit"]]
            seconds = run["real_time"] * scale
            key = (run_pass, name)
            if key not in best or seconds < best[key][0]:
                best[key] = (seconds, label if "/openblas/" in name and label != "own" else "")
    return best, context


def show_time(seconds):
    for unit, scale in (("s", 1), ("ms", 1e-3), ("us", 1e-6)):
        if seconds >= scale:
            return f"{seconds / scale:8.2f} {unit}"
    return f"{seconds / 1e-9:8.1f} ns"


def peer_name(impl, label):
    return impl + (f" ({label})" if label else "")


def fastest(best, run_pass, group, size, impls):
    found = [(best[(run_pass, f"{group}/{impl}/{size}")], impl)
             for impl in impls if (run_pass, f"{group}/{impl}/{size}") in best]
    if not found:
        return None
    (seconds, label), impl = min(found)
    return seconds, peer_name(impl, label)


def row(title, ours, reference, name, value, target, ok):
    return (f"{title:32} {show_time(ours):>11} {show_time(reference):>11}  {name:30} "
            f"{value:6.2f} {target:>7}  {'yes' if ok else 'NO'}")


def missing(title, target):
    return f"{title:32} {'':>11} {'':>11}  {'(not measured)':30} {'':>6} {target:>7}  -"


def print_others(best, run_pass, wanted):
    """One line per vecml benchmark of the pass that wanted(name) accepts:
    its time, then each peer's time in the same pass and the ratio."""
    for pass_name, name in sorted(best):
        group, impl, size = name.split("/")
        if pass_name != run_pass or not impl.startswith("vecml") or not wanted(name):
            continue
        ours = best[(run_pass, name)][0]
        peers = [fastest(best, run_pass, group, size, (peer,)) for peer in OTHER_PEERS]
        extra = "".join(f"  {p[1]} {show_time(p[0]).strip()} ({ours / p[0]:.2f}x)" for p in peers if p)
        print(f"  {name:36} {show_time(ours)}{extra}")


def single_table(best):
    print(f"{'measurement':32} {'vecml':>11} {'peer':>11}  {'peer is':30} {'ratio':>6} {'target':>7}  met")
    met = measured = 0
    for title, group, size, impls, limit in SINGLE_TARGETS:
        ours = best.get(("single", f"{group}/vecml/{size}"))
        peer = fastest(best, "single", group, size, impls)
        target = f"<= {limit}"
        if ours is None or peer is None:
            print(missing(title, target))
            continue
        ratio = ours[0] / peer[0]
        measured += 1
        met += ratio <= limit
        print(row(title, ours[0], peer[0], peer[1], ratio, target, ratio <= limit))
    print()
    print("other measurements (no target; vecml time, then each peer's time and vecml / peer)")
    targeted = {f"{group}/vecml/{size}" for _, group, size, _, _ in SINGLE_TARGETS}
    print_others(best, "single", lambda name: name not in targeted)
    print()
    print(f"targets met: {met} of {measured}")


def parallel_table(best, threads):
    print(f"{'measurement':32} {'vecml':>11} {'reference':>11}  {'reference is':30} {'value':>6} {'target':>7}  met")
    met = measured = 0
    for title, kind, group, size, reference, limit in PARALLEL_TARGETS:
        ours = best.get(("all", f"{group}/vecml/{size}"))
        reference_pass = "all" if kind == "peer" else "single"
        other = fastest(best, reference_pass, group, size, (reference,))
        if kind == "speedup":
            target = f">= {limit}"
            label = f"vecml, 1 thread"
        else:
            target = f"<= {limit}"
            label = other[1] + (f", {threads} threads" if kind == "peer" else ", 1 thread") if other else ""
        if ours is None or other is None:
            print(missing(title, target))
            continue
        value = other[0] / ours[0] if kind == "speedup" else ours[0] / other[0]
        ok = value >= limit if kind == "speedup" else value <= limit
        measured += 1
        met += ok
        print(row(title, ours[0], other[0], label, value, target, ok))
    print()
    print(f"other measurements on {threads} threads (vecml time, then each peer's time on {threads} threads and vecml / peer)")
    print_others(best, "all", lambda name: name.split("/")[1] == "vecml")
    print()
    print(f"parallel targets met: {met} of {measured}")


def main():
    best, context = load(sys.argv[1])
    threads = os.environ.get("THREADS", "?")
    with open("/proc/cpuinfo") as f:
        cpu = next((line.split(":", 1)[1].strip() for line in f if line.startswith("model name")),
                   "unknown CPU")
    path = context.get("single", {}).get("vecml_path", "unknown")
    repetitions = os.environ.get("REPETITIONS", "?")
    print(f"machine: {cpu}, {os.cpu_count()} logical cores; vecml path: {path}; "
          f"fastest of {repetitions} runs each")
    print()
    print("== one thread")
    single_table(best)
    print()
    print(f"== all cores: {threads} threads for vecml, OpenBLAS, Eigen and the OpenMP hand loop")
    parallel_table(best, threads)


if __name__ == "__main__":
    main()
