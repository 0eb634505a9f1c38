"""Plants faults: what a fault touches is compiled and linked anew beside the build of the preset release, and what has to
find it is run. The sources and that build stay as they are; nothing that is built here can be installed.
"""
import collections, os, re, resource, shutil, signal, subprocess, sys, time

ROOT = os.path.realpath(__file__ + "/../../..")
BUILD = os.path.join(ROOT, "build", "release")
CHECKS = os.path.join(ROOT, "tests", "checks")
PROGRAM = "project-share"  # what a check is given
MEMORY = 4 << 30


def alone_in(folder):
    """What to put before a command so that it can write to this folder alone; nothing where that is not to be had. Root
    stays root, as tests give files to other users."""
    words = ["setpriv", "--pdeathsig", "KILL",  # not to outlive this process, whoever ends it
             "unshare", *(["--map-root-user"] if os.geteuid() else []), "--mount", "--pid", "--fork", "--kill-child", "--mount-proc", "sh", "-c",
             'mount --bind "$0" "$0" && mount -t tmpfs none /dev/shm && mount -o remount,bind,ro / && exec "$@"', folder]
    os.makedirs(folder, exist_ok=True)
    return words if subprocess.run([*words, "true"], stderr=subprocess.DEVNULL).returncode == 0 else []


class Build:
    """The build without a fault, for these tests: names of targets, and of checks."""

    def __init__(self, tests):
        self.tests = tests
        self.limits = collections.defaultdict(lambda: 300)  # seconds that a test may take
        targets = sorted({PROGRAM if self.is_check(test) else test for test in tests})
        subprocess.run(["cmake", "--preset", "release"], cwd=ROOT, check=True, stdout=subprocess.DEVNULL)
        ninja = lambda *words: subprocess.run(["ninja", "-C", BUILD, *words], check=True, stdout=subprocess.PIPE, text=True)
        ninja(*targets)
        self.compiling, self.linking = {}, {}  # by the file that is made
        for command in ninja("-t", "commands", *targets).stdout.splitlines():
            compiles, links = re.search(r" -o (\S+\.o) -c ", command), re.search(r"^: && (.* -o (\S+) .*?) && ", command)
            if compiles:
                self.compiling[compiles[1]] = re.sub(r"^\S*ccache ", "", command)
            elif links:  # objects of another target stand there with "/./" within
                self.linking[links[2]] = links[1].replace("/./", "/")
        self.needing = collections.defaultdict(set)  # the objects that a source is compiled into
        for block in ninja("-t", "deps").stdout.split("\n\n"):
            made, *sources = block.strip().splitlines() or [""]
            for source in sources if made.split(":")[0] in self.compiling else ():
                self.needing[os.path.relpath(os.path.join(BUILD, source.strip()), ROOT)].add(made.split(":")[0])
        self.programs = {os.path.basename(made): made for made in self.linking}
        self.library = next(made for made in self.linking if ".so." in made)
        self.soname = re.search(r"-soname,(\S+)", self.linking[self.library])[1]

    @staticmethod
    def is_check(test):
        return os.path.exists(os.path.join(CHECKS, test))


class Place:
    """Where one fault at a time is built and looked for."""

    def __init__(self, name, build):
        self.path, self.build = os.path.join(ROOT, "build", "planted", str(name)), build
        shutil.rmtree(self.path, ignore_errors=True)
        self.alone = alone_in(self.path)
        listed = subprocess.run(["git", "ls-files", "-cozd", "--exclude-standard", "*.h", "*.cpp"], cwd=ROOT, check=True,
                                stdout=subprocess.PIPE, text=True).stdout
        for file in filter(lambda file: os.path.isfile(os.path.join(ROOT, file)), listed.split("\0")):
            self.write(file, open(os.path.join(ROOT, file)).read())

    def within(self, *names):
        return os.path.join(self.path, *names)

    def write(self, file, text):
        os.makedirs(os.path.dirname(self.within("tree", file)), exist_ok=True)
        open(self.within("tree", file), "w").write(text)

    def expect_passes(self, tests):
        self.swapped, self.library = {}, False
        for test in tests:
            started = time.time()
            if self.failure(test):
                sys.exit(f"{os.path.basename(sys.argv[0])}: {test} fails without a fault")
            self.build.limits[test] = max(10, 4 * (time.time() - started))

    def plant(self, changes):
        """Builds with these texts in place of the files' own; whether that compiles."""
        self.swapped, self.library = {}, False
        shutil.rmtree(self.within("made"), ignore_errors=True)
        for file, text in changes.items():
            self.write(file, text)
        try:
            objects = set().union(*(self.build.needing[file] for file in changes))
            return all(map(self.compile, sorted(objects))) and self.link_library()
        finally:
            for file in changes:
                self.write(file, open(os.path.join(ROOT, file)).read())

    def compile(self, made):
        instead = self.within("made", "objects", made)
        os.makedirs(os.path.dirname(instead), exist_ok=True)
        command = re.sub(re.escape(ROOT) + r"(?=[/ ])(?!/build/)", self.within("tree"), self.build.compiling[made])
        command = re.sub(r" -MD -MT \S+ -MF \S+ -o \S+ ", f" -w -O0 -D_GLIBCXX_ASSERTIONS -o {instead} ", command)
        self.swapped[made] = instead
        return self.shell(command)

    def link(self, made, instead):
        words = self.build.linking[made].split(" ")
        words = [instead if word == made else self.swapped.get(word, word) for word in words]
        os.makedirs(os.path.dirname(instead), exist_ok=True)
        return self.shell(" ".join(words))

    def link_library(self):
        self.library = not self.swapped.keys().isdisjoint(self.build.linking[self.build.library].split(" "))
        return not self.library or self.link(self.build.library, self.within("made", "library", self.build.soname))

    @staticmethod
    def shell(command):
        return subprocess.run(command, shell=True, cwd=BUILD, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) \
            .returncode == 0

    def program(self, name):
        made = self.build.programs[name]
        if self.swapped.keys().isdisjoint(self.build.linking[made].split(" ")):
            return os.path.join(BUILD, made)
        instead = self.within("made", name)
        if not os.path.exists(instead) and not self.link(made, instead):
            sys.exit(f"{os.path.basename(sys.argv[0])}: {name} does not link")
        return instead

    def failure(self, test):
        """What of a test fails, if anything does: seeing all disks, writing to this place alone, in bounded memory."""
        is_check, said = self.build.is_check(test), self.within("said")
        command = [os.path.join(CHECKS, test), self.program(PROGRAM)] if is_check else \
            [self.program(test), "--gtest_fail_fast", "--gtest_brief=1"]
        shutil.rmtree(self.within("tmp"), ignore_errors=True)
        os.makedirs(self.within("tmp"))
        scratch = "/dev/shm" if self.alone else self.within("tmp")
        environment = dict(os.environ, TMPDIR=scratch)
        if self.library:
            environment["LD_LIBRARY_PATH"] = self.within("made", "library")
        with open(said, "w") as output:
            process = subprocess.Popen(
                self.alone + command, cwd=self.within("tmp"), stdin=subprocess.DEVNULL, stdout=output,
                stderr=subprocess.STDOUT, start_new_session=True, env=environment,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY)))
            try:
                if process.wait(self.build.limits[test]) == 0:
                    return None
            except subprocess.TimeoutExpired:
                os.killpg(process.pid, signal.SIGKILL)
                process.wait()
        failed = re.search(r"^\[  FAILED  \] ([\w./]+)", open(said, errors="replace").read(), re.M)
        return failed[1] if failed else test

    def first_failure(self, tests):
        return next(filter(None, map(self.failure, tests)), None)
