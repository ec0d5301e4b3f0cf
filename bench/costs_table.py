#!/usr/bin/env python3
"""Prints what a program with Google Benchmark measured: costs_table.py FILE... THING

THING is what a benchmark's number counts, e.g. "byte". The figures are medians of CPU time, or of what a benchmark
has measured itself. Each cost per thing stands beside the one of the smallest number and beside that of its yardstick
with as many: the benchmark of the same name with "Plain" in front, or else the benchmark "Copy".
"""

import json
import sys


def main():
    *files, thing = sys.argv[1:]
    costs_of = {}
    for run in (run for file in files for run in json.load(open(file))["benchmarks"]):
        if run.get("aggregate_name") == "median":
            name, number, *measured = run["run_name"].split("/")
            time = run["real_time" if measured else "cpu_time"]
            costs_of.setdefault(name, {})[int(number)] = time / int(number)
    print(f"| function | {thing}s | ns a {thing} | against the fewest | against the yardstick |")
    print("|---|---|---|---|---|")
    for name, costs in sorted(costs_of.items()):
        fewest = costs[min(costs)]
        yardstick = costs_of.get("Plain" + name) or (costs if name.startswith("Plain") else costs_of["Copy"])
        for number, cost in sorted(costs.items()):
            print(f"| {name} | {number:,} | {cost:.3f} | {cost / fewest:.2f} | {cost / yardstick[number]:.2f} |")


main()
