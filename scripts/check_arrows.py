#!/usr/bin/env python3
"""Fails for every #include that goes against the arrows of docs/architecture.md."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).parent.parent
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)

# The component, from top to bottom: a floor may include itself and every floor below it.
FLOORS = ["api", "frame/tables", "procedures", "radio", "gatt", "frame", "platform"]

# A backend stands on the interfaces in platform/ and on these siblings, never on the component.
SIBLINGS = {
    "platform/att": set(),
    "platform/posix": set(),
    "platform/faults": set(),
    "platform/hci": set(),
    "platform/simulated": {"platform/att", "platform/faults", "platform/hci"},
    "platform/linux": {"platform/att", "platform/hci"},
    "platform/windows": set(),
}

# The one place that knows which backends there are.
FACTORY = "platform/OpenRadio.cpp"

JSON_USERS = {"platform/simulated"}
SYSTEM_HEADERS = ("sys/", "linux/", "netinet/", "systemd/", "winrt/")  # for backends alone
HOSTS = ("tools", "examples")
PUBLIC_HEADER = "corvaneble/corvaneble.h"


def floor_of(path: str) -> str:
    """The floor or backend that a file of src/, named relative to it, belongs to."""
    folder = path.rpartition("/")[0]
    known = [*SIBLINGS, *FLOORS]
    while folder and folder not in known:
        folder = folder.rpartition("/")[0]
    return folder


def may_include(path: str, target: str) -> bool:
    """Whether a file of src/ may include another."""
    source, dest = floor_of(path), floor_of(target)
    if not source or not dest:
        return False  # a folder that no arrow speaks of: put it into the picture first
    if source in SIBLINGS:
        return dest in {source, "platform"} | SIBLINGS[source]
    if path == FACTORY:
        return dest == "platform" or dest in SIBLINGS
    if dest in SIBLINGS:
        return False
    return FLOORS.index(source) <= FLOORS.index(dest)


def judge(file: pathlib.Path, bracket: str, target: str) -> str | None:
    """What is wrong with one #include, if anything."""
    area, _, path = file.relative_to(ROOT).as_posix().partition("/")
    in_src = (ROOT / "src" / target).exists()
    if area in HOSTS:
        if in_src or (bracket == '"' and ".." in target):
            return "a host sees the public header only"
        return None
    if target == PUBLIC_HEADER:
        below = floor_of(path) == "platform" or floor_of(path) in SIBLINGS
        return "the platform knows nothing of the host's view" if below else None
    if in_src:
        return None if may_include(path, target) else f"{floor_of(path)} stands below it"
    if bracket == '"':
        return "no such file under src/"
    if "/" not in target or (target.startswith("nlohmann/") and floor_of(path) in JSON_USERS):
        return None
    if floor_of(path) in SIBLINGS and target.startswith(SYSTEM_HEADERS):
        return None
    return "only the standard library here"


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
    print(f"{checked} includes checked, {faults} against the arrows")
    return 1 if faults or not checked else 0


if __name__ == "__main__":
    sys.exit(main())
