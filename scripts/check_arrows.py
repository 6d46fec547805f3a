#!/usr/bin/env python3
"""Fails if an #include violates the dependency rules of docs/architecture.md."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).parent.parent
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)

# The layers of the component, from top to bottom. A layer may include itself and all layers below.
FLOORS = ["api", "procedures", "radio", "gatt", "frame", "platform", "base"]

# The folders beside the component. Each may include itself, platform/, base/ and the folders named.
BESIDE = {
    "att": set(),
    "hci": set(),
    "system": set(),
    "system/posix": {"system"},
    "system/win32": {"system"},
    "backends": set(),
    "backends/simulated": {"att", "backends", "hci"},
    "backends/linux": {"att", "backends", "hci"},
}

# The only file that may include every backend.
FACTORY = "backends/OpenRadio.cpp"

JSON_USERS = {"backends/simulated"}
SYSTEM_USERS = {"backends/linux", "system/posix", "system/win32"}
SYSTEM_HEADERS = ("sys/", "linux/", "netinet/", "systemd/", "winrt/")
HOSTS = ("tools", "examples")
PUBLIC_HEADER = "corvaneble/corvaneble.h"


def floor_of(path: str) -> str:
    """The layer or folder of a file, which is named relative to src/; empty if there is none."""
    folder = path.rpartition("/")[0]
    while folder and folder not in BESIDE and folder not in FLOORS:
        folder = folder.rpartition("/")[0]
    return folder


def may_include(path: str, target: str) -> bool:
    """Whether a file of src/ may include another file of src/."""
    source, dest = floor_of(path), floor_of(target)
    if not source or not dest:
        return False  # a folder without rules: add it to FLOORS or BESIDE first
    if path == FACTORY and dest.startswith("backends"):
        return True
    if source in BESIDE:
        return dest in {source, "platform", "base"} | BESIDE[source]
    return dest in FLOORS and FLOORS.index(source) <= FLOORS.index(dest)


def judge(file: pathlib.Path, bracket: str, target: str) -> str | None:
    """The error of one #include, or None."""
    area, _, path = file.relative_to(ROOT).as_posix().partition("/")
    in_src = (ROOT / "src" / target).exists()
    if area in HOSTS:
        if in_src or (bracket == '"' and ".." in target):
            return "a host may include only the public headers"
        return None
    floor = floor_of(path)
    if target == PUBLIC_HEADER:
        below = floor in BESIDE or floor in {"platform", "base"}
        return f"{floor} may not include the public header" if below else None
    if in_src:
        return None if may_include(path, target) else f"{floor or path} may not include it"
    if bracket == '"':
        return "there is no such file under src/"
    if "/" not in target or (target.startswith("nlohmann/") and floor in JSON_USERS):
        return None
    if floor in SYSTEM_USERS and target.startswith(SYSTEM_HEADERS):
        return None
    return "only the standard library is allowed here"


def main() -> int:
    faults = checked = 0
    for area in ("src", *HOSTS):
        for file in sorted((ROOT / area).rglob("*")):
            if file.suffix not in {".h", ".hpp", ".c", ".cpp"}:
                continue
            text = file.read_text(encoding="utf-8")
            for match in INCLUDE.finditer(text):
                checked += 1
                if wrong := judge(file, match[1], match[2]):
                    line = text.count("\n", 0, match.start()) + 1
                    print(f"{file.relative_to(ROOT)}:{line}: includes {match[2]}: {wrong}")
                    faults += 1
    print(f"{checked} includes checked, {faults} not allowed")
    return 1 if faults or not checked else 0


if __name__ == "__main__":
    sys.exit(main())
