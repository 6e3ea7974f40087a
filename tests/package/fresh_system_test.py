"""The Debian packages in a fresh system: they install with what they need, programs are built on
them and run, and purged they leave nothing behind.

    fresh_system_test.py ROOT_OF_THE_TREE [--packages FOLDER]

The system is made by debootstrap from the sources that this machine's apt is configured with, in a
folder below build/. Mounts live in a namespace of their own, so that they end with the process
however it ends; the folder is removed at the end, and at the start of the next run. Exit code 77:
this machine cannot do it, and the reason is printed.
"""

from __future__ import annotations

import argparse
import os
import re
import shutil
import signal
import subprocess
import sys
from pathlib import Path
from typing import Dict, Iterator, List, NamedTuple, NoReturn, Optional, Sequence

SKIPPED = 77
IN_NAMESPACE = "MORVEL_TEST_IN_NAMESPACE"
TOOLS = ("g++", "cmake", "make", "pkgconf")
EXAMPLES = "/usr/share/doc/libmorvel-dev/examples"
# Until who distributes the packages puts an address in DEBEMAIL, they have none that exists.
WITHOUT_ADDRESS = "bogus-mail-host,bogus-mail-host-in-debian-changelog"
# What a fresh apt has to be told of the old one: how it reaches its sources.
CARRIED_SETTINGS = re.compile(r"Acquire::(https?::|Check-|Retries)")
PYTHON_USE = """
import numpy as np
import morvel
assert morvel.__file__.startswith("/usr/lib/python3/dist-packages/morvel/"), morvel.__file__
x, y = np.random.default_rng(1).uniform((-3, -1.5), (3, 1.5), (3000, 2)).T
surface, report = morvel.fit_surface_with_report(np.column_stack([x, y, 0.1 * (x * x - y * y)]))
assert report.rms_deviation < 1e-3 and surface.type == "bspline_surface", report
print("python: fitted to", report.rms_deviation)
"""


class Source(NamedTuple):
    """One place of packages."""

    uri: str
    suite: str
    components: List[str]
    keyring: str  # a path, a key in ASCII armour, or empty


def skip(reason: str) -> NoReturn:
    print(f"skipped: {reason}")
    sys.exit(SKIPPED)


def stanzas(text: str) -> Iterator[Dict[str, str]]:
    """The stanzas of a deb822 file: field names in lower case, continuation lines joined."""
    for block in re.split(r"\n\s*\n", "\n" + text):
        fields: Dict[str, str] = {}
        name = ""
        for line in block.splitlines():
            if line.startswith("#") or not line.strip():
                continue
            if line[0] in " \t":
                stripped = line.strip()
                fields[name] += "\n" + ("" if stripped == "." else stripped)
            else:
                name, _, value = line.partition(":")
                name = name.strip().lower()
                fields[name] = value.strip()
        if fields:
            yield fields


def sources_of_stanzas(text: str) -> Iterator[Source]:
    for fields in stanzas(text):
        if fields.get("enabled", "yes").lower() in ("no", "false", "0"):
            continue
        if "deb" not in fields.get("types", "").split():
            continue
        for uri in fields.get("uris", "").split():
            for suite in fields.get("suites", "").split():
                components = fields.get("components", "").split()
                yield Source(uri, suite, components, fields.get("signed-by", "").strip())


def sources_of_lines(text: str) -> Iterator[Source]:
    for line in text.splitlines():
        match = re.match(r"\s*deb\s+(?:\[([^\]]*)\]\s*)?(\S+)\s+(\S+)([^#]*)", line)
        if match:
            options, uri, suite, components = match.groups()
            keyring = re.search(r"signed-by=(\S+)", options or "")
            yield Source(uri, suite, components.split(), keyring.group(1) if keyring else "")


def configured_sources(apt: Path) -> List[Source]:
    found: List[Source] = []
    for path in [apt / "sources.list", *sorted((apt / "sources.list.d").glob("*"))]:
        if path.suffix == ".list" and path.is_file():
            found += sources_of_lines(path.read_text("utf-8"))
        elif path.suffix == ".sources" and path.is_file():
            found += sources_of_stanzas(path.read_text("utf-8"))
    return found


def sources_of_system(found: Sequence[Source], codename: str) -> List[Source]:
    """Those of the distribution itself, the release first, then its updates."""
    own = [s for s in found if s.suite.split("-")[0] == codename and "main" in s.components]
    return sorted(own, key=lambda source: source.suite != codename)


