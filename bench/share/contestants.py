"""Who copies what leaves a tree. Each is a command of the shell, run in the tree's folder with the copy as $1."""

import os
import re
import shlex
import subprocess
from pathlib import Path

from trees import ALLOWED


def quoted(*words):
    return " ".join(shlex.quote(str(word)) for word in words)


def lists_of(tree, folder):
    """Files that tell each contestant what leaves, or what does not."""
    folder.mkdir()
    goes = tree.goes()
    bare = [re.sub(r"([][*?\\])", r"\\\1", path) for path in goes]
    quotes = [in_quotes(path) for path in bare]
    lists = {
        "leaves": "".join(path + "\0" for path in sorted(tree.leaves)),
        "rsync": "/.project\n" + (tree.pattern or "\n".join("/" + path for path in bare)) + "\n",
        "tar": "./.project\n" + (tree.pattern or "\n".join("./" + path for path in goes)) + "\n",
        "git": "".join(f"{line} export-ignore\n" for line in ([tree.pattern] if tree.pattern else quotes)),
    }
    for name, text in lists.items():
        (folder / name).write_bytes(os.fsencode(text))
    return folder


def in_quotes(pattern):
    return '"/' + pattern.replace("\\", "\\\\").replace('"', '\\"') + '"'


def make_repository(tree, lists):
    git = ["git", f"--git-dir={lists}/repository", f"--work-tree={tree.folder}"]
    quiet = {"check": True, "stdout": subprocess.DEVNULL}
    subprocess.run(["git", "init", "--quiet", "--bare", f"{lists}/repository"], **quiet)
    subprocess.run([*git, "config", "core.bare", "false"], **quiet)
    Path(f"{lists}/repository/info/exclude").write_text("/.project\n")
    Path(f"{lists}/repository/info/attributes").write_bytes((lists / "git").read_bytes())
    subprocess.run([*git, "add", "--force", "--all", ":/", ":!/.project"], **quiet)
    author = ["-c", "user.name=bench", "-c", "user.email=bench@localhost"]
    subprocess.run([*git, *author, "commit", "--quiet", "--message=all"], **quiet)


def copiers(program, tree, lists, durable):
    """Name and command of each who copies; on a disk, all of them until the copy is durable."""
    sync = ' && sync -f "$1"' if durable else ""
    how = "" if tree.pattern else "--no-wildcards --anchored "
    commands = {
        "share": quoted(program, "--quiet", "share", "public") + ' "$1" ' + quoted(*ALLOWED),
        "cp": f'mkdir "$1" && xargs -0 cp -a --parents -t "$1" <{lists}/leaves' + sync,
        "rsync": f'rsync -a --exclude-from={lists}/rsync ./ "$1"' + sync,
        "tar": f'mkdir "$1" && tar {how}--exclude-from={lists}/tar -cf - . | tar -C "$1" -xf -' + sync,
    }
    if tree.with_git:
        make_repository(tree, lists)
        commands["git"] = f'mkdir "$1" && git --git-dir={lists}/repository archive HEAD | tar -C "$1" -xf -' + sync
    return commands


def archivers(program, lists, ending):
    """Who writes one file. It is not made durable by the others, which on tmpfs makes no difference."""
    return {
        "share": quoted(program, "--quiet", "share", "public") + f' "$1"{ending} ' + quoted(*ALLOWED),
        "tar": f'tar --null --auto-compress -cf "$1"{ending} -T {lists}/leaves',
    }


def updaters(program, tree, lists):
    """Who brings a copy that is there up to date: each one's own, which is made here."""
    ours, theirs = (tree.folder.parent / f"kept-{name}" for name in ("share", "rsync"))
    again = quoted(program, "--quiet", "share", "public", ours, *ALLOWED)
    rsync = f"rsync -a --delete --exclude-from={lists}/rsync ./ {theirs}"
    for command in (again, rsync):
        subprocess.run(["bash", "-c", command], cwd=tree.folder, check=True, stdout=subprocess.DEVNULL)
    return {"share": again + " --update", "rsync": rsync}


def lookers(program, lists, looker):
    """Name and command of each who only tells what would be copied, or whether it may be."""
    ours = {"preview": ["preview", "public"], "check": ["check", "public", *ALLOWED]}
    return {
        looker: quoted(program, *ours[looker]),
        "rsync -n": f'rsync -an --exclude-from={lists}/rsync ./ "$1"',
    }
