#!/usr/bin/env bash
# Runs the test programs of a dev build under valgrind memcheck and exits
# non-zero when any of them reports a memory error or leak (or a failing
# test).
#
#   tests/valgrind.sh [build directory]     (default: build)
#
# Build the test programs first, e.g. `cmake --workflow --preset dev`.
# Left out:
#   *DeathTest*  they cannot run under valgrind: the child processes re-run
#                the test program, which valgrind does not follow, and the
#                address-space limit tests (setrlimit(RLIMIT_AS)) among them
#                would starve valgrind itself;
#   *CrossCheck* the comparisons with Python peers, whose long learning runs
#                the unit tests cover at small sizes;
#   the dataset sort stress tests (many equal ids, large item counts), which
#                take over a minute under valgrind; the sanitizer build runs
#                them.
# tests/valgrind.supp suppresses one report from the dynamic loader itself.
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:-build}
programs=(core vector matrix metric kernel dataset learning stream thread)
excluded='*DeathTest*:*CrossCheck*:*ManyEqualIds*:*AllEqualIdsStayInsideTheStorage'
excluded+=':CDatasetIntroSortTest.NonStrictOrderStaysInsideAndSorts'

for subsystem in "${programs[@]}"; do
  program=$build/tests/vecml_${subsystem}_tests
  if [[ ! -x $program ]]; then
    echo "valgrind.sh: $program not built" >&2
    exit 2
  fi
done

failed=()
for subsystem in "${programs[@]}"; do
  echo "== valgrind vecml_${subsystem}_tests"
  valgrind --quiet --error-exitcode=1 --leak-check=full \
    --suppressions=tests/valgrind.supp \
    "$build/tests/vecml_${subsystem}_tests" \
    --gtest_filter="-$excluded" --gtest_brief=1 ||
    failed+=("vecml_${subsystem}_tests")
done
if ((${#failed[@]})); then
  echo "== valgrind failed: ${failed[*]}" >&2
  exit 1
fi
echo "== valgrind passed"