def run(*command: str, folder: Optional[Path] = None, root: Optional[Path] = None) -> None:
    print("+", *command, flush=True)
    subprocess.run(entered(root, command), cwd=folder, check=True, env=environment())


def output_of(root: Path, *command: str) -> str:
    result = subprocess.run(
        entered(root, command), check=True, env=environment(), stdout=subprocess.PIPE, text=True
    )
    return result.stdout


def entered(root: Optional[Path], command: Sequence[str]) -> List[str]:
    return ["chroot", str(root), *command] if root else list(command)


def environment() -> Dict[str, str]:
    kept = {name: value for name, value in os.environ.items() if name.lower().endswith("_proxy")}
    path = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
    return {"PATH": path, "LC_ALL": "C.UTF-8", "HOME": "/root", "DEBIAN_FRONTEND": "noninteractive",
            "PYTHONHASHSEED": "0", **kept}


class FreshSystem:
    def __init__(self, root: Path, sources: Sequence[Source]):
        self.root = root
        self.sources = sources

    def make(self) -> None:
        base = self.sources[0]
        options = ["--variant=minbase", "--components=main"]
        if base.keyring.startswith("/"):
            options.append(f"--keyring={base.keyring}")
        if any(source.uri.startswith("https:") for source in self.sources):
            options.append("--include=ca-certificates")
        run("debootstrap", *options, base.suite, str(self.root), base.uri)
        for name in ("resolv.conf", "hosts"):
            if Path("/etc", name).is_file():
                shutil.copy(Path("/etc", name), self.root / "etc" / name)
        self.write("usr/sbin/policy-rc.d", "#!/bin/sh\nexit 101\n", 0o755)
        self.configure_apt()
        run("mount", "-t", "proc", "proc", str(self.root / "proc"))
        run("apt-get", "update", "-q", root=self.root)

    def configure_apt(self) -> None:
        lines = []
        for number, source in enumerate(self.sources):
            keyring = self.carried_keyring(source.keyring, number)
            signed = f"[signed-by={keyring}] " if keyring else ""
            lines.append(f"deb {signed}{source.uri} {source.suite} main\n")
        self.write("etc/apt/sources.list", "".join(lines))
        dump = subprocess.run(["apt-config", "dump"], check=True, stdout=subprocess.PIPE, text=True)
        settings = [line for line in dump.stdout.splitlines() if CARRIED_SETTINGS.match(line)]
        self.write("etc/apt/apt.conf.d/90carried", "\n".join(settings) + "\n")

    def carried_keyring(self, keyring: str, number: int) -> str:
        """The path of the keyring in the fresh system."""
        if keyring.startswith("-----BEGIN"):
            path = f"etc/apt/keyrings/carried-{number}.asc"
            self.write(path, keyring + "\n")
            return "/" + path
        if keyring.startswith("/"):
            target = self.root / keyring[1:]
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(keyring, target)
            return keyring
        return ""

    def write(self, path: str, text: str, mode: int = 0o644) -> None:
        target = self.root / path
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(text, "utf-8")
        target.chmod(mode)

    def install(self, *packages: str) -> None:
        run("apt-get", "install", "-q", "-y", "-o=Dpkg::Use-Pty=0", "--no-install-recommends", *packages, root=self.root)

    def traces(self, name: str) -> List[str]:
        """Paths that hold a name, and the loader's memory of it."""
        found = output_of(self.root, "find", "/", "-xdev", "-path", "/proc", "-prune", "-o",
                          "-path", "/trial", "-prune", "-o", "-name", f"*{name}*", "-print")
        cached = output_of(self.root, "ldconfig", "-p")
        return found.splitlines() + [line for line in cached.splitlines() if name in line]


def check_examples(system: FreshSystem, expected: Path) -> None:
    """The installed examples, in C by make and pkg-config, in C++ by CMake and find_package."""
    for language in ("c", "cpp"):
        run("mkdir", "-p", "/trial", root=system.root)
        run("cp", "-r", f"{EXAMPLES}/{language}", "/trial", root=system.root)
    run("make", "-C", "/trial/c", root=system.root)
    run("cmake", "-S", "/trial/cpp", "-B", "/trial/cpp", root=system.root)
    run("cmake", "--build", "/trial/cpp", root=system.root)
    printed: Dict[str, str] = {}
    for line in expected.read_text("utf-8").splitlines():
        program, _, pattern = line.partition(" ")
        if not program or program == "#":
            continue
        if program not in printed:
            built = [f"/trial/{language}/{program}" for language in ("c", "cpp")
                     if (system.root / "trial" / language / program).is_file()]
            printed[program] = output_of(system.root, *built)
        if not re.search(pattern, printed[program], re.MULTILINE):
            raise AssertionError(f"{program} does not print '{pattern}':\n{printed[program]}")
    print("examples that ran as expected:", *printed)


