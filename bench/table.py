#!/usr/bin/env python3
"""Prints what script/bench measured: table.py RESULTS"""

import pathlib
import sys

results = pathlib.Path(sys.argv[1])


def rows(name):
    path = results / name
    return [line.split("\t") for line in path.read_text().splitlines()] if path.exists() else []


def downloads():
    """256 MiB in each way; speeds are those of the waiting loop divided into."""
    calls = {row[0]: row[1] for row in rows("downloads-calls.tsv")}
    small = {row[0]: row[6] for row in rows("downloads-small.tsv")}
    web = {row[0]: row[1:] for row in rows("downloads-web.tsv")}
    if not web:
        return
    print("| 256 MiB sent by | pipe ms | CPU ms | speed | CPU | web server ms | speed | calls per 8 KiB "
          "| peak KiB of 1 MiB | of 256 MiB |")
    print("|---|---|---|---|---|---|---|---|---|---|")
    for name, wall, cpu, wall_ratio, cpu_ratio, _, peak, _ in rows("downloads-pipe.tsv"):
        web_wall, web_ratio, _ = web[name]
        print(f"| {name} | {float(wall) / 1e3:.0f} | {float(cpu) / 1e3:.0f} | {1 / float(wall_ratio):.3f} "
              f"| {1 / float(cpu_ratio):.3f} | {float(web_wall) / 1e3:.0f} | {1 / float(web_ratio):.3f} | {calls[name]} "
              f"| {small[name]} | {peak} |")
    print(f"| the web server itself | | | | | {float(web['apache'][0]) / 1e3:.0f} | {1 / float(web['apache'][1]):.3f} | | | |")
    print()


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
    for other in ("load", "bare"):
        if "volumes" in by_name and other in by_name:
            wall, cpu, instructions = (a / b for a, b in zip(by_name["volumes"], by_name[other]))
            print(f"volumes against {other}: wall {wall:.3f}, CPU {cpu:.3f}, instructions {instructions:.3f}")
    print()
    downloads()
    print("| library, stripped | amd64 bytes | ARM bytes |")
    print("|---|---|---|")
    for name, amd64, arm in rows("sizes.tsv"):
        print(f"| {name} | {amd64} | {arm} |")


main()
