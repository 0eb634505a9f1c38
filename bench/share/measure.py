"""Runs contestants in turn and takes their times and their memory."""

import statistics
import subprocess
import tempfile
import time
from pathlib import Path

from trees import content


def timed(command, tree, copy):
    """Seconds of the clock, seconds of processors and peak KiB of one run."""
    # By a small program: what a process has taken before it becomes another one counts for its peak.
    usage = tree.folder.parent / "usage"
    shell = ["bash", "-euo", "pipefail", "-c", command, "bench-share", copy]
    watch = ["time", "-q", "-o", usage, "-f", "%U %S %M", *shell]
    begin = time.monotonic()
    subprocess.run(watch, cwd=tree.folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, check=True)
    seconds = time.monotonic() - begin
    user, system, peak = usage.read_text().split()
    return {"seconds": seconds, "cpu": float(user) + float(system), "KiB": int(peak)}


def run_once(name, command, tree, copies):
    """What was copied is looked at: whoever leaves a file out is no faster for it."""
    copy = Path(tempfile.mkdtemp(dir=tree.folder.parent)) / "copy"
    subprocess.run(["sync", "-f", tree.folder.parent], check=True)
    taken = timed(command, tree, copy)
    if copies and content(copy) != tree.leaves:
        raise SystemExit(f"bench-share: {name} has not copied what leaves the {tree.name} tree")
    if not tree.keeps_copies:
        subprocess.run(["rm", "-rf", copy.parent], check=True)
    return taken


def rounds(commands, tree, repetitions, copies=True, change=lambda: None):
    """All in turn, once more than is counted: the first round warms the cache. Before each one the tree is changed."""
    runs = {name: [] for name in commands}
    for repetition in range(repetitions + 1):
        change()
        for name, command in commands.items():
            taken = run_once(name, command, tree, copies)
            if repetition > 0:
                runs[name].append(taken)
    return runs


def spread(values):
    return {"median": statistics.median(values), "least": min(values), "most": max(values)}


def summary(runs, first):
    """Of each contestant, and the ratio of the first one's time to its own, round by round."""
    result = {}
    for name, taken in runs.items():
        result[name] = {key: spread([run[key] for run in taken]) for key in ("seconds", "cpu", "KiB")}
        ratios = [own["seconds"] / run["seconds"] for own, run in zip(runs[first], taken)]
        result[name].update(ratio=spread(ratios), runs=taken)
    return result