def check_packages(system: FreshSystem, packages: Sequence[Path], expected: Path) -> None:
    system.install(*TOOLS)
    before = system.traces("morvel")
    folder = system.root / "trial"
    folder.mkdir()
    for package in packages:
        shutil.copy(package, folder)
    system.install(*(f"/trial/{package.name}" for package in packages))
    check_examples(system, expected)
    system.write("trial/use.py", PYTHON_USE)
    run("python3", "/trial/use.py", root=system.root)
    names = [package.name.split("_")[0] for package in packages]
    run("apt-get", "purge", "-q", "-y", "-o=Dpkg::Use-Pty=0", *names, root=system.root)
    if system.traces("morvel") != before:
        raise AssertionError(f"left behind: {system.traces('morvel')}")
    print("purged without a trace")


def judge(packages: Sequence[Path]) -> None:
    if not shutil.which("lintian"):
        print("lintian is not installed: the packages are not judged by it")
        return
    suppressed = [] if os.environ.get("DEBEMAIL") else ["--suppress-tags", WITHOUT_ADDRESS]
    run("lintian", "--allow-root", "--fail-on", "error", *suppressed, *map(str, packages))


def made_packages(tree: Path, folder: Optional[Path]) -> List[Path]:
    if folder is None:
        subprocess.run([str(tree / "run"), "package"], check=True)
        folder = tree / "build/packages"
    packages = sorted(folder.resolve().glob("*.deb"))
    if len(packages) != 3:
        raise AssertionError(f"not three packages: {[package.name for package in packages]}")
    return packages


def remove_system(root: Path) -> None:
    """Never through a mount: what is still mounted is let go first."""
    mounted = [line.split()[1] for line in Path("/proc/self/mounts").read_text().splitlines()]
    for place in sorted((m for m in mounted if m.startswith(f"{root}/")), reverse=True):
        subprocess.run(["umount", "-l", place], check=True)
    shutil.rmtree(root, ignore_errors=False) if root.exists() else None


def require_machine() -> List[Source]:
    if os.geteuid() != 0:
        skip("a fresh system takes root")
    for program in ("debootstrap", "chroot", "unshare", "dpkg-deb"):
        if not shutil.which(program):
            skip(f"{program} is not installed")
    release = dict(
        line.split("=", 1) for line in Path("/etc/os-release").read_text().splitlines() if "=" in line
    )
    codename = release.get("VERSION_CODENAME", "").strip('"')
    sources = sources_of_system(configured_sources(Path("/etc/apt")), codename)
    if not codename or not sources or sources[0].suite != codename:
        skip(f"apt has no source of the release '{codename}'")
    probe = ["unshare", "--mount", "--pid", "--fork", "true"]
    if subprocess.run(probe, stderr=subprocess.DEVNULL).returncode != 0:
        skip("this machine makes no mount namespaces")
    return sources


def stop(signal_number: int, frame: object) -> NoReturn:
    sys.exit(128 + signal_number)


def main() -> int:
    options = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    options.add_argument("tree", type=Path, help="root of the tree")
    options.add_argument("--packages", type=Path, help="folder of packages that are made already")
    arguments = options.parse_args()
    sources = require_machine()
    if IN_NAMESPACE not in os.environ:
        again = ["unshare", "--mount", "--pid", "--fork", "--kill-child", sys.executable, *sys.argv]
        return subprocess.run(again, env={**os.environ, IN_NAMESPACE: "1"}).returncode
    signal.signal(signal.SIGTERM, stop)
    root = arguments.tree.resolve() / "build" / "fresh_system"
    remove_system(root)
    try:
        packages = made_packages(arguments.tree.resolve(), arguments.packages)
        judge(packages)
        system = FreshSystem(root, sources)
        system.make()
        check_packages(system, packages, Path(__file__).with_name("expected_output.txt"))
    finally:
        remove_system(root)
    return 0


if __name__ == "__main__":
    sys.exit(main())
