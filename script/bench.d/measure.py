"""Runs the programs of the benchmarks and makes rows of what they report.

A row has "what", "value" and "unit" (ns, ratio, allocations, KiB, exponent), and where they apply "reference", "nanoseconds"
and "reference_nanoseconds" behind a ratio, "goal" (the greatest good value), "error" (what the reference's ratio to itself is away
from 1) and "met": a goal is missed only when it is missed by more than that.
"""

import json
import math
import re
import statistics
import subprocess

import goals

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def row(what, value, unit, goal=None, error=0.0, **more):
    return {"what": what, "value": value, "unit": unit, **more, "goal": goal, "error": error,
            "met": goal is None or value <= goal + error}


def list_benchmarks(programs, text, environment):
    """{what is measured: {side: (program, filter)}}"""
    found = {}
    for program in sorted(programs):
        listing = subprocess.run([program, "--benchmark_list_tests"], check=True, capture_output=True, text=True,
                                 env=environment)
        for line in listing.stdout.splitlines():
            what, _, side = re.sub(r"/iterations:\d+$", "", line).rpartition("/")
            if text in what:
                found.setdefault(what, {})[side] = (program, "^" + re.sub(r"([^\w /:-])", r"\\\1", line) + "$")
    return found


def run(benchmark, environment):
    program, pattern = benchmark
    done = subprocess.run([program, f"--benchmark_filter={pattern}", "--benchmark_format=json",
                           "--benchmark_min_time=0.2"], capture_output=True, text=True, env=environment)
    results = json.loads(done.stdout)["benchmarks"] if done.stdout else []
    if done.returncode != 0 or not results or results[0].get("error_occurred"):
        raise SystemExit(f"script/bench: {program} {pattern} failed: {done.stderr}{results}")
    return results[0]


def in_turns(sides, rounds, environment):
    """{side: results of the rounds}, the sides taking turns."""
    results = {side: [] for side in sides}
    for _ in range(rounds):
        for side, benchmark in sides.items():
            results[side].append(run(benchmark, environment))
    return results


def ratio_rows(what, times):
    """The product beside each reference, from the processor times of the rounds."""
    product = times.pop("product")
    if what in goals.TIMES or not times:
        yield row(what, statistics.median(product), "ns", goals.TIMES.get(what))
    for side, reference in times.items():
        ratio = statistics.median(a / b for a, b in zip(product, reference))
        yield row(what, ratio, "ratio", goals.RATIOS.get((what, side)), reference=side,
                  nanoseconds=statistics.median(product), reference_nanoseconds=statistics.median(reference))


def turn_rows(what, results):
    """From the counters of a benchmark whose sides took turns in its own process."""
    def counter(name):
        return statistics.median(result[name] for result in results)

    names = [name for name in results[0] if name.startswith(("ratio/", "extra/", "ns/"))]
    references = [name.partition("/")[2] for name in names if name.startswith("ratio/")]
    if what in goals.TIMES or not references:
        yield row(what, counter("ns/product"), "ns", goals.TIMES.get(what))
    for reference in references:
        times = {"reference": reference, "nanoseconds": counter("ns/product"),
                 "reference_nanoseconds": counter(f"ns/{reference}")}
        if (what, reference) in goals.EXTRAS:
            yield row(what, counter(f"extra/{reference}"), "ns more", **times)
            continue
        goal = goals.RATIOS.get((what, reference))
        error = 0.0
        if goal is not None:
            error = max(abs(result["calibration"] - 1) for result in results)
            yield row(f"calibration: {reference} of {what}", counter("calibration"), "ratio", reference="themselves",
                      nanoseconds=times["reference_nanoseconds"], reference_nanoseconds=times["reference_nanoseconds"])
        yield row(what, counter(f"ratio/{reference}"), "ratio", goal, error, **times)
    if "allocations" in results[0]:
        yield row(what, counter("allocations"), "allocations", goals.ALLOCATIONS.get(what))
    if "peak KiB" in results[0]:
        yield row(what, counter("peak KiB"), "KiB at the peak")


def own_time_rows(what, results):
    """The time outside the library, and the whole, beside each peer's: for information, see counts.py for goals."""
    def counters(side, name):
        return [result[name] for result in results[side]]

    for name, text in (("own", what), ("total", what.replace("own time", "whole time"))):
        for side in results:
            if side == "product":
                continue
            product, peer = counters("product", name), counters(side, name)
            yield row(text, statistics.median(a / b for a, b in zip(product, peer)), "ratio", reference=side,
                      nanoseconds=statistics.median(product), reference_nanoseconds=statistics.median(peer))


def exponent(times):
    """How {count: time} grows: the slope, both as logarithms."""
    x = [math.log(count) for count in times]
    y = [math.log(time) for time in times.values()]
    return statistics.covariance(x, y) / statistics.variance(x)


def exponent_rows(rows):
    """How construction grows with the number of certificates."""
    points = {}
    for known in rows:
        found = re.match(r"construction with (\d+) certificates on (.*)", known["what"])
        if found and known["unit"] == "ratio":
            points.setdefault(found[2], {})[int(found[1])] = known["nanoseconds"]
    for library, times in points.items():
        if len(times) < 3:
            continue
        goal = goals.EXPONENT if library == "a null library" else None
        yield row(f"growth of construction on {library}", exponent(times), "exponent", goal)
