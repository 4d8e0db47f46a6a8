#!/usr/bin/env python3
"""Times scikit-learn peers of vecml benchmarks, for bench/compare.py.

Usage: sklearn_peers.py <pass> <directory> <repetitions> [labels file]

Runs every peer in PEERS <repetitions> times on the threads the caller's
environment allows (compare.sh sets OMP_NUM_THREADS and friends; the pass is
"single" or "all") and writes <directory>/<pass>-sklearn.json in the form of
a Google Benchmark report, so that compare.py reads it like vecml_bench's.
With a labels file (the clusters vecml's k-means benchmark found, one per
line, and its centres in <labels file>.centres), reports on standard error
how many of vecml's assignments are not the nearest of its centres
(computed here in double) and how many differ from scikit-learn's run.
"""
import json
import os
import sys
import time

import numpy as np
from sklearn.cluster import KMeans
from sklearn.decomposition import PCA
from sklearn.metrics import pairwise_distances_argmin
from threadpoolctl import threadpool_limits

KMEANS_ITEMS, KMEANS_FEATURES, KMEANS_CLUSTERS, KMEANS_ITERATIONS = 100000, 16, 64, 20
PCA_ITEMS, PCA_FEATURES = 100000, 64


def splitmix_data(items, features):
    """The data of bench/LearningBench.cpp: element n is a SplitMix64 value
    of n mapped to [-1, 1) in double and rounded to float32."""
    z = np.arange(items * features, dtype=np.uint64) + np.uint64(0x9e3779b97f4a7c15)
    z = (z ^ (z >> np.uint64(30))) * np.uint64(0xbf58476d1ce4e5b9)
    z = (z ^ (z >> np.uint64(27))) * np.uint64(0x94d049bb133111eb)
    z = z ^ (z >> np.uint64(31))
    values = (z >> np.uint64(11)).astype(np.float64) * 2.0**-53 * 2.0 - 1.0
    return values.astype(np.float32).reshape(items, features)


def kmeans_peer(labels_file):
    """Lloyd k-means from the first KMEANS_CLUSTERS items as centres, exactly
    KMEANS_ITERATIONS iterations (tol 0 stops only on repeated labels)."""
    x = splitmix_data(KMEANS_ITEMS, KMEANS_FEATURES)
    centres = x[:KMEANS_CLUSTERS].copy()
    result = {}

    def run():
        result["model"] = KMeans(n_clusters=KMEANS_CLUSTERS, init=centres, n_init=1,
                                 algorithm="lloyd", max_iter=KMEANS_ITERATIONS,
                                 tol=0.0).fit(x)

    def check():
        if not (labels_file and os.path.exists(labels_file)):
            return
        ours = np.loadtxt(labels_file, dtype=np.int64)
        with open(labels_file + ".centres") as f:
            our_centres = np.array([[float.fromhex(v) for v in line.split(",")]
                                    for line in f if line.strip()])
        # vecml's own step: every item to the nearest of vecml's centres,
        # here in double precision (only float-rounding ties may differ).
        nearest = pairwise_distances_argmin(x.astype(np.float64), our_centres)
        step = int(np.count_nonzero(ours != nearest))
        # The whole run: scikit-learn's float32 distances round differently,
        # and on data without clear clusters 20 iterations let a few
        # boundary items, and with them the centres, drift apart.
        run_differ = int(np.count_nonzero(ours != result["model"].labels_))
        print(f"== k-means check: {step} of {len(ours)} vecml assignments are not the "
              f"nearest of vecml's centres; {run_differ} differ from scikit-learn's "
              f"after {KMEANS_ITERATIONS} iterations", file=sys.stderr)
    return run, check


def pca_peer(_labels_file):
    """All principal components of the float32 data, by the full SVD."""
    x = splitmix_data(PCA_ITEMS, PCA_FEATURES)

    def run():
        PCA(svd_solver="full").fit(x)

    return run, lambda: None


# A peer: benchmark name (group/sklearn/size, as compare.py's targets name
# it) and a function of the labels file returning (timed run, check).
PEERS = (
    ("kmeans_float/sklearn/100000", kmeans_peer),
    ("pca_float/sklearn/100000", pca_peer),
)


def main():
    run_pass, directory, repetitions = sys.argv[1], sys.argv[2], int(sys.argv[3])
    labels_file = sys.argv[4] if len(sys.argv) > 4 else None
    threads = int(os.environ.get("OMP_NUM_THREADS", os.cpu_count()))
    benchmarks = []
    with threadpool_limits(limits=threads):
        for name, peer in PEERS:
            run, check = peer(labels_file)
            for _ in range(repetitions):
                start = time.perf_counter()
                run()
                seconds = time.perf_counter() - start
                benchmarks.append({"name": name, "run_name": name, "run_type": "iteration",
                                   "real_time": seconds, "time_unit": "s"})
            check()
    report = {"context": {"sklearn_threads": threads}, "benchmarks": benchmarks}
    with open(os.path.join(directory, f"{run_pass}-sklearn.json"), "w") as f:
        json.dump(report, f)


if __name__ == "__main__":
    main()
