"""Measures a team's store beside the embedded one; scripts/deep/bench runs this under tests/checks/with_server."""

import argparse
import asyncio
import json
import os
import statistics
import subprocess
import tempfile
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

COMMANDS = {"label list": ["label", "list"], "status": ["status"], "preview": ["preview", "public"],
            "label create": ["label", "create"], "label attach": ["label", "attach", "internal", "f0"],
            "share": ["share", "public"]}


class Delay:
    """A road to the server on which each way takes so many seconds."""

    def __init__(self, port, seconds):
        self.port, self.seconds, self.connections = port, seconds, 0
        self.loop = asyncio.new_event_loop()
        started = threading.Event()
        threading.Thread(target=self.run, args=(started,), daemon=True).start()
        started.wait()

    def run(self, started):
        asyncio.set_event_loop(self.loop)
        server = self.loop.run_until_complete(asyncio.start_server(self.serve, "127.0.0.1", 0))
        self.listening = server.sockets[0].getsockname()[1]
        started.set()
        self.loop.run_forever()

    async def serve(self, reader, writer):
        self.connections += 1
        there = await asyncio.open_connection("127.0.0.1", self.port)
        await asyncio.gather(self.forward(reader, there[1]), self.forward(there[0], writer))

    async def forward(self, reader, writer):
        while data := await reader.read(1 << 20):
            self.loop.call_later(self.seconds, writer.write, data)
        self.loop.call_later(self.seconds, writer.close)


def run(program, folder, words, **more):
    return subprocess.run([program, "-C", folder, *words], check=True, capture_output=True, text=True, **more)


def seconds_of(program, folder, words):
    began = time.perf_counter()
    run(program, folder, words)
    return time.perf_counter() - began


def make_project(program, folder, marks):
    folder.mkdir()
    for number in range(marks // 1000):
        (folder / f"d{number}").mkdir()
        for name in range(1000):
            (folder / f"d{number}" / f"f{name}").touch()
    (folder / "f0").touch()
    subprocess.run([program, "init", folder], check=True, capture_output=True)
    run(program, folder, ["label", "create", "c/marked", "audience/internal"])
    run(program, folder, ["profile", "create", "public", "--hold-back", "internal"])
    paths = "".join(f"d{number}/f{name}\0" for number in range(marks // 1000) for name in range(1000))
    run(program, folder, ["label", "attach", "marked", "--stdin", "-0"], input=paths)


def measured(given, scratch):
    program, turn = str(given.program.resolve()), 2 * given.delay / 1000
    home = {"HOME": str(scratch), "XDG_CACHE_HOME": str(scratch / "cache")}
    os.environ.update(home)
    alone, team = scratch / "alone", scratch / "team"
    for folder in (alone, team):
        make_project(program, folder, given.marks)
    road = Delay(int(os.environ["PGPORT"]), given.delay / 1000)
    address = f"postgresql://127.0.0.1:{road.listening}/teams?project=bench"
    run(program, team, ["store", "move", address])
    run(program, team, ["label", "list"])
    rows = []
    for name, words in COMMANDS.items():
        times = {alone: [], team: []}
        for number in range(given.repetitions):
            for folder in (alone, team):
                extra = [f"c/{number}"] if name == "label create" else []
                extra = [str(scratch / f"copy{number}{folder.name}")] if name == "share" else extra
                times[folder].append(seconds_of(program, folder, words + extra))
        embedded, shared = (statistics.median(times[folder]) for folder in (alone, team))
        rows.append({"what": name, "embedded": embedded, "team": shared, "turns": (shared - embedded) / turn,
                     "holds": shared <= 1.5 * embedded + given.turns * turn})
    near = f"postgresql://127.0.0.1:{os.environ['PGPORT']}/teams?project=bench"
    fresh = scratch / "fresh"
    fresh.mkdir()
    subprocess.run([program, "join", near, fresh], check=True, capture_output=True)
    with_mirror = statistics.median(seconds_of(program, fresh, ["label", "list"]) for _ in range(given.repetitions))
    loads = []
    for _ in range(given.repetitions):
        subprocess.run(["rm", "-r", str(scratch / "cache")], check=True)
        loads.append(seconds_of(program, fresh, ["label", "list"]) - with_mirror)
    return {"commands": rows, "load": statistics.median(loads), "edits": edits_a_second(program, scratch, given.edits)}


def edits_a_second(program, scratch, edits, writers=8):
    address = f"postgresql://127.0.0.1:{os.environ['PGPORT']}/teams?project=writers"
    folders = [scratch / f"writer{number}" for number in range(writers)]
    for number, folder in enumerate(folders):
        folder.mkdir()
        words = ["init", "--store", address, folder] if number == 0 else ["join", address, folder]
        subprocess.run([program, *words], check=True, capture_output=True)

    def write(number):
        for edit in range(edits):
            run(program, folders[number], ["label", "create", f"c/{number}-{edit}"])

    began = time.perf_counter()
    with ThreadPoolExecutor(writers) as pool:
        list(pool.map(write, range(writers)))
    return writers * edits / (time.perf_counter() - began)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("program", type=Path)
    parser.add_argument("results", type=Path, help="folder for team.json")
    parser.add_argument("--marks", type=int, default=100_000)
    parser.add_argument("--delay", type=float, default=10, help="milliseconds that each way takes")
    parser.add_argument("--turns", type=int, default=6, help="round trips that a command may take more")
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--edits", type=int, default=50, help="of each of the eight writers")
    given = parser.parse_args()
    with tempfile.TemporaryDirectory(dir="/dev/shm", prefix="bench-team-") as scratch:
        result = measured(given, Path(scratch))
    given.results.mkdir(parents=True, exist_ok=True)
    (given.results / "team.json").write_text(json.dumps(result, indent=1))
    print(f"| command | embedded, s | team, s | turns more | at most 1.5 times and {given.turns} turns |\n"
          "|---|---|---|---|---|")
    for row in result["commands"]:
        print(f"| {row['what']} | {row['embedded']:.3f} | {row['team']:.3f} | {row['turns']:.1f} | "
              f"{'yes' if row['holds'] else 'no'} |")
    print(f"\nfull load of {given.marks} marks: {result['load']:.3f} s; edits a second of eight writers: {result['edits']:.0f}")


main()
