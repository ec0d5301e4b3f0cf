#!/usr/bin/env python3
"""Prints what build/release/bench/texts measured: texts_table.py FILE

The figures are medians of CPU time. Each cost per byte stands beside the one of the smallest text and beside that of
one copy of as many bytes.
"""

import json
import sys

KIBIBYTE = 1024


def main():
    per_byte = {}
    for run in json.load(open(sys.argv[1]))["benchmarks"]:
        if run.get("aggregate_name") == "median":
            name, size = run["run_name"].split("/")[:2]
            per_byte.setdefault(name, {})[int(size)] = run["cpu_time"] / int(size)
    print("| function | text | ns a byte | against the smallest text | against one copy |")
    print("|---|---|---|---|---|")
    for name, costs in sorted(per_byte.items()):
        smallest = costs[min(costs)]
        for size, cost in sorted(costs.items()):
            copy = per_byte["Copy"][size]
            print(f"| {name} | {size // KIBIBYTE} KiB | {cost:.3f} | {cost / smallest:.2f} | {cost / copy:.1f} |")


main()
