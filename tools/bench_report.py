#!/usr/bin/env python3
"""Turns a Google Benchmark JSON run of bench/ into a Markdown ratio table.

Benchmarks are named <operation>/<implementation>/<N>; for each operation
and N the table gives kelsc's time and its ratio to every other
implementation of the same run (ratio < 1: kelsc is faster).

    build/bench/kelsc_bench_vector --benchmark_format=json > run.json
    tools/bench_report.py run.json
"""
import json
import sys
from collections import defaultdict


def main(path):
    with open(path) as f:
        run = json.load(f)
    times = defaultdict(dict)  # (op, n) -> impl -> ns
    order = []
    for b in run["benchmarks"]:
        if b.get("run_type") == "aggregate" and b.get("aggregate_name") != "median":
            continue
        op, impl, n = b["run_name"].split("/")
        key = (op, int(n))
        if key not in times:
            order.append(key)
        times[key][impl] = b["real_time"]
    impls = sorted({i for t in times.values() for i in t if i != "kelsc"})
    print("| operation | N | kelsc ns | " + " | ".join(f"kelsc / {i}" for i in impls) + " |")
    print("|---|---:|---:|" + "---:|" * len(impls))
    for op, n in order:
        t = times[(op, n)]
        if "kelsc" not in t:
            continue
        ratios = [f"{t['kelsc'] / t[i]:.2f}" if i in t else "" for i in impls]
        print(f"| {op} | {n} | {t['kelsc']:.1f} | " + " | ".join(ratios) + " |")


if __name__ == "__main__":
    main(sys.argv[1] if len(sys.argv) > 1 else "/dev/stdin")
