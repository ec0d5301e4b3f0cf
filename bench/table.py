#!/usr/bin/env python3
"""Prints what script/bench measured: table.py RESULTS"""

import pathlib
import sys

results = pathlib.Path(sys.argv[1])


def rows(name):
    path = results / name
    return [line.split("\t") for line in path.read_text().splitlines()] if path.exists() else []


def main():
    counts = {row[0]: row[1:] for row in rows("counts.tsv")}
    print("| program | wall µs | CPU µs | wall | CPU | instructions | system calls | shared objects | relocations "
          "| page faults | peak KiB | reply |")
    print("|---|---|---|---|---|---|---|---|---|---|---|---|")
    by_name = {}
    for name, wall, cpu, wall_ratio, cpu_ratio, faults, peak, reply in rows("time.tsv"):
        instructions, calls, mapped, relocations, _ = counts[name]
        by_name[name] = (float(wall_ratio), float(cpu_ratio), int(instructions))
        print(f"| {name} | {wall} | {cpu} | {wall_ratio} | {cpu_ratio} | {int(instructions):,} | {calls} | {mapped} "
              f"| {relocations} | {faults} | {peak} | {reply} |")
    print()
    ours = by_name["load"]
    for other in ("load_direct", "load_cgicc", "bare"):
        if other in by_name:
            wall, cpu, instructions = (a / b for a, b in zip(ours, by_name[other]))
            print(f"load against {other}: wall {wall:.3f}, CPU {cpu:.3f}, instructions {instructions:.3f}")
    if "load_static" in by_name:
        wall, cpu, instructions = (a / b for a, b in zip(by_name["load_static"], by_name["bare"]))
        print(f"load_static against bare: wall {wall:.3f}, CPU {cpu:.3f}, instructions {instructions:.3f}")
    for name in ("frame", "frame_static"):
        if name in by_name:
            other = name.replace("frame", "load")
            wall, cpu, instructions = (a / b for a, b in zip(by_name[name], by_name[other]))
            print(f"{name} against {other}: wall {wall:.3f}, CPU {cpu:.3f}, instructions {instructions:.3f}")
    print()
    print("| library, stripped | amd64 bytes | ARM bytes |")
    print("|---|---|---|")
    for name, amd64, arm in rows("sizes.tsv"):
        print(f"| {name} | {amd64} | {arm} |")


main()
