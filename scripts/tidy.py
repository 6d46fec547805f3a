#!/usr/bin/env python3
"""Runs clang-tidy on the sources of src/ and tools/, on all processors, and stores what passed.

usage: tidy.py BUILD_DIR [FILE...]

BUILD_DIR is configured for a unity build. Each unity source includes several sources and is checked
as one, so that common headers are read once. A unity source that passed is skipped until a file of
the repository that it includes, its compile command or .clang-tidy changes. The results are in
BUILD_DIR/tidy-passed.json.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
# Unity sources include .cpp files on purpose.
TIDY = ["clang-tidy-14", "--quiet", "--checks=-bugprone-suspicious-include"]


def sources_of(lump: str) -> set[str]:
    """The sources in a unity source; a source that is compiled alone contains itself."""
    return set(re.findall(r'#include "(.*\.cpp)"', pathlib.Path(lump).read_text())) or {lump}


def included_by(command: dict) -> list[pathlib.Path]:
    """The files of the repository that a unity source includes, itself first."""
    args = shlex.split(command["command"])
    if pathlib.Path(args[0]).name == "ccache":
        args = args[1:]
    if "-o" in args:
        at = args.index("-o")
        del args[at : at + 2]
    args = [arg for arg in args if arg != "-c"] + ["-MM"]
    run = subprocess.run(args, cwd=command["directory"], capture_output=True, text=True, check=True)
    names = run.stdout.partition(":")[2].replace("\\\n", " ").split()
    return [pathlib.Path(command["directory"], name).resolve() for name in names]


def key_of(command: dict) -> str:
    """A hash of everything that the result depends on."""
    digest = hashlib.sha256((ROOT / ".clang-tidy").read_bytes())
    digest.update(command["command"].encode())
    for path in included_by(command):
        digest.update(path.read_bytes())
    return digest.hexdigest()


def examine(command: dict, folder: pathlib.Path, passed: dict) -> tuple[str, str | None, str]:
    """Returns (unity source, key if it passed, output)."""
    lump = command["file"]
    key = key_of(command)
    if passed.get(lump) == key:
        return lump, key, ""
    run = subprocess.run(
        [*TIDY, "-p", str(folder), lump], capture_output=True, text=True, check=False
    )
    return lump, key if run.returncode == 0 else None, run.stdout + run.stderr


def main() -> int:
    folder = pathlib.Path(sys.argv[1]).resolve()
    wanted = {str(pathlib.Path(name).resolve()) for name in sys.argv[2:]}
    commands = json.loads((folder / "compile_commands.json").read_text())
    lumps = {command["file"]: command for command in commands}
    if wanted:
        lumps = {lump: each for lump, each in lumps.items() if wanted & sources_of(lump)}
    sources = set().union(*map(sources_of, lumps))
    memory = folder / "tidy-passed.json"
    before = json.loads(memory.read_text()) if memory.exists() else {}
    now, faulty = {}, 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        jobs = [pool.submit(examine, each, folder, before) for each in lumps.values()]
        for job in concurrent.futures.as_completed(jobs):
            lump, key, output = job.result()
            if key:
                now[lump] = key
            else:
                faulty += 1
                print(output, flush=True)
    memory.write_text(json.dumps({**before, **now} if wanted else now))
    print(f"{len(sources)} sources in {len(lumps)} unity sources checked, {faulty} with errors")
    return 1 if faulty or not lumps else 0


if __name__ == "__main__":
    sys.exit(main())
