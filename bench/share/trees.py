"""The projects that are shared: files of which one in five is labelled and goes."""

import itertools
import os
import random
import subprocess
from dataclasses import dataclass
from pathlib import Path

# Of a system's documents and headers: names that differ in nothing but case, licences, x beside x.gz.
ALLOWED = ["--allow", "names-collide,same-content,leftover"]


@dataclass
class Tree:
    """A project with the profile `public`, and what of it is to leave, for those who have to be told."""

    name: str
    title: str
    folder: Path
    leaves: dict  # path: size, of files and links
    pattern: str = ""  # of the names of all that goes; empty where only a list can name it
    with_git: bool = True
    # ext4 searches long for inodes that were not freed a short while ago: there nothing is removed in between.
    keeps_copies: bool = False

    def goes(self):
        """Paths of files and links that do not leave."""
        return sorted(set(content(self.folder)) - set(self.leaves))

    def entries(self):
        """How many there are, folders with them."""
        return sum(len(folders) + len(files) for _, folders, files in os.walk(self.folder))


def content(folder):
    """Path and size of all files and links below a folder, without the project's store."""
    found = {}
    for at, folders, files in os.walk(folder):
        if at == str(folder) and ".project" in folders:
            folders.remove(".project")
        links = [name for name in folders if os.path.islink(os.path.join(at, name))]
        for name in files + links:
            path = os.path.join(at, name)
            found[os.path.relpath(path, folder)] = os.lstat(path).st_size
    return found


def sizes(tree):
    """Of what leaves, as it is by now."""
    return {path: os.lstat(tree.folder / path).st_size for path in tree.leaves}


def change(tree):
    """One file in a hundred of those that leave gets one byte more."""
    for path in list(tree.leaves)[::100]:
        with open(tree.folder / path, "ab") as file:
            file.write(b"x")


def every_fifth(paths):
    return list(itertools.islice(sorted(paths), 4, None, 5))


def write_files(folder, count, folders, size_of):
    random_bytes = random.Random(1).randbytes(1 << 20)
    for i in range(count):
        at = folder / f"folder{i % folders:04}"
        at.mkdir(parents=True, exist_ok=True)
        name = f"file{i:07}" + (".internal" if i // folders % 5 == 4 else "")
        with open(at / name, "wb") as file:
            left = size_of(i)
            left -= file.write(f"{i} "[:left].encode())  # no two are alike
            while left > 0:
                left -= file.write(random_bytes[: min(left, len(random_bytes))])


def make_project(program, folder, labelled):
    def run(*words, given=None):
        subprocess.run([program, *words], cwd=folder, check=True, input=given, stdout=subprocess.DEVNULL)

    run("init")
    run("label", "create", "status/internal")
    run("label", "attach", "--stdin", "status/internal", given="\n".join(labelled).encode())
    run("profile", "create", "public")
    run("profile", "add-filter", "public", "drop-files", "status/internal")


def share_command(program, destination):
    return [program, "--quiet", "share", "public", str(destination), *ALLOWED]


def finished(program, name, title, folder, pattern="", **more):
    """What leaves is what a share hands out; of files alone it must be just what was not labelled."""
    before = content(folder)
    files = [path for path in before if not (folder / path).is_symlink()]
    labelled = [path for path in files if path.endswith(".internal")] if pattern else every_fifth(files)
    make_project(program, folder, labelled)
    reference = folder.parent / "reference"
    subprocess.run(share_command(program, reference), cwd=folder, check=True)
    leaves = content(reference)
    subprocess.run(["rm", "-rf", reference], check=True)
    if {path for path in leaves if not (folder / path).is_symlink()} != set(files) - set(labelled):
        raise SystemExit(f"bench-share: the share of {name} is not what was to leave")
    return Tree(name, title, folder, leaves, pattern, **more)


def small(program, folder, count):
    sizes = random.Random(2)
    write_files(folder, count, max(1, count // 100), lambda i: sizes.randrange(8192))
    return finished(program, "small", f"{count:,} files of up to 8 KiB", folder, "*.internal")


def large(program, folder, mebibytes):
    write_files(folder, 10, 1, lambda i: mebibytes << 20)
    # A repository would be one more copy of it all.
    return finished(program, "large", f"10 files of {mebibytes} MiB", folder, "*.internal", with_git=False)


def empty(program, folder, count):
    write_files(folder, count, max(1, count // 1000), lambda i: 0)
    return finished(program, "empty", f"{count:,} empty files", folder, "*.internal", with_git=False)


def mixed(program, folder, sources):
    folder.mkdir()
    for source in sources:
        subprocess.run(["cp", "-a", "--no-preserve=links", source, folder], check=True)
    return finished(program, "mixed", f"{' and '.join(sources)}, {len(content(folder)):,} files and links", folder)
