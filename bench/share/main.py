"""Measures project-share beside what people use in its place; scripts/deep/bench runs this."""

import argparse
import contextlib
import datetime
import os
import platform
import re
import subprocess
import tempfile
from pathlib import Path

import contestants
import measure
import report
import trees

FULL = {"files": 100_000, "mebibytes": 256, "mixed": ["/usr/share/doc", "/usr/include"], "entries": 1_000_000,
        "repetitions": 5}
SHORT = {"files": 1_000, "mebibytes": 4, "mixed": ["/usr/include/linux"], "entries": 2_000, "repetitions": 1}


def words():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("program", type=Path)
    parser.add_argument("results", type=Path, help="folder for share.json and share.md")
    parser.add_argument("--short", action="store_true", help="some seconds long: to see that it works")
    parser.add_argument("--mebibytes", type=int, help="size of each of the ten large files; a copy needs 18 times that")
    parser.add_argument("--entries", type=int, help="entries of the tree that memory is measured with; 0: none")
    parser.add_argument("--repetitions", type=int)
    parser.add_argument("--memory", default="/dev/shm", help="a folder on tmpfs")
    parser.add_argument("--disk", default=os.environ.get("TMPDIR", "/var/tmp"), help="a folder on a disk")
    given = parser.parse_args()
    for name, value in (SHORT if given.short else FULL).items():
        if getattr(given, name, None) is None:
            setattr(given, name, value)
    return given


def machine():
    processor = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())
    return {"date": datetime.date.today().isoformat(), "kernel": platform.release(), "processors": os.cpu_count(),
            "processor": processor.group(1) if processor else platform.machine(), "load": os.getloadavg()[0]}


def system_of(folder):
    shown = subprocess.run(["df", "--output=fstype", folder], check=True, capture_output=True, text=True).stdout
    return shown.split()[-1]


def measured(given, make, scratch, durable, repetitions):
    """One tree in one place."""
    tree = make(str(given.program), Path(scratch) / "project")
    tree.keeps_copies = durable and tree.name != "large"
    lists = contestants.lists_of(tree, Path(scratch) / "lists")
    kinds = [(contestants.copiers(given.program, tree, lists, durable), True)]
    if not durable:
        kinds += [(contestants.lookers(given.program, lists, looker), False) for looker in ("preview", "check")]
    for commands, copies in kinds:
        print(f"{tree.title}, {scratch}: {', '.join(commands)}", flush=True)
        runs = measure.rounds(commands, tree, repetitions, copies)
        where = system_of(scratch) + (", durable" if durable else "")
        yield {"tree": tree.name, "title": tree.title, "where": where, "durable": durable,
               "entries": tree.entries(), "contestants": measure.summary(runs, next(iter(commands)))}
    if tree.name == "small" and not durable:
        yield from handed_on(given, tree, lists, where, repetitions)


def handed_on(given, tree, lists, where, repetitions):
    """The other shapes, and updates of what was handed out."""
    kinds = [(f"as {ending}", contestants.archivers(given.program, lists, ending), lambda: None)
             for ending in (".tar", ".tar.zst")]
    update = contestants.updaters(given.program, tree, lists)
    kinds += [("nothing changed", update, lambda: None), ("1 % changed", update, lambda: trees.change(tree))]
    for how, commands, change in kinds:
        print(f"{tree.title}, {how}: {', '.join(commands)}", flush=True)
        runs = measure.rounds(commands, tree, repetitions, False, change)
        yield {"tree": tree.name, "title": f"{tree.title}, {how}", "where": where, "durable": False,
               "entries": tree.entries(), "contestants": measure.summary(runs, next(iter(commands)))}
    for name in update:
        if trees.content(tree.folder.parent / f"kept-{name}") != trees.sizes(tree):
            raise SystemExit(f"bench-share: {name} has not updated its copy")


def results(given):
    makers = [lambda program, at: trees.small(program, at, given.files),
              lambda program, at: trees.large(program, at, given.mebibytes),
              lambda program, at: trees.mixed(program, at, given.mixed)]
    make_empty = lambda program, at: trees.empty(program, at, given.entries)
    rounds = [(make, given.repetitions) for make in makers] + ([(make_empty, 1)] if given.entries else [])
    scratch = lambda base: tempfile.TemporaryDirectory(dir=base, prefix="bench-share-")
    for make, repetitions in rounds:
        with scratch(given.memory) as folder:
            yield from measured(given, make, folder, False, repetitions)
    with contextlib.ExitStack() as stack:
        for make in makers:
            yield from measured(given, make, stack.enter_context(scratch(given.disk)), True, given.repetitions)


def main():
    given = words()
    given.program = given.program.resolve(strict=True)
    given.results.mkdir(parents=True, exist_ok=True)
    everything = {"machine": machine(), "repetitions": given.repetitions, "results": []}
    for result in results(given):  # whoever stops it keeps what is there
        everything["results"].append(result)
        everything["machine"]["loadAfter"] = os.getloadavg()[0]
        report.write(everything, given.results.resolve())
    print((given.results / "share.md").read_text())


main()
